#pragma once

#include "core/NonCopyable.h"
#include "core/WorkerPool.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/NodePrioritizer.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>

namespace Render
{
/// Reads the nodes of one cloud on worker threads before they are asked for.
///
/// Never more is in flight than a number of bytes: requested and not yet taken, whether read or not. One node
/// is, however large.
/// Threads  all operations from any thread.
class RENDER_API NodeLoader : private Core::NonCopyable
{
public:
    static constexpr std::size_t kDefaultMaxBytesInFlight = std::size_t{8} << 20U;

    /// @param source    called on the pool's threads, several nodes at once, and by get(); what it refers to lives
    ///                  as long as it
    /// @param isAtHand  true for a node that the source has without reading; may be empty
    NodeLoader(
        std::shared_ptr<Core::WorkerPool> pool,
        VertexSource source,
        std::function<bool(const Octree::OctreeNodeId&)> isAtHand
    );

    /// Asks the reads that run to stop and waits for none.
    ~NodeLoader();

    void setMaxBytesInFlight(std::size_t bytes);
    std::size_t maxBytesInFlight() const;

    /// Bytes of the nodes that are in flight.
    std::size_t bytesInFlight() const;

    /// Lets a node be read, behind those that wait, unless it is at hand or in flight already.
    /// @param bytes  what its vertices take, as far as one knows
    /// @return false when there is no room for it in flight
    bool request(const Octree::OctreeNodeId& id, std::size_t bytes);

    /// Takes a node: waits for it when it is in flight, and otherwise reads it on the calling thread.
    /// @return false when a stop was requested or the source returned false; the node stays in flight after a
    ///         stop request
    /// @throws what the source throws
    bool get(const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken);

    /// Forgets all requests. Reads that run come to their end and are handed out if they are requested before.
    void dropRequests();

private:
    struct State;

    const std::shared_ptr<State> mState;  // jobs hold it too
    Core::WorkerPool::Queue mQueue;
};
}  // namespace Render
