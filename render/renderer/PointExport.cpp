#include "render/renderer/PointExport.h"

#include "render/renderer/Frame.h"
#include "render/renderer/ReadBack.h"
#include "render/scene/Viewport.h"

#include <array>
#include <memory>

namespace Render
{
namespace
{
/// The room for the records of one chunk, 16 MiB.
struct alignas(32) Chunk
{
    std::array<VertexPosColor, 0x100000> points;
};

/// Calls with the output targets while they are mapped.
template <class Scan>
std::size_t scanFrame(const PointExport::Source& source, const Scan& scan)
{
    const RenderPass& pass = source.frame.outputPass();
    const ReadBack::Mapped colors = source.readBack.color(source.context, pass.texture("color"));
    const ReadBack::Mapped positions =
        source.readBack.worldPosition(source.context, pass.texture("worldPosition"));
    return scan(FrameImages{
        positions.image(), colors.image(), source.viewport.width(), source.viewport.height()});
}
}  // namespace

void PointExport::reset() noexcept
{
    mNext = {};
}

std::size_t PointExport::nextChunk(const Source& source, std::span<VertexPosColor> points)
{
    return scanFrame(source, [&](const FrameImages& images) { return scanPoints(images, mNext, points); });
}

std::size_t PointExport::nextChunk(const Source& source, std::span<double> positions, std::span<int> colors)
{
    return scanFrame(
        source, [&](const FrameImages& images) { return scanPoints(images, mNext, positions, colors); }
    );
}

void PointExport::allPoints(const Source& source, std::vector<VertexPosColor>& points)
{
    reset();
    points.clear();
    const auto chunk = std::make_unique<Chunk>();
    while (const std::size_t count = nextChunk(source, chunk->points))
    {
        points.insert(
            points.end(), chunk->points.begin(), chunk->points.begin() + static_cast<std::ptrdiff_t>(count)
        );
    }
}
}  // namespace Render
