#include "octree/fillWithGrey.h"

#include <algorithm>
#include <cstddef>

namespace Octree
{
void fillWithGrey(
    std::span<const std::uint16_t> intensities,
    const std::pair<std::uint16_t, std::uint16_t>& range,
    std::span<Math::Color> out
)
{
    const auto [min, max] = range;
    if (min >= max)
    {
        std::ranges::fill(out, Math::Color::white(255));
        return;
    }
    // exact: the quotient's distance to the next whole number is at least 1/65535, twice the rounding below
    // 256
    const auto lowest = static_cast<float>(min);
    const auto width = static_cast<float>(max - min);
    for (std::size_t i = 0; i < intensities.size(); ++i)
    {
        const float grey = (static_cast<float>(intensities[i]) - lowest) * 255.0F / width;
        const auto channel = static_cast<unsigned char>(std::clamp(grey, 0.0F, 255.0F));
        out[i].set(channel, channel, channel, 255);
    }
}

void fillWithGrey(
    std::span<const std::uint16_t> intensities,
    const std::pair<std::uint16_t, std::uint16_t>& range,
    std::vector<Math::Color>& out
)
{
    out.resize(intensities.size());
    fillWithGrey(intensities, range, std::span(out));
}
}  // namespace Octree
