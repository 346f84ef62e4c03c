#pragma once

#include "apps/cli/CoarsePoints.h"
#include "apps/cli/SceneOptions.h"
#include <octree/IntensityRange.h>
#include <render/pointcloud/PointLook.h>
#include <render/pointcloud/pointClasses.h>
#include <render/renderer/ColorMap.h>

#include <optional>

namespace Cli
{
/// A colour of a map, as the renderer has it.
/// @param x  from the beginning, 0, to the end, 1
Math::Color colorOf(Render::ColorMap map, float x);

/// The names and colours of the classes that the options change.
/// @throws CLI::ValidationError  for what makes no sense
Render::PointClasses pointClasses(const SceneOptions& options);

/// What points are coloured and hidden by.
/// @param range  what the intensities of the cloud are spread over; none for their upper bytes
/// @throws CLI::ValidationError  for what makes no sense
Render::PointLook pointLook(const SceneOptions& options, const std::optional<Octree::IntensityRange>& range);

/// What the intensities of a cloud are spread over: what the options say, the shown intensities if some are
/// hidden, the usual ones where the picture is made of intensities, or nothing.
/// @param hasColors  whether points have colours of their own
/// @throws CLI::ValidationError  for what makes no sense
std::optional<Octree::IntensityRange> shownIntensities(
    const SceneOptions& options, const CoarsePoints& points, bool isByIntensity
);
}  // namespace Cli
