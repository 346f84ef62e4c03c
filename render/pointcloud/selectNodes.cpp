#include "render/pointcloud/selectNodes.h"

#include <queue>

namespace Render
{
namespace
{
struct Candidate
{
    Octree::OctreeNodeId id;
    NodePriority priority;

    friend bool operator<(const Candidate& a, const Candidate& b) noexcept { return a.priority < b.priority; }
};

/// Publishes what is resident, at most once per interval while the pass runs.
class Publisher
{
public:
    explicit Publisher(const SelectionPass& pass) : mPass(pass), mLastFlush(pass.now())
    {
        if (mPass.stopped != nullptr)
        {
            mLastFlush = mPass.stopped->time().value_or(mLastFlush);
            mPass.stopped->set(mLastFlush);  // until the pass has come to its end
        }
    }

    void markDirty() noexcept { mDirty = true; }

    void flushWhenDue()
    {
        if (!mDirty)
        {
            return;
        }
        const std::chrono::steady_clock::time_point now = mPass.now();
        if (now - mLastFlush > mPass.updateInterval())
        {
            flush();
            mLastFlush = now;
            if (mPass.stopped != nullptr)
            {
                mPass.stopped->set(now);
            }
        }
    }

    void flushAtTheEnd()
    {
        if (mDirty)
        {
            flush();
        }
        if (mPass.stopped != nullptr)
        {
            mPass.stopped->reset();
        }
    }

private:
    void flush()
    {
        mPass.prioritizer.updateBuffers(mPass.cloudId, false, mPass.buffers);
        mPass.requestRedraw();
        if (mPass.onProgress)
        {
            mPass.onProgress();
        }
        mDirty = false;
    }

    const SelectionPass& mPass;
    std::chrono::steady_clock::time_point mLastFlush;
    bool mDirty = true;
};

void offerChildren(
    const SelectionPass& pass,
    const Octree::OctreeNodeId& parent,
    const std::stop_token& stopToken,
    std::priority_queue<Candidate>& candidates
)
{
    for (const Octree::OctreeNodeId& child : pass.tree.children(parent, stopToken))
    {
        if (pass.tree.nodeVisibility(child, stopToken) == Octree::NodeVisibilityType::Hidden)
        {
            continue;
        }
        const NodePriority priority = pass.ranking(child.level(), pass.tree.boundingCube(child));
        if (priority > NodePriority::discard())
        {
            candidates.push({child, priority});
        }
    }
}

void runPass(const SelectionPass& pass, const std::stop_token& stopToken)
{
    pass.prioritizer.rerank(pass.cloudId, pass.ranking, stopToken);
    if (stopToken.stop_requested())
    {
        return;
    }

    std::priority_queue<Candidate> candidates;
    candidates.push({Octree::OctreeNodeId(), NodePriority::keep()});
    Publisher publisher(pass);
    while (!candidates.empty())
    {
        publisher.flushWhenDue();

        const Candidate best = candidates.top();
        candidates.pop();
        bool resident = false;
        if (pass.prioritizer.addNode(
                {pass.cloudId, best.id},
                pass.tree.boundingCube(best.id),
                best.priority,
                pass.vertexSource,
                resident,
                stopToken
            ))
        {
            publisher.markDirty();
        }
        if (stopToken.stop_requested())
        {
            return;
        }
        if (resident && best.id.level() < pass.maxLevel)
        {
            offerChildren(pass, best.id, stopToken, candidates);
        }
    }
    publisher.flushAtTheEnd();
}
}  // namespace

void selectNodes(const SelectionPass& pass, std::stop_token stopToken)
{
    try
    {
        runPass(pass, stopToken);
    }
    catch (...)
    {
        if (!stopToken.stop_requested())
        {
            if (pass.stopped != nullptr)
            {
                pass.stopped->reset();
            }
            throw;
        }
        // The tree fails on purpose when it is stopped while it reads.
    }
}
}  // namespace Render
