#pragma once

#include "math/Color.h"

#include <cstdint>

namespace Render
{
/// What a query knows of a point beside its place. What the data set does not have is 0.
struct PointAttributes
{
    Math::Color color;                ///< the colour to draw with
    std::uint16_t intensity = 0;      ///< as stored
    std::uint8_t classification = 0;  ///< as stored
    std::uint32_t scanIndex = 0;      ///< as stored
    std::uint8_t returnNumber = 0;    ///< 0 also where the query was not asked for it
    std::uint8_t returnCount = 0;     ///< likewise
    double gpsTime = 0.0;             ///< likewise
};

/// Chooses among the points of a region by what is known of them.
///
/// Threads  a query asks on the thread that uses it.
class IAttributeFilter
{
public:
    /// Whether the point is wanted. A query asks once about each point of its region, in the order in which they
    /// are handed out.
    virtual bool testAttributes(const PointAttributes& point) = 0;

    virtual ~IAttributeFilter() = default;

protected:
    IAttributeFilter() = default;
    IAttributeFilter(const IAttributeFilter&) = default;
    IAttributeFilter& operator=(const IAttributeFilter&) = default;
};
}  // namespace Render
