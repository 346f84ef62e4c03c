#include "render/pointcloud/filters/PrismFilter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
using Octree::BoxTestResult;
using Corner = Math::Point<float, 2>;

// Rounding of side() against the size of its products; what is nearer to a line than that counts as touching.
constexpr double kSideRounding = 1e-14;

struct Side
{
    double value;      ///< above 0 left of the edge, below 0 right of it, 0 on its line
    double magnitude;  ///< size of the two products that it is the difference of
};

Side side(const Corner& a, const Corner& b, double x, double y) noexcept
{
    const double first = (double{b.x} - double{a.x}) * (y - double{a.y});
    const double second = (double{b.y} - double{a.y}) * (x - double{a.x});
    return {first - second, std::abs(first) + std::abs(second)};
}

bool isBetween(double value, float a, float b) noexcept
{
    return value >= std::min(a, b) && value <= std::max(a, b);
}

void removeRepeatedCorners(std::vector<Corner>& polygon)
{
    polygon.erase(std::unique(polygon.begin(), polygon.end()), polygon.end());
    while (polygon.size() > 1 && polygon.front() == polygon.back())
    {
        polygon.pop_back();
    }
}

std::size_t countDifferent(std::vector<Corner> corners)
{
    const auto isLess = [](const Corner& a, const Corner& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; };
    std::sort(corners.begin(), corners.end(), isLess);
    return static_cast<std::size_t>(std::unique(corners.begin(), corners.end()) - corners.begin());
}

/// A ring without repeated corners.
std::vector<Corner> checkedRing(std::vector<Corner> polygon)
{
    for (const Corner& corner : polygon)
    {
        if (!std::isfinite(corner.x) || !std::isfinite(corner.y))
        {
            throw std::invalid_argument("PrismFilter: a corner of the polygon is not finite");
        }
    }
    removeRepeatedCorners(polygon);
    if (countDifferent(polygon) < 3)
    {
        throw std::invalid_argument("PrismFilter: a polygon needs at least three different corners");
    }
    return polygon;
}

/// How a place lies to a ring.
enum class Place
{
    Outside,
    Inside,
    OnBorder,
};

Place placeIn(const std::vector<Corner>& ring, double x, double y) noexcept
{
    bool isInside = false;
    const Corner* a = &ring.back();
    for (const Corner& b : ring)
    {
        // The lower end belongs to the edge, the upper one does not.
        const bool isLevel = (double{a->y} <= y) != (double{b.y} <= y);
        if (!isBetween(x, a->x, b.x) || !isBetween(y, a->y, b.y))
        {
            // Beside the edge no product decides: between corners of very different size all of it can be
            // lost in rounding, and then this answer would not be that of the boxes around the point.
            isInside = isInside != (isLevel && x < std::min(a->x, b.x));
            a = &b;
            continue;
        }
        const double where = side(*a, b, x, y).value;
        if (where == 0.0)
        {
            return Place::OnBorder;
        }
        // A ray towards +x crosses the edge.
        if (isLevel && (b.y > a->y ? where > 0.0 : where < 0.0))
        {
            isInside = !isInside;
        }
        a = &b;
    }
    return isInside ? Place::Inside : Place::Outside;
}

bool isEdgeNear(const std::vector<Corner>& ring, const Math::NBoundingBox<float, 3>& box) noexcept
{
    const Corner* a = &ring.back();
    for (const Corner& b : ring)
    {
        const bool isApart = std::max(a->x, b.x) < box.min().x || std::min(a->x, b.x) > box.max().x ||
                             std::max(a->y, b.y) < box.min().y || std::min(a->y, b.y) > box.max().y;
        if (!isApart)
        {
            bool isLeft = true;
            bool isRight = true;
            for (std::size_t i = 0; i < 4; ++i)
            {
                const Math::Point<float, 3> corner = box.corner(2 * i);  // the four at the lower height
                const Side where = side(*a, b, corner.x, corner.y);
                isLeft = isLeft && where.value > kSideRounding * where.magnitude;
                isRight = isRight && where.value < -kSideRounding * where.magnitude;
            }
            if (!isLeft && !isRight)
            {
                return true;
            }
        }
        a = &b;
    }
    return false;
}
}  // namespace

PrismFilter::PrismFilter(std::vector<Corner> polygon, float minZ, float maxZ) : mMinZ(minZ), mMaxZ(maxZ)
{
    mRings.push_back(checkedRing(std::move(polygon)));
    if (std::isnan(minZ) || std::isnan(maxZ))
    {
        throw std::invalid_argument("PrismFilter: a height is not a number");
    }
}

void PrismFilter::addHole(std::vector<Corner> polygon)
{
    mRings.push_back(checkedRing(std::move(polygon)));
}

bool PrismFilter::testPosition(const Math::Point<float, 3>& point)
{
    return point.z >= mMinZ && point.z <= mMaxZ && isInPolygon(point.x, point.y);
}

BoxTestResult PrismFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    if (mMinZ > mMaxZ || box.min().z > mMaxZ || box.max().z < mMinZ)
    {
        return BoxTestResult::Outside;
    }
    if (std::ranges::any_of(mRings, [&](const Ring& ring) { return isEdgeNear(ring, box); }))
    {
        return BoxTestResult::Border;
    }
    // no edge comes near the rectangle, so all of it lies where its centre lies
    const double x = (double{box.min().x} + double{box.max().x}) * 0.5;
    const double y = (double{box.min().y} + double{box.max().y}) * 0.5;
    if (!isInPolygon(x, y))
    {
        return BoxTestResult::Outside;
    }
    return box.min().z >= mMinZ && box.max().z <= mMaxZ ? BoxTestResult::Inside : BoxTestResult::Border;
}

bool PrismFilter::isInPolygon(double x, double y) const noexcept
{
    bool isInside = false;
    for (const Ring& ring : mRings)
    {
        const Place place = placeIn(ring, x, y);
        if (place == Place::OnBorder)
        {
            return true;  // borders of holes belong to the prism, too
        }
        isInside = isInside != (place == Place::Inside);
    }
    return isInside;
}
}  // namespace Render
