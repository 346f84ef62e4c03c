#pragma once

#include "graphics/ColorImage.h"
#include "graphics/PictureLimits.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>

namespace Graphics
{
/// Reads a grey or colour JPEG; alpha is 255.
///
/// Damaged and truncated files are errors, also where the decoder could make something up.
/// Threads  any.
/// @param acceptSize  void(width, height), throws for a size that is not wanted, before memory is taken for
///                    the pixels; may be empty
/// @param maxFileSize  in bytes
/// @param stopToken   looked at before each row, of a progressive file in each of its passes
/// @return nothing when a stop was requested
/// @throws std::runtime_error  naming the path and what is wrong
std::optional<ColorImage> readJpeg(
    const std::filesystem::path& path,
    const std::function<void(std::uint32_t width, std::uint32_t height)>& acceptSize,
    std::uint64_t maxFileSize = PictureLimits::kLargestFile,
    const std::stop_token& stopToken = {}
);
}  // namespace Graphics
