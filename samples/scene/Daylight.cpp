#include "samples/scene/Daylight.h"

#include "samples/scene/noise.h"
#include "samples/scene/portableMath.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Samples
{
namespace
{
constexpr Tint kSun{2.75, 2.42, 1.95};
constexpr Tint kSky{0.52, 0.66, 0.92};
constexpr Tint kGround{0.24, 0.21, 0.15};  // light that the ground throws back upwards
constexpr double kFarthestShadow = 120;    // metres
constexpr double kSkyReach = 5;            // metres; what is farther away leaves the sky free
constexpr double kIndoors = 0.12;          // what light still finds its way into corners
constexpr int kSkyRays = 8;
constexpr double kLift = 0.015;  // metres off the surface, so that it does not shade itself

/// Bright light is compressed, so that sunlit plaster keeps its pattern; then gamma 2.
double developed(double light)
{
    constexpr double kHalfBright = 0.8;
    return std::sqrt(std::clamp(1.2 * light / (light + kHalfBright), 0.0, 1.0));
}
}  // namespace

Vector Daylight::sunDirection() noexcept
{
    constexpr double kAzimuth = 0.3;  // a little north of east
    constexpr double kElevation = 0.62;
    return heading(kAzimuth) * portableCos(kElevation) + Vector{0, 0, portableSin(kElevation)};
}

Tint Daylight::photographed(const ScenePlace& place, Random& random) const
{
    const double sun = sunlight(place, random);
    const double sky = skylight(place, random);
    const double upwards = 0.5 + 0.5 * place.point.normal.z;
    Tint light = kSun * sun + kSky * (sky * (0.25 + 0.75 * upwards)) + kGround * (sky * (1 - upwards));
    Tint color = reflectance(place.finish.material, place.point, place.finish.tint);
    if (place.finish.material == Material::Water || place.finish.material == Material::Glass)
    {
        // mirrors the sky, more so where ripples or panes lean that way
        const double tilt = 0.5 + 0.5 * smoothNoise(place.point.position * 1.3);
        color = color + Tint{0.1, 0.155, 0.2} * (0.45 + 0.75 * tilt);
        light = kSky * 0.9 + kSun * (0.25 * sun);
    }
    const Tint result = color * light;
    return {developed(result.r), developed(result.g), developed(result.b)};
}

double Daylight::sunlight(const ScenePlace& place, Random& random) const
{
    const bool isLeaf = isFoliage(place.finish.material);
    const double facing = dot(place.point.normal, sunDirection());
    const double lit = isLeaf ? (facing + 0.6) / 1.6 : facing;  // leaves glow through from behind
    if (lit <= 0)
    {
        return 0;
    }
    const Tangents across = tangents(sunDirection());
    const double sideways = random.between(-0.007, 0.007);  // half of this is the sun's true width
    const double upwards = random.between(-0.007, 0.007);
    const Vector towards = normalized(sunDirection() + across.first * sideways + across.second * upwards);
    const Ray ray{place.point.position + place.point.normal * kLift, towards};
    return lit * mSurfaces.transmittance(ray, kFarthestShadow);
}

double Daylight::skylight(const ScenePlace& place, Random& random) const
{
    if (isFoliage(place.finish.material))
    {
        return place.openness;
    }
    const Tangents across = tangents(place.point.normal);
    const double start = random.unit();
    double sum = 0;
    for (int i = 0; i < kSkyRays; ++i)
    {
        const double ring = std::sqrt((i + 0.5) / kSkyRays);  // directions as dense as the cosine
        const Vector turn = heading((start + i * 0.618034) * 2 * std::numbers::pi);
        const Vector direction = (across.first * turn.x + across.second * turn.y) * ring +
                                 place.point.normal * std::sqrt(1 - ring * ring);
        sum += mSurfaces.transmittance(
            {place.point.position + place.point.normal * kLift, direction}, kSkyReach
        );
    }
    return mix(kIndoors, 1.0, sum / kSkyRays);
}
}  // namespace Samples
