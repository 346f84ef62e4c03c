#include "samples/OctreeWriter.h"

#include "samples/OctreeNodeEncoder.h"
#include "samples/octreeHierarchy.h"
#include "samples/octreeMetadata.h"
#include "samples/placePoints.h"
#include "samples/runInParallel.h"
#include "samples/writeFile.h"

#include <cmath>
#include <map>
#include <stdexcept>
#include <utility>

namespace Samples
{
namespace
{
constexpr double kCellsPerEdge = 128.0;
constexpr unsigned kDeepestPlacement = 20;
constexpr unsigned kMaxFlags = 15;

void requireUsable(const OctreeWriterOptions& options)
{
    const auto positive = [](double value) { return value > 0.0 && std::isfinite(value); };
    const auto require = [](bool condition, const char* message)
    {
        if (!condition)
        {
            throw std::invalid_argument(message);
        }
    };
    require(
        positive(options.scale.x) && positive(options.scale.y) && positive(options.scale.z),
        "Scale must be above 0"
    );
    require(!options.spacing || positive(*options.spacing), "Spacing must be above 0");
    require(!options.cube || positive(options.cube->edge), "Edge of the cube must be above 0");
    require(options.stepSize > 0, "Step size must be above 0");
    require(options.maxLevel <= kDeepestPlacement, "Deepest level must be at most 20");
    require(!options.attributes.empty(), "At least one attribute must be given");
}

/// The options with everything filled in that depends on the points.
OctreeWriterOptions completed(OctreeWriterOptions options, std::span<const SamplePoint> points)
{
    requireUsable(options);
    if (!options.cube)
    {
        options.cube = enclosingCube(points);
    }
    if (!options.offset)
    {
        options.offset = options.cube->min;
    }
    if (!options.spacing)
    {
        options.spacing = options.cube->edge / kCellsPerEdge;
    }
    return options;
}

/// @param placed   which points lie in which node
/// @param options  completed
OctreeSummary write(
    const std::filesystem::path& folder,
    std::span<const SamplePoint> points,
    const std::vector<PlacedNode>& placed,
    std::vector<HierarchyNode> nodes,
    const OctreeWriterOptions& options
)
{
    completeTree(nodes);
    std::map<Octree::OctreeNodeId, const PlacedNode*> placedById;
    for (const PlacedNode& node : placed)
    {
        placedById[node.id] = &node;
    }

    const OctreeNodeEncoder encoder(options);
    std::vector<EncodedNode> encoded(nodes.size());
    const auto encode = [&](std::size_t i)
    {
        const auto found = placedById.find(nodes[i].node.id);
        if (found != placedById.end())
        {
            encoded[i] = encoder.encode(points, found->second->points);
            nodes[i].node.pointCount = found->second->points.size();
            nodes[i].node.byteSize = encoded[i].bytes.size();
        }
    };
    runInParallel(nodes.size(), options.threadCount, encode);

    std::vector<std::string_view> chunks;
    std::uint64_t end = 0;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        nodes[i].node.byteOffset = nodes[i].node.byteSize != 0 ? end : 0;
        end += nodes[i].node.byteSize;
        chunks.push_back(encoded[i].bytes);
    }
    const Hierarchy hierarchy = encodeHierarchy(nodes, options.stepSize, options.recordTypes);

    std::filesystem::create_directories(folder);
    writeFile(folder / "octree.bin", chunks);
    writeFile(folder / "hierarchy.bin", hierarchy.bytes);
    writeFile(folder / "metadata.json", octreeMetadata(options, nodes, encoded, hierarchy));

    OctreeSummary summary;
    summary.proxyCount = hierarchy.proxyCount;
    summary.cube = *options.cube;
    summary.offset = *options.offset;
    for (const HierarchyNode& node : nodes)
    {
        summary.pointCount += node.node.pointCount;
        summary.nodes.push_back(node.node);
    }
    return summary;
}

}  // namespace

OctreeSummary writeOctree(
    const std::filesystem::path& folder,
    std::span<const SamplePoint> points,
    const OctreeWriterOptions& options
)
{
    const OctreeWriterOptions all = completed(options, points);
    const PlacementOptions placement{
        .cube = *all.cube,
        .spacing = *all.spacing,
        .leafCapacity = all.leafCapacity,
        .maxLevel = all.maxLevel,
        .threadCount = all.threadCount,
    };
    const std::vector<PlacedNode> placed = placePoints(points, placement);
    std::vector<HierarchyNode> tree;
    tree.reserve(placed.size());
    for (const PlacedNode& node : placed)
    {
        tree.push_back({{.id = node.id}, 0});
    }
    return write(folder, points, placed, std::move(tree), all);
}

OctreeSummary writeOctreeNodes(
    const std::filesystem::path& folder, std::span<const SampleNode> nodes, const OctreeWriterOptions& options
)
{
    const PlacedCloud cloud = joinNodes(nodes);
    std::vector<HierarchyNode> tree;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        if (nodes[i].flags > kMaxFlags)
        {
            throw std::invalid_argument("Node flags must be at most 15");
        }
        tree.push_back({{.id = cloud.nodes[i].id}, nodes[i].flags});
    }
    return write(folder, cloud.points, cloud.nodes, std::move(tree), completed(options, cloud.points));
}
}  // namespace Samples
