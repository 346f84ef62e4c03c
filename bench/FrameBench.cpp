// A whole frame of a loaded cloud until its picture has been read back, by number of points, size of the
// picture, cap of the splats, mode and road. On a software renderer nearly all of it is drawing.
//
// The cloud is the made-up scene of the samples; with TARNEL_BENCH_OCTREE it is that data set, seen as from
// TARNEL_BENCH_EYE towards TARNEL_BENCH_TARGET (x,y,z each), up to the number of points.

#include "octree/Location.h"
#include "render/pointcloud/PointCloudRenderable.h"
#include "render/renderer/Renderer.h"
#include "render/scene/GroupRenderable.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Render::RenderMode;
using Render::SplatRoad;

struct Size
{
    std::uint64_t width;
    std::uint64_t height;
};

constexpr std::array<Size, 3> kSizes{Size{64, 36}, Size{1920, 1080}, Size{3840, 2160}};

std::optional<Math::Point<float, 3>> pointFrom(const char* variable)
{
    const char* const text = std::getenv(variable);
    Math::Point<float, 3> point;
    if (text == nullptr)
    {
        return std::nullopt;
    }
    if (std::sscanf(text, "%f,%f,%f", &point.x, &point.y, &point.z) != 3)
    {
        throw std::runtime_error(std::string(variable) + " must be x,y,z");
    }
    return point;
}

std::filesystem::path dataset(std::size_t points)
{
    if (const char* const given = std::getenv("TARNEL_BENCH_OCTREE"))
    {
        return given;
    }
    static std::map<std::size_t, std::unique_ptr<TemporaryFolder>> written;
    std::unique_ptr<TemporaryFolder>& folder = written[points];
    if (!folder)
    {
        folder = std::make_unique<TemporaryFolder>();
        Samples::writeSampleDataset(folder->path(), {.points = points});
    }
    return folder->path();
}

