#include "samples/scene/powerLine.h"

#include <array>
#include <cmath>

namespace Samples
{
namespace
{
constexpr std::uint8_t kWireConductor = 14;
constexpr std::uint8_t kTransmissionTower = 15;
constexpr double kMastHeight = 19;
constexpr double kCatenaryParameter = 115;  // a sag of 3 m over 53 m
constexpr int kWirePieces = 20;

/// Hyperbolic cosine of a number below 1, by its series.
double portableCosh(double x)
{
    const double s = x * x;
    return 1 + s / 2 * (1 + s / 12 * (1 + s / 30 * (1 + s / 56)));
}

/// Where wires hang, metres across the line and of height: three conductors, and the earth wire on the top.
constexpr std::array<Vector, 4> kHooks{
    {{0, -3.2, 11.4}, {0, 3.2, 11.4}, {0, 2.6, 14.6}, {0, 0, kMastHeight}}};

void addMast(std::vector<Surface>& surfaces, const Frame& frame)
{
    const Finish steel{Material::GalvanisedSteel, {0.42, 0.44, 0.45}, 4};
    Assembly mast(surfaces, frame, kTransmissionTower);
    const auto halfWidth = [](double z)
    { return z < 11 ? 1.5 - 0.1 * z : 0.4 * (kMastHeight - z) / (kMastHeight - 11); };
    constexpr std::array<Vector, 4> kLegs{{{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}}};
    const auto at = [&](std::size_t leg, double z) {
        return kLegs[leg % 4] * halfWidth(z) + Vector{0, 0, z};
    };
    const std::array<double, 10> levels{-0.4, 2.6, 5.2, 7.5, 9.4, 11, 12.7, 14.4, 16.4, kMastHeight};
    for (std::size_t i = 0; i + 1 < levels.size(); ++i)
    {
        for (std::size_t leg = 0; leg < 4; ++leg)
        {
            mast.tube(at(leg, levels[i]), at(leg, levels[i + 1]), 0.07, 0.07, steel);
            mast.tube(at(leg, levels[i]), at(leg + 1, levels[i + 1]), 0.04, 0.04, steel);
            mast.tube(at(leg + 1, levels[i]), at(leg, levels[i + 1]), 0.04, 0.04, steel);
        }
    }
    for (std::size_t i = 0; i + 1 < kHooks.size(); ++i)
    {
        const Vector tip = kHooks[i] + Vector{0, 0, 0.9};
        for (const double depth : {-0.3, 0.3})
        {
            mast.tube({depth, 0, tip.z}, tip, 0.05, 0.04, steel);
            mast.tube({depth, 0, tip.z + 0.8}, tip, 0.04, 0.04, steel);
        }
        mast.tube(tip, kHooks[i], 0.07, 0.07, {Material::WindowFrame, {0.2, 0.1, 0.06}, 12});
    }
}
}  // namespace

double sag(double span, double parameter, double t) noexcept
{
    const double half = span / (2 * parameter);
    return parameter * (portableCosh(half) - portableCosh(half * (2 * t - 1)));
}

void addPowerLine(std::vector<Surface>& surfaces, const Terrain& terrain)
{
    constexpr std::array<Vector, 4> kFeet{{{3, 57, 0}, {52, 37, 0}, {101, 22.5, 0}, {155, 3, 0}}};
    std::array<Frame, 4> masts;
    for (std::size_t i = 0; i < masts.size(); ++i)
    {
        const Vector along = normalized(kFeet[std::min<std::size_t>(i + 1, 3)] - kFeet[i > 0 ? i - 1 : 0]);
        masts[i] = {{kFeet[i].x, kFeet[i].y, terrain.height(kFeet[i].x, kFeet[i].y)}, along};
        addMast(surfaces, masts[i]);
    }
    const Finish wire{Material::Cable, {0.07, 0.072, 0.075}, 9};
    Assembly wires(surfaces, {}, kWireConductor);
    for (std::size_t i = 0; i + 1 < masts.size(); ++i)
    {
        for (const Vector& hook : kHooks)
        {
            const Vector from = masts[i].place(hook);
            const Vector to = masts[i + 1].place(hook);
            const double span = length(to - from);
            const auto along = [&](int piece)
            {
                const double t = static_cast<double>(piece) / kWirePieces;
                return from + (to - from) * t - Vector{0, 0, sag(span, kCatenaryParameter, t)};
            };
            for (int piece = 0; piece < kWirePieces; ++piece)
            {
                wires.tube(along(piece), along(piece + 1), 0.02, 0.02, wire);
            }
        }
    }
}
}  // namespace Samples
