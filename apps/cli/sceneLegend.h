#pragma once

#include "apps/cli/Legend.h"
#include "apps/cli/SceneOptions.h"
#include <math/Color.h>
#include <math/Point.h>
#include <render/pointcloud/PointCloudRenderable.h>
#include <render/renderer/Renderer.h>
#include <render/scene/Renderable.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace Cli
{
/// A scene that has been drawn, as far as a legend tells of it.
struct LegendScene
{
    struct Cloud
    {
        std::shared_ptr<Render::PointCloudRenderable> renderable;
        bool hasColors = false;  ///< of its own
    };

    Render::Renderer& renderer;
    std::vector<Cloud> clouds;
    std::vector<std::shared_ptr<Render::Renderable>> others;
    Math::Point<double, 3> colorizeFrom;  ///< where the colour map of heights begins, absolute
    Math::Point<double, 3> colorizeTo;    ///< likewise its end
    double targetDepth = 0.0;             ///< of what the camera looks at, along its direction
    std::uint64_t pictureHeight = 0;      ///< pixels
};

/// Explains a picture: the colour map with the numbers at its ends, or the classes or scans that are seen, the
/// scale, and where the north is. To find out what is seen it draws the scene once more, in other colours,
/// without what is no cloud.
/// @throws CLI::ValidationError  for options that make no sense
Legend sceneLegend(const LegendScene& scene, const SceneOptions& options);

/// What pixels look like that show nothing.
Math::Color emptyColor(const Render::Renderer& renderer);
}  // namespace Cli
