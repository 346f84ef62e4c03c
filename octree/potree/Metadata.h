#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/Export.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Core
{
class ByteSource;
}

namespace PoTree
{
/// How the points of a node are stored.
enum class Encoding
{
    Brotli,  ///< compressed columns, positions and colours as Morton codes
    Plain,   ///< uncompressed rows; "DEFAULT" and "UNCOMPRESSED" in files
};

/// One entry of the attribute list.
struct Attribute
{
    std::string name;         ///< as the file spells it
    std::string type;         ///< int8 .. int64, uint8 .. uint64, float, double
    std::uint64_t size = 0;   ///< bytes per point as the file says, which is the size in plain rows
    std::vector<double> min;  ///< one value per element, empty when absent
    std::vector<double> max;  ///< likewise
};

/// A checked metadata.json.
///
/// Frame    absolute coordinates.
/// Threads  a plain value.
struct Metadata
{
    std::string name;                           ///< may be empty
    Encoding encoding = Encoding::Brotli;       ///< of the points
    Math::Point<double, 3> offset;              ///< absolute coordinate = stored integer x scale + offset
    Math::Point<double, 3> scale;               ///< see offset
    double spacing = 0.0;                       ///< of the root; halved once per level
    Math::NBoundingBox<double, 3> boundingBox;  ///< the root's
    std::uint64_t firstChunkSize = 0;           ///< bytes of the hierarchy chunk that starts with the root
    std::vector<Attribute> attributes;          ///< in storage order
    std::string coordinateSystem;               ///< in whatever words the file has; may be empty

    /// The attribute of that name, null when there is none.
    OCTREE_API const Attribute* attribute(std::string_view attributeName) const noexcept;

    /// The origin that loses least when coordinates are made relative to it: per axis the offset, from which
    /// stored integers count, or the cube's minimum where the offset lies outside the cube.
    OCTREE_API Math::Point<double, 3> referencePosition() const noexcept;

    /// The range of the attribute "position"; the root's box when the file does not say.
    OCTREE_API Math::NBoundingBox<double, 3> tightBoundingBox() const;

    /// The range of the attribute "intensity" cut to 16 bits; (0, 65535) when the file does not say.
    OCTREE_API std::pair<std::uint16_t, std::uint16_t> intensityRange() const noexcept;

    /// True when a colour channel's declared maximum exceeds 8 bits, so that all channels are to be divided
    /// by 256.
    OCTREE_API bool hasWideColors() const noexcept;
};

/// Reads and checks the text of a metadata.json; unknown fields are ignored.
/// @param file  the name for messages
/// @throws std::runtime_error  naming file, field and what was expected
OCTREE_API Metadata parseMetadata(std::string_view text, std::string_view file);

/// The same for a file of at most 4 MiB.
OCTREE_API Metadata readMetadata(const Core::ByteSource& file);
}  // namespace PoTree
