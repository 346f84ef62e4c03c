#include "render/pointcloud/selectNodes.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Octree::NodeVisibilityType;
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;
using Names = std::vector<std::string>;

constexpr std::size_t kCloud = 5;
constexpr std::size_t kDeepestLevel = 21;

/// A tree from a list of names; the box of a node tells its code.
class FakeTree final : public SelectionTree
{
public:
    explicit FakeTree(const Names& names)
    {
        for (const std::string& name : names)
        {
            const OctreeNodeId id = OctreeNodeId::fromName(name);
            mChildMasks[id];
            if (!id.isRoot())
            {
                mChildMasks[id.parent()] |= 1U << id.childIndex();
            }
        }
    }

    Box boundingCube(const OctreeNodeId& id) const override
    {
        const auto code = static_cast<float>(id.code());
        return Box({code, 0.0F, 0.0F}, {code, 1.0F, 1.0F});
    }

    Octree::OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token) const override
    {
        expanded.push_back(id.name());
        if (onExpand)
        {
            onExpand();
        }
        return {id, mChildMasks.at(id)};
    }

    NodeVisibilityType nodeVisibility(const OctreeNodeId& id, std::stop_token) const override
    {
        const auto found = visibilities.find(id.name());
        return found == visibilities.end() ? NodeVisibilityType::PerPoint : found->second;
    }

    mutable Names expanded;
    std::function<void()> onExpand;
    std::map<std::string, NodeVisibilityType> visibilities;

private:
    std::map<OctreeNodeId, unsigned> mChildMasks;
};

/// A selection pass over a fake tree with everything it needs, and a record of what it did.
class SelectNodes : public testing::Test
{
protected:
    void run(const FakeTree& tree)
    {
        const NodeRanking ranking = [this](std::size_t level, const Box& box)
        {
            const std::string name = nameOf(box);
            EXPECT_EQ(level, name.size() - 1);
            ranked.push_back(name);
            const auto found = priorities.find(name);
            return found == priorities.end() ? rankOf(100.0F / static_cast<float>(level + 1)) : found->second;
        };
        const VertexSource source = [this](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
        {
            fetched.push_back(id.name());
            if (onFetch)
            {
                onFetch();
            }
            if (failing == id.name())
            {
                return false;
            }
            const auto found = pointCounts.find(id.name());
            vertices.resize(found == pointCounts.end() ? 10 : found->second);
            return true;
        };
        const SelectionPass pass{
            .prioritizer = prioritizer,
            .cloudId = kCloud,
            .tree = tree,
            .ranking = ranking,
            .vertexSource = source,
            .buffers = buffers,
            .maxLevel = maxLevel,
            .updateInterval = [&] { return updateInterval; },
            .requestRedraw = [this] { events.push_back("redraw"); },
            .onProgress =
                [this]
            {
                events.push_back("progress");
                if (onProgress)
                {
                    onProgress();
                }
            },
            .now = [this] { return now; },
            .stopped = stopped,
        };
        selectNodes(pass, stop.get_token());
    }

    static std::string nameOf(const Box& box)
    {
        std::string digits;
        for (auto code = static_cast<std::uint64_t>(box.min().x); code > 1; code /= 8)
        {
            digits.insert(digits.begin(), static_cast<char>('0' + code % 8));
        }
        return "r" + digits;
    }

    std::size_t numFlushes() const { return events.size() / 2; }

    Names publishedNames()
    {
        Names names;
        for (const NodeRecord& record : buffers.front().nodes)
        {
            names.push_back(record.octreeNodeId.name());
        }
        return names;
    }

    void advanceOnFetch(std::chrono::milliseconds step)
    {
        onFetch = [this, step] { now += step; };
    }

    NodePrioritizer prioritizer{100000};
    Core::TripleBuffer<Buffer> buffers;
    std::map<std::string, NodePriority> priorities;
    std::map<std::string, std::size_t> pointCounts;
    std::string failing;
    std::size_t maxLevel = kDeepestLevel;
    UpdateInterval updateInterval = std::chrono::milliseconds(500);
    std::function<void()> onFetch;
    std::chrono::steady_clock::time_point now;
    std::stop_source stop;
    StoppedPublication* stopped = nullptr;
    std::function<void()> onProgress;

    Names ranked;
    Names fetched;
    Names events;
};

const Names kSmallTree{"r", "r0", "r3", "r5", "r31", "r57"};
}  // namespace

