#include "samples/SamplePanorama.h"

#include "graphics/writePanorama.h"
#include "samples/runInParallel.h"
#include "samples/scene/noise.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <numbers>
#include <stdexcept>

namespace Samples
{
namespace
{
constexpr double kFarthest = 2.0 * SampleScene::kSize;  // beyond the other end of the scene
constexpr double kDepthSteps = 128.0;                   // codes for a metre: 511 m in all
constexpr std::uint16_t kNoDepth = 0;

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

Math::Color toColor(Tint tint)
{
    return {toByte(tint.r), toByte(tint.g), toByte(tint.b), 255};
}

/// Blue with some clouds above the horizon; below it mist, where the land has ended.
Tint sky(Vector direction)
{
    constexpr Tint kZenith{0.27, 0.49, 0.78};
    constexpr Tint kHorizon{0.8, 0.87, 0.92};
    constexpr Tint kMist{0.74, 0.79, 0.78};
    constexpr Tint kCloud{0.97, 0.97, 0.96};
    if (direction.z <= 0)
    {
        return mix(kHorizon, kMist, smoothStep(0, 0.1, -direction.z));
    }
    const Tint blue = mix(kHorizon, kZenith, std::sqrt(direction.z));
    const Vector onLayer = Vector{direction.x, direction.y, 0} * (1.7 / (direction.z + 0.12));
    const double cover = fractalNoise(onLayer + Vector{3, 8, 5}, 5);
    return mix(blue, kCloud, 0.85 * smoothStep(0.05, 0.75, cover) * smoothStep(0.01, 0.14, direction.z));
}

std::uint16_t toCode(double metres)
{
    constexpr double kLargest = std::numeric_limits<std::uint16_t>::max() - 1;  // the last says "nothing"
    return static_cast<std::uint16_t>(std::clamp(std::round(metres * kDepthSteps), 1.0, kLargest));
}
}  // namespace

Vector panoramaCenter(const SampleScene& scene, const SamplePanoramaOptions& options)
{
    const Vector stand = options.stand;
    const bool isInside =
        stand.x >= 0 && stand.y >= 0 && stand.x <= SampleScene::kSize && stand.y <= SampleScene::kSize;
    if (!isInside)
    {
        throw std::invalid_argument("Error: a panorama must be taken inside the scene");
    }
    const double z = scene.terrain().height(stand.x, stand.y) + stand.z;
    return {stand.x, stand.y, std::floor(z * 1000.0 + 0.5) / 1000.0};  // millimetres, for people
}

void writeSamplePanorama(
    const std::filesystem::path& folder, const SampleScene& scene, const SamplePanoramaOptions& options
)
{
    if (options.width == 0 || options.width % 2 != 0)
    {
        throw std::invalid_argument("Error: the width of a panorama must be even");
    }
    const Vector center = panoramaCenter(scene, options);
    const std::uint32_t width = options.width;
    const std::uint32_t height = width / 2;
    Graphics::ColorImage color(width, height);
    Graphics::Gray16Image depth{width, height, {}};
    depth.values.resize(std::size_t{width} * height, kNoDepth);

    std::mutex rowsMutex;
    std::uint64_t rows = 0;  // under the mutex
    const auto takeRow = [&](std::size_t y)
    {
        for (std::uint32_t x = 0; x < width; ++x)
        {
            const Vector direction = directionOf(x + 0.5, static_cast<double>(y) + 0.5, width, height);
            const std::optional<SceneHit> hit = scene.raycast({center, direction}, kFarthest);
            if (hit)
            {
                depth.values[y * width + x] = toCode(hit->distance);
            }
            color.setPixel(x, y, toColor(hit ? scene.color(hit->place) : sky(direction)));
        }
        if (options.rowsDrawn)
        {
            const std::scoped_lock lock(rowsMutex);
            options.rowsDrawn(++rows, height);
        }
    };
    runInParallel(height, options.threadCount, takeRow);

    Graphics::PanoramaDescription description;
    description.depthScale = 1.0 / kDepthSteps;
    description.pose(0, 3) = SampleScene::kOrigin.x + center.x;
    description.pose(1, 3) = SampleScene::kOrigin.y + center.y;
    description.pose(2, 3) = SampleScene::kOrigin.z + center.z;
    Graphics::writePanorama(folder, color, depth, description, options.tileSize, options.tilesWritten);
}
}  // namespace Samples
