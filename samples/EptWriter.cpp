#include "samples/EptWriter.h"

#include "samples/EptTileEncoder.h"
#include "samples/octreeHierarchy.h"
#include "samples/placePoints.h"
#include "samples/runInParallel.h"
#include "samples/writeFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <stdexcept>
#include <utility>

namespace Samples
{
namespace
{
using nlohmann::ordered_json;

EptWriterOptions completed(EptWriterOptions options, std::span<const SamplePoint> points)
{
    if (options.span == 0)
    {
        throw std::invalid_argument("Span must be above 0");
    }
    if (!options.cube)
    {
        options.cube = enclosingCube(points);
    }
    if (options.schema.empty())
    {
        options.schema = defaultEptSchema(options.cube->center());
    }
    return options;
}

const char* typeName(EptType type)
{
    switch (type)
    {
        case EptType::Signed:
            return "signed";
        case EptType::Unsigned:
            return "unsigned";
        case EptType::Float:
            break;
    }
    return "float";
}

ordered_json describe(const EptDimension& dimension, const EptRange& range, bool hasStatistics)
{
    ordered_json result{
        {"name", dimension.name}, {"size", dimension.size}, {"type", typeName(dimension.type)}};
    if (dimension.scale)
    {
        result["scale"] = *dimension.scale;
    }
    if (dimension.offset)
    {
        result["offset"] = *dimension.offset;
    }
    if (hasStatistics && range.min <= range.max)
    {
        result["minimum"] = range.min;
        result["maximum"] = range.max;
    }
    return result;
}

/// Smallest whole box around the points.
ordered_json conformingBounds(std::span<const SamplePoint> points, const Cube& cube)
{
    std::array<EptRange, 3> ranges;
    for (const SamplePoint& point : points)
    {
        ranges[0].include(point.x);
        ranges[1].include(point.y);
        ranges[2].include(point.z);
    }
    if (points.empty())
    {
        return {cube.min.x, cube.min.y, cube.min.z, cube.min.x, cube.min.y, cube.min.z};
    }
    return {
        std::floor(ranges[0].min),
        std::floor(ranges[1].min),
        std::floor(ranges[2].min),
        std::ceil(ranges[0].max),
        std::ceil(ranges[1].max),
        std::ceil(ranges[2].max),
    };
}

std::string description(
    const EptWriterOptions& options,
    std::span<const SamplePoint> points,
    const std::vector<EncodedTile>& tiles
)
{
    std::vector<EptRange> ranges(options.schema.size());
    for (const EncodedTile& tile : tiles)
    {
        for (std::size_t i = 0; i < tile.ranges.size(); ++i)
        {
            ranges[i].include(tile.ranges[i]);
        }
    }
    ordered_json schema = ordered_json::array();
    for (std::size_t i = 0; i < options.schema.size(); ++i)
    {
        schema.push_back(describe(options.schema[i], ranges[i], options.hasStatistics));
    }
    const Cube& cube = *options.cube;
    const ordered_json document{
        {"bounds",
         {cube.min.x,
          cube.min.y,
          cube.min.z,
          cube.min.x + cube.edge,
          cube.min.y + cube.edge,
          cube.min.z + cube.edge}},
        {"boundsConforming", conformingBounds(points, cube)},
        {"dataType", options.dataType == EptDataType::Binary ? "binary" : "zstandard"},
        {"hierarchyType", "json"},
        {"points", points.size()},
        {"schema", schema},
        {"span", options.span},
        {"srs", ordered_json::object()},
        {"version", "1.1.0"},
    };
    return document.dump(2) + '\n';
}

/// The hierarchy files by the key of their first node.
std::map<std::string, ordered_json> hierarchyFiles(const std::vector<HierarchyNode>& nodes, unsigned step)
{
    const auto hasOwnFile = [&](const WrittenNode& node)
    { return node.id.isRoot() || (step != 0 && node.id.level() % step == 0 && node.childMask != 0); };
    std::map<Octree::OctreeNodeId, std::string> fileOf;
    std::map<std::string, ordered_json> files;
    for (const HierarchyNode& entry : nodes)
    {
        const WrittenNode& node = entry.node;
        const std::string key = eptKey(node.id);
        if (!node.id.isRoot())
        {
            fileOf[node.id] = fileOf.at(node.id.parent());
            files[fileOf[node.id]][key] = -1;
        }
        if (hasOwnFile(node))
        {
            fileOf[node.id] = key;
        }
        files[fileOf[node.id]][key] = node.pointCount;
    }
    return files;
}

EptSummary write(
    const std::filesystem::path& folder,
    std::span<const SamplePoint> points,
    std::vector<PlacedNode> placed,
    const EptWriterOptions& options
)
{
    std::vector<HierarchyNode> nodes;
    std::map<Octree::OctreeNodeId, PlacedNode*> placedById;
    for (PlacedNode& node : placed)
    {
        nodes.push_back({{.id = node.id}, 0});
        placedById[node.id] = &node;
    }
    completeTree(nodes);

    const EptTileEncoder encoder(options);
    std::vector<EncodedTile> tiles(nodes.size());
    const auto encode = [&](std::size_t i)
    {
        const auto found = placedById.find(nodes[i].node.id);
        if (found != placedById.end())
        {
            std::vector<std::uint32_t>& indices = found->second->points;
            std::ranges::sort(indices);
            nodes[i].node.pointCount = indices.size();
            tiles[i] = encoder.encode(points, indices);
        }
    };
    runInParallel(nodes.size(), options.threadCount, encode);
    const std::map<std::string, ordered_json> files = hierarchyFiles(nodes, options.hierarchyStep);

    const std::filesystem::path data = folder / "ept-data";
    const std::filesystem::path hierarchy = folder / "ept-hierarchy";
    for (const std::filesystem::path& part : {data, hierarchy})
    {
        std::filesystem::remove_all(part);
        std::filesystem::create_directories(part);
    }
    const char* extension = options.dataType == EptDataType::Binary ? ".bin" : ".zst";
    EptSummary summary;
    summary.cube = *options.cube;
    summary.hierarchyFileCount = files.size();
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        const WrittenNode& node = nodes[i].node;
        summary.tiles.push_back({node.id, eptKey(node.id), node.pointCount});
        summary.pointCount += node.pointCount;
        if (node.pointCount > 0)
        {
            writeFile(data / (summary.tiles.back().key + extension), tiles[i].bytes);
        }
    }
    for (const auto& [key, counts] : files)
    {
        writeFile(hierarchy / (key + ".json"), counts.dump(1) + '\n');
    }
    writeFile(folder / "ept.json", description(options, points, tiles));
    return summary;
}
}  // namespace

