#include "apps/cli/CoarsePoints.h"

#include "apps/cli/HierarchyStatistics.h"
#include <octree/NodePointData.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace Cli
{
namespace
{
constexpr std::size_t kEnough = 20'000;  // points
constexpr double kOutliers = 0.01;       // of the intensities at either end
constexpr int kLookAlike = 24;           // steps of a channel
constexpr double kMost = 0.9;            // of the points
constexpr double kMeets = 1.5;  // diameters of discs, in distances of their centres, that leave no gaps
constexpr double kOrdinarySize = 5.1;  // of points at level 0, in spacings

std::array<int, 3> channels(const Math::Color& color)
{
    return {int{color.r()}, int{color.g()}, int{color.b()}};
}

/// Whether colours would be taken for one another.
bool areAlike(const Math::Color& a, const Math::Color& b)
{
    const std::array<int, 3> left = channels(a);
    const std::array<int, 3> right = channels(b);
    return std::abs(left[0] - right[0]) < kLookAlike && std::abs(left[1] - right[1]) < kLookAlike &&
           std::abs(left[2] - right[2]) < kLookAlike;
}

/// Whether most colours are like this one.
bool areMostAlike(const std::vector<Math::Color>& colors, const Math::Color& color)
{
    const auto count =
        std::ranges::count_if(colors, [&](const Math::Color& c) { return areAlike(c, color); });
    return static_cast<double>(count) > kMost * static_cast<double>(colors.size());
}
}  // namespace

CoarsePoints readCoarsePoints(const Octree::Octree& octree)
{
    const unsigned present = octree.attributeMask();
    CoarsePoints points;
    visitNodes(
        octree,
        [&](const Octree::NodeInfo& node)
        {
            Octree::NodePointData data(
                Octree::kPositionAttribute |
                (present & (unsigned{Octree::kColorAttribute} | unsigned{Octree::kIntensityAttribute}))
            );
            octree.readNodePointData(node.id, data);
            const Octree::NodePointColumns& columns = data.columns();
            points.colors.insert(points.colors.end(), columns.colors.begin(), columns.colors.end());
            points.intensities.insert(
                points.intensities.end(), columns.intensities.begin(), columns.intensities.end()
            );
            points.count += columns.pointCount;
            if (columns.pointCount > 0)
            {
                points.deepestLevel = std::max(points.deepestLevel, static_cast<int>(node.id.level()));
            }
            points.areAll = points.count < kEnough;
            return points.areAll;
        }
    );
    std::ranges::sort(points.intensities);
    return points;
}

std::optional<Octree::IntensityRange> usualIntensities(const CoarsePoints& points)
{
    if (points.intensities.empty() || points.intensities.front() == points.intensities.back())
    {
        return std::nullopt;
    }
    const auto last = static_cast<double>(points.intensities.size() - 1);
    const auto at = [&](double place)
    { return points.intensities[static_cast<std::size_t>(std::lround(place * last))]; };
    const Octree::IntensityRange range{at(kOutliers), at(1.0 - kOutliers)};
    return isPossible(range) ? range
                             : Octree::IntensityRange{points.intensities.front(), points.intensities.back()};
}

std::optional<double> sizeOfSparsePoints(
    const CoarsePoints& points, const Math::NBoundingBox<float, 3>& box, double spacing
)
{
    if (!points.areAll || points.count == 0)
    {
        return std::nullopt;
    }
    std::array<double, 3> sides{
        double{box.max().x} - double{box.min().x},
        double{box.max().y} - double{box.min().y},
        double{box.max().z} - double{box.min().z}};
    std::ranges::sort(sides);
    const double apart = std::sqrt(sides[1] * sides[2] / static_cast<double>(points.count));
    const double size = kMeets * apart * std::exp2(points.deepestLevel);
    return size > kOrdinarySize * spacing ? std::optional(size) : std::nullopt;
}

UsefulColoring usefulColoring(const CoarsePoints& points, const Math::Color& background)
{
    const bool hasIntensities = usualIntensities(points).has_value();
    if (points.colors.empty())
    {
        return hasIntensities ? UsefulColoring::Stored : UsefulColoring::Height;
    }
    const bool isUseful = !areMostAlike(points.colors, background) &&
                          !areMostAlike(points.colors, points.colors[points.colors.size() / 2]);
    return isUseful ? UsefulColoring::Stored
                    : (hasIntensities ? UsefulColoring::Intensity : UsefulColoring::Height);
}
}  // namespace Cli