/// A renderer with a cloud of which as much is loaded as the budget admits.
class LoadedScene
{
public:
    explicit LoadedScene(std::size_t points)
        : cloud(Render::PointCloudRenderable::create(
              Octree::Location::fromPath(dataset(points)), "cloud", points, 1.0
          ))
    {
        renderer.setScene(cloud);
        renderer.setViewport(1920, 1080);
        cloud->setOctreeNodePriorityThreshold(1.0F);
        const Math::NBoundingBox<float, 3> box = cloud->boundingBox();
        const Math::Point<float, 3> middle{
            (box.min().x + box.max().x) / 2,
            (box.min().y + box.max().y) / 2,
            (box.min().z + box.max().z) / 2};
        const float size = box.max().x - box.min().x;
        const Math::Point<float, 3> eye{
            middle.x - 0.7F * size, middle.y - 0.7F * size, middle.z + 0.5F * size};
        renderer.setPerspective(60.0F, 0.1F, 10'000.0F, 0.0F, 0.0F);
        renderer.setCameraPose(
            pointFrom("TARNEL_BENCH_EYE").value_or(eye),
            pointFrom("TARNEL_BENCH_TARGET").value_or(middle),
            Eigen::Vector3f(0, 0, 1)
        );
        renderer.setAutoAdjustZRange(true);
        cloud->reloadPoints(nullptr, 23, {});
    }

    Render::Renderer renderer;
    std::shared_ptr<Render::PointCloudRenderable> cloud;
};

LoadedScene& scene(std::size_t points)
{
    static std::size_t present = 0;
    static std::unique_ptr<LoadedScene> loaded;
    if (present != points)
    {
        loaded.reset();
        loaded = std::make_unique<LoadedScene>(points);
        present = points;
    }
    return *loaded;
}

void frame(benchmark::State& state, SplatRoad road)
{
    LoadedScene& loaded = scene(static_cast<std::size_t>(state.range(0)));
    const Size size = kSizes.at(static_cast<std::size_t>(state.range(1)));
    Render::Renderer& renderer = loaded.renderer;
    renderer.setViewport(size.width, size.height);
    renderer.setPerspective(60.0F, 0.1F, 10'000.0F, 0.0F, 0.0F);
    loaded.cloud->setMaxPointSize(static_cast<float>(state.range(2)));
    renderer.setRenderMode(static_cast<RenderMode>(state.range(3)));
    loaded.cloud->setSplatRoad(road);
    std::vector<std::byte> picture(size.width * size.height * 4);
    const auto draw = [&]
    {
        renderer.render();
        renderer.getColorImage(picture, size.width * 4, size.height);
    };
    draw();  // what is new goes to the device, and the driver compiles what it needs
    for (auto _ : state)
    {
        draw();
    }
    state.counters["points"] = static_cast<double>(loaded.cloud->numVisiblePoints());
    state.counters["nodes"] = static_cast<double>(loaded.cloud->numVisibleOctreeNodes());
}

/// A million points of several clouds side by side.
void severalClouds(benchmark::State& state)
{
    const auto count = static_cast<std::size_t>(state.range(0));
    const Size size = kSizes.at(static_cast<std::size_t>(state.range(1)));
    constexpr std::size_t kBudget = 1'000'000;
    Render::Renderer renderer;
    const auto group = Render::GroupRenderable::create("clouds");
    std::vector<std::shared_ptr<Render::PointCloudRenderable>> clouds;
    float width = 0.0F;
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto cloud = Render::PointCloudRenderable::create(
            Octree::Location::fromPath(dataset(kBudget)), "cloud", kBudget, 1.0
        );
        width = cloud->boundingBox().max().x - cloud->boundingBox().min().x;
        Eigen::Matrix4f place = Eigen::Matrix4f::Identity();
        place(0, 3) = 0.3F * width * static_cast<float>(i);
        cloud->setMatrix(place);
        group->add(cloud);
        clouds.push_back(cloud);
    }
    renderer.setScene(group);
    renderer.setViewport(size.width, size.height);
    renderer.setPerspective(60.0F, 0.1F, 10'000.0F, 0.0F, 0.0F);
    renderer.setCameraPose(
        Math::Point<float, 3>{-0.7F * width, -0.7F * width, 0.7F * width},
        Math::Point<float, 3>{0.5F * width, 0.5F * width, 0.0F},
        Eigen::Vector3f(0, 0, 1)
    );
    renderer.setAutoAdjustZRange(true);
    std::uint64_t points = 0;
    for (const auto& cloud : clouds)
    {
        cloud->reloadPoints(nullptr, 23, {});
    }
    std::vector<std::byte> picture(size.width * size.height * 4);
    const auto draw = [&]
    {
        renderer.render();
        renderer.getColorImage(picture, size.width * 4, size.height);
    };
    draw();
    for (auto _ : state)
    {
        draw();
    }
    for (const auto& cloud : clouds)
    {
        points += cloud->numVisiblePoints();
    }
    state.counters["points"] = static_cast<double>(points);
}

void cases(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"points", "size", "cap", "mode"})->Unit(benchmark::kMillisecond)->UseRealTime();
    for (const std::int64_t points : {1'000'000, 3'400'000})
    {
        for (const std::int64_t size : {0, 1, 2})
        {
            for (const std::int64_t cap : {1, 5, 20})
            {
                benchmark->Args({points, size, cap, 0});
            }
        }
        for (const std::int64_t mode : {1, 2, 3, 4, 5, 6})
        {
            benchmark->Args({points, 1, 5, mode});
        }
    }
}
}  // namespace

BENCHMARK(severalClouds)
    ->ArgNames({"clouds", "size"})
    ->ArgsProduct({{1, 2, 10}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(frame, automatic, SplatRoad::Automatic)->Apply(cases);
BENCHMARK_CAPTURE(frame, quads, SplatRoad::Quads)->Apply(cases);
