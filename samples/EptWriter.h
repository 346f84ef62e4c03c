#pragma once

#include "math/NBoundingBox.h"
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
/// How the tiles of Entwine Point Tiles are stored.
enum class EptDataType
{
    Binary,     ///< plain rows, ".bin"
    Zstandard,  ///< rows in one Zstandard frame, ".zst"
};

enum class EptType
{
    Signed,
    Unsigned,
    Float,
};

/// One dimension of the schema.
struct EptDimension
{
    /// "X", "Y", "Z", "Red", "Green", "Blue", "Intensity", "Classification", "PointSourceId" and "OriginId"
    /// (both the scan index), "NormalX", "NormalY", "NormalZ", "GpsTime" (the scan index times 1000) or
    /// "ReturnNumber" (1).
    std::string name;
    EptType type = EptType::Unsigned;
    unsigned size = 4;  ///< bytes: 1, 2, 4 or 8; floats 4 or 8

    /// value = stored x scale + offset; written only when given, and 1 and 0 otherwise.
    std::optional<double> scale = std::nullopt;
    std::optional<double> offset = std::nullopt;
};

struct EptWriterOptions
{
    EptDataType dataType = EptDataType::Binary;

    /// The dimensions in storage order. Each value must fit its own.
    std::vector<EptDimension> schema = {};

    /// The root's cube; enclosingCube of the points when not given.
    std::optional<Cube> cube = std::nullopt;

    /// Cells per edge of a node: the spacing of the root is the cube's edge / span.
    unsigned span = 128;

    /// Levels per hierarchy file, 0 for one file. Nodes at its multiples that have children are described in
    /// a file of their own.
    unsigned hierarchyStep = 0;

    /// Gives minimum and maximum of each dimension in the schema.
    bool hasStatistics = false;

    /// Says in each Zstandard frame how long it is unpacked; common writers leave that out.
    bool hasContentSize = false;

    std::size_t leafCapacity = 10000;  ///< as in OctreeWriterOptions
    unsigned maxLevel = 14;
    unsigned threadCount = 0;
};

/// X, Y and Z in millimetres from an offset, Intensity, Classification, Red, Green and Blue with 16 bits,
/// PointSourceId, and the normal in doubles.
std::vector<EptDimension> defaultEptSchema(const Math::Point<double, 3>& offset);

/// One node as it was written.
struct WrittenTile
{
    Octree::OctreeNodeId id;
    std::string key;  ///< "D-X-Y-Z"
    std::uint64_t pointCount = 0;
};

struct EptSummary
{
    std::uint64_t pointCount = 0;
    std::size_t hierarchyFileCount = 0;
    Cube cube;
    std::vector<WrittenTile> tiles;  ///< breadth first, those without points included
};

/// Writes a cloud as Entwine Point Tiles: ept.json, ept-hierarchy and ept-data.
///
/// Points go into the same nodes as with writeOctree when cube, spacing and limits are the same; in a node
/// they lie in the order given. The same arguments give the same bytes.
/// @param folder  is created when missing; tiles and hierarchy files that lie there are removed
/// @throws std::invalid_argument  for options out of range, unknown dimensions, or a value that does not fit
///                                its dimension
/// @throws std::runtime_error     naming the file that could not be written
EptSummary writeEpt(
    const std::filesystem::path& folder, std::span<const SamplePoint> points, const EptWriterOptions& options
);

/// The same with the points placed by the caller. Ancestors that are not listed, and nodes without points,
/// get a count of 0 and no tile.
EptSummary writeEptNodes(
    const std::filesystem::path& folder, std::span<const SampleNode> nodes, const EptWriterOptions& options
);

/// A node's name in Entwine Point Tiles: depth and cell coordinates, "D-X-Y-Z".
std::string eptKey(const Octree::OctreeNodeId& id);
}  // namespace Samples
