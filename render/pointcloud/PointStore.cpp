#include "render/pointcloud/PointStore.h"

#include <algorithm>
#include <span>
#include <utility>

namespace Render
{
namespace
{
using Vertex = VertexBlock::Vertex;

bool isSameNode(const DrawnNode& a, const DrawnNode& b)
{
    return a.record.octreeNodeId == b.record.octreeNodeId && a.record.index == b.record.index &&
           a.record.level == b.record.level && a.record.pointCount == b.record.pointCount &&
           a.record.boxMin == b.record.boxMin;
}
}  // namespace

PointStore::PointStore(std::shared_ptr<PointWindows> windows, std::size_t budget)
    : mWindows(std::move(windows)), mBudget(budget)
{
}

PointStore::~PointStore()
{
    ++mGeneration;
    letGo();
}

bool PointStore::isWithinBudget(const NodeRecord& node) const noexcept
{
    return node.firstPoint <= mBudget && node.pointCount <= mBudget - node.firstPoint;
}

bool PointStore::update(ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes)
{
    ++mGeneration;
    for (const NodeRecord& node : publication.nodes)
    {
        if (const auto found = mResidents.find(publication.vertices.blockAt(node.firstPoint));
            found != mResidents.end())
        {
            found->second.generation = mGeneration;
        }
    }
    const std::vector<DrawnNode> before = std::exchange(mDrawn, {});
    mDrawnHandles.clear();
    const bool hadChanged =
        std::exchange(mHasChanged, true);  // until it is known better, also after a failure
    letGo();

    bool isComplete = true;
    if (publication.vertices.pieces().empty())
    {
        addArray(context, publication);
    }
    else
    {
        bool hasAdded = false;
        isComplete = addBlocks(context, publication, mostBytes, hasAdded);
        mHasChanged = hadChanged || hasAdded ||
                      !std::equal(before.begin(), before.end(), mDrawn.begin(), mDrawn.end(), isSameNode);
    }
    lookUpPlaces();
    return isComplete;
}

bool PointStore::takeChanged()
{
    if (mRevision != mWindows->revision())
    {
        lookUpPlaces();
    }
    return std::exchange(mHasChanged, false);
}

void PointStore::lookUpPlaces()
{
    for (std::size_t i = 0; i < mDrawn.size(); ++i)
    {
        mDrawn[i].slot = mWindows->slot(mDrawnHandles[i]);
    }
    mHasChanged |= mRevision != mWindows->revision();
    mRevision = mWindows->revision();
}

void PointStore::letGo()
{
    for (auto resident = mResidents.begin(); resident != mResidents.end();)
    {
        if (resident->second.generation == mGeneration)
        {
            ++resident;
            continue;
        }
        mWindows->remove(resident->second.handle);
        resident = mResidents.erase(resident);
    }
    for (const PointWindows::Handle handle : mUnnamed)
    {
        mWindows->remove(handle);
    }
    mUnnamed.clear();
}

bool PointStore::addBlocks(
    ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes, bool& hasAdded
)
{
    const auto pieceOf = [&](const NodeRecord& node)
    { return isWithinBudget(node) ? publication.vertices.pieceAt(node.firstPoint) : nullptr; };

    std::size_t stillToCome = 0;
    for (const NodeRecord& node : publication.nodes)
    {
        const PublishedVertices::Piece* const piece = pieceOf(node);
        stillToCome += piece != nullptr && !mResidents.contains(piece->block.get())
                           ? SlotAllocator::rounded(piece->block->size())
                           : 0;
    }
    mWindows->shrink(context, stillToCome);

    std::size_t uploaded = 0;
    std::size_t missing = 0;
    for (const NodeRecord& node : publication.nodes)
    {
        const PublishedVertices::Piece* const piece = pieceOf(node);
        if (piece == nullptr)
        {
            continue;
        }
        const VertexBlock& block = *piece->block;
        auto resident = mResidents.find(&block);
        if (resident == mResidents.end())
        {
            const std::size_t bytes = block.size() * sizeof(Vertex);
            if (uploaded > 0 && bytes > mostBytes - std::min(uploaded, mostBytes))
            {
                ++missing;
                continue;
            }
            resident = mResidents.emplace(&block, Resident{piece->block, 0, mGeneration}).first;
            try
            {
                resident->second.handle = mWindows->add(context, block.vertices(), stillToCome);
            }
            catch (...)
            {
                mResidents.erase(resident);
                throw;
            }
            hasAdded = true;
            uploaded += bytes;
            stillToCome -= SlotAllocator::rounded(block.size());
        }
        mDrawn.push_back({node, {}});
        mDrawnHandles.push_back(resident->second.handle);
    }
    for (std::size_t i = 0; missing > 0 && i < mDrawn.size(); ++i)
    {
        mDrawn[i].record.index = i;
    }
    return missing == 0;
}

void PointStore::addArray(ID3D11DeviceContext* context, const Buffer& publication)
{
    const std::span<const Vertex> vertices = publication.vertices.array();
    const auto isThere = [&](const NodeRecord& node)
    {
        return node.pointCount > 0 && isWithinBudget(node) && node.firstPoint <= vertices.size() &&
               node.pointCount <= vertices.size() - node.firstPoint;
    };
    std::size_t stillToCome = 0;
    for (const NodeRecord& node : publication.nodes)
    {
        stillToCome += isThere(node) ? SlotAllocator::rounded(node.pointCount) : 0;
    }
    mWindows->shrink(context, stillToCome);
    for (const NodeRecord& node : publication.nodes)
    {
        if (!isThere(node))
        {
            continue;
        }
        const std::size_t count = node.pointCount;
        mUnnamed.reserve(mUnnamed.size() + 1);  // so that nothing fails once the points have a place
        mUnnamed.push_back(mWindows->add(context, vertices.subspan(node.firstPoint, count), stillToCome));
        mDrawn.push_back({node, {}});
        mDrawnHandles.push_back(mUnnamed.back());
        stillToCome -= SlotAllocator::rounded(count);
    }
}
}  // namespace Render
