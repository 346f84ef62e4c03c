#include "render/renderer/scanSquare.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Render
{
namespace
{
template <class Visit>
void forEachHit(const MappedImage& positions, const SearchSquare& square, const Visit& visit)
{
    for (std::int32_t x = square.left; x < square.right; ++x)
    {
        for (std::int32_t y = square.top; y < square.bottom; ++y)
        {
            const auto texel = positions.texel<std::array<float, 4>>(
                static_cast<std::uint64_t>(x), static_cast<std::uint64_t>(y)
            );
            if (texel[3] > 0.0F)
            {
                visit(Math::Point<float, 3>(texel[0], texel[1], texel[2]));
            }
        }
    }
}

float squaredDistance(const Math::Point<float, 3>& a, const Math::Point<float, 3>& b)
{
    const float dx = a.x - b.x;
    const float dy = a.y - b.y;
    const float dz = a.z - b.z;
    return dx * dx + dy * dy + dz * dz;
}
}  // namespace

std::optional<Math::Point<float, 3>> closestHit(
    const MappedImage& positions, const SearchSquare& square, const Math::Point<float, 3>& eye
)
{
    std::optional<Math::Point<float, 3>> closest;
    std::optional<Math::Point<float, 3>> withoutDistance;
    float best = std::numeric_limits<float>::max();
    forEachHit(
        positions,
        square,
        [&](const Math::Point<float, 3>& hit)
        {
            const float distance = squaredDistance(eye, hit);
            if (distance < best)
            {
                best = distance;
                closest = hit;
            }
            else if (std::isnan(distance) && !withoutDistance)
            {
                withoutDistance = hit;
            }
        }
    );
    return closest ? closest : withoutDistance;
}

std::vector<Math::Point<float, 3>> distinctHits(const MappedImage& positions, const SearchSquare& square)
{
    std::vector<Math::Point<float, 3>> hits;
    hits.reserve(square.size());
    forEachHit(positions, square, [&](const Math::Point<float, 3>& hit) { hits.push_back(hit); });
    hits.erase(std::unique(hits.begin(), hits.end()), hits.end());
    return hits;
}
}  // namespace Render