TEST_F(SelectNodes, LoadsTheBestFirstAndParentsBeforeChildren)
{
    const FakeTree tree(kSmallTree);
    priorities = {
        {"r0", rankOf(20.0F)},
        {"r3", rankOf(60.0F)},
        {"r5", rankOf(30.0F)},
        {"r31", rankOf(25.0F)},
        {"r57", rankOf(90.0F)}};

    run(tree);

    EXPECT_EQ(fetched, (Names{"r", "r3", "r5", "r57", "r31", "r0"}));
}

TEST_F(SelectNodes, NearerGoesFirstWithinTheTolerance)
{
    const FakeTree tree({"r", "r0", "r1", "r2"});
    priorities = {{"r0", rankOf(50.0F, 30.0F)}, {"r1", rankOf(50.05F, 20.0F)}, {"r2", rankOf(50.0F, 10.0F)}};

    run(tree);

    EXPECT_EQ(fetched, (Names{"r", "r2", "r1", "r0"}));
}

TEST_F(SelectNodes, RootIsKeptWithoutBeingRanked)
{
    const FakeTree tree(kSmallTree);
    priorities = {{"r", NodePriority::discard()}};

    run(tree);

    EXPECT_EQ(ranked, (Names{"r0", "r3", "r5", "r31", "r57"}));
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 60U);
}

TEST_F(SelectNodes, PublishesAndReportsAtTheEnd)
{
    const FakeTree tree(kSmallTree);

    run(tree);

    EXPECT_EQ(events, (Names{"redraw", "progress"}));
    ASSERT_TRUE(buffers.update());
    EXPECT_EQ(publishedNames(), kSmallTree);
}

TEST_F(SelectNodes, ResidentNodesAreRankedAnewAndNotFetchedAgain)
{
    const FakeTree tree(kSmallTree);
    run(tree);
    fetched.clear();
    ranked.clear();
    events.clear();

    run(tree);

    EXPECT_TRUE(fetched.empty());
    EXPECT_EQ(ranked.size(), 6U + 5U);  // the residents, then the children that are offered
    EXPECT_EQ(numFlushes(), 1U);
}

TEST_F(SelectNodes, RerankedRootIsDrawnOnlyWhileItRanks)
{
    const FakeTree tree({"r"});
    run(tree);
    ASSERT_TRUE(buffers.update());
    EXPECT_EQ(publishedNames(), (Names{"r"}));
    priorities = {{"r", NodePriority::discard()}};

    run(tree);

    ASSERT_TRUE(buffers.update());
    EXPECT_TRUE(publishedNames().empty());
}

TEST_F(SelectNodes, ChildrenThatRankAsDiscardedAreNotOffered)
{
    const FakeTree tree(kSmallTree);
    priorities = {{"r3", NodePriority::discard()}};

    run(tree);

    EXPECT_EQ(fetched, (Names{"r", "r0", "r5", "r57"}));
}

TEST_F(SelectNodes, LevelsBelowTheMaximumAreNotOffered)
{
    const FakeTree tree(kSmallTree);
    maxLevel = 1;

    run(tree);

    EXPECT_EQ(prioritizer.totalUsedPointCount(), 40U);
    EXPECT_EQ(tree.expanded, (Names{"r"}));

    maxLevel = 0;
    prioritizer.clear();
    run(tree);
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 10U);
}

