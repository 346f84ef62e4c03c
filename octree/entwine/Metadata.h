#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/Export.h"
#include "octree/rows/Dimension.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Core
{
class ByteSource;
}

namespace Entwine
{
/// How tiles are stored.
enum class DataType
{
    Binary,     ///< plain rows, ".bin"
    Zstandard,  ///< the same rows in one Zstandard frame, ".zst"
    Laszip,     ///< compressed LAS files, ".laz"
};

using Octree::Dimension;
using Octree::NumberType;

/// A checked ept.json.
///
/// Frame    absolute coordinates.
/// Threads  a plain value.
struct Metadata
{
    DataType dataType = DataType::Binary;        ///< how tiles are stored
    Math::NBoundingBox<double, 3> boundingCube;  ///< the root's
    Math::NBoundingBox<double, 3> boundingBox;   ///< around the points, as the file says
    double spacing = 0.0;                        ///< of the root: edge of the cube / span
    std::vector<Dimension> schema;               ///< in storage order; X, Y and Z are among them
    std::size_t bytesPerPoint = 0;               ///< of a row
    std::string coordinateSystem;                ///< WKT, else a code such as "EPSG:3857"; may be empty

    /// The dimension of that name, null when there is none.
    OCTREE_API const Dimension* dimension(std::string_view name) const noexcept;

    /// The origin that loses least when coordinates are made relative to it: per axis the schema's offset,
    /// from which stored integers count, or the cube's minimum where that offset lies outside the cube.
    OCTREE_API Math::Point<double, 3> referencePosition() const;

    /// The declared range of "Intensity" cut to 16 bits; (0, 65535) when the file does not say.
    OCTREE_API std::pair<std::uint16_t, std::uint16_t> intensityRange() const noexcept;
};

/// Reads and checks the text of an ept.json; unknown fields are ignored.
/// @param file  the name for messages
/// @throws std::runtime_error  naming file, field and what was expected
OCTREE_API Metadata parseMetadata(std::string_view text, std::string_view file);

/// The same for a file of at most 4 MiB.
OCTREE_API Metadata readMetadata(const Core::ByteSource& file);
}  // namespace Entwine
