#pragma once

#include "render/gpu/VertexFormats.h"
#include "render/renderer/MappedImage.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Render
{
/// The next pixel that an export of visible points looks at.
struct ScanPosition
{
    std::uint64_t column = 0;
    std::uint64_t row = 0;

    friend bool operator==(const ScanPosition&, const ScanPosition&) = default;
};

/// The output targets of a frame: positions of four floats a texel, whose fourth is above 0 where there is a
/// point, and colours of four bytes a texel.
struct FrameImages
{
    MappedImage positions;
    MappedImage colors;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

/// Collects points row by row from `next` on, which is moved to the first pixel not looked at.
/// @param points  where they go; no more than fit are collected
/// @returns how many were written
std::size_t scanPoints(const FrameImages& images, ScanPosition& next, std::span<VertexPosColor> points);

/// The same into separate lists.
/// @param positions  x, y, z of each point; three times as long as `colors`
/// @param colors     one number per point: 0x00BBGGRR
std::size_t scanPoints(
    const FrameImages& images, ScanPosition& next, std::span<double> positions, std::span<int> colors
);
}  // namespace Render
