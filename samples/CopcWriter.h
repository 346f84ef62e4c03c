#pragma once

#include "math/Point.h"
#include "octree/OctreeNodeId.h"
#include "samples/Cube.h"
#include "samples/OctreeWriter.h"
#include "samples/SamplePoint.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Samples
{
struct CopcWriterOptions
{
    unsigned pointFormat = 7;  ///< 6, 7 with colours, or 8 with colours and infrared, which repeats the red
    std::uint16_t itemVersion = 3;  ///< of LASzip's items: 3 or 4
    std::size_t extraBytes = 0;     ///< behind the fields of each point, up to 1024

    double scale = 0.001;  ///< stored integers count in it
    std::optional<Math::Point<double, 3>> offset =
        std::nullopt;  ///< what they count from; the cube's center,
                       ///< rounded down, when not given

    /// The root's cube; enclosingCube of the points when not given.
    std::optional<Cube> cube = std::nullopt;

    /// The spacing of the root is the cube's edge / span.
    unsigned span = 128;

    /// Levels per page of the hierarchy, 0 for one page. Nodes at its multiples that have children begin a page of
    /// their own.
    unsigned hierarchyStep = 0;

    /// Text of the coordinate system, as WKT; none is written when empty.
    std::string coordinateSystem = {};

    std::size_t leafCapacity = 10000;  ///< as in OctreeWriterOptions
    unsigned maxLevel = 14;
    unsigned threadCount = 0;
};

/// One node as it was written.
struct WrittenChunk
{
    Octree::OctreeNodeId id;
    std::uint64_t pointCount = 0;
    std::uint64_t offset = 0;  ///< of its chunk in the file; 0 without points
    std::uint32_t size = 0;    ///< in bytes
};

struct CopcSummary
{
    std::uint64_t pointCount = 0;
    std::size_t pageCount = 0;      ///< of the hierarchy
    std::uint64_t pointsBegin = 0;  ///< where the file has the position of the chunk table
    Cube cube;
    std::vector<WrittenChunk> nodes;  ///< breadth first, those without points included
};

/// Writes a cloud as one Cloud Optimized Point Cloud, with the LASzip library's encoder.
///
/// Points go into the same nodes as with writeOctree when cube, spacing and limits are the same; in a node they lie
/// in the order given. The scan index becomes the point source, its thousandfold the GPS time; normals and
/// visibilities are not written. The same arguments give the same bytes.
/// @throws std::invalid_argument  for options out of range, or a value that does not fit its field
/// @throws std::runtime_error     naming the file that could not be written
CopcSummary writeCopc(
    const std::filesystem::path& file, std::span<const SamplePoint> points, const CopcWriterOptions& options
);

/// The same with the points placed by the caller. Ancestors that are not listed get a count of 0.
CopcSummary writeCopcNodes(
    const std::filesystem::path& file, std::span<const SampleNode> nodes, const CopcWriterOptions& options
);
}  // namespace Samples
