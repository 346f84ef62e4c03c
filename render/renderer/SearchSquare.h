#pragma once

#include <cstddef>
#include <cstdint>

namespace Render
{
/// The pixels around a picked one: columns [left, right) of rows [top, bottom).
///
/// Threads  a plain value.
struct SearchSquare
{
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    bool isEmpty() const noexcept { return left >= right || top >= bottom; }

    /// Number of pixels.
    std::size_t size() const noexcept;

    friend bool operator==(const SearchSquare&, const SearchSquare&) = default;
};

/// The square from (x - tolerance, y - tolerance) to (x + tolerance, y + tolerance), moved into a picture of
/// the given size.
///
/// The last column and row do not belong to it, on purpose, so a tolerance of 0 gives an empty one and the
/// last column and row of the picture are never part of any.
/// @param x, y  pixel; may lie outside the picture
SearchSquare searchSquare(
    std::uint64_t x, std::uint64_t y, std::uint64_t tolerance, std::uint64_t width, std::uint64_t height
) noexcept;
}  // namespace Render
