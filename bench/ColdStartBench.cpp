// How long a process takes from its start to a thumbnail of the sample scene: each round is a new process,
// which says what it has reached. Only the operating system's file cache is warm.
//
// Counters, in milliseconds since the process was asked for: `main`; `device`, when the renderer is ready;
// `firstPicture`, when a frame with the root's points is in memory; `complete`, when all points are drawn and
// the PNG is written. `deviceAfterMain` is the difference of the first two.
#include "bench/sampleThumbnail.h"
#include "graphics/ColorImage.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#ifdef _WIN32
#define popen _popen
#define pclose _pclose
#endif

namespace
{
using Clock = std::chrono::steady_clock;  // the same for all processes of a machine

std::string programPath;

std::int64_t nanoseconds(Clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

void report(const char* what)
{
    std::cout << what << ' ' << nanoseconds(Clock::now()) << '\n';
}

void drawThumbnail(const std::filesystem::path& folder, const std::filesystem::path& picture)
{
    report("main");
    Render::Renderer renderer;
    report("device");
    const auto cloud = SampleThumbnail::open(folder);
    SampleThumbnail::show(renderer, cloud);
    Graphics::ColorImage image;
    SampleThumbnail::load(*cloud, 0);
    renderer.render();
    renderer.getColorImage(image);  // waits until the frame is drawn
    report("firstPicture");
    SampleThumbnail::load(*cloud);
    renderer.render();
    renderer.getColorImage(image);
    image.writePng(picture);
    report("complete");
}

/// Runs this program again and returns what it says it has reached, and when.
std::map<std::string, std::int64_t> stampsOfNewProcess(const std::filesystem::path& folder)
{
    const std::string command = '"' + programPath + "\" --thumbnail \"" + folder.string() + "\" \"" +
                                (folder / "bench.png").string() + '"';
    std::FILE* const output = popen(command.c_str(), "r");
    if (output == nullptr)
    {
        throw std::runtime_error("the program cannot be run again");
    }
    std::string text;
    std::array<char, 256> buffer;
    while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), output) != nullptr)
    {
        text += buffer.data();
    }
    if (pclose(output) != 0)
    {
        throw std::runtime_error("the program that draws the thumbnail has failed");
    }
    std::map<std::string, std::int64_t> stamps;
    std::istringstream lines(text);
    std::string name;
    for (std::int64_t stamp = 0; lines >> name >> stamp;)
    {
        stamps[name] = stamp;
    }
    return stamps;
}

void coldStart(benchmark::State& state)
{
    const TemporaryFolder folder;
    Samples::writeSampleDataset(folder.path());
    stampsOfNewProcess(folder.path());  // so that files are in the operating system's cache
    const auto add = [&](const char* name, std::int64_t duration)
    {
        benchmark::Counter& counter = state.counters[name];
        counter.flags = benchmark::Counter::kAvgIterations;
        counter.value += static_cast<double>(duration) / 1e6;
    };
    for ([[maybe_unused]] auto round : state)
    {
        const std::int64_t start = nanoseconds(Clock::now());
        const std::map<std::string, std::int64_t> stamps = stampsOfNewProcess(folder.path());
        for (const char* name : {"main", "device", "firstPicture", "complete"})
        {
            add(name, stamps.at(name) - start);
        }
        add("deviceAfterMain", stamps.at("device") - stamps.at("main"));
    }
}

BENCHMARK(coldStart)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
}  // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::string(argv[1]) == "--thumbnail")
    {
        drawThumbnail(argv[2], argv[3]);
        return 0;
    }
    programPath = argv[0];
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
