#pragma once

#include "core/NonCopyable.h"
#include "octree/OctreeNodeId.h"
#include "render/pointcloud/CandidateQueue.h"
#include "render/pointcloud/ExpectedNodes.h"

#include <cstddef>
#include <stop_token>
#include <unordered_map>
#include <vector>

namespace Render
{
class NodeLoader;
struct SelectionPass;

/// Walks ahead of a selection pass, as if each node that it meets became resident, and requests the nodes
/// that the pass will ask for, in the order in which it will. What is known of a node may still be on its way:
/// then it goes on with others meanwhile.
///
/// Threads  the pass's.
class LookAhead : private Core::NonCopyable
{
public:
    /// @param candidates  what the pass has still to offer
    LookAhead(const SelectionPass& pass, NodeLoader& loader, CandidateQueue candidates);

    /// Drops what was requested and not asked for.
    ~LookAhead();

    /// Requests what comes next, until no more may be in flight or the budget is used up.
    void goOn(const std::stop_token& stopToken);

    /// The pass has got the node.
    void take(const Octree::OctreeNodeId& id);

private:
    bool requestBest(const std::stop_token& stopToken);

    const SelectionPass& mPass;
    NodeLoader& mLoader;
    CandidateQueue mCandidates;
    std::vector<Candidate> mAwaited;  // passed over until more is known of them
    ExpectedNodes mExpected;
    std::unordered_map<Octree::OctreeNodeId, std::size_t>
        mPlanned;  // points of what the pass has not yet got
    std::size_t mPlannedPoints = 0;
};
}  // namespace Render
