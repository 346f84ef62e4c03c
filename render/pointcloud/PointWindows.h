#pragma once

#include "core/NonCopyable.h"
#include "render/Render.h"
#include "render/gpu/ShaderBuffer.h"
#include "render/gpu/VertexBlock.h"
#include "render/platform/ComPtr.h"
#include "render/pointcloud/SlotAllocator.h"
#include "render/pointcloud/SplatChunk.h"
#include "render/pointcloud/UploadRing.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace Render
{
/// The buffers on the GPU that hold points, shared by the clouds of a renderer: nodes get places in them and
/// give them back.
///
/// The points lie in one buffer, or in several where a view of one would be larger than every device admits.
/// Buffers grow in steps by which they become a quarter larger, and shrink when less than half is used;
/// places may move then, so that a node is known by a number and not by its place.
///
/// Threads  the thread of the immediate context; not locked.
class PointWindows : private Core::NonCopyable
{
public:
    /// Points of a buffer so that its view has at most the 128 MiB that every device of feature level 11
    /// admits.
    static constexpr std::size_t kLargestWindow = (std::size_t{128} << 20U) / sizeof(VertexBlock::Vertex) /
                                                  SlotAllocator::kAlignment * SlotAllocator::kAlignment;

    /// Names a node that has a place.
    using Handle = std::uint32_t;

    /// A buffer of points and what belongs to it.
    struct Window
    {
        SlotAllocator slots{0};
        ShaderBuffer points;
        ShaderBuffer levels;  ///< a byte a point, see SplatList
    };

    /// @param largestWindow  most points of a buffer
    /// @throws ComException  when the device refuses memory
    explicit PointWindows(CComPtr<ID3D11Device> device, std::size_t largestWindow = kLargestWindow);

    /// Those that the clouds of a group on a device share; they live as long as somebody holds them.
    static std::shared_ptr<PointWindows> shared(std::uint64_t groupKey, const CComPtr<ID3D11Device>& device);

    /// Gives points a place and copies them there.
    /// @param vertices     not empty
    /// @param stillToCome  points that will be added next, these included: room is made for all at once
    /// @throws ComException  when something cannot be created or mapped; nothing has changed then but that a
    ///                       buffer may have grown
    Handle add(
        ID3D11DeviceContext* context, std::span<const VertexBlock::Vertex> vertices, std::size_t stillToCome
    );

    /// Gives a place back.
    void remove(Handle handle);

    PointSlot slot(Handle handle) const { return mPlaces[handle].slot; }

    /// Gives memory back where less than half is in use.
    /// @param stillToCome  points that will be added next
    void shrink(ID3D11DeviceContext* context, std::size_t stillToCome);

    /// Changes when places have moved.
    std::uint64_t revision() const noexcept { return mRevision; }

    const std::vector<Window>& windows() const noexcept { return mWindows; }

private:
    struct Place
    {
        PointSlot slot;
        std::size_t count = 0;  // 0 for none
    };

    PointSlot allocate(ID3D11DeviceContext* context, std::size_t count, std::size_t stillToCome);
    Window window(std::size_t capacity) const;
    void resize(ID3D11DeviceContext* context, std::size_t number, std::size_t capacity);

    CComPtr<ID3D11Device> mDevice;
    std::size_t mLargestWindow;
    UploadRing mRing;
    std::vector<Window> mWindows;
    std::vector<Place> mPlaces;
    std::vector<Handle> mUnused;  // of mPlaces
    std::uint64_t mRevision = 0;
};
}  // namespace Render
