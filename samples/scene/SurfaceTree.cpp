#include "samples/scene/SurfaceTree.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>
#include <variant>

namespace Samples
{
namespace
{
constexpr std::uint32_t kLeafSize = 4;
constexpr double kLeafTransmittance = 0.62;  // of one clump of leaves
constexpr double kDark = 0.02;

std::optional<ShapeHit> intersect(const Shape& shape, const Ray& ray, double maxDistance)
{
    return std::visit([&](const auto& any) { return any.intersect(ray, maxDistance); }, shape);
}

std::array<double, 3> components(Vector v)
{
    return {v.x, v.y, v.z};
}

/// True when the ray passes through the box within the distance.
bool meets(const Bounds& bounds, Vector origin, Vector inverse, double maxDistance)
{
    double from = 0;
    double to = maxDistance;
    const auto clip = [&](double start, double scale, double low, double high)
    {
        const double a = (low - start) * scale;
        const double b = (high - start) * scale;
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
    };
    clip(origin.x, inverse.x, bounds.min.x, bounds.max.x);
    clip(origin.y, inverse.y, bounds.min.y, bounds.max.y);
    clip(origin.z, inverse.z, bounds.min.z, bounds.max.z);
    return from <= to;
}
}  // namespace

SurfaceTree::SurfaceTree(std::span<const Surface> surfaces) : mSurfaces(surfaces), mOrder(surfaces.size())
{
    std::iota(mOrder.begin(), mOrder.end(), 0U);
    for (const Surface& surface : surfaces)
    {
        mBounds.push_back(std::visit([](const auto& any) { return any.bounds(); }, surface.shape));
    }
    if (!surfaces.empty())
    {
        build(0, static_cast<std::uint32_t>(surfaces.size()));
    }
}

void SurfaceTree::build(std::uint32_t first, std::uint32_t count)
{
    const std::size_t self = mNodes.size();
    Bounds bounds = mBounds[mOrder[first]];
    for (std::uint32_t i = 1; i < count; ++i)
    {
        bounds.include(mBounds[mOrder[first + i]]);
    }
    mNodes.push_back({bounds, first, count});
    if (count <= kLeafSize)
    {
        return;
    }
    const std::array<double, 3> size = components(bounds.max - bounds.min);
    const auto axis = static_cast<std::size_t>(std::ranges::max_element(size) - size.begin());
    const auto key = [&](std::uint32_t index)
    { return std::pair(components(mBounds[index].min + mBounds[index].max)[axis], index); };
    const auto begin = mOrder.begin() + first;
    std::ranges::sort(begin, begin + count, {}, key);

    mNodes[self].count = 0;
    build(first, count / 2);
    mNodes[self].first = static_cast<std::uint32_t>(mNodes.size());
    build(first + count / 2, count - count / 2);
}

template <class Visit>
void SurfaceTree::walk(const Ray& ray, const double& maxDistance, Visit visit) const
{
    if (mNodes.empty())
    {
        return;
    }
    // a number in place of infinity, so that 0 times it stays a number
    const auto inverse = [](double value) { return value != 0 ? 1 / value : 1e300; };
    const Vector scale{inverse(ray.direction.x), inverse(ray.direction.y), inverse(ray.direction.z)};
    std::array<std::uint32_t, 64> waiting{};  // halving 2^32 surfaces takes fewer steps
    std::size_t depth = 1;
    while (depth > 0)
    {
        const std::uint32_t index = waiting[--depth];
        const Node& node = mNodes[index];
        if (!meets(node.bounds, ray.origin, scale, maxDistance))
        {
            continue;
        }
        if (node.count == 0)
        {
            waiting[depth++] = node.first;
            waiting[depth++] = index + 1;
            continue;
        }
        for (std::uint32_t i = 0; i < node.count; ++i)
        {
            if (!visit(mOrder[node.first + i]))
            {
                return;
            }
        }
    }
}

std::optional<SurfaceHit> SurfaceTree::nearest(const Ray& ray, double maxDistance) const
{
    std::optional<SurfaceHit> best;
    const auto visit = [&](std::uint32_t index)
    {
        if (const std::optional<ShapeHit> hit = intersect(mSurfaces[index].shape, ray, maxDistance))
        {
            best = SurfaceHit{index, *hit};
            maxDistance = hit->distance;
        }
        return true;
    };
    walk(ray, maxDistance, visit);
    return best;
}

double SurfaceTree::transmittance(const Ray& ray, double maxDistance) const
{
    double light = 1;
    const auto visit = [&](std::uint32_t index)
    {
        const Surface& surface = mSurfaces[index];
        if (intersect(surface.shape, ray, maxDistance))
        {
            light *= isFoliage(surface.finish.material) ? kLeafTransmittance : 0;
        }
        return light > kDark;
    };
    walk(ray, maxDistance, visit);
    return light > kDark ? light : 0;
}
}  // namespace Samples
