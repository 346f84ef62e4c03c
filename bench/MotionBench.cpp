// A flight around a cloud that loads meanwhile, with a cold cache: how long its frames take, and whether
// those that upload stand out.
//
// 600 frames of 640 x 360 pixels, each read back. "worst_ratio" is the longest frame over the median,
// "upload_ratio" the same among frames that showed other points than the frame before.

#include "render/pointcloud/PointCloudRenderable.h"
#include "render/renderer/Renderer.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

namespace
{
constexpr std::size_t kFrames = 600;
constexpr std::uint64_t kWidth = 640;
constexpr std::uint64_t kHeight = 360;

struct FrameTime
{
    double milliseconds;
    bool isOther;
};

double quantile(std::vector<double> values, double share)
{
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

std::vector<FrameTime> fly(
    const std::filesystem::path& folder, std::size_t budget, std::uint64_t& publications
)
{
    const auto cloud =
        Render::PointCloudRenderable::create(Octree::Location::fromPath(folder), "cloud", budget, 1.0);
    Render::Renderer renderer;
    renderer.setScene(cloud);
    renderer.setViewport(kWidth, kHeight);
    renderer.setPerspective(60.0F, 0.1F, 10'000.0F, 0.0F, 0.0F);
    renderer.setAutoAdjustZRange(true);
    cloud->setOctreeNodePriorityThreshold(1.0F);
    std::atomic<std::uint64_t> published = 0;
    cloud->startAsyncReload([&published] { ++published; }, 23);

    const Math::NBoundingBox<float, 3> box = cloud->boundingBox();
    const Math::Point<float, 3> middle{
        (box.min().x + box.max().x) / 2, (box.min().y + box.max().y) / 2, (box.min().z + box.max().z) / 2};
    const float size = box.max().x - box.min().x;
    std::vector<std::byte> picture(kWidth * kHeight * 4);
    std::vector<FrameTime> times;
    std::uint64_t points = 0;
    for (std::size_t i = 0; i < kFrames; ++i)
    {
        const float turn =
            2.0F * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(kFrames);
        const float distance = size * (0.15F + 0.5F * std::abs(std::cos(turn)));
        const auto start = std::chrono::steady_clock::now();
        renderer.setCameraPose(
            {middle.x + distance * std::cos(turn),
             middle.y + distance * std::sin(turn),
             middle.z + 0.3F * size},
            middle,
            Eigen::Vector3f(0, 0, 1)
        );
        renderer.render();
        renderer.getColorImage(picture, kWidth * 4, kHeight);
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        const std::uint64_t shown = cloud->numVisiblePoints();
        times.push_back({time.count(), shown != points});
        points = shown;
    }
    cloud->stopAsyncReload();
    publications = published;
    return times;
}

void motion(benchmark::State& state)
{
    static const std::unique_ptr<TemporaryFolder> folder = []
    {
        auto written = std::make_unique<TemporaryFolder>();
        Samples::writeSampleDataset(written->path(), {.points = 3'400'000});
        return written;
    }();
    for (auto _ : state)
    {
        std::uint64_t publications = 0;
        const std::vector<FrameTime> times =
            fly(folder->path(), static_cast<std::size_t>(state.range(0)), publications);
        std::vector<double> all;
        std::vector<double> others{0.0};
        for (const FrameTime& time : times)
        {
            all.push_back(time.milliseconds);
            if (time.isOther)
            {
                others.push_back(time.milliseconds);
            }
        }
        const double median = quantile(all, 0.5);
        state.counters["p50_ms"] = median;
        state.counters["p95_ms"] = quantile(all, 0.95);
        state.counters["worst_ms"] = quantile(all, 1.0);
        state.counters["worst_ratio"] = quantile(all, 1.0) / median;
        state.counters["upload_ratio"] = quantile(others, 1.0) / median;
        state.counters["uploads"] = static_cast<double>(others.size() - 1);
        state.counters["publications"] = static_cast<double>(publications);
    }
}
}  // namespace

BENCHMARK(motion)->ArgName("budget")->Arg(1'000'000)->Iterations(1)->UseRealTime()->Unit(benchmark::kSecond);
