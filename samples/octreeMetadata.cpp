#include "samples/octreeMetadata.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string_view>

namespace Samples
{
namespace
{
nlohmann::ordered_json toJson(const Math::Point<double, 3>& point)
{
    return {point.x, point.y, point.z};
}

nlohmann::ordered_json toJson(const std::array<double, 3>& values, unsigned count)
{
    nlohmann::ordered_json result = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < count; ++i)
    {
        const bool isEmpty = std::isinf(values[i]);  // no points: there is no range, and no infinity in JSON
        result.push_back(isEmpty ? 0.0 : values[i]);
    }
    return result;
}

nlohmann::ordered_json describe(
    Attribute attribute, const AttributeRange& range, const std::array<std::uint64_t, 256>& classifications
)
{
    const AttributeLayout layout = layoutOf(attribute);
    nlohmann::ordered_json result{
        {"name", layout.name},
        {"description", ""},
        {"size", layout.elementCount * layout.elementSize},
        {"numElements", layout.elementCount},
        {"elementSize", layout.elementSize},
        {"type", layout.type},
    };
    if (attribute == Attribute::Classification)
    {
        result["histogram"] = classifications;
    }
    result["min"] = toJson(range.min, layout.elementCount);
    result["max"] = toJson(range.max, layout.elementCount);
    result["scale"] = std::vector<double>(layout.elementCount, 1.0);
    result["offset"] = std::vector<double>(layout.elementCount, 0.0);
    return result;
}

std::string_view encodingName(OctreeEncoding encoding)
{
    switch (encoding)
    {
        case OctreeEncoding::Brotli:
            return "BROTLI";
        case OctreeEncoding::Default:
            return "DEFAULT";
        case OctreeEncoding::Uncompressed:
            break;
    }
    return "UNCOMPRESSED";
}
}  // namespace

std::string octreeMetadata(
    const OctreeWriterOptions& options,
    const std::vector<HierarchyNode>& nodes,
    const std::vector<EncodedNode>& encoded,
    const Hierarchy& hierarchy
)
{
    std::vector<AttributeRange> ranges(options.attributes.size());
    std::array<std::uint64_t, 256> classifications{};
    for (const EncodedNode& node : encoded)
    {
        for (std::size_t i = 0; i < node.ranges.size(); ++i)
        {
            ranges[i].include(node.ranges[i]);
        }
        for (std::size_t code = 0; code < classifications.size(); ++code)
        {
            classifications[code] += node.classifications[code];
        }
    }
    nlohmann::ordered_json attributes = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < options.attributes.size(); ++i)
    {
        attributes.push_back(describe(options.attributes[i], ranges[i], classifications));
    }

    const Cube& cube = *options.cube;
    const Math::Point<double, 3> cubeMax{
        cube.min.x + cube.edge, cube.min.y + cube.edge, cube.min.z + cube.edge};
    const std::uint64_t pointCount = std::accumulate(
        nodes.begin(),
        nodes.end(),
        std::uint64_t{0},
        [](std::uint64_t sum, const HierarchyNode& node) { return sum + node.node.pointCount; }
    );
    const nlohmann::ordered_json description{
        {"version", "2.0"},
        {"name", options.name},
        {"description", ""},
        {"points", pointCount},
        {"projection", options.projection},
        {"hierarchy",
         {{"firstChunkSize", hierarchy.firstChunkSize},
          {"stepSize", options.stepSize},
          {"depth", nodes.back().node.id.level()}}},
        {"offset", toJson(*options.offset)},
        {"scale", toJson(options.scale)},
        {"spacing", *options.spacing},
        {"boundingBox", {{"min", toJson(cube.min)}, {"max", toJson(cubeMax)}}},
        {"encoding", encodingName(options.encoding)},
        {"attributes", attributes},
    };
    return description.dump(2) + '\n';
}
}  // namespace Samples
