#pragma once

#include "graphics/ColorImage.h"

#include <cstdint>
#include <filesystem>
#include <functional>

namespace Graphics
{
/// Longest side of a picture, that of a Direct3D 11 texture.
inline constexpr std::uint32_t kLargestJpegSide = 16384;

/// Reads a grey or colour JPEG; alpha is 255.
///
/// Damaged and truncated files are errors, also where the decoder could make something up. Threads  any.
/// @param acceptSize  void(width, height), throws for a size that is not wanted, before memory is taken for
///                    the pixels; may be empty
/// @throws std::runtime_error  naming the path and what is wrong
ColorImage readJpeg(
    const std::filesystem::path& path,
    const std::function<void(std::uint32_t width, std::uint32_t height)>& acceptSize
);
}  // namespace Graphics
