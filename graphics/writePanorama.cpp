#include "graphics/writePanorama.h"

#include "core/replaceFile.h"
#include "graphics/DeepZoomPyramid.h"
#include "graphics/PictureLimits.h"
#include "graphics/swapRedAndBlue.h"
#include "graphics/writePngRows.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Graphics
{
namespace
{
constexpr std::uint32_t kLargestSide = PictureLimits::kLargestSide;
constexpr std::uint32_t kLargestTileSide = PictureLimits::kLargestTileSide;

void writeText(const std::filesystem::path& path, const std::string& text)
{
    Core::replaceFile(path, std::as_bytes(std::span(text)));
}

std::uint32_t halved(std::uint32_t size)
{
    return (size + 1) / 2;
}

/// The up to four pixels of which one of the next coarser level is made; at the border they repeat.
template <class GetPixel>
auto fourPixels(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height, GetPixel&& get)
{
    const std::uint32_t left = 2 * x;
    const std::uint32_t top = 2 * y;
    const std::uint32_t right = std::min(left + 1, width - 1);
    const std::uint32_t bottom = std::min(top + 1, height - 1);
    return std::array{get(left, top), get(right, top), get(left, bottom), get(right, bottom)};
}

ColorImage coarser(const ColorImage& fine)
{
    const auto width = static_cast<std::uint32_t>(fine.width());
    const auto height = static_cast<std::uint32_t>(fine.height());
    ColorImage result(halved(width), halved(height));
    for (std::uint32_t y = 0; y < result.height(); ++y)
    {
        for (std::uint32_t x = 0; x < result.width(); ++x)
        {
            const auto four = fourPixels(
                x,
                y,
                width,
                height,
                [&](std::uint32_t column, std::uint32_t row) { return fine.pixel(column, row); }
            );
            const auto mean = [&four](auto channel)
            {
                unsigned int sum = 2;  // rounds to the nearest
                for (const Math::Color& color : four)
                {
                    sum += channel(color);
                }
                return static_cast<unsigned char>(sum / 4);
            };
            result.setPixel(
                x,
                y,
                Math::Color(
                    mean([](const Math::Color& color) { return color.r(); }),
                    mean([](const Math::Color& color) { return color.g(); }),
                    mean([](const Math::Color& color) { return color.b(); }),
                    mean([](const Math::Color& color) { return color.a(); })
                )
            );
        }
    }
    return result;
}

/// Depth codes with the knowledge which of them mean something.
class DepthPyramid
{
public:
    explicit DepthPyramid(const std::vector<std::uint16_t>& noDepth) : mIsMeasured(65536, true)
    {
        for (const std::uint16_t code : noDepth)
        {
            mIsMeasured[code] = false;
        }
    }

    Gray16Image coarser(const Gray16Image& fine) const
    {
        Gray16Image result{halved(fine.width), halved(fine.height), {}};
        result.values.reserve(std::size_t{result.width} * result.height);
        for (std::uint32_t y = 0; y < result.height; ++y)
        {
            for (std::uint32_t x = 0; x < result.width; ++x)
            {
                const auto get = [&](std::uint32_t column, std::uint32_t row)
                { return fine.values[std::size_t{row} * fine.width + column]; };
                result.values.push_back(nearest(fourPixels(x, y, fine.width, fine.height, get)));
            }
        }
        return result;
    }

private:
    std::uint16_t nearest(const std::array<std::uint16_t, 4>& codes) const
    {
        std::optional<std::uint16_t> best;
        for (const std::uint16_t code : codes)
        {
            if (mIsMeasured[code] && (!best || code < *best))
            {
                best = code;
            }
        }
        return best.value_or(codes.front());
    }

    std::vector<bool> mIsMeasured;
};

Gray16Image resampled(const Gray16Image& image, std::uint32_t width, std::uint32_t height)
{
    Gray16Image result{width, height, {}};
    result.values.reserve(std::size_t{width} * height);
    for (std::uint64_t y = 0; y < height; ++y)
    {
        const std::uint64_t row = (2 * y + 1) * image.height / (2 * std::uint64_t{height});
        for (std::uint64_t x = 0; x < width; ++x)
        {
            const std::uint64_t column = (2 * x + 1) * image.width / (2 * std::uint64_t{width});
            result.values.push_back(image.values[static_cast<std::size_t>(row * image.width + column)]);
        }
    }
    return result;
}

/// The path of what has that name within a folder.
std::filesystem::path inside(const std::filesystem::path& folder, const std::string& utf8)
{
    return folder / std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

/// Writes one level tile by tile; writeTile(path, region) writes one.
template <class WriteTile>
void writeLevel(
    const std::filesystem::path& folder,
    const DeepZoomPyramid& pyramid,
    std::uint32_t level,
    const WriteTile& writeTile
)
{
    const DeepZoomDescription& description = pyramid.description();
    std::filesystem::create_directories(inside(folder, pyramid.levelFolder(level)));
    const auto count = [&](std::uint32_t size) { return (size - 1) / description.tileSize + 1; };
    for (std::uint32_t row = 0; row < count(description.levelHeight(level)); ++row)
    {
        for (std::uint32_t column = 0; column < count(description.levelWidth(level)); ++column)
        {
            writeTile(
                inside(folder, pyramid.tileName(level, column, row)), pyramid.tileRegion(level, column, row)
            );
        }
    }
}

void writeColorTile(const std::filesystem::path& path, const ColorImage& image, const ImageRegion& region)
{
    const auto fillRow = [&](std::uint64_t y, std::span<std::byte> row)
    {
        const char* const pixels =
            image.data() + (region.y + y) * image.rowPitch() + region.x * sizeof(Math::Color);
        swapRedAndBlue(reinterpret_cast<const std::byte*>(pixels), row.data(), region.width);
    };
    writePngRows(path, region.width, region.height, PngLayout::Rgba8, fillRow);
}

void writeDepthTile(const std::filesystem::path& path, const Gray16Image& image, const ImageRegion& region)
{
    const auto fillRow = [&](std::uint64_t y, std::span<std::byte> row)
    {
        const std::size_t first = static_cast<std::size_t>(region.y + y) * image.width + region.x;
        std::memcpy(row.data(), image.values.data() + first, row.size());
    };
    writePngRows(path, region.width, region.height, PngLayout::Gray16, fillRow);
}

/// Whether a picture of this size is a level of the other's pyramid.
bool isLevelOf(const DeepZoomDescription& description, std::uint32_t width, std::uint32_t height)
{
    for (std::uint32_t level = 0; level <= description.lastLevel(); ++level)
    {
        if (description.levelWidth(level) == width && description.levelHeight(level) == height)
        {
            return true;
        }
    }
    return false;
}

void checkPicture(const char* name, std::uint64_t width, std::uint64_t height)
{
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width == 0 || height == 0 || width > kLargestSide || height > kLargestSide)
    {
        throw std::invalid_argument(
            std::string("Error: the ") + name + " picture has " + size + ", 1 to " +
            std::to_string(kLargestSide) + " on a side are possible"
        );
    }
}

/// Of all levels.
std::uint64_t countTiles(const DeepZoomDescription& description)
{
    std::uint64_t tiles = 0;
    for (std::uint32_t level = 0; level <= description.lastLevel(); ++level)
    {
        const auto count = [&](std::uint32_t size) { return (size - 1) / description.tileSize + 1; };
        tiles += std::uint64_t{count(description.levelWidth(level))} * count(description.levelHeight(level));
    }
    return tiles;
}

/// Writes the description and gives what it describes.
DeepZoomPyramid begin(
    const std::filesystem::path& folder,
    const std::string& name,
    std::uint32_t width,
    std::uint32_t height,
    std::uint32_t tileSize
)
{
    const std::filesystem::path path = inside(folder, name);
    const DeepZoomDescription description{width, height, tileSize, 0, "png"};
    std::filesystem::create_directories(path.parent_path());
    writeText(path, deepZoomDescriptionText(description));
    return DeepZoomPyramid(description, name);
}
}  // namespace

void writePanorama(
    const std::filesystem::path& folder,
    const ColorImage& color,
    const Gray16Image& depth,
    const PanoramaDescription& description,
    std::uint32_t tileSize,
    const TilesWritten& written
)
{
    checkPicture("colour", color.width(), color.height());
    checkPicture("depth", depth.width, depth.height);
    if (tileSize == 0 || tileSize > kLargestTileSide)
    {
        throw std::invalid_argument(
            "Error: the tile size is " + std::to_string(tileSize) + ", 1 to " +
            std::to_string(kLargestTileSide) + " pixels are possible"
        );
    }
    const auto width = static_cast<std::uint32_t>(color.width());
    const auto height = static_cast<std::uint32_t>(color.height());

    std::filesystem::remove(folder / PanoramaDescription::kFileName);  // until all tiles are those of now
    const DeepZoomPyramid colors = begin(folder, description.color, width, height, tileSize);
    const bool isDepthLevel = isLevelOf(colors.description(), depth.width, depth.height);
    const std::uint64_t all =
        countTiles(colors.description()) +
        countTiles(
            {isDepthLevel ? depth.width : width, isDepthLevel ? depth.height : height, tileSize, 0, "png"}
        );
    std::uint64_t done = 0;
    const auto tell = [&]
    {
        ++done;
        if (written)
        {
            written(done, all);
        }
    };
    ColorImage colorLevel;
    for (std::uint32_t level = colors.description().lastLevel() + 1; level-- > 0;)
    {
        const bool isFinest = level == colors.description().lastLevel();
        if (!isFinest)
        {
            colorLevel = coarser(colorLevel.empty() ? color : colorLevel);
        }
        const ColorImage& image = isFinest ? color : colorLevel;
        writeLevel(
            folder,
            colors,
            level,
            [&](const std::filesystem::path& path, const ImageRegion& region)
            {
                writeColorTile(path, image, region);
                tell();
            }
        );
    }

    Gray16Image depthLevel = isDepthLevel ? depth : resampled(depth, width, height);
    const DepthPyramid pyramid(description.noDepth);
    const DeepZoomPyramid depths =
        begin(folder, description.depth, depthLevel.width, depthLevel.height, tileSize);
    for (std::uint32_t level = depths.description().lastLevel() + 1; level-- > 0;)
    {
        writeLevel(
            folder,
            depths,
            level,
            [&](const std::filesystem::path& path, const ImageRegion& region)
            {
                writeDepthTile(path, depthLevel, region);
                tell();
            }
        );
        depthLevel = pyramid.coarser(depthLevel);
    }
    writeText(folder / PanoramaDescription::kFileName, panoramaDescriptionText(description));
}
}  // namespace Graphics
