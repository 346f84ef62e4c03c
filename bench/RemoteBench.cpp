// How much longer a picture of the sample scene takes when its files lie behind a web server that answers
// some milliseconds late, on the loopback interface and in this process. The device is there before the clock
// starts; each round opens the data set anew.
//
// Counters, in milliseconds: `firstPoints`, until a frame with the root's points is in memory; `complete`,
// until one with all points is. `requests` is their number in a round.
#include "bench/sampleThumbnail.h"
#include "core/http/HttpClient.h"
#include "graphics/ColorImage.h"
#include "octree/Location.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/HttpTestServer.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace
{
using Clock = std::chrono::steady_clock;

enum class Form
{
    ThreeFiles,
    Tiles,
    Copc,
};

constexpr const char* kCopcFile = "sample.copc.laz";

/// The sample in one form, on the disk and in the memory that servers answer from.
struct Sample
{
    explicit Sample(Form form)
    {
        if (form == Form::ThreeFiles)
        {
            Samples::writeSampleDataset(folder.path());
        }
        else if (form == Form::Copc)
        {
            Samples::writeSampleCopc(folder.path() / kCopcFile);
        }
        else
        {
            Samples::SampleEptOptions options;
            options.dataType = Samples::EptDataType::Zstandard;
            Samples::writeSampleEpt(folder.path(), options);
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        {
            if (entry.is_regular_file())
            {
                const std::string name =
                    "/" + std::filesystem::relative(entry.path(), folder.path()).generic_string();
                files[name] = TemporaryFolder::read(entry.path());
            }
        }
    }

    TemporaryFolder folder;
    std::map<std::string, std::string> files;
};

const Sample& sample(Form form)
{
    static const Sample threeFiles(Form::ThreeFiles);
    static const Sample tiles(Form::Tiles);
    static const Sample copc(Form::Copc);
    return form == Form::ThreeFiles ? threeFiles : form == Form::Tiles ? tiles : copc;
}

constexpr int kRounds = 5;

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

void measure(benchmark::State& state, const std::function<Octree::Location()>& locate)
{
    Render::Renderer renderer;
    Graphics::ColorImage image;
    double firstPoints = 0.0;
    double complete = 0.0;
    const auto draw = [&]
    {
        const Clock::time_point begin = Clock::now();
        const auto cloud = Render::PointCloudRenderable::create(locate(), "", SampleThumbnail::kBudget, 1.0);
        SampleThumbnail::show(renderer, cloud);
        SampleThumbnail::load(*cloud, 0);
        renderer.render();
        renderer.getColorImage(image);
        firstPoints += milliseconds(Clock::now() - begin);
        SampleThumbnail::load(*cloud);
        renderer.render();
        renderer.getColorImage(image);
        complete += milliseconds(Clock::now() - begin);
        renderer.setScene(nullptr);
    };
    draw();  // shaders become code with the first picture
    firstPoints = 0.0;
    complete = 0.0;
    for ([[maybe_unused]] auto round : state)
    {
        draw();
    }
    state.counters["firstPoints"] = {firstPoints, benchmark::Counter::kAvgIterations};
    state.counters["complete"] = {complete, benchmark::Counter::kAvgIterations};
}

void local(benchmark::State& state, Form form)
{
    const std::filesystem::path& folder = sample(form).folder.path();
    const std::filesystem::path path = form == Form::Copc ? folder / kCopcFile : folder;
    measure(state, [&] { return Octree::Location::fromPath(path); });
}

void remote(benchmark::State& state, Form form, unsigned maxConnections)
{
    HttpTestServer server(HttpTestServer::files(sample(form).files, std::chrono::milliseconds(state.range(0)))
    );
    Core::HttpOptions options;
    options.proxy = "";
    options.maxConnections = maxConnections;
    const std::string path = form == Form::Copc ? std::string("/") + kCopcFile : "/";
    measure(
        state,
        [&]
        {
            // connections are made anew too
            return Octree::Location::fromUrl(
                server.url(path), std::make_shared<const Core::HttpClient>(options)
            );
        }
    );
    state.counters["requests"] = {
        static_cast<double>(server.numRequests()) * kRounds / (kRounds + 1),
        benchmark::Counter::kAvgIterations};
}

constexpr unsigned kUsual = 8;
constexpr unsigned kMany = 32;

void onDisk(benchmark::internal::Benchmark* one)
{
    one->Iterations(kRounds)->Unit(benchmark::kMillisecond)->UseRealTime();
}

void byDelay(benchmark::internal::Benchmark* one)
{
    onDisk(one->Arg(0)->Arg(20)->Arg(100));
}

BENCHMARK_CAPTURE(local, threeFiles, Form::ThreeFiles)->Apply(onDisk);
BENCHMARK_CAPTURE(remote, threeFiles, Form::ThreeFiles, kUsual)->Apply(byDelay);
BENCHMARK_CAPTURE(local, copc, Form::Copc)->Apply(onDisk);
BENCHMARK_CAPTURE(remote, copc, Form::Copc, kUsual)->Apply(byDelay);
BENCHMARK_CAPTURE(local, tiles, Form::Tiles)->Apply(onDisk);
BENCHMARK_CAPTURE(remote, tiles, Form::Tiles, kUsual)->Apply(byDelay);
BENCHMARK_CAPTURE(remote, tilesManyConnections, Form::Tiles, kMany)->Apply(byDelay);
}  // namespace
