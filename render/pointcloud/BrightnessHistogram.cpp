#include "render/pointcloud/BrightnessHistogram.h"

#include <algorithm>
#include <numeric>

namespace Render
{
unsigned BrightnessHistogram::quantile(float fraction)
{
    if (!mIsCumulated)
    {
        std::partial_sum(mCounts.begin(), mCounts.end(), mCumulative.begin());
        mIsCumulated = true;
    }
    // In single precision, so that 0.2 of 5 values is 1 value.
    const float wanted = static_cast<float>(mCumulative.back()) * fraction;
    const auto found = std::find_if(
        mCumulative.begin(),
        mCumulative.end(),
        [wanted](std::uint64_t count) { return static_cast<float>(count) >= wanted; }
    );
    // None is found for a fraction above 1, or one that is no number.
    return found != mCumulative.end() ? static_cast<unsigned>(found - mCumulative.begin()) : 255U;
}

void BrightnessHistogram::brightnessAndContrast(
    float quantile, float range, float& brightness, float& contrast
)
{
    constexpr float kStep = 1.0F / 255.0F;
    const unsigned lowValue = this->quantile(quantile);
    const unsigned highValue = this->quantile(1.0F - quantile);
    const float low = static_cast<float>(lowValue) * kStep;
    const float high = static_cast<float>(highValue) * kStep;
    const float spread = lowValue == highValue ? kStep : high - low;
    brightness = 0.5F - (high + low) * 0.5F;
    contrast = range / spread;
}
}  // namespace Render
