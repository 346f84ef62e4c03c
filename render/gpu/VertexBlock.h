#pragma once

#include "core/NonCopyable.h"
#include "render/Export.h"
#include "render/gpu/VertexFormats.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>

namespace Render
{
/// The vertices of one octree node, in an array of exactly that size.
///
/// Filled by one VertexContainer; from VertexContainer::share() on nobody changes it, and caches, the
/// prioritizer and publications refer to the one block. Its address tells it from all others that are alive.
///
/// Shape    20 bytes a vertex, ready to copy into a vertex buffer.
/// Threads  any number of readers once it is shared.
class RENDER_API VertexBlock : private Core::NonCopyable
{
public:
    /// What a point is drawn from.
    using Vertex = VertexPosColorIntensityClassIndexScanIndex;

    /// No vertices and no storage.
    VertexBlock() = default;

    std::span<const Vertex> vertices() const noexcept { return {mVertices.get(), mSize}; }

    /// The first vertex; null for none.
    const Vertex* data() const noexcept { return mVertices.get(); }

    /// Number of vertices.
    std::size_t size() const noexcept { return mSize; }

private:
    friend class VertexContainer;

    struct Release
    {
        void operator()(Vertex* vertices) const noexcept { std::free(vertices); }
    };

    /// Keeps the first vertices; what comes after them is not initialized. Shrinking moves nothing.
    void resizeForOverwrite(std::size_t n);

    std::unique_ptr<Vertex[], Release> mVertices;
    std::size_t mSize = 0;
};
}  // namespace Render
