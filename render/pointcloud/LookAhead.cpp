#include "render/pointcloud/LookAhead.h"

#include "render/pointcloud/NodeLoader.h"
#include "render/pointcloud/selectNodes.h"

#include <exception>
#include <utility>

namespace Render
{
namespace
{
constexpr std::size_t kAssumedPoints = 20000;  // of a node of which the tree does not know
constexpr std::size_t kMostAwaited = 64;       // nodes of which nothing is known yet
}  // namespace

LookAhead::LookAhead(const SelectionPass& pass, NodeLoader& loader, CandidateQueue candidates)
    : mPass(pass),
      mLoader(loader),
      mCandidates(std::move(candidates)),
      mExpected(
          [&tree = pass.tree](const Octree::OctreeNodeId& id) { return tree.expect(id); },
          [&tree = pass.tree](const Octree::OctreeNodeId& id) { tree.forget(id); }
      )
{
}

LookAhead::~LookAhead()
{
    mLoader.dropAll();
}

void LookAhead::goOn(const std::stop_token& stopToken)
{
    try
    {
        for (const Candidate& candidate : std::exchange(mAwaited, {}))
        {
            mCandidates.push(candidate);
        }
        while (!mCandidates.empty() && !stopToken.stop_requested() && requestBest(stopToken))
        {
        }
    }
    catch (const std::exception&)
    {
        // The pass will meet the same failure, and report it, when it gets there; until then it goes on.
        mCandidates = CandidateQueue();
        mAwaited.clear();
        mExpected.forgetAll();
    }
}

void LookAhead::take(const Octree::OctreeNodeId& id)
{
    const auto found = mPlanned.find(id);
    if (found != mPlanned.end())
    {
        mPlannedPoints -= found->second;
        mPlanned.erase(found);
    }
}

/// @return false when it has to wait
bool LookAhead::requestBest(const std::stop_token& stopToken)
{
    const Candidate best = mCandidates.top();
    if (!mPass.prioritizer.contains({mPass.cloudId, best.id}))
    {
        if (!mPass.prioritizer.mayAdmitLater(best.priority, mPlannedPoints))
        {
            return false;
        }
        if (!mExpected.expect(best.id))
        {
            mCandidates.pop();
            mAwaited.push_back(best);
            return mAwaited.size() < kMostAwaited;
        }
        const std::size_t pointCount =
            mPass.tree.storedPointCount(best.id, stopToken).value_or(kAssumedPoints);
        if (pointCount == 0)
        {
            mCandidates.pop();  // never becomes resident, so its children are not offered
            return true;
        }
        if (!mLoader.request(best.id, pointCount * sizeof(VertexContainer::Vertex)))
        {
            return false;
        }
        if (mPlanned.try_emplace(best.id, pointCount).second)
        {
            mPlannedPoints += pointCount;
        }
    }
    mCandidates.pop();
    offerChildren(mPass, best.id, stopToken, mCandidates);
    return true;
}
}  // namespace Render
