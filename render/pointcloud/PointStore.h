#pragma once

#include "render/Render.h"
#include "render/gpu/ComPtr.h"
#include "render/gpu/ShaderBuffer.h"
#include "render/gpu/VertexBlock.h"
#include "render/pointcloud/Buffer.h"
#include "render/pointcloud/SlotAllocator.h"
#include "render/pointcloud/SplatChunk.h"
#include "render/pointcloud/UploadRing.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Render
{
/// The points of one cloud on the GPU: what a publication shows keeps its place as long as it is shown, what
/// is new is uploaded, what has left is given back.
///
/// Nodes are told by their blocks of vertices. The points lie in one buffer, or in several where a view of
/// one would be larger than every device admits; buffers grow in steps by which they become a quarter larger,
/// and shrink when less than half of them is used.
///
/// Threads  the thread of the immediate context; not locked.
class PointStore
{
public:
    /// Points of a buffer so that its view has at most the 128 MiB that every device of feature level 11
    /// admits.
    static constexpr std::size_t kLargestWindow = (std::size_t{128} << 20U) / sizeof(VertexBlock::Vertex) /
                                                  SlotAllocator::kAlignment * SlotAllocator::kAlignment;

    /// @param budget         nodes whose points lie behind so many in a publication are left out
    /// @param largestWindow  most points of a buffer
    /// @throws ComException  when the device refuses a buffer
    PointStore(CComPtr<ID3D11Device> device, std::size_t budget, std::size_t largestWindow = kLargestWindow);

    /// Brings in what is new of a publication, coarse nodes first, and lets go of what is not in it.
    /// @param mostBytes  after so many the rest waits for the next call; one node always fits
    /// @return true when all of it is there
    /// @throws ComException  when something cannot be created or mapped; the next call goes on from there
    bool update(ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes);

    /// The nodes of the last publication that are there, in its order. Where some are missing, `index` is the
    /// place in this list instead of the record's own.
    const std::vector<DrawnNode>& drawnNodes() const noexcept { return mDrawn; }

    /// Whether drawnNodes() has changed, or where they lie, since this was last set to false.
    bool hasChanged() const noexcept { return mHasChanged; }

    void setHasChanged(bool changed) noexcept { mHasChanged = changed; }

    /// A buffer of points and what belongs to it.
    struct Window
    {
        SlotAllocator slots{0};
        ShaderBuffer points;
        ShaderBuffer levels;  ///< a byte a point, for SplatRasterizer
    };

    const std::vector<Window>& windows() const noexcept { return mWindows; }

private:
    /// A node that has a slot.
    struct Resident
    {
        std::shared_ptr<const VertexBlock> block;  // so that no other block gets its address
        PointSlot slot;
        std::size_t count = 0;
        std::uint64_t generation = 0;  // of the last publication that showed it
    };

    using Residents = std::unordered_map<const VertexBlock*, Resident>;

    void letGo();
    void shrink(ID3D11DeviceContext* context, std::size_t needed);
    bool uploadBlocks(ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes);
    void uploadArray(ID3D11DeviceContext* context, const Buffer& publication);
    PointSlot upload(
        ID3D11DeviceContext* context, std::span<const VertexBlock::Vertex> vertices, std::size_t stillToCome
    );
    PointSlot allocate(ID3D11DeviceContext* context, std::size_t count, std::size_t stillToCome);
    Window window(std::size_t capacity) const;
    void resize(ID3D11DeviceContext* context, std::size_t number, std::size_t capacity);
    void free(PointSlot slot, std::size_t count);
    bool isWithinBudget(const NodeRecord& node) const noexcept;

    CComPtr<ID3D11Device> mDevice;
    std::size_t mBudget;
    std::size_t mLargestWindow;
    UploadRing mRing;
    std::vector<Window> mWindows;
    Residents mResidents;
    std::vector<Resident> mUnnamed;  // nodes of a publication that is an array, one a record
    std::vector<DrawnNode> mDrawn;
    std::uint64_t mGeneration = 0;
    bool mHasMoved = false;
    bool mHasChanged = true;
};
}  // namespace Render
