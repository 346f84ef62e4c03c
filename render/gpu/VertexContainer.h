#pragma once

#include "render/Export.h"
#include "render/gpu/VertexBlock.h"
#include "render/gpu/VertexFormats.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace Render
{
/// The vertices of one octree node, from which hidden points can be dropped once all are filled in.
///
/// Once share() was called, copies refer to the same vertices. A change after that is made to a copy of them.
///
/// Shape    20 bytes a vertex, ready to copy into a vertex buffer.
/// Threads  a plain value; what is shared may be read from any thread.
class RENDER_API VertexContainer
{
public:
    /// What a point is drawn from.
    using Vertex = VertexBlock::Vertex;

    VertexContainer() = default;

    /// Takes over the vertices; all of them count as visible.
    VertexContainer(std::initializer_list<Vertex> vertices);

    /// Copies the vertices, or shares them where they are shared already; what was moved from has none.
    VertexContainer(const VertexContainer& other);
    VertexContainer& operator=(const VertexContainer& other);
    VertexContainer(VertexContainer&& other) noexcept;
    VertexContainer& operator=(VertexContainer&& other) noexcept;
    ~VertexContainer() = default;

    /// Sets the number of vertices; new ones are black at the origin and visible.
    void resize(std::size_t n);

    /// Sets the number of vertices; the contents of new ones are whatever they are until they are written.
    void resizeForOverwrite(std::size_t n);

    /// Drops the vertices whose visibility is not 0, keeps the others in order and gives up the storage that
    /// is not needed any more. Does nothing unless setVisibility() was called and there is one visibility per
    /// vertex.
    void complete();

    /// The vertices as they are now, without a copy.
    std::shared_ptr<const VertexBlock> share();

    // The setters below do not check the index.

    /// Stores the coordinates rounded to single precision.
    void setPosition(std::size_t i, double x, double y, double z)
    {
        data()[i].position = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    }

    /// Replaces the colour.
    void setColor(std::size_t i, unsigned char r, unsigned char g, unsigned char b, unsigned char a)
    {
        data()[i].color.set(r, g, b, a);
    }

    /// Stores the high byte of the 16-bit intensity, on purpose without rounding.
    void setIntensity(std::size_t i, unsigned short value)
    {
        data()[i].intensity = static_cast<std::uint8_t>(value >> 8U);
    }

    /// Replaces the class.
    void setClassIndex(std::size_t i, unsigned char value) { data()[i].classIndex = value; }

    /// Replaces the scan index.
    void setScanIndex(std::size_t i, unsigned short value) { data()[i].scanIndex = value; }

    /// @param value  0 keeps the point, anything else lets complete() drop it
    void setVisibility(std::size_t i, unsigned char value)
    {
        if (mVisibility.size() != size())
        {
            mVisibility.assign(size(), 0);
        }
        mVisibility[i] = value;
    }

    /// Number of vertices.
    std::size_t size() const noexcept { return mBlock ? mBlock->size() : 0; }

    /// To change the vertices: those that are shared are copied first.
    Vertex* data()
    {
        if (mIsShared)
        {
            copyBlock();
        }
        return mBlock ? mBlock->mVertices.get() : nullptr;
    }

    /// The vertices, to read only.
    const Vertex* data() const noexcept { return mBlock ? mBlock->data() : nullptr; }

private:
    void copyBlock();

    std::shared_ptr<VertexBlock> mBlock;    // absent while there was never a vertex
    bool mIsShared = false;                 // the block must not change any more
    std::vector<std::uint8_t> mVisibility;  // one per vertex from the first setVisibility() to complete()
};
}  // namespace Render
