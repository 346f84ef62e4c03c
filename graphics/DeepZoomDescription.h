#pragma once

#include "graphics/Export.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Core
{
class ByteSource;
}

namespace Graphics
{
/// What a .dzi file says about an image pyramid.
///
/// The levels are numbered from one pixel up: the last one is the whole picture, each other one half as wide
/// and high as the next, rounded up.
/// Threads  a plain value.
struct GRAPHICS_API DeepZoomDescription
{
    std::uint32_t width = 0;     ///< of the finest level, pixels
    std::uint32_t height = 0;    ///< of the finest level, pixels
    std::uint32_t tileSize = 0;  ///< of a tile without its overlap
    std::uint32_t overlap = 0;   ///< pixels that a tile shares with each neighbour
    std::string format;          ///< extension of the tiles: "png", "jpg" or "jpeg"

    /// Number of the finest level; the coarsest is 0.
    std::uint32_t lastLevel() const noexcept;

    /// Size of a level, pixels.
    std::uint32_t levelWidth(std::uint32_t level) const noexcept;
    std::uint32_t levelHeight(std::uint32_t level) const noexcept;

    friend bool operator==(const DeepZoomDescription&, const DeepZoomDescription&) = default;
};

/// Understands the text of a .dzi file.
///
/// Only what such a file needs of XML is accepted: a declaration, comments, elements and attributes. Document
/// types and entities are refused, whatever they mean.
/// @throws std::runtime_error  with the line and what is wrong, not naming a file
GRAPHICS_API DeepZoomDescription parseDeepZoomDescription(std::string_view text);

/// Reads a .dzi file of at most 64 KiB.
/// @throws std::runtime_error  naming the file and what is wrong
GRAPHICS_API DeepZoomDescription readDeepZoomDescription(const Core::ByteSource& file);

/// The same for a local file.
GRAPHICS_API DeepZoomDescription readDeepZoomDescription(const std::filesystem::path& path);

/// The text of a .dzi file.
GRAPHICS_API std::string deepZoomDescriptionText(const DeepZoomDescription& description);
}  // namespace Graphics
