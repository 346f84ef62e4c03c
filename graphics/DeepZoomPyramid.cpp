#include "graphics/DeepZoomPyramid.h"

namespace Graphics
{
std::string DeepZoomPyramid::tileFolder(std::string_view descriptionName)
{
    const std::size_t name = descriptionName.rfind('/') + 1;  // 0 where there is none
    const std::size_t dot = descriptionName.rfind('.');
    const bool hasExtension = dot != std::string_view::npos && dot > name;
    return std::string(descriptionName.substr(0, hasExtension ? dot : descriptionName.size())) + "_files";
}

ImageRegion DeepZoomPyramid::tileRegion(std::uint32_t level, std::uint32_t column, std::uint32_t row)
    const noexcept
{
    struct Range
    {
        std::uint32_t first;
        std::uint32_t size;
    };

    const auto range = [this](std::uint32_t index, std::uint32_t levelSize)
    {
        const std::uint64_t core = std::uint64_t{index} * mDescription.tileSize;
        const std::uint64_t first = core - (index > 0 ? mDescription.overlap : 0U);
        const std::uint64_t last =
            std::min<std::uint64_t>(core + mDescription.tileSize + mDescription.overlap, levelSize);
        return Range{static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last - first)};
    };
    const Range x = range(column, mDescription.levelWidth(level));
    const Range y = range(row, mDescription.levelHeight(level));
    return {x.first, y.first, x.size, y.size};
}

std::vector<std::string> DeepZoomPyramid::tileNames(std::uint32_t level, const ImageRegion& part) const
{
    const std::uint32_t tileSize = mDescription.tileSize;
    std::vector<std::string> names;
    for (std::uint32_t row = part.y / tileSize; row <= (part.y + part.height - 1) / tileSize; ++row)
    {
        for (std::uint32_t column = part.x / tileSize; column <= (part.x + part.width - 1) / tileSize;
             ++column)
        {
            names.push_back(tileName(level, column, row));
        }
    }
    return names;
}
}  // namespace Graphics
