#pragma once

#include "core/TripleBuffer.h"
#include "render/Export.h"
#include "render/pointcloud/Buffer.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/SelectionTree.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <ratio>
#include <stop_token>

namespace Render
{
class NodeLoader;

/// Ticks of 100 nanoseconds, in which the time between two publications is measured.
using UpdateInterval = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

/// When a cloud was last published by a pass that was stopped, kept from pass to pass: while the camera
/// moves, no pass comes to its end, and the interval goes on with the next one.
///
/// Threads  any.
class RENDER_API StoppedPublication
{
public:
    /// Time that only goes forward.
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Nothing when the last pass came to its end.
    std::optional<TimePoint> time() const noexcept
    {
        const TimePoint::rep ticks = mTicks;
        return ticks == kNone ? std::nullopt : std::optional(TimePoint(TimePoint::duration(ticks)));
    }

    /// Remembers a publication.
    void set(TimePoint time) noexcept { mTicks = time.time_since_epoch().count(); }

    /// Forgets it: a pass has come to its end.
    void reset() noexcept { mTicks = kNone; }

private:
    static constexpr TimePoint::rep kNone = std::numeric_limits<TimePoint::rep>::min();

    std::atomic<TimePoint::rep> mTicks{kNone};
};

/// What no priority of a node's children exceeds, by their level, the node's bounding cube and the mask of
/// those that exist.
using ChildrenBound =
    std::function<float(std::uint64_t level, const Math::NBoundingBox<float, 3>& box, unsigned childMask)>;

/// Everything one selection pass works with.
struct SelectionPass
{
    NodePrioritizer& prioritizer;         ///< decides what is resident
    std::uint64_t cloudId;                ///< the cloud's number there
    const SelectionTree& tree;            ///< what is walked through
    const NodeRanking& ranking;           ///< with the current camera
    const VertexSource& vertexSource;     ///< not used with a loader
    Core::TripleBuffer<Buffer>& buffers;  ///< written and published
    std::uint64_t maxLevel;               ///< deepest level that is offered
    std::function<UpdateInterval()>
        updateInterval;                   ///< shortest time between two publications, asked anew each time
    std::function<void()> requestRedraw;  ///< called after each publication
    std::function<void()> onProgress;     ///< called after that; may be empty
    /// The clock.
    std::function<std::chrono::steady_clock::time_point()> now = &std::chrono::steady_clock::now;
    NodeLoader* loader = nullptr;                 ///< instead of `vertexSource`: nodes are read ahead
    StoppedPublication* stopped = nullptr;        ///< the cloud's, where its passes follow one another
    std::atomic<std::size_t>* pending = nullptr;  ///< told how many candidates wait, where somebody asks
    ChildrenBound childrenBound = {};  ///< of `ranking`; may be empty: then no child is left out unranked
};

/// Offers the nodes of an octree to the prioritizer, the most valuable first, children only once their parent
/// is resident, and publishes what is resident now and then and at the end.
///
/// Children that would be refused in any case are not ranked and not offered as long as nothing becomes
/// resident, so a large data set at its budget costs what a small one costs.
///
/// A stop request ends the pass at once; what has become resident since the last publication is then not
/// published. With `pass.stopped` the next pass does so first when the interval since then is exceeded, else
/// when it is; without, its interval begins with it.
/// @throws what vertex source, tree and callbacks throw without a stop request
RENDER_API void selectNodes(const SelectionPass& pass, std::stop_token stopToken);
}  // namespace Render
