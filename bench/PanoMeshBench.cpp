// How fast panoramas and meshes come to the screen.
//
// PanoramaTilesDecode   tiles of a panorama folder read from disk and decoded, on one thread.
// PanoramaTilesUpload   tiles that are ready in memory copied into their textures, frames included.
// PanoramaFirstImage    from the start of the background loading to the first picture that shows the
// panorama,
//                       while the loading goes on. Medians: `byCoarseLevel` is that time over the one that
//                       the coarse level's last tile came at, `afterLastTileMs` their difference,
//                       `byCoarseAlone` that time over the one that its tiles take when nothing is drawn.
// MeshTriangles         frames of a mesh of small triangles, waited for; `empty` is a frame without it.
// ObjTriangles          an OBJ file read to vertices.
#include "graphics/ColorImage.h"
#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/DepthImage.h"
#include "graphics/writePanorama.h"
#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/mesh/ObjMeshLoader.h"
#include "render/pano/PanoRenderable.h"
#include "render/platform/Direct3D.h"
#include "render/renderer/Renderer.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;
using Graphics::PanoramaLoader;

constexpr std::uint32_t kWidth = 4096;
constexpr std::uint32_t kHeight = kWidth / 2;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A panorama folder of 4096 x 2048 pixels in tiles of 512, as PNG; its pictures compress about as
/// photographs do.
const std::filesystem::path& panoramaFolder()
{
    static const TemporaryFolder folder;
    static const bool isWritten = []
    {
        Graphics::ColorImage color(kWidth, kHeight);
        Graphics::Gray16Image depth{
            kWidth, kHeight, std::vector<std::uint16_t>(std::size_t{kWidth} * kHeight)};
        std::uint32_t noise = 1;
        for (std::uint32_t y = 0; y < kHeight; ++y)
        {
            for (std::uint32_t x = 0; x < kWidth; ++x)
            {
                noise = noise * 1664525U + 1013904223U;
                const auto grain = static_cast<unsigned char>(noise >> 29U);
                const auto wave =
                    static_cast<unsigned char>(120.0 + 100.0 * std::sin(0.01 * x) * std::cos(0.013 * y));
                color.setPixel(
                    x,
                    y,
                    {static_cast<unsigned char>(wave + grain), wave, static_cast<unsigned char>(y / 9), 255}
                );
                depth.values[std::size_t{y} * kWidth + x] =
                    static_cast<std::uint16_t>(2000 + wave * 8 + grain);
            }
        }
        Graphics::writePanorama(folder.path(), color, depth, {}, 512);
        return true;
    }();
    static_cast<void>(isWritten);
    return folder.path();
}

/// A panorama whose tiles are ready: every fetch copies the same one.
class ReadyLoader : public PanoramaLoader
{
public:
    static constexpr std::uint64_t kTile = 512;

    ReadyLoader() : mColor(kTile, kTile), mDepth(kTile, kTile)
    {
        mColor.fill({90, 120, 30, 255});
        mDepth.fill(7.0F);
    }

    std::uint64_t numColorLevels() const override { return 1; }

    std::uint64_t numDepthLevels() const override { return 1; }

    std::uint64_t width(std::uint64_t) const override { return kWidth; }

    std::uint64_t height(std::uint64_t) const override { return kHeight; }

    std::uint64_t tileWidth(std::uint64_t) const override { return kTile; }

    std::uint64_t tileHeight(std::uint64_t) const override { return kTile; }

    std::vector<TileIndex> tileIndices(std::uint64_t level) const override
    {
        std::vector<TileIndex> tiles;
        for (std::uint64_t row = 0; row < kHeight / kTile; ++row)
        {
            for (std::uint64_t column = 0; column < kWidth / kTile; ++column)
            {
                tiles.push_back({level, column, row});
            }
        }
        return tiles;
    }

    std::uint64_t tileOffsetX(const TileIndex& tile) const override { return tile.column * kTile; }

    std::uint64_t tileOffsetY(const TileIndex& tile) const override { return tile.row * kTile; }

    Graphics::ColorImage colorImageTile(const TileIndex&) override { return mColor; }

    Graphics::DepthImage depthImageTile(const TileIndex&) override { return mDepth; }

private:
    Graphics::ColorImage mColor;
    Graphics::DepthImage mDepth;
};

