// What picking and export do after their read-back: the plane fit, the search of a square of 21 x 21 pixels,
// the formatting of exported points.
#include "render/renderer/fitPlane.h"
#include "render/renderer/pointText.h"
#include "render/renderer/scanSquare.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace
{
using Point = Math::Point<float, 3>;

constexpr std::int32_t kWidth = 1280;
constexpr std::int32_t kHeight = 720;
constexpr Render::SearchSquare kSquare{600, 300, 621, 321};

float unitRandom(std::mt19937& generator)
{
    return static_cast<float>(generator() >> 8U) / 16777216.0F;
}

/// A wall with noise, every fourth point somewhere else.
std::vector<Point> roughWall(std::size_t count)
{
    std::mt19937 generator;
    std::vector<Point> points;
    for (std::size_t i = 0; i < count; ++i)
    {
        const float depth = i % 4 == 0 ? 10.0F : 0.01F;
        points.emplace_back(
            10.0F * unitRandom(generator), 10.0F * unitRandom(generator), depth * unitRandom(generator)
        );
    }
    return points;
}

void planeFit(benchmark::State& state)
{
    const std::vector<Point> points = roughWall(static_cast<std::size_t>(state.range(0)));
    for (const auto round : state)
    {
        const std::vector<std::uint32_t> inliers = Render::robustPlaneInliers(points, 0.02);
        benchmark::DoNotOptimize(Render::leastSquaresPlane(points, inliers));
    }
}

/// A picture of positions in which every pixel is a hit.
std::vector<std::array<float, 4>> fullPicture()
{
    std::vector<std::array<float, 4>> texels(std::size_t{kWidth} * kHeight);
    std::mt19937 generator;
    for (std::array<float, 4>& texel : texels)
    {
        texel = {unitRandom(generator), unitRandom(generator), unitRandom(generator), 1.0F};
    }
    return texels;
}

void searchOf21By21(benchmark::State& state)
{
    const std::vector<std::array<float, 4>> texels = fullPicture();
    const Render::MappedImage image{
        reinterpret_cast<const std::byte*>(texels.data()),
        kWidth * sizeof(texels[0]),
        texels.size() * sizeof(texels[0])};
    for (const auto round : state)
    {
        benchmark::DoNotOptimize(Render::closestHit(image, kSquare, Point(5.0F, 5.0F, 5.0F)));
        benchmark::DoNotOptimize(Render::distinctHits(image, kSquare));
    }
}

void formatPoints(benchmark::State& state)
{
    std::vector<Render::VertexPosColor> points;
    for (const Point& position : roughWall(1'000'000))
    {
        points.emplace_back(position, Math::Color(255, 128, 0, 255));
    }
    std::string text;
    for (const auto round : state)
    {
        text.clear();
        Render::appendPointLines(text, points, "\n");
        benchmark::DoNotOptimize(text.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(points.size()) * state.iterations());
}

BENCHMARK(planeFit)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(searchOf21By21)->Unit(benchmark::kMicrosecond);
BENCHMARK(formatPoints)->Unit(benchmark::kMillisecond);
}  // namespace
