#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>

namespace Graphics
{
/// How the samples of a PNG to write are laid out.
enum class PngLayout
{
    Rgba8,   ///< four bytes a pixel: red, green, blue, alpha
    Gray16,  ///< two bytes a pixel in the byte order of this machine
};

/// Writes a PNG whose rows are made one after the other, so that no second copy of the picture is needed.
///
/// Threads  any.
/// @param fillRow  void(y, row), writes row y, counted from the top, in the given layout
/// @throws std::runtime_error  naming the path and the reason; the file then is as it was before
void writePngRows(
    const std::filesystem::path& path,
    std::uint64_t width,
    std::uint64_t height,
    PngLayout layout,
    const std::function<void(std::uint64_t y, std::span<std::byte> row)>& fillRow
);
}  // namespace Graphics