std::unique_ptr<Render::Renderer> makeRenderer()
{
    auto renderer = std::make_unique<Render::Renderer>();
    renderer->setViewport(320, 240);
    renderer->setPerspective(60.0F, 0.5F, 100.0F, 0.0F, 0.0F);
    renderer->setCameraPose(
        Math::Point<float, 3>(0.0F, 0.0F, 0.0F),
        Eigen::Vector3f(Eigen::Vector3f::UnitX()),
        Eigen::Vector3f(Eigen::Vector3f::UnitZ())
    );
    renderer->setBackgroundColor({0, 0, 0, 255});
    return renderer;
}

/// Draws, and waits until that is done.
Math::Color drawnMiddle(Render::Renderer& renderer)
{
    renderer.render();
    Graphics::ColorImage image;
    renderer.getColorImage(image);
    return image.pixel(160, 120);
}

void panoramaTilesDecode(benchmark::State& state)
{
    Graphics::DeepZoomPanoramaLoader loader(panoramaFolder());
    const std::uint64_t level = loader.numColorLevels() - 1;
    const std::vector<PanoramaLoader::TileIndex> tiles = loader.tileIndices(level);
    std::int64_t count = 0;
    for (auto _ : state)
    {
        for (const PanoramaLoader::TileIndex& tile : tiles)
        {
            if (state.range(0) == 0)
            {
                benchmark::DoNotOptimize(loader.colorImageTile(tile));
            }
            else
            {
                benchmark::DoNotOptimize(loader.depthImageTile(tile));
            }
            ++count;
        }
    }
    state.SetItemsProcessed(count);
    state.SetLabel(state.range(0) == 0 ? "colour tiles of 512 x 512" : "depth tiles of 512 x 512");
}

void panoramaTilesUpload(benchmark::State& state)
{
    const auto renderer = makeRenderer();
    const auto loader = std::make_shared<ReadyLoader>();
    const auto pano = Render::PanoRenderable::create(loader, "pano");
    renderer->setScene(pano);
    drawnMiddle(*renderer);
    std::int64_t count = 0;
    for (auto _ : state)
    {
        pano->loadPanoramaTiles();
        const Clock::time_point start = Clock::now();
        drawnMiddle(*renderer);
        state.SetIterationTime(secondsSince(start));
        count += static_cast<std::int64_t>(2 * loader->tileIndices(0).size());
    }
    state.SetItemsProcessed(count);
}

void panoramaFirstImage(benchmark::State& state)
{
    std::vector<double> byCoarseAlone;
    std::vector<double> byCoarseLevel;
    std::vector<double> afterLastTile;
    for (auto _ : state)
    {
        Graphics::DeepZoomPanoramaLoader alone(panoramaFolder());
        Clock::time_point start = Clock::now();
        const std::vector<PanoramaLoader::TileIndex> coarseTiles = alone.tileIndices(0);
        const std::size_t coarseTileCount = 2 * coarseTiles.size();
        for (const PanoramaLoader::TileIndex& tile : coarseTiles)
        {
            benchmark::DoNotOptimize(alone.depthImageTile(tile));
            benchmark::DoNotOptimize(alone.colorImageTile(tile));
        }
        const double coarse = secondsSince(start);

        const auto renderer = makeRenderer();
        const auto pano = Render::PanoRenderable::create(
            std::make_shared<Graphics::DeepZoomPanoramaLoader>(panoramaFolder()), "pano"
        );
        renderer->setScene(pano);
        const Math::Color unloaded = drawnMiddle(*renderer);
        start = Clock::now();
        std::atomic<std::size_t> tileCount = 0;
        std::atomic<double> loaded = 0.0;
        pano->startAsyncPanoramaTilesLoading(
            [&]
            {
                if (++tileCount == coarseTileCount)
                {
                    loaded = secondsSince(start);
                }
            }
        );
        bool isShown = false;
        while (!isShown)
        {
            if (renderer->needsRedraw())
            {
                isShown = drawnMiddle(*renderer) != unloaded;
            }
            else
            {
                std::this_thread::sleep_for(std::chrono::microseconds(500));  // leaves the core to the loader
            }
        }
        const double first = secondsSince(start);
        state.SetIterationTime(first);
        byCoarseAlone.push_back(first / coarse);
        byCoarseLevel.push_back(first / loaded);
        afterLastTile.push_back(1000.0 * (first - loaded));
        pano->stopAsyncPanoramaTilesLoading();
    }
    state.counters["byCoarseLevel"] = median(byCoarseLevel);
    state.counters["byCoarseAlone"] = median(byCoarseAlone);
    state.counters["afterLastTileMs"] = median(afterLastTile);
}

