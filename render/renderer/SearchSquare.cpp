#include "render/renderer/SearchSquare.h"

#include <algorithm>
#include <limits>

namespace Render
{
namespace
{
constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();

/// As a signed number with room for sums; larger ones count as the largest 32-bit number, beyond any picture.
std::int64_t saturated(std::uint64_t value)
{
    return static_cast<std::int64_t>(std::min<std::uint64_t>(value, kLargest));
}

std::int32_t clampedTo(std::int64_t value, std::uint64_t size)
{
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, 0, saturated(size) - 1));
}
}  // namespace

std::size_t SearchSquare::size() const noexcept
{
    return isEmpty() ? 0 : static_cast<std::size_t>(right - left) * static_cast<std::size_t>(bottom - top);
}

SearchSquare searchSquare(
    std::uint64_t x, std::uint64_t y, std::uint64_t tolerance, std::uint64_t width, std::uint64_t height
) noexcept
{
    if (width == 0 || height == 0)
    {
        return {};
    }
    const std::int64_t column = saturated(x);
    const std::int64_t row = saturated(y);
    const std::int64_t reach = saturated(tolerance);
    return {
        clampedTo(column - reach, width),
        clampedTo(row - reach, height),
        clampedTo(column + reach, width),
        clampedTo(row + reach, height),
    };
}
}  // namespace Render