TEST_F(SelectNodes, HiddenNodesAreSkippedWithTheirSubtrees)
{
    FakeTree tree(kSmallTree);
    tree.visibilities = {{"r3", NodeVisibilityType::Hidden}, {"r5", NodeVisibilityType::Visible}};

    run(tree);

    EXPECT_EQ(fetched, (Names{"r", "r0", "r5", "r57"}));
    EXPECT_EQ(ranked, (Names{"r0", "r5", "r57"}));
}

TEST_F(SelectNodes, ChildrenOfANodeWithoutPointsAreNotOffered)
{
    const FakeTree tree(kSmallTree);
    pointCounts = {{"r3", 0}};

    run(tree);

    EXPECT_EQ(fetched, (Names{"r", "r0", "r3", "r5", "r57"}));
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 40U);
}

TEST_F(SelectNodes, ChildrenOfANodeThatFindsNoPlaceAreNotOffered)
{
    const FakeTree tree(kSmallTree);
    prioritizer.setTotalMaxPointCount(25);
    priorities = {{"r0", rankOf(50.0F)}, {"r3", rankOf(60.0F)}, {"r5", rankOf(40.0F)}};

    run(tree);

    // r and r3 use 20; r31 and r0 would reach the budget and rank below r3
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 20U);
    EXPECT_TRUE(prioritizer.contains({kCloud, OctreeNodeId::fromName("r3")}));
    EXPECT_EQ(tree.expanded, (Names{"r", "r3"}));
}

TEST_F(SelectNodes, PublishesWhenTheIntervalIsExceeded)
{
    const FakeTree tree({"r", "r0", "r1", "r2", "r3", "r4"});
    updateInterval = std::chrono::milliseconds(10);
    advanceOnFetch(std::chrono::milliseconds(4));

    run(tree);

    // fetched at 0, 4 and 8 ms; 12 ms exceed the interval; then at 12, 16, 20 ms; at 24 ms the queue is empty
    EXPECT_EQ(numFlushes(), 2U);
}

TEST_F(SelectNodes, IntervalThatIsJustReachedDoesNotPublish)
{
    const FakeTree tree({"r", "r0", "r1"});
    updateInterval = std::chrono::milliseconds(10);
    advanceOnFetch(std::chrono::milliseconds(5));

    run(tree);

    EXPECT_EQ(numFlushes(), 1U);  // 10 ms at the third node, 15 ms at the end
}

TEST_F(SelectNodes, AnIntervalThatChangesDuringThePassCountsAtOnce)
{
    const FakeTree tree({"r", "r0", "r1", "r2"});
    updateInterval = std::chrono::hours(1);
    onFetch = [this]
    {
        now += std::chrono::milliseconds(4);
        updateInterval = std::chrono::milliseconds(3);
    };

    run(tree);

    EXPECT_EQ(numFlushes(), 4U);  // after each node
}

TEST_F(SelectNodes, PublicationInBetweenHoldsWhatIsResidentByThen)
{
    const FakeTree tree({"r", "r0", "r1"});
    priorities = {{"r0", rankOf(50.0F)}, {"r1", rankOf(40.0F)}};
    updateInterval = std::chrono::milliseconds(10);
    Names seen;
    std::size_t fetches = 0;
    onFetch = [this, &seen, &fetches]
    {
        now += std::chrono::milliseconds(6);
        if (++fetches == 3)
        {
            EXPECT_TRUE(buffers.update());
            seen = publishedNames();
        }
    };

    run(tree);

    EXPECT_EQ(seen, (Names{"r", "r0"}));
}

