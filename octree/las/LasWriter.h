#pragma once

#include "octree/Export.h"
#include "octree/las/LasPoint.h"

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace Las
{
class LasSink;
class LazEncoder;

/// What a LAS file is to be.
struct LasFileOptions
{
    bool isCompressed = false;                         ///< by LASzip, in chunks of 50000 points
    bool hasColors = false;                            ///< point format 7, else 6
    std::array<double, 3> scale{0.001, 0.001, 0.001};  ///< above 0: coordinate = integer x scale + offset
    std::array<double, 3> offset{};                    ///< finite; see scale
    std::string coordinateSystem = {};                 ///< WKT; empty for none
};

/// Writes a file of LAS 1.4, point by point. Header and bounds are right after finish().
///
/// Threads  one at a time.
/// Source   LAS 1.4 R15 (ASPRS, 2019).
class LasWriter
{
public:
    /// @param sink  gets the bytes, from none on; must live as long
    /// @throws std::invalid_argument  for a scale or offset that is none, or a coordinate system of more than
    ///                                65534 bytes
    OCTREE_API LasWriter(LasSink& sink, const LasFileOptions& options);
    OCTREE_API ~LasWriter();
    LasWriter(const LasWriter&) = delete;
    LasWriter& operator=(const LasWriter&) = delete;

    /// Adds a point.
    OCTREE_API void add(const LasPoint& point);

    /// Completes the file; must be called once.
    OCTREE_API void finish();

    /// The integer that a coordinate is stored as: the nearest one.
    /// @throws std::out_of_range  when it has more than 32 bits, or the coordinate is not a number
    OCTREE_API std::int32_t stored(double coordinate, std::size_t axis) const;

private:
    std::string header() const;

    LasSink& mSink;
    LasFileOptions mOptions;
    std::string mRecords;  // that stand between header and points
    std::uint32_t mRecordCount = 0;
    std::unique_ptr<LazEncoder> mEncoder;  // of compressed files
    std::string mBlock;                    // of points, of others
    std::uint64_t mCount = 0;
    std::array<std::uint64_t, 15> mCountsByReturn{};
    std::array<std::int32_t, 3> mMin;
    std::array<std::int32_t, 3> mMax;
    bool mIsWeekTime = true;  // no time is none of a week
};

/// Whether a coordinate system is in well-known text, the only kind that point formats from 6 on can have.
OCTREE_API bool isWellKnownText(std::string_view coordinateSystem) noexcept;
}  // namespace Las
