// Where the time of a cold thumbnail goes, and the memory of what is visible.
//
// One round does by hand what createThumbnail does, on the sample scene of a million points, with nothing
// kept from the round before but the operating system's file cache. The counters are the round's phases in
// milliseconds: `start` (device, shaders, metadata), `load` (selection pass: read, unpack, convert, publish),
// `draw` (until the frame is in memory that can be mapped), `read` (map and copy), `write` (PNG). The memory
// round prints what the process holds more than before, per visible point.
#include "bench/sampleThumbnail.h"
#include "graphics/ColorImage.h"
#include "render/platform/Direct3D.h"
#include "samples/writeSampleDataset.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <stdexcept>

#if defined(_WIN32)
#include <psapi.h>
#else
#include <fstream>
#include <string>
#endif

namespace
{
using Clock = std::chrono::steady_clock;

/// The sample scene on disk, written once and removed at the end.
class SampleFolder
{
public:
    SampleFolder() : mPath(std::filesystem::temp_directory_path() / "tarnel-thumbnail-bench")
    {
        Samples::writeSampleDataset(mPath);
    }

    SampleFolder(const SampleFolder&) = delete;
    SampleFolder& operator=(const SampleFolder&) = delete;

    ~SampleFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    const std::filesystem::path& path() const { return mPath; }

private:
    std::filesystem::path mPath;
};

const std::filesystem::path& sampleFolder()
{
    static const SampleFolder folder;
    return folder.path();
}

std::shared_ptr<Render::PointCloudRenderable> openSample()
{
    return SampleThumbnail::open(sampleFolder());
}

#if defined(_WIN32)
/// Bytes that the process has committed to itself.
double committedBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    if (GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) == FALSE)
    {
        throw std::runtime_error("the process's memory cannot be asked for");
    }
    return static_cast<double>(counters.PagefileUsage);
}
#else
/// Bytes of memory that belong to the process alone.
double committedBytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.starts_with("RssAnon:"))
        {
            return std::stod(line.substr(8)) * 1024;  // in KiB there
        }
    }
    throw std::runtime_error("the process's memory cannot be asked for");
}
#endif

/// Adds the time since the last call to a counter, in milliseconds a round.
class Phases
{
public:
    explicit Phases(benchmark::State& state) : mState(state), mLast(Clock::now()) {}

    void end(const char* name)
    {
        const Clock::time_point now = Clock::now();
        benchmark::Counter& counter = mState.counters[name];
        counter.flags = benchmark::Counter::kAvgIterations;
        counter.value += std::chrono::duration<double, std::milli>(now - mLast).count();
        mLast = now;
    }

private:
    benchmark::State& mState;
    Clock::time_point mLast;
};

void coldThumbnail(benchmark::State& state)
{
    const std::filesystem::path picture = sampleFolder() / "bench.png";
    for ([[maybe_unused]] auto round : state)
    {
        Phases phases(state);
        const auto cloud = openSample();
        Render::Renderer renderer;
        SampleThumbnail::show(renderer, cloud);
        phases.end("start");
        SampleThumbnail::load(*cloud);
        phases.end("load");
        renderer.render();
        Graphics::ColorImage image;
        renderer.getColorImage(image);  // the first read waits until the frame is drawn
        phases.end("draw");
        renderer.getColorImage(image);
        phases.end("read");
        image.writePng(picture);
        phases.end("write");
    }
}

void memoryPerVisiblePoint(benchmark::State& state)
{
    for ([[maybe_unused]] auto round : state)
    {
        const auto cloud = openSample();
        Render::Renderer renderer;
        SampleThumbnail::show(renderer, cloud);
        renderer.render();
        const double before = committedBytes();
        SampleThumbnail::load(*cloud);
        renderer.render();
        const double after = committedBytes();
        const auto points = static_cast<double>(cloud->numVisiblePoints());
        state.counters["points"] = points;
        state.counters["bytesPerPoint"] = (after - before) / points;
    }
}
}  // namespace

BENCHMARK(coldThumbnail)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(memoryPerVisiblePoint)->Unit(benchmark::kMillisecond)->Iterations(1);
