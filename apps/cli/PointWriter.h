#pragma once

#include <math/Point.h>
#include <octree/NodePointData.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Cli
{
class OutputFile;

/// What a file of points may be.
enum class PointFormat
{
    Text,  ///< a table with blanks
    Csv,   ///< a table with commas
    Ply,   ///< binary, little-endian
    Las,   ///< LAS 1.4
    Laz,   ///< the same, compressed
};

/// The format that a file's name ends in.
/// @throws CLI::ValidationError  naming the option, the path and the endings that there are
PointFormat pointFormatOf(const std::string& option, const std::string& path);

/// What is known of points before the first of them is written.
struct PointFacts
{
    unsigned attributes = Octree::kNoAttributes;  ///< AttributeMask bits of what points have
    bool isSinglePrecision = false;               ///< tables and PLY have coordinates with seven digits
    Math::Point<double, 3> step;                  ///< of stored coordinates; 0 where they are no integers
    Math::Point<double, 3> storedOrigin;          ///< what these count from, as the file has coordinates
    double extent = 0.0;                          ///< largest distance of a point from that origin, about
    std::string coordinateSystem;                 ///< empty when none is known, or coordinates are relative
};

/// Writes points to somewhere, chunk by chunk.
class PointWriter
{
public:
    virtual ~PointWriter() = default;

    /// @param origin  is added to positions in double precision
    virtual void write(const Octree::NodePointColumns& points, const Math::Point<double, 3>& origin) = 0;

    /// Ends the output; must be called once.
    virtual void finish() {}
};

using TextSink = std::function<void(std::string_view)>;

/// A header with names, and a line per point: coordinates, channels, what else the points have. Numbers have as
/// many digits as read back exactly, coordinates of single precision at most seven.
std::unique_ptr<PointWriter> makeTextWriter(TextSink sink, const PointFacts& facts, char separator);

/// Writes a file.
/// @throws std::runtime_error  for facts that the format cannot have
std::unique_ptr<PointWriter> makePointWriter(PointFormat format, OutputFile& file, const PointFacts& facts);

/// For makePointWriter() alone.
std::unique_ptr<PointWriter> makePlyWriter(OutputFile& file, const PointFacts& facts);
std::unique_ptr<PointWriter> makeLasWriter(OutputFile& file, const PointFacts& facts, bool isCompressed);
}  // namespace Cli
