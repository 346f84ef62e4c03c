#include "render/pointcloud/PointWindows.h"

#include "core/SharedResources.h"
#include "render/pointcloud/GroupOnDevice.h"

#include <algorithm>
#include <string>
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
}  // namespace

PointWindows::PointWindows(CComPtr<ID3D11Device> device, std::size_t largestWindow)
    : mDevice(std::move(device)), mLargestWindow(largestWindow), mRing(mDevice, kRingSegmentBytes)
{
}

std::shared_ptr<PointWindows> PointWindows::shared(
    std::uint64_t groupKey, const CComPtr<ID3D11Device>& device
)
{
    static Core::SharedResources<GroupOnDevice, PointWindows> registry;
    return registry.createOrGet(
        GroupOnDevice{groupKey, device.get()}, [&device] { return std::make_shared<PointWindows>(device); }
    );
}

PointWindows::Handle PointWindows::add(
    ID3D11DeviceContext* context, std::span<const Vertex> vertices, std::size_t stillToCome
)
{
    if (mUnused.empty())  // first, so that nothing fails once the points are there
    {
        mPlaces.emplace_back();
        mUnused.reserve(mPlaces.size());
        mUnused.push_back(static_cast<Handle>(mPlaces.size() - 1));
    }
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
        mWindows[slot.window].slots.free(slot.first, vertices.size());
        throw;
    }
    const Handle handle = mUnused.back();
    mUnused.pop_back();
    mPlaces[handle] = {slot, vertices.size()};
    return handle;
}

void PointWindows::remove(Handle handle)
{
    const Place place = std::exchange(mPlaces[handle], {});
    mUnused.push_back(handle);  // there is room for all of them
    mWindows[place.slot.window].slots.free(place.slot.first, place.count);
}

void PointWindows::shrink(ID3D11DeviceContext* context, std::size_t stillToCome)
{
    std::size_t capacity = 0;
    std::size_t used = 0;
    for (const Window& window : mWindows)
    {
        capacity += window.slots.capacity();
        used += window.slots.used();
    }
    if (capacity <= 2 * (used + stillToCome) + kStep)
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

PointSlot PointWindows::allocate(ID3D11DeviceContext* context, std::size_t count, std::size_t stillToCome)
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
    const std::size_t wanted = std::max(length, stillToCome);
    if (!mWindows.empty())
    {
        const SlotAllocator& last = mWindows.back().slots;
        const std::size_t grown = last.capacity() + last.capacity() / 4;
        const std::size_t capacity = std::min(inSteps(std::max(last.used() + wanted, grown)), mLargestWindow);
        if (last.used() + length <= capacity)
        {
            resize(context, mWindows.size() - 1, capacity);  // leaves one free range
            return slotIn(mWindows.size() - 1).value();
        }
    }
    mWindows.push_back(window(std::max(std::min(inSteps(wanted), mLargestWindow), length)));
    return slotIn(mWindows.size() - 1).value();
}

PointWindows::Window PointWindows::window(std::size_t capacity) const
{
    Window result;
    result.slots = SlotAllocator(capacity);
    std::size_t points = capacity;
    for (const Window& other : mWindows)
    {
        points += other.slots.capacity();
    }
    const std::string purpose =
        "room for " + std::to_string(points) + " points; a smaller point budget needs less";
    result.points = ShaderBuffer::vertexBytes(mDevice, capacity * sizeof(Vertex), purpose);
    result.levels = ShaderBuffer::writableBytes(mDevice, capacity, purpose);
    return result;
}

void PointWindows::resize(ID3D11DeviceContext* context, std::size_t number, std::size_t capacity)
{
    std::vector<Place*> moved;
    std::vector<std::size_t> firsts;
    Window fresh = window(capacity);
    for (Place& place : mPlaces)
    {
        if (place.count > 0 && place.slot.window == number)
        {
            moved.push_back(&place);
            firsts.push_back(fresh.slots.allocate(place.count).value());
        }
    }
    for (std::size_t i = 0; i < moved.size(); ++i)
    {
        const std::size_t from = moved[i]->slot.first * sizeof(Vertex);
        const D3D11_BOX box{
            static_cast<UINT>(from), 0, 0, static_cast<UINT>(from + moved[i]->count * sizeof(Vertex)), 1, 1};
        context->CopySubresourceRegion(
            fresh.points.buffer(),
            0,
            static_cast<UINT>(firsts[i] * sizeof(Vertex)),
            0,
            0,
            mWindows[number].points.buffer(),
            0,
            &box
        );
        moved[i]->slot.first = static_cast<std::uint32_t>(firsts[i]);
    }
    mWindows[number] = std::move(fresh);
    ++mRevision;
}
}  // namespace Render
