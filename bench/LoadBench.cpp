// How long it takes until a million points are resident, from opened files, by the number of worker threads;
// and where the bytes of the process are then.
//
// "ofBrotli" is the time of the Brotli library alone on the same bytes, on one thread, divided by the threads
// and by the time of the load, both measured in turn; "ofBrotliOnThreads" is the library's time on as many
// threads at once, divided by that of the load: processors that share memory and power do not always do twice
// as much as one. Only the operating system's file cache is warm.

#include "bench/compressTiles.h"
#include "octree/Octree.h"
#include "octree/potree/FileLoader.h"
#include "octree/potree/PoTreeTree.h"
#include "render/pointcloud/CachedVertices.h"
#include "render/pointcloud/NodeLoader.h"
#include "render/pointcloud/NodeRankingParameters.h"
#include "render/pointcloud/selectNodes.h"
#include "render/scene/Camera.h"
#include "samples/writeSampleDataset.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>
#include <brotli/decode.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#ifdef __linux__
#include <sys/wait.h>
#include <unistd.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace
{
using Octree::OctreeNodeId;

constexpr std::size_t kBudget = 10'000'000;
constexpr std::size_t kCloudId = 1;

double secondsOf(const std::function<void()>& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A folder with a data set of a million points, written by a process of its own where that can be, so that
/// this one's memory is what loading takes.
class Sample
{
public:
    explicit Sample(const std::function<void(const std::filesystem::path&)>& write)
    {
#ifdef __linux__
        const pid_t child = fork();
        if (child == 0)
        {
            write(mFolder.path());
            _exit(0);
        }
        int status = 1;
        if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
        {
            throw std::runtime_error("the sample could not be written");
        }
#else
        write(mFolder.path());
#endif
    }

    const std::filesystem::path& path() const
    {
        return mFolder.path();
    }

private:
    TemporaryFolder mFolder;
};

const std::filesystem::path& brotliSample()
{
    static const Sample sample([](const std::filesystem::path& folder)
                               { Samples::writeSampleDataset(folder); });
    return sample.path();
}

const std::filesystem::path& zstandardSample()
{
    static const Sample sample(
        [](const std::filesystem::path& folder)
        { Samples::writeSampleEpt(folder, {.dataType = Samples::EptDataType::Zstandard}); }
    );
    return sample.path();
}

const std::filesystem::path& laszipSample()
{
    static const Sample sample(
        [](const std::filesystem::path& folder)
        {
            Samples::writeSampleEpt(folder, {.dataType = Samples::EptDataType::Binary});
            compressTiles(folder);
        }
    );
    return sample.path();
}

/// Everything of a cloud but its GPU side.
class Cloud
{
public:
    Cloud(const std::filesystem::path& folder, std::size_t threadCount)
        : octree(std::make_shared<Octree::Octree>(Octree::Location::fromPath(folder), 1.0)),
          vertices(std::make_shared<Render::CachedVertices>(
              octree,
              octree->cacheIdentifier(),
              std::make_shared<Render::CachedVertices::Cache>(30'000'000, 4000)
          )),
          loader(
              std::make_unique<Render::NodeLoader>(vertices, std::make_shared<Core::WorkerPool>(threadCount))
          )
    {
        const auto box = octree->boundingBox();
        const auto center = box.center();
        Render::Camera camera;
        camera.setViewport(1920, 1080);
        camera.setPose(
            {center.x, center.y - 0.1f * box.size(1), center.z + 2.0f * box.largestSize()},
            center,
            Eigen::Vector3f::UnitZ()
        );
        parameters.setCamera(camera, Eigen::Matrix4f::Identity());
        parameters.octreeNodePriorityThreshold = 0.01f;
    }

    void load()
    {
        const Render::OctreeSelectionTree tree(*octree);
        const Render::NodeRanking ranking = [this](std::size_t level, const Math::NBoundingBox<float, 3>& box)
        { return parameters.rank(level, box); };
        const Render::VertexSource source =
            [this](const OctreeNodeId& id, Render::VertexContainer& out, std::stop_token stop)
        { return loader->get(id, out, std::move(stop)); };
        Render::selectNodes(
            {
                .prioritizer = *prioritizer,
                .cloudId = kCloudId,
                .tree = tree,
                .ranking = ranking,
                .vertexSource = source,
                .buffers = *buffers,
                .maxLevel = OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
                .updateInterval = [] { return Render::UpdateInterval(std::chrono::milliseconds(500)); },
                .requestRedraw = [this] { buffers->update(); },
                .onProgress = {},
                .loader = loader.get(),
            },
            {}
        );
    }

    std::shared_ptr<Octree::Octree> octree;
    std::shared_ptr<const Render::CachedVertices> vertices;
    std::unique_ptr<Render::NodePrioritizer> prioritizer = std::make_unique<Render::NodePrioritizer>(kBudget);
    std::unique_ptr<Core::TripleBuffer<Render::Buffer>> buffers =
        std::make_unique<Core::TripleBuffer<Render::Buffer>>();
    std::unique_ptr<Render::NodeLoader> loader;
    Render::NodeRankingParameters parameters;
};

/// The Brotli streams of a data set, and room for the largest node.
class Streams
{
public:
    explicit Streams(const std::filesystem::path& folder)
    {
        const PoTree::FileSystemLocation location(folder);
        const PoTree::PoTreeTree tree(location);
        const PoTree::FileLoader loader(location);
        std::vector<OctreeNodeId> ids{OctreeNodeId()};
        for (std::size_t i = 0; i < ids.size(); ++i)
        {
            const auto info = tree.nodeById(ids[i], {});
            const Octree::OctreeChildNodeIdRange children(ids[i], info->childMask);
            ids.insert(ids.end(), children.begin(), children.end());
            const auto node = tree.findNode(ids[i], {});
            if (node->byteSize > 0)
            {
                mStreams.emplace_back();
                loader.readOctreeChunk(*node, node->byteSize, mStreams.back(), {});
                mLargest = std::max(mLargest, std::size_t{node->pointCount} * 64);
            }
        }
    }

    /// Unpacks all streams, each on whichever of the threads comes first.
    /// @throws std::runtime_error if one cannot be unpacked
    void unpackAll(std::size_t threadCount)
    {
        mRooms.resize(std::max(mRooms.size(), threadCount), std::vector<std::uint8_t>(mLargest));
        std::atomic<std::size_t> next = 0;
        std::atomic<bool> isGood = true;
        const auto unpack = [&](std::vector<std::uint8_t>& room)
        {
            for (std::size_t i = next++; i < mStreams.size(); i = next++)
            {
                std::size_t size = room.size();
                const auto* bytes = reinterpret_cast<const std::uint8_t*>(mStreams[i].data());
                if (BrotliDecoderDecompress(mStreams[i].size(), bytes, &size, room.data()) !=
                    BROTLI_DECODER_RESULT_SUCCESS)
                {
                    isGood = false;
                }
            }
        };
        {
            std::vector<std::jthread> others;
            for (std::size_t i = 1; i < threadCount; ++i)
            {
                others.emplace_back(unpack, std::ref(mRooms[i]));
            }
            unpack(mRooms[0]);
        }
        if (!isGood)
        {
            throw std::runtime_error("a node of the benchmark's data set cannot be unpacked");
        }
    }

private:
    std::vector<std::vector<std::byte>> mStreams;
    std::vector<std::vector<std::uint8_t>> mRooms;  // one for each thread
    std::size_t mLargest = 0;                       // bytes that a node unpacks to at most
};

void loadBrotli(benchmark::State& state)
{
    const auto threadCount = static_cast<std::size_t>(state.range(0));
    Streams streams(brotliSample());
    streams.unpackAll(threadCount);  // the rooms' pages exist afterwards
    std::vector<double> ratios;
    std::vector<double> ratiosOnThreads;
    std::size_t pointCount = 0;
    for (auto _ : state)
    {
        const double alone = secondsOf([&] { streams.unpackAll(1); });
        const double onThreads = secondsOf([&] { streams.unpackAll(threadCount); });
        const auto cloud = std::make_unique<Cloud>(brotliSample(), threadCount);
        const double whole = secondsOf([&] { cloud->load(); });
        pointCount = cloud->prioritizer->totalUsedPointCount();
        state.SetIterationTime(whole);
        ratios.push_back(alone / static_cast<double>(threadCount) / whole);
        ratiosOnThreads.push_back(onThreads / whole);
    }
    state.counters["points"] = static_cast<double>(pointCount);
    state.counters["ofBrotli"] = medianOf(ratios);
    state.counters["ofBrotliOnThreads"] = medianOf(ratiosOnThreads);
}

void loadTiles(benchmark::State& state, const std::filesystem::path& (*sample)())
{
    const auto threadCount = static_cast<std::size_t>(state.range(0));
    std::size_t pointCount = 0;
    for (auto _ : state)
    {
        const auto cloud = std::make_unique<Cloud>(sample(), threadCount);
        state.SetIterationTime(secondsOf([&] { cloud->load(); }));
        pointCount = cloud->prioritizer->totalUsedPointCount();
    }
    state.counters["points"] = static_cast<double>(pointCount);
}

#ifdef __GLIBC__
/// A figure of the process in bytes, as the kernel counts.
double processBytes(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.starts_with(name + ":"))
        {
            return 1024.0 * std::stod(line.substr(name.size() + 1));
        }
    }
    throw std::runtime_error("the system does not tell " + name);
}

double allocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

/// Where the bytes are, per visible point: what is allocated when all is loaded ("allocated"), of it for
/// vertices; what the parts give back when they go, the nodes without their vertices; and what the process
/// has grown by, at the end and at the most.
void memory(benchmark::State& state)
{
    const auto threadCount = static_cast<std::size_t>(state.range(0));
    brotliSample();
    for (auto _ : state)
    {
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak counts from here
        const double allocatedBefore = allocatedBytes();
        const double residentBefore = processBytes("VmRSS");
        auto cloud = std::make_unique<Cloud>(brotliSample(), threadCount);
        state.SetIterationTime(secondsOf([&] { cloud->load(); }));

        const auto points = static_cast<double>(cloud->prioritizer->totalUsedPointCount());
        double blocks = 0.0;
        for (const auto& piece : std::as_const(*cloud->buffers).front().vertices.pieces())
        {
            blocks += static_cast<double>(piece.block->size() * sizeof(Render::VertexBlock::Vertex));
        }
        const double allocated = allocatedBytes();
        state.counters["allocated"] = (allocated - allocatedBefore) / points;
        state.counters["resident"] = (processBytes("VmRSS") - residentBefore) / points;
        state.counters["peak"] = (processBytes("VmHWM") - residentBefore) / points;
        state.counters["vertices"] = blocks / points;
        cloud->loader.reset();
        const double withoutThreads = allocatedBytes();
        state.counters["threads"] = (allocated - withoutThreads) / points;
        cloud->buffers.reset();
        const double withoutPublications = allocatedBytes();
        state.counters["publications"] = (withoutThreads - withoutPublications) / points;
        cloud->prioritizer.reset();
        cloud->vertices.reset();
        const double withoutNodes = allocatedBytes();
        state.counters["nodes"] = (withoutPublications - withoutNodes - blocks) / points;
        cloud.reset();
        state.counters["data_set"] = (withoutNodes - allocatedBytes()) / points;
    }
}
#endif
}  // namespace

#ifdef __GLIBC__
BENCHMARK(memory)->Arg(1)->Arg(2)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(loadBrotli)->Arg(1)->Arg(2)->Arg(4)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(loadTiles, zstandard, zstandardSample)
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(loadTiles, laszip, laszipSample)
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
