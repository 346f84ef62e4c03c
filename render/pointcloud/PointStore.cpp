#include "render/pointcloud/PointStore.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

namespace Render
{
namespace
{
using Vertex = VertexBlock::Vertex;

constexpr std::size_t kRingSegmentBytes = std::size_t{2} << 20U;
constexpr std::size_t kStep = std::size_t{1} << 16U;  // points; buffers are multiples of it

std::size_t inSteps(std::size_t points)
{
    return (points + kStep - 1) / kStep * kStep;
}

bool isSameDrawing(const DrawnNode& a, const DrawnNode& b)
{
    return a.record.octreeNodeId == b.record.octreeNodeId && a.record.index == b.record.index &&
           a.record.level == b.record.level && a.record.pointCount == b.record.pointCount &&
           a.record.boxMin == b.record.boxMin && a.slot.window == b.slot.window &&
           a.slot.first == b.slot.first;
}
}  // namespace

PointStore::PointStore(CComPtr<ID3D11Device> device, std::size_t budget, std::size_t largestWindow)
    : mDevice(std::move(device)),
      mBudget(budget),
      mLargestWindow(largestWindow),
      mRing(mDevice, kRingSegmentBytes)
{
}

bool PointStore::isWithinBudget(const NodeRecord& node) const noexcept
{
    return node.firstPoint <= mBudget && node.pointCount <= mBudget - node.firstPoint;
}

bool PointStore::update(ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes)
{
    ++mGeneration;
    std::size_t needed = 0;
    for (const NodeRecord& node : publication.nodes)
    {
        needed += isWithinBudget(node) ? SlotAllocator::rounded(node.pointCount) : 0;
        if (const auto found = mResidents.find(publication.vertices.blockAt(node.firstPoint));
            found != mResidents.end())
        {
            found->second.generation = mGeneration;
        }
    }
    const std::vector<DrawnNode> before = std::exchange(mDrawn, {});
    const bool hadChanged =
        std::exchange(mHasChanged, true);  // until it is known better, also after a failure
    mHasMoved = false;
    letGo();
    shrink(context, needed);

    bool isComplete = true;
    if (publication.vertices.pieces().empty())
    {
        uploadArray(context, publication);
    }
    else
    {
        isComplete = uploadBlocks(context, publication, mostBytes);
        mHasChanged = mHasMoved || hadChanged ||
                      !std::equal(before.begin(), before.end(), mDrawn.begin(), mDrawn.end(), isSameDrawing);
    }
    return isComplete;
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
        free(resident->second.slot, resident->second.count);
        resident = mResidents.erase(resident);
    }
    for (const Resident& node : mUnnamed)
    {
        free(node.slot, node.count);
    }
    mUnnamed.clear();
}

void PointStore::shrink(ID3D11DeviceContext* context, std::size_t needed)
{
    std::size_t capacity = 0;
    for (const Window& window : mWindows)
    {
        capacity += window.slots.capacity();
    }
    if (capacity <= 2 * needed + kStep)
    {
        return;
    }
    while (!mWindows.empty() && mWindows.back().slots.used() == 0)
    {
        mWindows.pop_back();
    }
    for (std::size_t i = 0; i < mWindows.size(); ++i)
    {
        const std::size_t fitting = inSteps(std::max<std::size_t>(mWindows[i].slots.used(), 1));
        if (fitting < mWindows[i].slots.capacity())
        {
            resize(context, i, fitting);
        }
    }
}

bool PointStore::uploadBlocks(ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes)
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

    std::vector<const Resident*> drawn;  // they stay where they are, their slots need not
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
            resident = mResidents.emplace(&block, Resident{piece->block, {}, 0, mGeneration}).first;
            try
            {
                resident->second.slot = upload(context, block.vertices(), stillToCome);
            }
            catch (...)
            {
                mResidents.erase(resident);
                throw;
            }
            resident->second.count = block.size();
            uploaded += bytes;
            stillToCome -= SlotAllocator::rounded(block.size());
        }
        mDrawn.push_back({node, {}});
        drawn.push_back(&resident->second);
    }
    for (std::size_t i = 0; i < mDrawn.size(); ++i)
    {
        mDrawn[i].slot = drawn[i]->slot;
        if (missing > 0)
        {
            mDrawn[i].record.index = i;
        }
    }
    return missing == 0;
}

