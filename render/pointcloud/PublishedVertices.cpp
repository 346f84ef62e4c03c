#include "render/pointcloud/PublishedVertices.h"

#include <algorithm>
#include <utility>

namespace Render
{
void PublishedVertices::append(std::shared_ptr<const VertexBlock> block)
{
    if (mPieces.empty())
    {
        mSize = 0;
    }
    const std::size_t size = block->size();
    mPieces.push_back({mSize, std::move(block)});
    mSize += size;
    mArray.clear();
}

const PublishedVertices::Piece* PublishedVertices::pieceAt(std::size_t firstPoint) const noexcept
{
    const auto found = std::lower_bound(
        mPieces.begin(),
        mPieces.end(),
        firstPoint,
        [](const Piece& piece, std::size_t first) { return piece.firstPoint < first; }
    );
    return found != mPieces.end() && found->firstPoint == firstPoint ? &*found : nullptr;
}

const VertexBlock* PublishedVertices::blockAt(std::size_t firstPoint) const noexcept
{
    const Piece* const piece = pieceAt(firstPoint);
    return piece != nullptr ? piece->block.get() : nullptr;
}

std::vector<std::span<const PublishedVertices::Vertex>> PublishedVertices::spans() const
{
    std::vector<std::span<const Vertex>> spans;
    if (mPieces.empty())
    {
        spans.emplace_back(mArray);
        return spans;
    }
    spans.reserve(mPieces.size());
    for (const Piece& piece : mPieces)
    {
        spans.push_back(piece.block->vertices());
    }
    return spans;
}

const PublishedVertices::Array& PublishedVertices::array() const
{
    if (mArray.empty() && !mPieces.empty())
    {
        mArray.reserve(mSize);
        for (const Piece& piece : mPieces)
        {
            const std::span<const Vertex> vertices = piece.block->vertices();
            mArray.insert(mArray.end(), vertices.begin(), vertices.end());
        }
    }
    return mArray;
}

PublishedVertices::Array& PublishedVertices::array()
{
    std::as_const(*this).array();
    mPieces.clear();
    return mArray;
}

void PublishedVertices::clear() noexcept
{
    mPieces.clear();
    Array().swap(mArray);
    mSize = 0;
}
}  // namespace Render
