#pragma once

#include "octree/Export.h"
#include "octree/potree/Metadata.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace PoTree
{
/// Where the attributes that are read lie within a point's bytes, in attribute-list order.
///
/// An offset is the number of bytes of a point before the attribute: in columns it times the point count is
/// where the column begins, in rows where the value lies within its row. An attribute of a size that is not
/// the usual one is not read. Positions and colours take 16 and 8 bytes in the Brotli encoding, whatever
/// the metadata says.
struct PointLayout
{
    Encoding encoding = Encoding::Brotli;                   ///< of the points
    std::uint64_t bytesPerPoint = 0;                        ///< of all attributes together
    std::optional<std::uint64_t> position;                  ///< offset, see above
    std::optional<std::uint64_t> rgb;                       ///< offset
    std::optional<std::uint64_t> intensity;                 ///< offset
    std::optional<std::uint64_t> classification;            ///< offset
    std::optional<std::uint64_t> scanIndex;                 ///< offset
    std::optional<std::uint64_t> visibility;                ///< offset
    std::optional<std::uint64_t> octahedralNormal;          ///< offset
    std::optional<std::array<std::uint64_t, 3>> normalXyz;  ///< offsets

    std::optional<std::uint64_t> returnNumber;    ///< offset
    std::optional<std::uint64_t> returnCount;     ///< offset
    std::optional<std::uint64_t> gpsTime;         ///< offset
    std::optional<std::uint64_t> pointSource;     ///< offset
    std::optional<std::uint64_t> userData;        ///< offset
    std::optional<std::uint64_t> scanAngleRank;   ///< offset; degrees
    std::optional<std::uint64_t> scanAngleSteps;  ///< offset; 0.006 degrees

    /// Octree::AttributeMask bits of what points have.
    OCTREE_API unsigned attributeMask() const noexcept;

    /// The same, bits of Octree::kRecordAttributes.
    OCTREE_API unsigned recordMask() const noexcept;
};

/// @param file  the name for messages
/// @throws std::runtime_error  when plain rows have positions or colours of another size than three 32-bit
///                             or 16-bit numbers
OCTREE_API PointLayout makePointLayout(const Metadata& metadata, std::string_view file);
}  // namespace PoTree