void PointStore::uploadArray(ID3D11DeviceContext* context, const Buffer& publication)
{
    const std::span<const Vertex> vertices = publication.vertices.array();
    std::size_t stillToCome = 0;
    const auto isThere = [&](const NodeRecord& node)
    {
        return node.pointCount > 0 && isWithinBudget(node) && node.firstPoint <= vertices.size() &&
               node.pointCount <= vertices.size() - node.firstPoint;
    };
    for (const NodeRecord& node : publication.nodes)
    {
        stillToCome += isThere(node) ? SlotAllocator::rounded(node.pointCount) : 0;
    }
    for (const NodeRecord& node : publication.nodes)
    {
        if (!isThere(node))
        {
            continue;
        }
        const std::size_t count = node.pointCount;
        mUnnamed.reserve(mUnnamed.size() + 1);  // so that nothing fails once the slot is taken
        const PointSlot slot = upload(context, vertices.subspan(node.firstPoint, count), stillToCome);
        mUnnamed.push_back({nullptr, slot, count, mGeneration});
        mDrawn.push_back({node, {}});
        stillToCome -= SlotAllocator::rounded(count);
    }
    for (std::size_t i = 0; i < mDrawn.size(); ++i)
    {
        mDrawn[i].slot = mUnnamed[i].slot;
    }
}

PointSlot PointStore::upload(
    ID3D11DeviceContext* context, std::span<const Vertex> vertices, std::size_t stillToCome
)
{
    const PointSlot slot = allocate(context, vertices.size(), stillToCome);
    try
    {
        mRing.upload(
            context,
            std::as_bytes(vertices),
            mWindows[slot.window].points.buffer(),
            slot.first * sizeof(Vertex)
        );
    }
    catch (...)
    {
        free(slot, vertices.size());
        throw;
    }
    return slot;
}

PointSlot PointStore::allocate(ID3D11DeviceContext* context, std::size_t count, std::size_t stillToCome)
{
    const auto slotIn = [&](std::size_t number) -> std::optional<PointSlot>
    {
        const std::optional<std::size_t> first = mWindows[number].slots.allocate(count);
        return first ? std::optional<PointSlot>(
                           {static_cast<std::uint32_t>(number), static_cast<std::uint32_t>(*first)}
                       )
                     : std::nullopt;
    };
    for (std::size_t number = 0; number < mWindows.size(); ++number)
    {
        if (const auto slot = slotIn(number))
        {
            return *slot;
        }
    }

    const std::size_t length = SlotAllocator::rounded(count);
    if (!mWindows.empty())
    {
        const SlotAllocator& last = mWindows.back().slots;
        const std::size_t grown =
            std::min(last.capacity() + last.capacity() / 4, SlotAllocator::rounded(mBudget));
        const std::size_t wanted =
            std::min(inSteps(std::max(last.used() + std::max(length, stillToCome), grown)), mLargestWindow);
        if (last.used() + length <= wanted)
        {
            resize(context, mWindows.size() - 1, wanted);  // leaves one free range
            return slotIn(mWindows.size() - 1).value();
        }
    }
    mWindows.push_back(
        window(std::max(std::min(inSteps(std::max(length, stillToCome)), mLargestWindow), length))
    );
    return slotIn(mWindows.size() - 1).value();
}

PointStore::Window PointStore::window(std::size_t capacity) const
{
    Window result;
    result.slots = SlotAllocator(capacity);
    result.points = ShaderBuffer::vertexBytes(mDevice, capacity * sizeof(Vertex));
    result.levels = ShaderBuffer::writableBytes(mDevice, capacity);
    return result;
}

void PointStore::resize(ID3D11DeviceContext* context, std::size_t number, std::size_t capacity)
{
    std::vector<Resident*> moved;
    for (auto& [block, resident] : mResidents)
    {
        moved.push_back(&resident);
    }
    for (Resident& resident : mUnnamed)
    {
        moved.push_back(&resident);
    }
    std::erase_if(
        moved,
        [&](const Resident* resident) { return resident->count == 0 || resident->slot.window != number; }
    );

    Window fresh = window(capacity);
    std::vector<std::size_t> places;
    for (const Resident* const resident : moved)
    {
        places.push_back(fresh.slots.allocate(resident->count).value());
    }
    for (std::size_t i = 0; i < moved.size(); ++i)
    {
        const std::size_t from = moved[i]->slot.first * sizeof(Vertex);
        const D3D11_BOX box{
            static_cast<UINT>(from), 0, 0, static_cast<UINT>(from + moved[i]->count * sizeof(Vertex)), 1, 1};
        context->CopySubresourceRegion(
            fresh.points.buffer(),
            0,
            static_cast<UINT>(places[i] * sizeof(Vertex)),
            0,
            0,
            mWindows[number].points.buffer(),
            0,
            &box
        );
        moved[i]->slot.first = static_cast<std::uint32_t>(places[i]);
    }
    mWindows[number] = std::move(fresh);
    mHasMoved = true;
}

void PointStore::free(PointSlot slot, std::size_t count)
{
    mWindows[slot.window].slots.free(slot.first, count);
}
}  // namespace Render
