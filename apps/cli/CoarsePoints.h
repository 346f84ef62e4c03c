#pragma once

#include <math/Color.h>
#include <math/NBoundingBox.h>
#include <octree/IntensityRange.h>
#include <octree/Octree.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace Cli
{
/// What the uppermost levels of a data set look like, from which the look of a picture is chosen.
struct CoarsePoints
{
    std::vector<Math::Color> colors;         ///< empty where points have none
    std::vector<std::uint16_t> intensities;  ///< in rising order; empty where points have none
    std::uint64_t count = 0;                 ///< of points
    int deepestLevel = 0;                    ///< of those that were read
    bool areAll = true;                      ///< whether the data set has no others
};

/// Some ten thousand points, or all of a small data set.
/// @throws std::runtime_error  naming the file that cannot be read
CoarsePoints readCoarsePoints(const Octree::Octree& octree);

/// From the intensity that one point in a hundred lies below to the one that one in a hundred lies above;
/// nothing where there are no two intensities.
std::optional<Octree::IntensityRange> usualIntensities(const CoarsePoints& points);

/// The size of points at level 0, data units, by which a small data set shows a surface although its points lie
/// farther apart than its levels say; nothing for data sets that need no other size.
/// @param box      around all points
/// @param spacing  of level 0
std::optional<double> sizeOfSparsePoints(
    const CoarsePoints& points, const Math::NBoundingBox<float, 3>& box, double spacing
);

/// What shows the shapes of a cloud.
enum class UsefulColoring
{
    Stored,     ///< the colours, or greys by intensity where there are none
    Intensity,  ///< greys, though there are colours
    Height,
};

/// The colours where they differ from each other and most of them from the background, else the intensities
/// where those differ, else the height.
UsefulColoring usefulColoring(const CoarsePoints& points, const Math::Color& background);
}  // namespace Cli
