#pragma once

#include "math/Point.h"
#include "octree/OctreeNodeId.h"
#include "samples/Cube.h"
#include "samples/SamplePoint.h"
#include "samples/pointCodes.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Samples
{
/// The columns that a three-file data set can be given.
enum class Attribute
{
    Position,        ///< "position", int32 x 3
    Rgb,             ///< "rgb", uint16 x 3
    Intensity,       ///< "intensity", uint16
    Classification,  ///< "classification", uint8
    ScanIndex,       ///< "ScanIndex", uint32
    Visibility,      ///< "visibility", uint8
    NormalOct16,     ///< "normal_oct16", uint16: octahedral, high byte x, low byte y
    NormalX,         ///< "NormalX", double; readers use the three only together
    NormalY,
    NormalZ,
    ReturnNumber,  ///< "return number", uint8, always 1: something for readers to skip
    GpsTime,       ///< "gps-time", double, the scan index times 1000: something wide for readers to skip
};

/// How node data are stored in octree.bin.
enum class OctreeEncoding
{
    Brotli,        ///< columns, positions and colours as Morton codes, one Brotli stream a node
    Default,       ///< plain rows, metadata says "DEFAULT"
    Uncompressed,  ///< plain rows, metadata says "UNCOMPRESSED"
};

/// What hierarchy records say in their type field of nodes that are no proxies.
enum class RecordTypes
{
    Truthful,    ///< 1 for nodes without children, 0 for all others
    Misleading,  ///< as common converters write them: 0 for the root of a chunk, 1 for every other node
};

struct OctreeWriterOptions
{
    OctreeEncoding encoding = OctreeEncoding::Brotli;

    /// The columns in storage order. Data sets without Position can be written: those that add to another
    /// one.
    std::vector<Attribute> attributes{
        Attribute::Position,
        Attribute::Rgb,
        Attribute::Intensity,
        Attribute::Classification,
    };

    /// World units per stored integer, per axis.
    Math::Point<double, 3> scale{0.001, 0.001, 0.001};

    /// The coordinate of integer 0; the cube's minimum when not given. Brotli positions must not lie below
    /// it.
    std::optional<Math::Point<double, 3>> offset = std::nullopt;

    /// The root's cube; enclosingCube of the points when not given.
    std::optional<Cube> cube = std::nullopt;

    /// Point spacing of the root; the cube's edge / 128 when not given.
    std::optional<double> spacing = std::nullopt;

    /// Levels per hierarchy chunk, at least 1: nodes at its multiples that have children become proxies.
    unsigned stepSize = 4;

    RecordTypes recordTypes = RecordTypes::Truthful;

    /// A node with at most this many points is not split (placement by spacing only).
    std::size_t leafCapacity = 10000;

    /// Nodes at this level take all points that are left, 0 to 20 (placement by spacing only).
    unsigned maxLevel = 14;

    int brotliQuality = 5;

    /// Threads that compress; 0 for one per core. Does not change a byte of the result.
    unsigned threadCount = 0;

    std::string name = "sample";
    std::string projection = {};
};

/// A node with the points that are to lie in it.
struct SampleNode
{
    std::string name = "r";  ///< "r" and one digit a level
    std::vector<SamplePoint> points = {};
    unsigned flags = 0;  ///< 0 to 15; 1: all points visible, 2: all points of the subtree hidden
};

/// One node as it was written.
struct WrittenNode
{
    Octree::OctreeNodeId id;
    std::uint64_t pointCount = 0;
    unsigned childMask = 0;
    std::uint64_t byteOffset = 0;  ///< into octree.bin
    std::uint64_t byteSize = 0;
};

/// What was written, for those who compare it with what is read.
struct OctreeSummary
{
    std::uint64_t pointCount = 0;
    std::size_t proxyCount = 0;
    Cube cube;
    Math::Point<double, 3> offset;
    std::vector<WrittenNode> nodes;  ///< breadth first, which is also their order in octree.bin
};

/// Writes a three-file octree data set (metadata.json, hierarchy.bin, octree.bin) of a cloud.
///
/// Each point goes into exactly one node. The points of an inner node are at least its level's spacing away
/// from each other and from the points that the node's ancestors hold there. Within a node points are sorted
/// by position code, equal ones in the order given. The same arguments give the same bytes.
/// @param folder  is created when missing; the three files are replaced
/// @throws std::invalid_argument  for options out of range, or a position that does not fit its integers
/// @throws std::runtime_error     naming the file that could not be written
OctreeSummary writeOctree(
    const std::filesystem::path& folder,
    std::span<const SamplePoint> points,
    const OctreeWriterOptions& options = {}
);

/// The same with the points placed by the caller, wherever they lie.
///
/// Ancestors that are not listed are written as nodes without points, and so are listed nodes without any.
/// @throws std::invalid_argument  besides for node names that are none or occur twice
OctreeSummary writeOctreeNodes(
    const std::filesystem::path& folder,
    std::span<const SampleNode> nodes,
    const OctreeWriterOptions& options = {}
);
}  // namespace Samples
