#include "render/renderer/PointScan.h"

#include <array>
#include <cassert>

namespace Render
{
namespace
{
template <class Write>
std::size_t scan(const FrameImages& images, ScanPosition& next, std::size_t maxCount, const Write& write)
{
    if (next.column >= images.width)  // the picture has become narrower since the last chunk
    {
        next = {0, next.row + 1};
    }
    std::size_t count = 0;
    while (count < maxCount && next.row < images.height)
    {
        const auto position = images.positions.texel<std::array<float, 4>>(next.column, next.row);
        if (position[3] > 0.0F)
        {
            write(count, position, images.colors.texel<Math::Color>(next.column, next.row));
            ++count;
        }
        ++next.column;
        if (next.column == images.width)
        {
            next.column = 0;
            ++next.row;
        }
    }
    return count;
}

int bgrInteger(const Math::Color& color)
{
    return color.r() | (color.g() << 8) | (color.b() << 16);
}
}  // namespace

std::size_t scanPoints(const FrameImages& images, ScanPosition& next, std::span<VertexPosColor> points)
{
    return scan(
        images,
        next,
        points.size(),
        [points](std::size_t i, const std::array<float, 4>& position, const Math::Color& color) {
            points[i] = VertexPosColor({position[0], position[1], position[2]}, color);
        }
    );
}

std::size_t scanPoints(
    const FrameImages& images, ScanPosition& next, std::span<double> positions, std::span<int> colors
)
{
    assert(positions.size() == 3 * colors.size());
    return scan(
        images,
        next,
        colors.size(),
        [positions, colors](std::size_t i, const std::array<float, 4>& position, const Math::Color& color)
        {
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                positions[3 * i + axis] = position[axis];
            }
            colors[i] = bgrInteger(color);
        }
    );
}
}  // namespace Render
