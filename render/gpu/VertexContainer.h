#pragma once

#include "render/Export.h"
#include "render/gpu/VertexFormats.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace Render
{
/// The vertices of one octree node, from which hidden points can be dropped once all are filled in.
///
/// Shape    20 bytes a vertex, ready to copy into a vertex buffer.
/// Threads  a plain value.
class RENDER_API VertexContainer
{
public:
    using Vertex = VertexPosColorIntensityClassIndexScanIndex;

    VertexContainer() = default;

    /// Takes over the vertices; all of them count as visible.
    VertexContainer(std::initializer_list<Vertex> vertices);

    /// Sets the number of vertices; new ones are black at the origin and visible.
    void resize(std::size_t n);

    /// Drops the vertices whose visibility is not 0, keeps the others in order and gives up the storage that
    /// is not needed any more. Does nothing unless setVisibility() was called and there is one visibility per
    /// vertex.
    void complete();

    // The setters below do not check the index.

    /// Stores the coordinates rounded to single precision.
    void setPosition(std::size_t i, double x, double y, double z) noexcept
    {
        mVertices[i].position = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    }

    void setColor(std::size_t i, unsigned char r, unsigned char g, unsigned char b, unsigned char a) noexcept
    {
        mVertices[i].color.set(r, g, b, a);
    }

    /// Stores the high byte of the 16-bit intensity, on purpose without rounding.
    void setIntensity(std::size_t i, unsigned short value) noexcept
    {
        mVertices[i].intensity = static_cast<std::uint8_t>(value >> 8U);
    }

    void setClassIndex(std::size_t i, unsigned char value) noexcept { mVertices[i].classIndex = value; }

    void setScanIndex(std::size_t i, unsigned short value) noexcept { mVertices[i].scanIndex = value; }

    /// @param value  0 keeps the point, anything else lets complete() drop it
    void setVisibility(std::size_t i, unsigned char value) noexcept
    {
        mVisibility[i] = value;
        mVisibilityUsed = true;
    }

    std::size_t size() const noexcept { return mVertices.size(); }

    Vertex* data() noexcept { return mVertices.data(); }

    const Vertex* data() const noexcept { return mVertices.data(); }

private:
    std::vector<Vertex> mVertices;
    std::vector<std::uint8_t> mVisibility;
    bool mVisibilityUsed = false;
};
}  // namespace Render
