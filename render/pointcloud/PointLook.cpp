#include "render/pointcloud/PointLook.h"

#include <algorithm>

namespace Render
{
bool PointLook::hidesNothing() const noexcept
{
    return shownClasses.all() && leastIntensity == 0 && greatestIntensity == 255 && !showsListedScans &&
           listedScans.empty();
}

PointLookData dataOf(const PointLook& look)
{
    constexpr std::uint32_t kBits = 32;
    PointLookData data;
    std::ranges::transform(
        look.colors,
        data.colors.begin(),
        [](const Math::Color& color)
        {
            return std::uint32_t{color.b()} | std::uint32_t{color.g()} << 8U |
                   std::uint32_t{color.r()} << 16U | std::uint32_t{color.a()} << 24U;
        }
    );
    for (std::uint32_t i = 0; i < look.shownClasses.size(); ++i)
    {
        data.classes[i / kBits] |= std::uint32_t{look.shownClasses[i]} << (i % kBits);
    }
    data.leastIntensity = look.leastIntensity;
    data.greatestIntensity = look.greatestIntensity;
    data.scans.fill(look.showsListedScans ? 0U : ~0U);
    for (const std::uint16_t scan : look.listedScans)
    {
        const std::uint32_t bit = 1U << (scan % kBits);
        std::uint32_t& word = data.scans[scan / kBits];
        word = look.showsListedScans ? word | bit : word & ~bit;
    }
    return data;
}
}  // namespace Render
