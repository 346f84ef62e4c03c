#pragma once

#include "graphics/DeepZoomDescription.h"
#include "graphics/Image.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Graphics
{
/// A part of a level, in pixels.
struct ImageRegion
{
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The tiles of an image pyramid. The description NAME.dzi stands beside the folder NAME_files, which has a
/// folder for each level, which has the tiles COLUMN_ROW.FORMAT. All names count from the folder of the
/// panorama, as Core::ByteFolder has them.
///
/// Threads  const operations from any.
class DeepZoomPyramid
{
public:
    /// @param name  of the description's file
    DeepZoomPyramid(DeepZoomDescription description, std::string_view name)
        : mDescription(std::move(description)), mFolder(tileFolder(name))
    {
    }

    const DeepZoomDescription& description() const noexcept { return mDescription; }

    std::string levelFolder(std::uint32_t level) const { return mFolder + '/' + std::to_string(level); }

    std::string tileName(std::uint32_t level, std::uint32_t column, std::uint32_t row) const
    {
        return levelFolder(level) + '/' + std::to_string(column) + '_' + std::to_string(row) + '.' +
               mDescription.format;
    }

    /// The part of its level that a tile holds, its overlap with the neighbours included.
    ImageRegion tileRegion(std::uint32_t level, std::uint32_t column, std::uint32_t row) const noexcept;

    /// The files of the tiles that hold a part of a level, in the order in which readRegion() reads them.
    std::vector<std::string> tileNames(std::uint32_t level, const ImageRegion& part) const;

    /// Puts a part of a level together from the tiles that hold it.
    /// @param part      inside the level
    /// @param readTile  std::optional<Image>(name, width, height), reads a tile of this size or throws;
    ///                  nothing when it was stopped
    /// @return nothing when a tile was stopped
    template <class Image, class ReadTile>
    std::optional<Image> readRegion(std::uint32_t level, const ImageRegion& part, const ReadTile& readTile)
        const;

    /// The folder of the tiles that belong to a description.
    static std::string tileFolder(std::string_view descriptionName);

private:
    DeepZoomDescription mDescription;
    std::string mFolder;
};

template <class Image, class ReadTile>
std::optional<Image> DeepZoomPyramid::readRegion(
    std::uint32_t level, const ImageRegion& part, const ReadTile& readTile
) const
{
    const std::uint32_t tileSize = mDescription.tileSize;
    Image result(part.width, part.height);
    for (std::uint32_t row = part.y / tileSize; row <= (part.y + part.height - 1) / tileSize; ++row)
    {
        for (std::uint32_t column = part.x / tileSize; column <= (part.x + part.width - 1) / tileSize;
             ++column)
        {
            const ImageRegion tile = tileRegion(level, column, row);
            const std::optional<Image> image =
                readTile(tileName(level, column, row), tile.width, tile.height);
            if (!image)
            {
                return std::nullopt;
            }
            // Where tiles overlap both hold the same.
            const std::uint32_t left = std::max(tile.x, part.x);
            const std::uint32_t top = std::max(tile.y, part.y);
            const std::uint32_t right = std::min(tile.x + tile.width, part.x + part.width);
            const std::uint32_t bottom = std::min(tile.y + tile.height, part.y + part.height);
            constexpr std::size_t kPixelSize = sizeof(typename Image::PixelType);
            for (std::uint32_t y = top; y < bottom; ++y)
            {
                std::memcpy(
                    result.data() + (y - part.y) * result.rowPitch() + (left - part.x) * kPixelSize,
                    image->data() + (y - tile.y) * image->rowPitch() + (left - tile.x) * kPixelSize,
                    (right - left) * kPixelSize
                );
            }
        }
    }
    return result;
}
}  // namespace Graphics
