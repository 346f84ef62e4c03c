#include "render/pointcloud/selectNodes.h"

#include "render/pointcloud/CandidateQueue.h"
#include "render/pointcloud/ChildrenSetAside.h"
#include "render/pointcloud/LookAhead.h"
#include "render/pointcloud/NodeLoader.h"

#include <exception>
#include <optional>
#include <utility>

namespace Render
{
namespace
{
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

/// What the pass's nodes are fetched from: the pass's own source, but with what lies ahead requested first,
/// and without reading what would be refused for its size.
class PassSource
{
public:
    PassSource(const SelectionPass& pass, const CandidateQueue& candidates, const ChildrenSetAside& setAside)
        : mPass(pass), mCandidates(candidates), mSetAside(setAside)
    {
    }

    bool fetch(const Candidate& candidate, VertexContainer& vertices, const std::stop_token& stopToken)
    {
        mMayChangeSomething = !isRefusedForItsSize(candidate, stopToken);
        if (!mMayChangeSomething || !mSetAside.empty())
        {
            vertices.resize(0);  // a node without points is refused as well
            return true;
        }
        if (mPass.loader != nullptr && !mLookAhead)
        {
            CandidateQueue ahead = mCandidates;
            ahead.push(candidate);
            mLookAhead.emplace(mPass, *mPass.loader, std::move(ahead));
        }
        if (mLookAhead)
        {
            mLookAhead->goOn(stopToken);
            mLookAhead->take(candidate.id);
        }
        return mPass.vertexSource(candidate.id, vertices, stopToken);
    }

    /// Whether the last candidate may get in, but has to wait for what is set aside; true once for each.
    bool takePostponed() noexcept { return std::exchange(mMayChangeSomething, false) && !mSetAside.empty(); }

private:
    bool isRefusedForItsSize(const Candidate& candidate, const std::stop_token& stopToken) const
    {
        std::optional<std::size_t> pointCount;
        try
        {
            pointCount = mPass.tree.exactPointCount(candidate.id, stopToken);
        }
        catch (const std::exception&)
        {
            return false;  // reading the node says better what is wrong
        }
        return pointCount && !mPass.prioritizer.admits(candidate.priority, *pointCount);
    }

    const SelectionPass& mPass;
    const CandidateQueue& mCandidates;
    const ChildrenSetAside& mSetAside;
    bool mMayChangeSomething = false;
    std::optional<LookAhead> mLookAhead;  // from the first node that has to be fetched
};

void runPass(const SelectionPass& pass, const std::stop_token& stopToken)
{
    pass.prioritizer.rerank(pass.cloudId, pass.ranking, stopToken);
    if (stopToken.stop_requested())
    {
        return;
    }

    CandidateQueue candidates;
    candidates.push({Octree::OctreeNodeId(), NodePriority::keep()});
    Publisher publisher(pass);
    ChildrenSetAside setAside(pass);
    PassSource passSource(pass, candidates, setAside);
    for (;;)
    {
        if (candidates.empty())
        {
            if (setAside.refuse())
            {
                break;
            }
            setAside.offerAll(stopToken, candidates);
            continue;
        }
        if (pass.pending != nullptr)
        {
            *pass.pending = candidates.size();
        }
        publisher.flushWhenDue();

        const Candidate best = candidates.top();
        candidates.pop();
        const VertexSource source =
            [&](const Octree::OctreeNodeId&, VertexContainer& vertices, const std::stop_token& stop)
        { return passSource.fetch(best, vertices, stop); };
        const Math::NBoundingBox<float, 3> box = pass.tree.boundingCube(best.id);
        bool resident = false;
        if (pass.prioritizer.addNode(
                {pass.cloudId, best.id}, box, best.priority, source, resident, stopToken
            ))
        {
            publisher.markDirty();
        }
        if (stopToken.stop_requested())
        {
            return;
        }
        if (passSource.takePostponed())
        {
            candidates.push(best);
            setAside.offerAll(stopToken, candidates);
        }
        else if (resident)
        {
            setAside.offerOrTake(best, box, stopToken, candidates);
        }
    }
    publisher.flushAtTheEnd();
    if (pass.pending != nullptr)
    {
        *pass.pending = 0;
    }
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
