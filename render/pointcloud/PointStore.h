#pragma once

#include "core/NonCopyable.h"
#include "render/Render.h"
#include "render/gpu/VertexBlock.h"
#include "render/pointcloud/Buffer.h"
#include "render/pointcloud/PointWindows.h"
#include "render/pointcloud/SplatChunk.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Render
{
/// The points of one cloud on the GPU: what a publication shows keeps its place as long as it is shown, what
/// is new is uploaded, what has left is given back. Nodes are told by their blocks of vertices.
///
/// Threads  the thread of the immediate context; not locked.
class PointStore : private Core::NonCopyable
{
public:
    /// @param windows  where the points go
    /// @param budget   nodes whose points lie behind so many in a publication are left out
    PointStore(std::shared_ptr<PointWindows> windows, std::size_t budget);

    /// Gives all places back.
    ~PointStore();

    /// Brings in what is new of a publication, coarse nodes first, and lets go of what is not in it.
    /// @param mostBytes  after so many the rest waits for the next call; one node always fits
    /// @return true when all of it is there
    /// @throws ComException  when something cannot be created or mapped; the next call goes on from there
    bool update(ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes);

    /// The nodes of the last publication that are there, in its order. Where some are missing, `index` is the
    /// place in this list instead of the record's own.
    const std::vector<DrawnNode>& drawnNodes() const noexcept { return mDrawn; }

    /// Whether drawnNodes() has changed since this was last asked, or where they lie: another cloud's update
    /// may have moved them. The places are up to date afterwards.
    bool takeChanged();

    const PointWindows& windows() const noexcept { return *mWindows; }

private:
    /// A node that has a place.
    struct Resident
    {
        std::shared_ptr<const VertexBlock> block;  // so that no other block gets its address
        PointWindows::Handle handle = 0;
        std::uint64_t generation = 0;  // of the last publication that showed it
    };

    void letGo();
    void lookUpPlaces();
    bool addBlocks(
        ID3D11DeviceContext* context, const Buffer& publication, std::size_t mostBytes, bool& hasAdded
    );
    void addArray(ID3D11DeviceContext* context, const Buffer& publication);
    bool isWithinBudget(const NodeRecord& node) const noexcept;

    std::shared_ptr<PointWindows> mWindows;
    std::size_t mBudget;
    std::unordered_map<const VertexBlock*, Resident> mResidents;
    std::vector<PointWindows::Handle> mUnnamed;  // nodes of a publication that is an array
    std::vector<DrawnNode> mDrawn;
    std::vector<PointWindows::Handle> mDrawnHandles;
    std::uint64_t mGeneration = 0;
    std::uint64_t mRevision = 0;  // of the windows, when the places were looked up
    bool mHasChanged = true;
};
}  // namespace Render
