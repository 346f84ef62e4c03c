#include "render/gpu/VertexBlock.h"

#include <limits>
#include <new>
#include <type_traits>

namespace Render
{
static_assert(
    std::is_trivially_copyable_v<VertexBlock::Vertex> &&
        std::is_trivially_destructible_v<VertexBlock::Vertex>,
    "vertices may be moved by realloc()"
);

void VertexBlock::resizeForOverwrite(std::size_t n)
{
    if (n == mSize)
    {
        return;
    }
    if (n == 0)
    {
        mVertices.reset();
        mSize = 0;
        return;
    }
    if (n > std::numeric_limits<std::size_t>::max() / sizeof(Vertex))
    {
        throw std::bad_alloc();
    }
    void* const resized = std::realloc(mVertices.get(), n * sizeof(Vertex));
    if (resized == nullptr)
    {
        throw std::bad_alloc();
    }
    mVertices.release();  // NOLINT(bugprone-unused-return-value): realloc() has taken it
    mVertices.reset(static_cast<Vertex*>(resized));
    mSize = n;
}
}  // namespace Render