TEST_F(SelectNodes, NothingNewIsNotPublishedAgain)
{
    const FakeTree tree({"r", "r0", "r1", "r2"});
    run(tree);
    events.clear();
    updateInterval = UpdateInterval(1);
    // the clock runs with each look at it, so that the interval is always exceeded
    const NodeRanking ranking = [](std::size_t, const Box&) { return rankOf(50.0F); };
    const VertexSource source = [](const OctreeNodeId&, VertexContainer&, std::stop_token) { return false; };
    const SelectionPass pass{
        .prioritizer = prioritizer,
        .cloudId = kCloud,
        .tree = tree,
        .ranking = ranking,
        .vertexSource = source,
        .buffers = buffers,
        .maxLevel = kDeepestLevel,
        .updateInterval = [&] { return updateInterval; },
        .requestRedraw = [this] { events.push_back("redraw"); },
        .onProgress = [this] { events.push_back("progress"); },
        .now = [this] { return now += std::chrono::seconds(1); },
    };

    selectNodes(pass, {});

    EXPECT_EQ(numFlushes(), 1U);
}

TEST_F(SelectNodes, ProgressCallbackMayBeMissing)
{
    const FakeTree tree({"r"});
    const NodeRanking ranking = [](std::size_t, const Box&) { return rankOf(50.0F); };
    const VertexSource source = [](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(1);
        return true;
    };
    const SelectionPass pass{
        .prioritizer = prioritizer,
        .cloudId = kCloud,
        .tree = tree,
        .ranking = ranking,
        .vertexSource = source,
        .buffers = buffers,
        .maxLevel = kDeepestLevel,
        .updateInterval = [&] { return updateInterval; },
        .requestRedraw = [this] { events.push_back("redraw"); },
        .onProgress = {},
    };

    selectNodes(pass, {});

    EXPECT_EQ(events, (Names{"redraw"}));
}

TEST_F(SelectNodes, StopBeforeThePassOffersNothing)
{
    const FakeTree tree(kSmallTree);
    stop.request_stop();

    run(tree);

    EXPECT_TRUE(fetched.empty());
    EXPECT_TRUE(events.empty());
    EXPECT_FALSE(buffers.update());
}

TEST_F(SelectNodes, StopDuringAnyFetchEndsThePassWithoutPublication)
{
    for (std::size_t stopAt = 1; stopAt <= kSmallTree.size(); ++stopAt)
    {
        SCOPED_TRACE(stopAt);
        const FakeTree tree(kSmallTree);
        prioritizer.clear();
        stop = std::stop_source();
        fetched.clear();
        onFetch = [this, stopAt]
        {
            if (fetched.size() == stopAt)
            {
                stop.request_stop();
            }
        };

        run(tree);

        EXPECT_EQ(fetched.size(), stopAt);
        EXPECT_TRUE(events.empty());
        EXPECT_FALSE(buffers.update());
    }
}

TEST_F(SelectNodes, StopDuringTheRankingEndsThePass)
{
    const FakeTree tree(kSmallTree);
    run(tree);
    buffers.update();
    events.clear();
    fetched.clear();
    ranked.clear();
    const NodeRanking ranking = [this](std::size_t, const Box& box)
    {
        ranked.push_back(nameOf(box));
        stop.request_stop();
        return rankOf(1.0F);
    };
    const VertexSource source = [](const OctreeNodeId&, VertexContainer&, std::stop_token) { return false; };
    const SelectionPass pass{
        .prioritizer = prioritizer,
        .cloudId = kCloud,
        .tree = tree,
        .ranking = ranking,
        .vertexSource = source,
        .buffers = buffers,
        .maxLevel = kDeepestLevel,
        .updateInterval = [&] { return updateInterval; },
        .requestRedraw = [this] { events.push_back("redraw"); },
        .onProgress = {},
    };

    selectNodes(pass, stop.get_token());

    EXPECT_EQ(ranked.size(), 1U);
    EXPECT_TRUE(events.empty());
    EXPECT_FALSE(buffers.update());
}

