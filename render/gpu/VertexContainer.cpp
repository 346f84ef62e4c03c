#include "render/gpu/VertexContainer.h"

namespace Render
{
VertexContainer::VertexContainer(std::initializer_list<Vertex> vertices)
    : mVertices(vertices), mVisibility(vertices.size(), 0)
{
}

void VertexContainer::resize(std::size_t n)
{
    mVertices.resize(n);
    mVisibility.resize(n, 0);
}

void VertexContainer::complete()
{
    if (!mVisibilityUsed || mVisibility.size() != mVertices.size())
    {
        return;
    }

    std::size_t kept = 0;
    for (std::size_t i = 0; i < mVertices.size(); ++i)
    {
        if (mVisibility[i] == 0)
        {
            mVertices[kept++] = mVertices[i];
        }
    }
    mVertices.resize(kept);
    if (mVertices.capacity() != kept)
    {
        // shrink_to_fit() is only a request, and the container may live in a cache for long
        std::vector<Vertex>(mVertices.begin(), mVertices.end()).swap(mVertices);
    }
    std::vector<std::uint8_t>().swap(mVisibility);
}
}  // namespace Render