std::vector<EptDimension> defaultEptSchema(const Math::Point<double, 3>& offset)
{
    const double millimetre = 0.001;
    return {
        {"X", EptType::Signed, 4, millimetre, std::floor(offset.x)},
        {"Y", EptType::Signed, 4, millimetre, std::floor(offset.y)},
        {"Z", EptType::Signed, 4, millimetre, std::floor(offset.z)},
        {"Intensity", EptType::Unsigned, 2},
        {"Classification", EptType::Unsigned, 1},
        {"PointSourceId", EptType::Unsigned, 2},
        {"Red", EptType::Unsigned, 2},
        {"Green", EptType::Unsigned, 2},
        {"Blue", EptType::Unsigned, 2},
        {"NormalX", EptType::Float, 8},
        {"NormalY", EptType::Float, 8},
        {"NormalZ", EptType::Float, 8},
    };
}

EptSummary writeEpt(
    const std::filesystem::path& folder, std::span<const SamplePoint> points, const EptWriterOptions& options
)
{
    const EptWriterOptions all = completed(options, points);
    return write(folder, points, placePoints(points, placementOf(all)), all);
}

EptSummary writeEptNodes(
    const std::filesystem::path& folder, std::span<const SampleNode> nodes, const EptWriterOptions& options
)
{
    PlacedCloud cloud = joinNodes(nodes);
    return write(folder, cloud.points, std::move(cloud.nodes), completed(options, cloud.points));
}

std::string eptKey(const Octree::OctreeNodeId& id)
{
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    std::uint64_t z = 0;
    for (std::uint64_t level = 0; level < id.level(); ++level)
    {
        const std::uint64_t child = id.code() >> (3 * level) & 7U;
        x |= (child >> 2U & 1U) << level;
        y |= (child >> 1U & 1U) << level;
        z |= (child & 1U) << level;
    }
    std::string key = std::to_string(id.level());
    for (const std::uint64_t cell : {x, y, z})
    {
        key += '-' + std::to_string(cell);
    }
    return key;
}
}  // namespace Samples
