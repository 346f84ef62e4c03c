#include "render/pointcloud/filters/AttributeFilter.h"

#include <stdexcept>

namespace Render
{
AttributeFilter::AttributeFilter()
{
    mClassifications.set();
}

void AttributeFilter::setClassifications(const std::bitset<256>& classifications) noexcept
{
    mClassifications = classifications;
}

void AttributeFilter::setIntensities(std::uint16_t min, std::uint16_t max) noexcept
{
    mMinIntensity = min;
    mMaxIntensity = max;
}

void AttributeFilter::setReturns(const ReturnChoice& returns) noexcept
{
    mReturns = returns;
    mAsksForReturns = true;
}

void AttributeFilter::setEvery(std::uint64_t every)
{
    if (every == 0)
    {
        throw std::invalid_argument("AttributeFilter: every must be at least 1");
    }
    mEvery = every;
}

bool AttributeFilter::testAttributes(const PointAttributes& point)
{
    if (!mClassifications[point.classification] || point.intensity < mMinIntensity ||
        point.intensity > mMaxIntensity || (mAsksForReturns && !isReturnWanted(point)))
    {
        return false;
    }
    return mAcceptedCount++ % mEvery == 0;
}

bool AttributeFilter::isReturnWanted(const PointAttributes& point) const noexcept
{
    const bool isLast = point.returnNumber == point.returnCount;
    return mReturns.numbers[point.returnNumber] || (mReturns.last && isLast) ||
           (mReturns.single && point.returnCount == 1) ||
           (mReturns.intermediate && point.returnNumber > 1 && point.returnNumber < point.returnCount);
}
}  // namespace Render
