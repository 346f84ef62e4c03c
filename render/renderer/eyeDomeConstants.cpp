#include "render/renderer/EyeDomeConstants.h"

#include "render/scene/Camera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Render
{
namespace
{
constexpr float kDarkening = 100.0F;  // at strength 1, by a step of one height of the picture

std::int32_t pixels(float distance)
{
    return static_cast<std::int32_t>(std::max(1.0F, std::round(distance)));
}
}  // namespace

EyeDomeConstants eyeDomeConstants(const Camera& camera, const EyeDomeLighting& lighting)
{
    const Eigen::Matrix4f& projection = camera.projectionMatrix();
    const Viewport& viewport = camera.viewport();
    const float depthRange = viewport.maxDepth() - viewport.minDepth();

    EyeDomeConstants constants;
    constants.depthOfDistance = {projection(2, 2), projection(2, 3), projection(3, 2), projection(3, 3)};
    constants.minDepth = viewport.minDepth();
    constants.depthFactor = depthRange > 0.0F ? 1.0F / depthRange : 0.0F;
    constants.clearDepth = camera.clearDepthValue();
    // Half of the element (1, 1) is the picture's height by which a length at distance 1, or any length in a
    // parallel projection, is divided.
    constants.darkening = kDarkening * lighting.strength * std::abs(projection(1, 1)) / 2.0F;
    constants.straight = pixels(lighting.radius);
    constants.diagonal = pixels(lighting.radius / std::numbers::sqrt2_v<float>);
    constants.columns = static_cast<std::int32_t>(viewport.width());
    constants.rows = static_cast<std::int32_t>(viewport.height());
    return constants;
}
}  // namespace Render
