#pragma once

#include <cstdint>

namespace Graphics
{
/// What pictures and the tiles of panoramas may be: all bounds in one place.
struct PictureLimits
{
    /// Longest side of a picture or a level in pixels, that of a Direct3D 11 texture.
    static constexpr std::uint32_t kLargestSide = 16384;

    /// Longest side of a tile in pixels, its overlap with the neighbours included. Common tools write tiles
    /// of 254 to 1024 pixels.
    static constexpr std::uint32_t kLargestTileSide = 4096;

    /// Bytes of a file with a picture; what compresses at all is smaller at the largest size.
    static constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30U;

    /// Bytes of a file with a tile; the same for the largest tile.
    static constexpr std::uint64_t kLargestTileFile = std::uint64_t{1} << 28U;

    /// Deflate packs at most 258 bytes into two bits.
    static constexpr std::uint64_t kMostPngBytesPerByte = 1032;

    /// A JPEG block of 64 pixels takes at least a bit, so 512 pixels a byte; the rest is for rounded sizes.
    static constexpr std::uint64_t kMostJpegPixelsPerByte = 1024;

    /// Passes over the picture that a progressive JPEG may take, by its pixels. Files that exist have about
    /// ten; of small pictures more cost nothing.
    static constexpr int mostJpegScans(std::uint64_t pixelCount) noexcept
    {
        constexpr std::uint64_t kPixelsOfAllScans = std::uint64_t{1} << 28U;
        constexpr std::uint64_t kFewest = 20;
        constexpr std::uint64_t kMost = 200;
        const std::uint64_t scans = pixelCount > 0 ? kPixelsOfAllScans / pixelCount : kMost;
        return static_cast<int>(scans < kFewest ? kFewest : scans > kMost ? kMost : scans);
    }
};
}  // namespace Graphics
