#pragma once

#include "math/Color.h"
#include "math/Point.h"
#include "octree/Export.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Octree
{
/// Bits that name the attributes of points; or-ed together they say which ones are wanted or present.
enum AttributeMask : unsigned
{
    kNoAttributes = 0,
    kPositionAttribute = 1,
    kColorAttribute = 2,
    kIntensityAttribute = 4,
    kClassificationAttribute = 8,
    kScanIndexAttribute = 16,
    kVisibilityAttribute = 32,
    kNormalAttribute = 64,
    kAllAttributes = 127,  ///< all that drawing and its caches know
    // What was recorded with a point. Only who asks for these by their bits gets them, and only as arrays.
    kReturnNumberAttribute = 128,
    kReturnCountAttribute = 256,
    kGpsTimeAttribute = 512,
    kPointSourceAttribute = 1024,  ///< where it is not the scan index
    kUserDataAttribute = 2048,
    kScanAngleAttribute = 4096,
    kRecordAttributes = 8064,  ///< all of these
};

constexpr bool hasPosition(unsigned mask) noexcept
{
    return (mask & kPositionAttribute) != 0;
}

constexpr bool hasColor(unsigned mask) noexcept
{
    return (mask & kColorAttribute) != 0;
}

constexpr bool hasIntensity(unsigned mask) noexcept
{
    return (mask & kIntensityAttribute) != 0;
}

constexpr bool hasClassification(unsigned mask) noexcept
{
    return (mask & kClassificationAttribute) != 0;
}

constexpr bool hasScanIndex(unsigned mask) noexcept
{
    return (mask & kScanIndexAttribute) != 0;
}

constexpr bool hasVisibility(unsigned mask) noexcept
{
    return (mask & kVisibilityAttribute) != 0;
}

constexpr bool hasNormal(unsigned mask) noexcept
{
    return (mask & kNormalAttribute) != 0;
}

/// The arrays of a node's points, one per attribute, in storage order.
///
/// An array is either pointCount long or, when the attribute is not wanted or the data set does not have
/// it, empty.
/// Frame    positions relative to the octree's position, times its unit scale (Octree::Octree).
struct OCTREE_API NodePointColumns
{
    std::size_t pointCount = 0;                     ///< how many points there are
    std::vector<Math::Point<double, 3>> positions;  ///< see above
    std::vector<Math::Color> colors;                ///< the colour to draw with, see NodePointData::color
    std::vector<std::uint16_t> intensities;         ///< as stored
    std::vector<std::uint8_t> classifications;      ///< as stored
    std::vector<std::uint32_t> scanIndices;         ///< as stored
    std::vector<std::uint8_t> visibilities;         ///< 0 visible, anything else hidden
    std::vector<Math::Point<float, 3>> normals;     ///< as stored
    std::vector<std::uint8_t> returnNumbers;        ///< 1 for the first return of a pulse
    std::vector<std::uint8_t> returnCounts;         ///< returns of the pulse
    std::vector<double> gpsTimes;                   ///< as stored
    std::vector<std::uint16_t> pointSources;        ///< as stored
    std::vector<std::uint8_t> userData;             ///< as stored
    std::vector<float> scanAngles;                  ///< degrees

    /// Empties all arrays without giving up their storage.
    void clear() noexcept;

    /// Gives up the storage when it has room for more than that many points; empties all arrays then.
    void releaseAbove(std::size_t keptPointCount) noexcept;
};

/// The decoded points of one node with the attributes that its user wants.
///
/// Storage is kept when the object is filled again, so one object per thread serves as scratch memory.
/// Threads  a plain value.
class OCTREE_API NodePointData
{
public:
    /// @param attributeMask  the attributes to fill, all by default
    explicit NodePointData(unsigned attributeMask = kAllAttributes) noexcept : mAttributeMask(attributeMask)
    {
    }

    /// The attributes that are wanted.
    unsigned attributeMask() const noexcept { return mAttributeMask; }

    /// Number of points.
    std::size_t size() const noexcept { return mColumns.pointCount; }

    /// Of a point in the octree's frame; not range checked.
    const Math::Point<double, 3>& position(std::size_t i) const noexcept { return mColumns.positions[i]; }

    /// The colour to draw the point with: its own where the data set has colours, else grey by its
    /// intensity within the data set's range, else opaque white; packed as Math::Color does (0xAARRGGBB).
    unsigned int color(std::size_t i) const noexcept { return mColumns.colors[i].packed(); }

    /// The arrays: filled by the readers, read by those who want whole columns.
    NodePointColumns& columns() noexcept { return mColumns; }

    /// The same, to read only.
    const NodePointColumns& columns() const noexcept { return mColumns; }

private:
    unsigned mAttributeMask;
    NodePointColumns mColumns;
};
}  // namespace Octree
