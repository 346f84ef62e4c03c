#include "render/scene/Viewport.h"

#include <ostream>

namespace Render
{
void Viewport::set(std::int32_t x, std::int32_t y, std::uint64_t width, std::uint64_t height) noexcept
{
    mX = x;
    mY = y;
    mWidth = width;
    mHeight = height;
}

void Viewport::set(std::uint64_t width, std::uint64_t height) noexcept
{
    set(0, 0, width, height);
}

void Viewport::setDepthRange(float min, float max) noexcept
{
    mMinDepth = min;
    mMaxDepth = max;
}

double Viewport::aspectRatio() const noexcept
{
    return static_cast<double>(static_cast<float>(mWidth) / static_cast<float>(mHeight));
}

std::ostream& operator<<(std::ostream& stream, const Viewport& viewport)
{
    return stream << "[" << viewport.x() << ", " << viewport.y() << ", " << viewport.width() << ", "
                  << viewport.height() << ", " << viewport.minDepth() << ", " << viewport.maxDepth() << "]";
}
}  // namespace Render
