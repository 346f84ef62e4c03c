#include "render/gpu/VertexContainer.h"

#include <algorithm>
#include <utility>

namespace Render
{
VertexContainer::VertexContainer(std::initializer_list<Vertex> vertices)
{
    resizeForOverwrite(vertices.size());
    std::copy(vertices.begin(), vertices.end(), data());
}

VertexContainer::VertexContainer(const VertexContainer& other)
    : mBlock(other.mBlock), mIsShared(other.mIsShared), mVisibility(other.mVisibility)
{
    if (mBlock && !mIsShared)
    {
        copyBlock();
    }
}

VertexContainer& VertexContainer::operator=(const VertexContainer& other)
{
    *this = VertexContainer(other);
    return *this;
}

VertexContainer::VertexContainer(VertexContainer&& other) noexcept
    : mBlock(std::move(other.mBlock)),
      mIsShared(std::exchange(other.mIsShared, false)),
      mVisibility(std::move(other.mVisibility))
{
}

VertexContainer& VertexContainer::operator=(VertexContainer&& other) noexcept
{
    mBlock = std::move(other.mBlock);
    mIsShared = std::exchange(other.mIsShared, false);
    mVisibility = std::move(other.mVisibility);
    return *this;
}

void VertexContainer::resize(std::size_t n)
{
    const std::size_t before = size();
    resizeForOverwrite(n);
    if (n > before)
    {
        Vertex* const vertices = data();
        std::fill(vertices + before, vertices + n, Vertex(Math::Point<float, 3>(), Math::Color(), 0, 0, 0));
    }
}

void VertexContainer::resizeForOverwrite(std::size_t n)
{
    if (n == size())
    {
        return;
    }
    if (mIsShared)
    {
        copyBlock();
    }
    if (!mBlock)
    {
        mBlock = std::make_shared<VertexBlock>();
    }
    mBlock->resizeForOverwrite(n);
    if (!mVisibility.empty())
    {
        mVisibility.resize(n, 0);
    }
}

void VertexContainer::complete()
{
    if (mVisibility.empty() || mVisibility.size() != size())
    {
        return;
    }

    Vertex* const vertices = data();
    std::size_t kept = 0;
    for (std::size_t i = 0; i < mVisibility.size(); ++i)
    {
        if (mVisibility[i] == 0)
        {
            vertices[kept++] = vertices[i];
        }
    }
    std::vector<std::uint8_t>().swap(mVisibility);
    resizeForOverwrite(kept);
}

std::shared_ptr<const VertexBlock> VertexContainer::share()
{
    if (!mBlock)
    {
        mBlock = std::make_shared<VertexBlock>();
    }
    mIsShared = true;
    return mBlock;
}

void VertexContainer::copyBlock()
{
    auto copy = std::make_shared<VertexBlock>();
    copy->resizeForOverwrite(mBlock->size());
    std::copy_n(mBlock->data(), mBlock->size(), copy->mVertices.get());
    mBlock = std::move(copy);
    mIsShared = false;
}
}  // namespace Render
