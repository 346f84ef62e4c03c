#pragma once

#include "graphics/ColorImage.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace Graphics
{
/// Decodes a grey or colour JPEG; alpha is 255.
///
/// Damaged and truncated files are errors, also where the decoder could make something up.
/// Threads  any.
/// @param name        for messages
/// @param file        the whole file
/// @param acceptSize  void(width, height), throws for a size that is not wanted, before memory is taken for
///                    the pixels; may be empty
/// @param stopToken   looked at before each row, of a progressive file in each of its passes
/// @return nothing when a stop was requested
/// @throws std::runtime_error  naming the file and what is wrong
std::optional<ColorImage> readJpeg(
    const std::string& name,
    const std::string& file,
    const std::function<void(std::uint32_t width, std::uint32_t height)>& acceptSize,
    const std::stop_token& stopToken = {}
);
}  // namespace Graphics
