#include "render/renderer/fitPlane.h"

#include "render/renderer/sampleThree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>

namespace Render
{
namespace
{
using Point = Math::Point<float, 3>;
using Plane = Math::NPlane<float, 3>;

constexpr int kIterations = 100;  // with half of the points off the plane all fail twice in a million times
constexpr std::size_t kLeastPoints = 3;

Point difference(const Point& a, const Point& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Point cross(const Point& a, const Point& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

float dot(const Point& a, const Point& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Empty when the points lie too nearly on one line.
std::optional<Plane> planeThrough(const Point& p0, const Point& p1, const Point& p2)
{
    const Point normal = cross(difference(p1, p0), difference(p2, p0));
    const float length = std::sqrt(dot(normal, normal));
    if (length < std::numeric_limits<float>::epsilon())
    {
        return std::nullopt;
    }
    const Point unit(normal.x / length, normal.y / length, normal.z / length);
    return Plane(unit.x, unit.y, unit.z, -dot(unit, p0));
}

bool isInlier(const Plane& plane, const Point& point, double squaredThreshold)
{
    const double distance = plane.evaluate(point);
    return distance * distance < squaredThreshold;
}

std::size_t countInliers(const Plane& plane, std::span<const Point> points, double squaredThreshold)
{
    std::size_t count = 0;
    for (const Point& point : points)
    {
        count += isInlier(plane, point, squaredThreshold) ? 1 : 0;
    }
    return count;
}

using Vector = std::array<double, 3>;

/// The rows are points, stored by columns.
using Columns = std::array<std::vector<double>, 3>;

double dot(const std::vector<double>& a, const std::vector<double>& b)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        sum += a[i] * b[i];
    }
    return sum;
}

template <class Column>
void rotate(Column& a, Column& b, double cosine, double sine)
{
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        const double first = a[i];
        a[i] = cosine * first - sine * b[i];
        b[i] = sine * first + cosine * b[i];
    }
}

/// The right singular vector of the smallest singular value of the rows.
///
/// Turns pairs of columns until all are at right angles; the turns together are the right singular vectors,
/// the columns' lengths the singular values. Written out for the sake of a fixed order of operations. Source
/// M. R. Hestenes, "Inversion of Matrices by Biorthogonalization and Related Results", J. SIAM 6 (1958).
Vector leastSpreadDirection(Columns columns)
{
    constexpr int kMostSweeps = 30;          // converges quadratically; six are common
    constexpr double kRightAngle = 1.0e-15;  // cosine at the rounding of double precision
    std::array<Vector, 3> directions{Vector{1.0, 0.0, 0.0}, Vector{0.0, 1.0, 0.0}, Vector{0.0, 0.0, 1.0}};

    bool turned = true;
    for (int sweep = 0; turned && sweep < kMostSweeps; ++sweep)
    {
        turned = false;
        for (const auto& [p, q] : {std::array<std::size_t, 2>{0, 1}, {0, 2}, {1, 2}})
        {
            const double pp = dot(columns[p], columns[p]);
            const double qq = dot(columns[q], columns[q]);
            const double pq = dot(columns[p], columns[q]);
            if (!(std::abs(pq) > kRightAngle * std::sqrt(pp * qq)))
            {
                continue;
            }
            const double cotangent = (qq - pp) / (2.0 * pq);  // of twice the angle
            const double tangent = std::copysign(1.0, cotangent) /
                                   (std::abs(cotangent) + std::sqrt(1.0 + cotangent * cotangent));
            const double cosine = 1.0 / std::sqrt(1.0 + tangent * tangent);
            rotate(columns[p], columns[q], cosine, cosine * tangent);
            rotate(directions[p], directions[q], cosine, cosine * tangent);
            turned = true;
        }
    }

    std::size_t least = 0;
    for (std::size_t i = 1; i < columns.size(); ++i)
    {
        least = dot(columns[i], columns[i]) < dot(columns[least], columns[least]) ? i : least;
    }
    return directions[least];
}
}  // namespace

std::vector<std::uint32_t> robustPlaneInliers(std::span<const Point> points, double threshold)
{
    if (points.size() < kLeastPoints)
    {
        return {};
    }
    if (points.size() > std::numeric_limits<std::uint32_t>::max())
    {
        throw std::length_error("too many points for a plane fit");
    }
    const auto pointCount = static_cast<std::uint32_t>(points.size());
    const double squaredThreshold = threshold * threshold;

    std::mt19937 generator;  // the standard's seed, so every call draws the same numbers
    Plane bestPlane;
    std::size_t bestCount = 0;
    for (int iteration = 0; iteration < kIterations; ++iteration)
    {
        const auto [i0, i1, i2] = sampleThree(generator, pointCount);
        const std::optional<Plane> plane = planeThrough(points[i0], points[i1], points[i2]);
        if (!plane)
        {
            continue;
        }
        const std::size_t count = countInliers(*plane, points, squaredThreshold);
        if (count > bestCount)
        {
            bestCount = count;
            bestPlane = *plane;
        }
    }

    std::vector<std::uint32_t> inliers;
    if (bestCount == 0)
    {
        return inliers;
    }
    inliers.reserve(bestCount);
    for (std::uint32_t i = 0; i < pointCount; ++i)
    {
        if (isInlier(bestPlane, points[i], squaredThreshold))
        {
            inliers.push_back(i);
        }
    }
    return inliers;
}

std::optional<Plane> leastSquaresPlane(std::span<const Point> points, std::span<const std::uint32_t> indices)
{
    if (indices.size() < kLeastPoints)
    {
        return std::nullopt;
    }
    Vector centroid{};
    for (const std::uint32_t index : indices)
    {
        for (std::size_t axis = 0; axis < centroid.size(); ++axis)
        {
            centroid[axis] += points[index][axis];
        }
    }
    for (double& coordinate : centroid)
    {
        coordinate /= static_cast<double>(indices.size());
        if (!std::isfinite(coordinate))
        {
            return std::nullopt;
        }
    }

    Columns columns;
    for (std::size_t axis = 0; axis < columns.size(); ++axis)
    {
        columns[axis].reserve(indices.size());
        for (const std::uint32_t index : indices)
        {
            columns[axis].push_back(points[index][axis] - centroid[axis]);
        }
    }
    const Vector normal = leastSpreadDirection(std::move(columns));
    const double d = -(normal[0] * centroid[0] + normal[1] * centroid[1] + normal[2] * centroid[2]);
    return Plane(
        static_cast<float>(normal[0]),
        static_cast<float>(normal[1]),
        static_cast<float>(normal[2]),
        static_cast<float>(d)
    );
}

std::optional<Point> intersection(const Plane& plane, const Point& eye, const Point& target)
{
    const Point direction = difference(target, eye);
    const float denominator = dot(Point(plane.a, plane.b, plane.c), direction);
    const float eyeDistance = plane.evaluate(eye);
    float s = 0.0F;
    if (denominator == 0.0F)
    {
        if (eyeDistance != 0.0F)
        {
            return std::nullopt;
        }
    }
    else
    {
        s = -eyeDistance / denominator;
        if (!(s >= 0.0F))
        {
            return std::nullopt;
        }
    }
    return Point(eye.x + s * direction.x, eye.y + s * direction.y, eye.z + s * direction.z);
}
}  // namespace Render
