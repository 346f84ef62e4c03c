#pragma once

#include "render/Export.h"

#include <array>
#include <cstdint>

namespace Render
{
/// Counts 8-bit grey values and derives from them how to spread the picture over the whole range.
///
/// Threads  one thread.
class RENDER_API BrightnessHistogram
{
public:
    void add(std::uint8_t value) noexcept
    {
        ++mCounts[value];
        mIsCumulated = false;
    }

    /// The first value up to which at least this fraction of all values lies; 0 for an empty histogram.
    /// @param fraction  0 to 1
    unsigned quantile(float fraction);

    /// Finds the values for contrast x (colour + brightness - 0.5) + 0.5 that spread what lies between two
    /// quantiles over the given part of the range.
    ///
    /// Where both quantiles are the same value they are treated as one step apart, so that the contrast
    /// stays finite.
    /// @param quantile  fraction of the values at either end that may be lost
    /// @param range     part of the output range, 1 for all of it
    void brightnessAndContrast(float quantile, float range, float& brightness, float& contrast);

private:
    std::array<std::uint64_t, 256> mCounts{};
    std::array<std::uint64_t, 256> mCumulative{};
    bool mIsCumulated = false;
};
}  // namespace Render
