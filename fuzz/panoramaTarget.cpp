#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/targets.h"
#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/readColorImage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace Fuzz
{
namespace
{
/// Each tile of each level is the same file.
struct PanoramaFolder : FuzzFolder
{
    PanoramaFolder()
    {
        write("color", "");
        write("depth", "");
        std::filesystem::create_hard_link(path() / "color", path() / "color.png");
        std::filesystem::create_hard_link(path() / "color", path() / "color.jpg");
        std::filesystem::create_hard_link(path() / "depth", path() / "depth.png");
        for (const std::string kind : {"color", "depth"})
        {
            for (int level = 0; level <= 14; ++level)
            {
                const std::filesystem::path tiles = path() / (kind + "_files") / std::to_string(level);
                std::filesystem::create_directories(tiles);
                for (const char* const tile : {"0_0", "1_0", "0_1", "1_1"})
                {
                    for (const char* const format : {".png", ".jpg", ".jpeg"})
                    {
                        std::filesystem::create_hard_link(
                            path() / kind, tiles / (std::string(tile) + format)
                        );
                    }
                }
            }
        }
    }
};

template <class Action>
void tolerate(const Action& action)
{
    try
    {
        action();
    }
    catch (const std::runtime_error& error)
    {
        checkMessage(error.what());
    }
}

void readTiles(Graphics::DeepZoomPanoramaLoader& loader)
{
    constexpr std::uint64_t kMostLevels = 3;
    constexpr std::size_t kMostTiles = 2;
    for (std::uint64_t level = 0; level < std::min(loader.numColorLevels(), kMostLevels); ++level)
    {
        const auto tiles = loader.tileIndices(level);
        for (std::size_t i = 0; i < std::min(tiles.size(), kMostTiles); ++i)
        {
            tolerate(
                [&]
                {
                    const Graphics::ColorImage image = loader.colorImageTile(tiles[i]);
                    if (image.width() != loader.tileWidth(level) ||
                        image.height() != loader.tileHeight(level))
                    {
                        throw BrokenPromise("a tile of another size");
                    }
                }
            );
            if (level < loader.numDepthLevels())
            {
                tolerate([&] { loader.depthImageTile(tiles[i]); });
            }
        }
    }
}
}  // namespace

void panorama(std::string_view input)
{
    static const PanoramaFolder folder;
    const auto files = filesOf<5>(input);
    folder.write("panorama.json", files[0].value_or(""));
    folder.write("color.dzi", files[1].value_or(""));
    folder.write("depth.dzi", files[2].value_or(""));
    folder.write("color", files[3].value_or(""));
    folder.write("depth", files[4].value_or(""));

    tolerate(
        [&]
        {
            Graphics::DeepZoomPanoramaLoader loader(folder.path());
            readTiles(loader);
        }
    );
    tolerate([&] { Graphics::readColorImage(folder.path() / "color.png"); });
    tolerate([&] { Graphics::readColorImage(folder.path() / "color.jpg"); });
    tolerate([&] { Graphics::readGray16Png(folder.path() / "depth.png"); });
}
}  // namespace Fuzz
