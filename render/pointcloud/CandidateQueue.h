#pragma once

#include "octree/OctreeChildNodeIdRange.h"
#include "octree/OctreeNodeId.h"
#include "render/pointcloud/NodePriority.h"

#include <queue>
#include <stop_token>

namespace Render
{
struct SelectionPass;

/// A node that a selection pass may offer.
struct Candidate
{
    Octree::OctreeNodeId id;
    NodePriority priority;

    friend bool operator<(const Candidate& a, const Candidate& b) noexcept { return a.priority < b.priority; }
};

/// The nodes that a selection pass has still to offer, the best on top.
using CandidateQueue = std::priority_queue<Candidate>;

/// Adds the children of a node that has become resident, as far as they are to be offered.
void offerChildren(
    const SelectionPass& pass,
    const Octree::OctreeNodeId& parent,
    const std::stop_token& stopToken,
    CandidateQueue& candidates
);

/// The same where it is known which children there are.
void offerChildren(
    const SelectionPass& pass,
    const Octree::OctreeChildNodeIdRange& children,
    const std::stop_token& stopToken,
    CandidateQueue& candidates
);
}  // namespace Render
