#include "graphics/DeepZoomPanoramaLoader.h"

#include "core/LocalFolder.h"
#include "core/readAll.h"
#include "graphics/DeepZoomPyramid.h"
#include "graphics/JpegReader.h"
#include "graphics/PanoramaDescription.h"
#include "graphics/PngReader.h"
#include "graphics/swapRedAndBlue.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace Graphics
{
namespace
{
/// More would be pixels rather than tiles.
constexpr std::uint64_t kMostTilesOfALevel = std::uint64_t{1} << 20U;

/// On their way while one is decoded, where the files lie far away.
constexpr std::uint64_t kTilesAhead = 8;

constexpr std::size_t kCodeCount = 65536;

struct Size
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

std::string toText(const Size& size)
{
    return std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
}

Size levelSize(const DeepZoomPyramid& pyramid, std::uint32_t level)
{
    return {pyramid.description().levelWidth(level), pyramid.description().levelHeight(level)};
}

DeepZoomPyramid openPyramid(const Core::ByteFolder& files, const std::string& name)
{
    return {readDeepZoomDescription(*files.openFor(Core::Extent::Whole, name)), name};
}

/// Reads panorama.json and has what it names on its way.
PanoramaDescription readExpectingPyramids(const Core::ByteFolder& files)
{
    PanoramaDescription description = readPanoramaDescription(files);
    files.expect(Core::Extent::Whole, description.color);
    files.expect(Core::Extent::Whole, description.depth);
    return description;
}

/// A tile's file, for messages and as it is stored.
struct TileFile
{
    std::string name;
    std::string bytes;
};

std::optional<TileFile> readTileFile(
    const Core::ByteFolder& files, const std::string& name, const std::stop_token& stopToken
)
{
    const std::unique_ptr<const Core::ByteSource> file = files.openFor(Core::Extent::Whole, name, stopToken);
    std::optional<std::string> bytes =
        file ? Core::readAll(*file, PictureLimits::kLargestTileFile, stopToken) : std::nullopt;
    return bytes ? std::optional(TileFile{file->name(), *std::move(bytes)}) : std::nullopt;
}

std::string wrongSize(const Size& actual, const Size& expected)
{
    return "it has " + toText(actual) + ", the tile " + toText(expected);
}

std::optional<ColorImage> readColorPng(TileFile file, const Size& size, const std::stop_token& stopToken)
{
    PngReader reader(std::move(file.name), std::move(file.bytes));
    if (const Size actual{reader.width(), reader.height()}; actual != size)
    {
        reader.fail(wrongSize(actual, size));
    }
    ColorImage image(size.width, size.height);
    const std::span<std::byte> pixels =
        std::as_writable_bytes(std::span(image.data(), static_cast<std::size_t>(image.sizeInBytes())));
    if (!reader.decode(pixels, SPNG_FMT_RGBA8, stopToken))
    {
        return std::nullopt;
    }
    swapRedAndBlue(pixels.data(), pixels.data(), pixels.size() / sizeof(Math::Color));
    return image;
}

std::optional<ColorImage> readColorJpeg(TileFile file, const Size& size, const std::stop_token& stopToken)
{
    const auto acceptSize = [&](std::uint32_t width, std::uint32_t height)
    {
        if (const Size actual{width, height}; actual != size)
        {
            throw std::runtime_error(
                "Error: cannot read " + file.name + " as JPEG: " + wrongSize(actual, size)
            );
        }
    };
    return readJpeg(file.name, file.bytes, acceptSize, stopToken);
}

std::optional<DepthImage> readDepthPng(
    TileFile file,
    const Size& size,
    std::span<const float, kCodeCount> metresOfCode,
    const std::stop_token& stopToken
)
{
    PngReader reader(std::move(file.name), std::move(file.bytes));
    if (const Size actual{reader.width(), reader.height()}; actual != size)
    {
        reader.fail(wrongSize(actual, size));
    }
    if (!reader.isGray16())
    {
        reader.fail("16-bit grey pixels without alpha expected");
    }
    std::vector<std::uint16_t> codes(std::size_t{size.width} * size.height);
    if (!reader.decode(std::as_writable_bytes(std::span(codes)), SPNG_FMT_PNG, stopToken))
    {
        return std::nullopt;
    }
    DepthImage image(size.width, size.height);
    for (std::uint32_t y = 0; y < size.height; ++y)
    {
        for (std::uint32_t x = 0; x < size.width; ++x)
        {
            image.setPixel(x, y, metresOfCode[codes[std::size_t{y} * size.width + x]]);
        }
    }
    return image;
}

/// The coarsest level that has a whole tile, or the finest.
std::uint32_t firstUsefulLevel(const DeepZoomPyramid& pyramid, std::uint32_t tileSize)
{
    std::uint32_t level = 0;
    while (level < pyramid.description().lastLevel() &&
           (levelSize(pyramid, level).width < tileSize || levelSize(pyramid, level).height < tileSize))
    {
        ++level;
    }
    return level;
}
}  // namespace

struct DeepZoomPanoramaLoader::Implementation
{
    explicit Implementation(std::shared_ptr<const Core::ByteFolder> panoramaFiles);

    void checkLevels(const DeepZoomPyramid& pyramid, const char* name) const;
    void checkSizesMatch() const;
    std::vector<float> metresOfCodes() const;

    std::uint32_t zoomLevel(std::uint64_t level) const;
    Size size(std::uint64_t level) const;
    Size tile(std::uint64_t level) const;
    Size tileCounts(std::uint64_t level) const;
    ImageRegion region(const TileIndex& index, std::uint64_t levelCount) const;

    void expectNext(const DeepZoomPyramid& pyramid, const TileIndex& index, std::uint64_t levelCount) const;

    [[noreturn]] void fail(const std::string& reason) const
    {
        throw std::runtime_error("Error: cannot open the panorama " + files->name() + ": " + reason);
    }

    std::shared_ptr<const Core::ByteFolder> files;
    PanoramaDescription description;
    DeepZoomPyramid color;
    DeepZoomPyramid depth;
    std::vector<float> metresOfCode;
    std::uint32_t tileSize;
    std::uint32_t firstLevel;  // Deep Zoom's number of our level 0
};

DeepZoomPanoramaLoader::Implementation::Implementation(std::shared_ptr<const Core::ByteFolder> panoramaFiles)
    : files(std::move(panoramaFiles)),
      description(readExpectingPyramids(*files)),
      color(openPyramid(*files, description.color)),
      depth(openPyramid(*files, description.depth)),
      metresOfCode(metresOfCodes()),
      tileSize(std::max(color.description().tileSize, depth.description().tileSize)),
      firstLevel(std::min(firstUsefulLevel(color, tileSize), depth.description().lastLevel()))
{
    if (depth.description().format != "png")
    {
        fail("its depth tiles are " + depth.description().format + " files, only png is supported");
    }
    checkLevels(color, "colour");
    checkLevels(depth, "depth");
    checkSizesMatch();
}

void DeepZoomPanoramaLoader::Implementation::checkLevels(const DeepZoomPyramid& pyramid, const char* name)
    const
{
    for (std::uint32_t level = firstLevel; level <= pyramid.description().lastLevel(); ++level)
    {
        const std::string what = std::string(name) + " level " + std::to_string(level);
        const Size size = levelSize(pyramid, level);
        if (size.width > PictureLimits::kLargestSide || size.height > PictureLimits::kLargestSide)
        {
            fail(
                what + " has " + toText(size) + ", more than " + std::to_string(PictureLimits::kLargestSide) +
                " on a side"
            );
        }
        const auto tilesAcross = [](std::uint64_t length, std::uint64_t tileLength)
        { return (length + tileLength - 1) / tileLength; };
        const std::uint64_t ownTileSize = pyramid.description().tileSize;
        const std::uint64_t tileCount =
            tilesAcross(size.width, ownTileSize) * tilesAcross(size.height, ownTileSize);
        if (tileCount > kMostTilesOfALevel)
        {
            fail(
                what + " has " + std::to_string(tileCount) + " tiles, more than " +
                std::to_string(kMostTilesOfALevel)
            );
        }
    }
    for (std::uint32_t level = firstLevel; level <= pyramid.description().lastLevel(); ++level)
    {
        if (!files->mayHaveFolder(pyramid.levelFolder(level)))
        {
            fail(
                std::string(name) + " level " + std::to_string(level) + " is missing, there is no folder " +
                files->nameOf(pyramid.levelFolder(level))
            );
        }
    }
}

void DeepZoomPanoramaLoader::Implementation::checkSizesMatch() const
{
    const std::uint32_t lastShared =
        std::min(color.description().lastLevel(), depth.description().lastLevel());
    for (std::uint32_t level = firstLevel; level <= lastShared; ++level)
    {
        const Size colorSize = levelSize(color, level);
        const Size depthSize = levelSize(depth, level);
        if (colorSize != depthSize)
        {
            fail(
                "level " + std::to_string(level) + " has " + toText(colorSize) + " of colour but " +
                toText(depthSize) + " of depth"
            );
        }
    }
}

std::vector<float> DeepZoomPanoramaLoader::Implementation::metresOfCodes() const
{
    std::vector<float> metres(kCodeCount);
    for (std::size_t code = 0; code < kCodeCount; ++code)
    {
        const double exact = static_cast<double>(code) * description.depthScale;
        metres[code] = static_cast<float>(std::min<double>(exact, std::numeric_limits<float>::max()));
    }
    for (const std::uint16_t code : description.noDepth)
    {
        metres[code] = std::numeric_limits<float>::max();
    }
    return metres;
}

std::uint32_t DeepZoomPanoramaLoader::Implementation::zoomLevel(std::uint64_t level) const
{
    const std::uint32_t last = std::max(color.description().lastLevel(), depth.description().lastLevel());
    if (level > last - firstLevel)
    {
        throw std::out_of_range("Error: the panorama has no level " + std::to_string(level));
    }
    return firstLevel + static_cast<std::uint32_t>(level);
}

Size DeepZoomPanoramaLoader::Implementation::size(std::uint64_t level) const
{
    const std::uint32_t zoom = zoomLevel(level);
    return levelSize(zoom <= color.description().lastLevel() ? color : depth, zoom);
}

Size DeepZoomPanoramaLoader::Implementation::tile(std::uint64_t level) const
{
    const Size whole = size(level);
    return {std::min(tileSize, whole.width), std::min(tileSize, whole.height)};
}

Size DeepZoomPanoramaLoader::Implementation::tileCounts(std::uint64_t level) const
{
    const Size whole = size(level);
    const Size one = tile(level);
    return {(whole.width - 1) / one.width + 1, (whole.height - 1) / one.height + 1};
}

ImageRegion DeepZoomPanoramaLoader::Implementation::region(const TileIndex& index, std::uint64_t levelCount)
    const
{
    const Size counts = tileCounts(index.level);
    if (index.level >= levelCount || index.column >= counts.width || index.row >= counts.height)
    {
        throw std::out_of_range(
            "Error: the panorama has no tile " + std::to_string(index.column) + ", " +
            std::to_string(index.row) + " of level " + std::to_string(index.level)
        );
    }
    const Size whole = size(index.level);
    const Size one = tile(index.level);
    const auto column = static_cast<std::uint32_t>(index.column);
    const auto row = static_cast<std::uint32_t>(index.row);
    return {
        std::min(column * one.width, whole.width - one.width),
        std::min(row * one.height, whole.height - one.height),
        one.width,
        one.height};
}

/// Has the tiles on their way that tileIndices() has behind this one.
void DeepZoomPanoramaLoader::Implementation::expectNext(
    const DeepZoomPyramid& pyramid, const TileIndex& index, std::uint64_t levelCount
) const
{
    const Size counts = tileCounts(index.level);
    const std::uint64_t first = index.row * counts.width + index.column + 1;
    const std::uint64_t end = std::min(first + kTilesAhead, std::uint64_t{counts.width} * counts.height);
    for (std::uint64_t i = first; i < end; ++i)
    {
        const ImageRegion next = region({index.level, i % counts.width, i / counts.width}, levelCount);
        for (const std::string& name : pyramid.tileNames(zoomLevel(index.level), next))
        {
            files->expect(Core::Extent::Whole, name);
        }
    }
}

DeepZoomPanoramaLoader::DeepZoomPanoramaLoader(const std::filesystem::path& folder)
    : DeepZoomPanoramaLoader(std::make_shared<const Core::LocalFolder>(folder))
{
}

DeepZoomPanoramaLoader::DeepZoomPanoramaLoader(std::shared_ptr<const Core::ByteFolder> files)
    : mImplementation(std::make_unique<Implementation>(std::move(files)))
{
}

DeepZoomPanoramaLoader::~DeepZoomPanoramaLoader() = default;

std::uint64_t DeepZoomPanoramaLoader::numColorLevels() const
{
    return std::uint64_t{mImplementation->color.description().lastLevel()} + 1 - mImplementation->firstLevel;
}

std::uint64_t DeepZoomPanoramaLoader::numDepthLevels() const
{
    return std::uint64_t{mImplementation->depth.description().lastLevel()} + 1 - mImplementation->firstLevel;
}

std::uint64_t DeepZoomPanoramaLoader::width(std::uint64_t level) const
{
    return mImplementation->size(level).width;
}

std::uint64_t DeepZoomPanoramaLoader::height(std::uint64_t level) const
{
    return mImplementation->size(level).height;
}

std::uint64_t DeepZoomPanoramaLoader::tileWidth(std::uint64_t level) const
{
    return mImplementation->tile(level).width;
}

std::uint64_t DeepZoomPanoramaLoader::tileHeight(std::uint64_t level) const
{
    return mImplementation->tile(level).height;
}

std::vector<PanoramaLoader::TileIndex> DeepZoomPanoramaLoader::tileIndices(std::uint64_t level) const
{
    const Size counts = mImplementation->tileCounts(level);
    std::vector<TileIndex> tiles;
    tiles.reserve(std::size_t{counts.width} * counts.height);
    for (std::uint32_t row = 0; row < counts.height; ++row)
    {
        for (std::uint32_t column = 0; column < counts.width; ++column)
        {
            tiles.push_back({level, column, row});
        }
    }
    return tiles;
}

std::uint64_t DeepZoomPanoramaLoader::tileOffsetX(const TileIndex& tile) const
{
    return mImplementation->region(tile, std::numeric_limits<std::uint64_t>::max()).x;
}

std::uint64_t DeepZoomPanoramaLoader::tileOffsetY(const TileIndex& tile) const
{
    return mImplementation->region(tile, std::numeric_limits<std::uint64_t>::max()).y;
}

ColorImage DeepZoomPanoramaLoader::colorImageTile(const TileIndex& tile)
{
    return *fetchColorTile(tile, {});
}

DepthImage DeepZoomPanoramaLoader::depthImageTile(const TileIndex& tile)
{
    return *fetchDepthTile(tile, {});
}

std::optional<ColorImage> DeepZoomPanoramaLoader::fetchColorTile(
    const TileIndex& tile, const std::stop_token& stopToken
)
{
    const ImageRegion region = mImplementation->region(tile, numColorLevels());
    mImplementation->expectNext(mImplementation->color, tile, numColorLevels());
    const auto read = mImplementation->color.description().format == "png" ? readColorPng : readColorJpeg;
    const auto readTile = [&](const std::string& name, std::uint32_t width, std::uint32_t height)
    {
        std::optional<TileFile> file = readTileFile(*mImplementation->files, name, stopToken);
        return file ? read(*std::move(file), {width, height}, stopToken) : std::nullopt;
    };
    return mImplementation->color.readRegion<ColorImage>(
        mImplementation->zoomLevel(tile.level), region, readTile
    );
}

std::optional<DepthImage> DeepZoomPanoramaLoader::fetchDepthTile(
    const TileIndex& tile, const std::stop_token& stopToken
)
{
    const ImageRegion region = mImplementation->region(tile, numDepthLevels());
    mImplementation->expectNext(mImplementation->depth, tile, numDepthLevels());
    const auto metresOfCode = std::span(mImplementation->metresOfCode).first<kCodeCount>();
    const auto readTile = [&](const std::string& name, std::uint32_t width, std::uint32_t height)
    {
        std::optional<TileFile> file = readTileFile(*mImplementation->files, name, stopToken);
        return file ? readDepthPng(*std::move(file), {width, height}, metresOfCode, stopToken) : std::nullopt;
    };
    return mImplementation->depth.readRegion<DepthImage>(
        mImplementation->zoomLevel(tile.level), region, readTile
    );
}

const Eigen::Matrix4d& DeepZoomPanoramaLoader::pose() const noexcept
{
    return mImplementation->description.pose;
}
}  // namespace Graphics
