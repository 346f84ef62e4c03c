#pragma once

#include "render/pointcloud/NodeRankingParameters.h"

#include <memory>
#include <mutex>
#include <utility>

namespace Render
{
/// The parameters by which nodes are ranked, which one thread changes while others rank.
///
/// Whoever ranks holds one state of them, which never changes itself: a change makes a new one.
/// Threads  get() any, change() one at a time.
class SharedRanking
{
public:
    std::shared_ptr<const NodeRankingParameters> get() const
    {
        const std::scoped_lock lock(mMutex);
        return mParameters;
    }

    /// @param change  is given a copy of the present state, which then becomes the state
    template <class Change>
    void change(const Change& change)
    {
        auto changed = std::make_shared<NodeRankingParameters>(*get());
        change(*changed);
        const std::scoped_lock lock(mMutex);
        mParameters = std::move(changed);
    }

private:
    mutable std::mutex mMutex;  // guards the pointer
    std::shared_ptr<const NodeRankingParameters> mParameters =
        std::make_shared<const NodeRankingParameters>();
};
}  // namespace Render