TEST_F(SelectNodes, WhileTheCameraMovesNewPointsAreShownAtLeastOncePerIntervalAndLoad)
{
    // Each node takes 4 ms, and the camera moves during each other one: no pass comes to its end.
    Names names{"r"};
    for (unsigned i = 0; i < 64; ++i)
    {
        if (i % 8 == 0)
        {
            names.push_back("r" + std::to_string(i / 8));
        }
        names.push_back("r" + std::to_string(i / 8) + std::to_string(i % 8));
    }
    const FakeTree tree(names);
    StoppedPublication stoppedPublication;
    stopped = &stoppedPublication;
    updateInterval = std::chrono::milliseconds(10);
    onFetch = [this]
    {
        now += std::chrono::milliseconds(4);
        if (fetched.size() % 2 == 0)
        {
            stop.request_stop();
        }
    };
    std::vector<std::int64_t> times;  // ms
    std::vector<std::size_t> counts;
    const std::chrono::steady_clock::time_point start = now;
    onProgress = [&]
    {
        times.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(now - start).count());
        EXPECT_TRUE(buffers.update());
        counts.push_back(buffers.front().nodes.size());
    };

    while (fetched.size() < 60)
    {
        stop = std::stop_source();
        run(tree);
    }

    // The interval is exceeded with each third node.
    ASSERT_EQ(times.size(), 19U);
    for (std::size_t i = 0; i < times.size(); ++i)
    {
        EXPECT_EQ(times[i], 12 * (static_cast<std::int64_t>(i) + 1));
        EXPECT_EQ(counts[i], 3 * (i + 1));
    }
}

TEST_F(SelectNodes, ThePassAfterOneThatCameToItsEndBeginsANewInterval)
{
    const FakeTree tree({"r", "r0", "r1"});
    StoppedPublication stoppedPublication;
    stopped = &stoppedPublication;
    run(tree);
    events.clear();
    now += std::chrono::hours(1);

    run(tree);

    EXPECT_EQ(numFlushes(), 1U);
    EXPECT_FALSE(stoppedPublication.time().has_value());
}

TEST_F(SelectNodes, ThePassAfterOneThatFailedBeginsANewInterval)
{
    const FakeTree tree({"r", "r0"});
    StoppedPublication stoppedPublication;
    stopped = &stoppedPublication;
    failing = "r0";

    EXPECT_THROW(run(tree), std::runtime_error);

    EXPECT_FALSE(stoppedPublication.time().has_value());
}

TEST_F(SelectNodes, TreeThatFailsBecauseItIsStoppedIsNoError)
{
    FakeTree tree(kSmallTree);
    tree.onExpand = [this]
    {
        stop.request_stop();
        throw std::runtime_error("Failed to fetch node by id");
    };

    EXPECT_NO_THROW(run(tree));

    EXPECT_TRUE(events.empty());
}

TEST_F(SelectNodes, FailuresOfTheTreePassThrough)
{
    FakeTree tree(kSmallTree);
    tree.onExpand = [] { throw std::runtime_error("Failed to fetch node by id"); };

    EXPECT_THROW(run(tree), std::runtime_error);
    EXPECT_TRUE(events.empty());
}

TEST_F(SelectNodes, FailedFetchEndsThePassWithAnErrorAndKeepsWhatIsResident)
{
    const FakeTree tree({"r", "r0", "r1"});
    priorities = {{"r0", rankOf(50.0F)}, {"r1", rankOf(40.0F)}};
    failing = "r1";
    std::string message;

    try
    {
        run(tree);
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
    }

    EXPECT_EQ(message, "Error loading point data");
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 20U);
}

TEST_F(SelectNodes, OnePassLeavesTheNodesOfOtherCloudsUnranked)
{
    const FakeTree tree({"r"});
    bool resident = false;
    const VertexSource source = [](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(1);
        return true;
    };
    prioritizer.addNode({kCloud + 1, OctreeNodeId()}, Box(), rankOf(1.0F), source, resident, {});

    run(tree);

    EXPECT_TRUE(ranked.empty());
}
}  // namespace Render
