#include "samples/SamplePanorama.h"

#include "graphics/writePanorama.h"
#include "samples/runInParallel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace Samples
{
namespace
{
constexpr double kFarthest = 2.0 * SampleScene::kSize;  // beyond the other end of the scene
constexpr double kDepthSteps = 128.0;                   // codes for a metre: 511 m in all
constexpr std::uint16_t kNoDepth = 0;
constexpr Math::Color kSky(196, 216, 238, 255);

/// Where pixel (x, y) of a panorama looks.
Vector directionOf(double x, double y, std::uint32_t width, std::uint32_t height)
{
    const double longitude = std::numbers::pi * (1.0 - 2.0 * x / width);
    const double latitude = std::numbers::pi * (0.5 - y / height);
    return {
        std::cos(latitude) * std::cos(longitude),
        std::cos(latitude) * std::sin(longitude),
        std::sin(latitude)};
}

unsigned char toByte(double channel)
{
    return static_cast<unsigned char>(std::lround(std::clamp(channel, 0.0, 1.0) * 255.0));
}

std::uint16_t toCode(double metres)
{
    constexpr double kLargest = std::numeric_limits<std::uint16_t>::max() - 1;  // the last says "nothing"
    return static_cast<std::uint16_t>(std::clamp(std::round(metres * kDepthSteps), 1.0, kLargest));
}
}  // namespace

void writeSamplePanorama(
    const std::filesystem::path& folder, const SampleScene& scene, const SamplePanoramaOptions& options
)
{
    if (options.width == 0 || options.width % 2 != 0)
    {
        throw std::invalid_argument("Error: the width of a panorama must be even");
    }
    if (options.scanner >= scene.scanners().size())
    {
        throw std::invalid_argument("Error: the scene has no such scanner");
    }
    const Vector center = scene.scanners()[options.scanner];
    const std::uint32_t width = options.width;
    const std::uint32_t height = width / 2;
    Graphics::ColorImage color(width, height);
    Graphics::Gray16Image depth{width, height, {}};
    depth.values.resize(std::size_t{width} * height, kNoDepth);

    const auto takeRow = [&](std::size_t y)
    {
        for (std::uint32_t x = 0; x < width; ++x)
        {
            const Vector direction = directionOf(x + 0.5, static_cast<double>(y) + 0.5, width, height);
            const std::optional<SceneHit> hit = scene.raycast({center, direction}, kFarthest);
            Math::Color seen = kSky;
            if (hit)
            {
                const Tint tint = scene.color(hit->place);
                seen = Math::Color(toByte(tint.r), toByte(tint.g), toByte(tint.b), 255);
                depth.values[y * width + x] = toCode(hit->distance);
            }
            color.setPixel(x, y, seen);
        }
    };
    runInParallel(height, options.threadCount, takeRow);

    Graphics::PanoramaDescription description;
    description.depthScale = 1.0 / kDepthSteps;
    description.pose(0, 3) = SampleScene::kOrigin.x + center.x;
    description.pose(1, 3) = SampleScene::kOrigin.y + center.y;
    description.pose(2, 3) = SampleScene::kOrigin.z + center.z;
    Graphics::writePanorama(folder, color, depth, description, options.tileSize);
}
}  // namespace Samples
