#pragma once

#include "render/Render.h"
#include "render/gpu/VertexFormats.h"
#include "render/renderer/PointScan.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Render
{
class Frame;
class ReadBack;

/// Turns the last frame's picture back into points, one per pixel that shows one, row by row from the top.
///
/// Remembers how far it has come. Every chunk copies and maps the output targets anew, so a frame drawn in
/// between changes what the rest shows.
/// Threads  rendering thread only, not locked.
class PointExport
{
public:
    /// What a chunk is read from.
    struct Source
    {
        ID3D11DeviceContext* context;
        const Viewport& viewport;
        const Frame& frame;
        ReadBack& readBack;
    };

    /// Starts again at the first pixel.
    void reset() noexcept;

    /// The next points; fewer than fit only at the end of the frame, 0 behind it.
    /// @throws ComException  when a target cannot be mapped
    std::size_t nextChunk(const Source& source, std::span<VertexPosColor> points);

    /// @param positions  x, y, z of each point; three times as long as `colors`
    /// @param colors     0x00BBGGRR of each point
    std::size_t nextChunk(const Source& source, std::span<double> positions, std::span<int> colors);

    /// Replaces the contents of the list by all points of the frame and stays at its end.
    void allPoints(const Source& source, std::vector<VertexPosColor>& points);

private:
    ScanPosition mNext;
};
}  // namespace Render