/// A square of 2 x 2 units across the x axis, of quadratic cells of two triangles.
class SquareLoader : public Render::MeshLoader
{
public:
    explicit SquareLoader(int cells) : mCells(cells) {}

    void load(const MeshPartReceiver& receivePart) const override
    {
        std::vector<Render::VertexPosNormalTexCoordColor> corners;
        corners.reserve(static_cast<std::size_t>(mCells) * static_cast<std::size_t>(mCells) * 6);
        const auto add = [&](int y, int z)
        {
            const float scale = 2.0F / static_cast<float>(mCells);
            corners.emplace_back(
                Math::Point<float, 3>(
                    2.5F, static_cast<float>(y) * scale - 1.0F, static_cast<float>(z) * scale - 1.0F
                ),
                Eigen::Vector3f(Eigen::Vector3f::UnitX()),
                Math::Point<float, 2>(0.0F, 0.0F),
                Math::Color(200, 100, 50, 255)
            );
        };
        for (int y = 0; y < mCells; ++y)
        {
            for (int z = 0; z < mCells; ++z)
            {
                add(y, z);
                add(y + 1, z);
                add(y + 1, z + 1);
                add(y, z);
                add(y + 1, z + 1);
                add(y, z + 1);
            }
        }
        receivePart(corners);
    }

private:
    int mCells;
};

void meshTriangles(benchmark::State& state)
{
    const auto renderer = makeRenderer();
    drawnMiddle(*renderer);
    Clock::time_point start = Clock::now();
    constexpr int kEmptyFrames = 5;
    for (int i = 0; i < kEmptyFrames; ++i)
    {
        drawnMiddle(*renderer);
    }
    state.counters["emptyMs"] = 1000.0 * secondsSince(start) / kEmptyFrames;
    const auto mesh = Render::MeshRenderable::create(
        std::make_shared<SquareLoader>(static_cast<int>(state.range(0))), 1.0, "square"
    );
    renderer->setScene(mesh);
    drawnMiddle(*renderer);
    for (auto _ : state)
    {
        drawnMiddle(*renderer);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(mesh->numTriangles()));
}

void objTriangles(benchmark::State& state)
{
    constexpr int kCells = 300;
    const TemporaryFolder folder;
    std::string text;
    for (int y = 0; y <= kCells; ++y)
    {
        for (int x = 0; x <= kCells; ++x)
        {
            text += "v " + std::to_string(0.01 * x) + " " + std::to_string(0.01 * y) + " 0.5 0.5 0.25 1\n";
        }
    }
    for (int y = 0; y < kCells; ++y)
    {
        for (int x = 1; x <= kCells; ++x)
        {
            const int a = y * (kCells + 1) + x;
            const int b = a + kCells + 1;
            text +=
                "f " + std::to_string(a) + " " + std::to_string(a + 1) + " " + std::to_string(b + 1) + "\n";
            text += "f " + std::to_string(a) + " " + std::to_string(b + 1) + " " + std::to_string(b) + "\n";
        }
    }
    const Render::ObjMeshLoader loader(folder.write("square.obj", text));
    std::int64_t count = 0;
    for (auto _ : state)
    {
        loader.load([&](std::span<const Render::VertexPosNormalTexCoordColor> part)
                    { count += static_cast<std::int64_t>(part.size() / 3); });
    }
    state.SetItemsProcessed(count);
}
}  // namespace

BENCHMARK(panoramaTilesDecode)->Name("PanoramaTilesDecode")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(panoramaTilesUpload)->Name("PanoramaTilesUpload")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(panoramaFirstImage)
    ->Name("PanoramaFirstImage")
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(meshTriangles)
    ->Name("MeshTriangles")
    ->Arg(300)
    ->Arg(1000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(objTriangles)->Name("ObjTriangles")->Unit(benchmark::kMillisecond);
