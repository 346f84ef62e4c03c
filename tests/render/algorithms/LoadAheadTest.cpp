// Selection passes whose nodes are read ahead on worker threads.

#include "octree/Octree.h"
#include "render/pointcloud/CachedVertices.h"
#include "render/pointcloud/NodeLoader.h"
#include "render/pointcloud/selectNodes.h"
#include "samples/OctreeWriter.h"
#include "tests/render/algorithms/rankOf.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ThreadSignals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;
using Names = std::vector<std::string>;

constexpr std::size_t kCloud = 5;
constexpr std::size_t kPointsPerNode = 10;
constexpr std::size_t kNodesInFlight = 12;

/// Some full levels; the box of a node tells its code.
class FullTree final : public SelectionTree
{
public:
    explicit FullTree(std::uint64_t deepestLevel) : mDeepestLevel(deepestLevel) {}

    Box boundingCube(const OctreeNodeId& id) const override
    {
        const auto code = static_cast<float>(id.code());
        return Box({code, 0.0F, 0.0F}, {code, 1.0F, 1.0F});
    }

    Octree::OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token) const override
    {
        return {id, id.level() < mDeepestLevel ? 0xFFU : 0U};
    }

    Octree::NodeVisibilityType nodeVisibility(const OctreeNodeId&, std::stop_token) const override
    {
        return Octree::NodeVisibilityType::PerPoint;
    }

    std::optional<std::size_t> storedPointCount(const OctreeNodeId& id, std::stop_token) const override
    {
        return empty.contains(id.name()) ? 0 : kPointsPerNode;
    }

    std::optional<std::size_t> exactPointCount(const OctreeNodeId& id, std::stop_token stop) const override
    {
        return knowsExactly ? storedPointCount(id, stop) : std::nullopt;
    }

    bool expect(const OctreeNodeId& id) const override
    {
        const auto found = unknownFor.find(id.name());
        if (found == unknownFor.end() || found->second == 0)
        {
            return true;
        }
        --found->second;
        expected.insert(id.name());
        return false;
    }

    void forget(const OctreeNodeId& id) const override { forgotten.insert(id.name()); }

    std::set<std::string> empty;
    bool knowsExactly = true;
    mutable std::map<std::string, int>
        unknownFor;  // how often expect() says that what is known is on its way
    mutable std::set<std::string> expected;
    mutable std::set<std::string> forgotten;

private:
    std::uint64_t mDeepestLevel;
};

/// Ranks that look random but are the same each time, all different by 1 at least.
NodePriority rankOfBox(const Box& box)
{
    const auto code = static_cast<std::uint64_t>(box.min().x);
    return rankOf(static_cast<float>(1 + code * 7919 % 10007));
}

class LoadAheadTest : public testing::Test
{
protected:
    /// @return what the pass took, in order
    Names run(const FullTree& tree, std::size_t threadCount, std::size_t budget, std::stop_token stop = {})
    {
        Names taken;
        NodePrioritizer prioritizer(budget);
        Core::TripleBuffer<Buffer> buffers;
        const NodeRanking ranking = [](std::size_t, const Box& box) { return rankOfBox(box); };
        NodeLoader loader(
            std::make_shared<Core::WorkerPool>(std::max<std::size_t>(threadCount, 1)),
            [this, &tree](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
            {
                {
                    const std::scoped_lock lock(mMutex);
                    read.insert(id.name());
                    readers.insert(std::this_thread::get_id());
                }
                if (id.name() == failing)
                {
                    throw std::runtime_error("cannot read " + failing);
                }
                vertices.resize(tree.empty.contains(id.name()) ? 0 : kPointsPerNode);
                vertices.share();
                return true;
            },
            {}
        );
        loader.setMaxBytesInFlight(kNodesInFlight * kPointsPerNode * sizeof(VertexContainer::Vertex));
        const VertexSource source = [&](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token s)
        {
            taken.push_back(id.name());
            if (onTake)
            {
                onTake();
            }
            return loader.get(id, vertices, s);
        };
        selectNodes(
            {
                .prioritizer = prioritizer,
                .cloudId = kCloud,
                .tree = tree,
                .ranking = ranking,
                .vertexSource = source,
                .buffers = buffers,
                .maxLevel = 21,
                .updateInterval = [] { return UpdateInterval(std::chrono::hours(1)); },
                .requestRedraw = [] {},
                .onProgress = {},
                .loader = threadCount > 0 ? &loader : nullptr,
            },
            std::move(stop)
        );
        eventually([&loader] { return loader.bytesInFlight() == 0; });  // what runs comes to its end
        left = loader.bytesInFlight();
        used = prioritizer.totalUsedPointCount();
        buffers.update();
        drawn.clear();
        for (const NodeRecord& record : buffers.front().nodes)
        {
            drawn.push_back(record.octreeNodeId.name());
        }
        return taken;
    }

    std::size_t readBefore()
    {
        const std::scoped_lock lock(mMutex);
        return read.size();
    }

    std::mutex mMutex;  // guards what the source writes
    std::multiset<std::string> read;
    std::set<std::thread::id> readers;
    std::string failing;
    std::function<void()> onTake;
    std::size_t left = 0;
    std::size_t used = 0;
    Names drawn;
};
}  // namespace

TEST_F(LoadAheadTest, NodesAreTakenInTheOrderOfAPassThatReadsItself)
{
    const FullTree tree(3);
    const Names alone = run(tree, 0, 1'000'000);
    EXPECT_EQ(alone.size(), 585U);
    read.clear();

    EXPECT_EQ(run(tree, 3, 1'000'000), alone);

    EXPECT_EQ(read.size(), 585U);
    EXPECT_EQ(left, 0U);
}

TEST_F(LoadAheadTest, NodesAreReadByWorkers)
{
    run(FullTree(3), 2, 1'000'000);

    EXPECT_EQ(readers.count(std::this_thread::get_id()), 0U);
}

TEST_F(LoadAheadTest, UnderABudgetTheSameNodesStay)
{
    const FullTree tree(3);
    const Names alone = run(tree, 0, 1005);
    const Names drawnAlone = drawn;
    EXPECT_EQ(used, 1000U);

    EXPECT_EQ(run(tree, 3, 1005), alone);

    EXPECT_EQ(drawn, drawnAlone);
    EXPECT_EQ(left, 0U);
}

TEST_F(LoadAheadTest, NodesThatWouldBeRefusedForTheirSizeAreNotRead)
{
    FullTree tree(3);
    const Names read100 = run(tree, 0, 1005);
    const Names drawnThen = drawn;

    tree.knowsExactly = false;
    const Names readMore = run(tree, 0, 1005);

    EXPECT_EQ(drawn, drawnThen);
    EXPECT_LT(read100.size(), readMore.size());
}

TEST_F(LoadAheadTest, NodesWithoutPointsAreNoObstacle)
{
    FullTree tree(2);
    tree.empty = {"r3", "r51"};
    const Names alone = run(tree, 0, 1'000'000);

    EXPECT_EQ(run(tree, 2, 1'000'000), alone);

    EXPECT_EQ(used, (73U - 1 - 8 - 1) * kPointsPerNode);
}

TEST_F(LoadAheadTest, WhileANodeIsNotKnownOthersAreReadAhead)
{
    const Names alone = run(FullTree(2), 0, 1'000'000);
    read.clear();
    FullTree tree(2);
    tree.unknownFor = {{alone[1], 1'000'000}};
    std::vector<std::size_t> numReadAtTake;
    onTake = [&]
    {
        eventually([&] { return readBefore() >= std::min<std::size_t>(numReadAtTake.size() + 5, 73); });
        numReadAtTake.push_back(readBefore());
    };

    EXPECT_EQ(run(tree, 2, 1'000'000), alone);  // the pass itself waits for it

    ASSERT_GT(numReadAtTake.size(), 1U);
    EXPECT_GE(numReadAtTake[0], 5U);
    EXPECT_TRUE(tree.expected.contains(alone[1]));
}

TEST_F(LoadAheadTest, ANodeThatHasBecomeKnownIsReadAhead)
{
    const Names alone = run(FullTree(2), 0, 1'000'000);
    read.clear();
    readers.clear();
    FullTree tree(2);
    tree.unknownFor = {{alone[20], 3}, {alone[21], 2}};

    EXPECT_EQ(run(tree, 2, 1'000'000), alone);

    EXPECT_EQ(tree.expected, (std::set<std::string>{alone[20], alone[21]}));
    EXPECT_EQ(readers.count(std::this_thread::get_id()), 0U);
    EXPECT_TRUE(tree.forgotten.empty());
}

TEST_F(LoadAheadTest, WhatIsNotKnownAtTheEndOfAPassIsForgotten)
{
    const Names alone = run(FullTree(2), 0, 1'000'000);
    FullTree tree(2);
    tree.unknownFor = {{alone[30], 1'000'000}, {alone[31], 1'000'000}};
    std::stop_source stop;
    std::size_t count = 0;
    onTake = [&]
    {
        if (++count == 25)
        {
            stop.request_stop();
        }
    };

    run(tree, 2, 1'000'000, stop.get_token());

    EXPECT_EQ(tree.forgotten, tree.expected);
    EXPECT_EQ(tree.forgotten, (std::set<std::string>{alone[30], alone[31]}));
}

TEST_F(LoadAheadTest, NodesBeyondTheBudgetAreNotExpected)
{
    const Names alone = run(FullTree(2), 0, 1'000'000);
    FullTree tree(2);
    for (std::size_t i = 40; i < alone.size(); ++i)
    {
        tree.unknownFor[alone[i]] = 1'000'000;
    }

    run(tree, 2, 20 * kPointsPerNode);

    EXPECT_EQ(tree.expected, std::set<std::string>());
}

TEST_F(LoadAheadTest, AFailureIsReportedWhenItsTurnHasCome)
{
    const FullTree tree(2);
    const Names alone = run(tree, 0, 1'000'000);
    failing = alone[40];
    Names taken;
    std::string message;
    onTake = [&] { taken.emplace_back(); };
    try
    {
        run(tree, 3, 1'000'000);
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
        try
        {
            std::rethrow_if_nested(error);
        }
        catch (const std::runtime_error& nested)
        {
            message += std::string(" | ") + nested.what();
        }
    }

    EXPECT_EQ(message, "Error loading point data | cannot read " + failing);
    EXPECT_EQ(taken.size(), 41U);
}

TEST_F(LoadAheadTest, AStopRequestDropsWhatLiesAhead)
{
    const FullTree tree(3);
    std::stop_source stop;
    std::size_t count = 0;
    onTake = [&]
    {
        if (++count == 20)
        {
            stop.request_stop();
        }
    };

    const Names taken = run(tree, 2, 1'000'000, stop.get_token());

    EXPECT_EQ(taken.size(), 20U);
    EXPECT_LE(read.size(), 20 + kNodesInFlight);
}

// With a data set on disk, its cache, a camera that moves, and several clouds.
TEST(LoadAheadOnDisk, CloudsOfOnePoolLoadWhatOneThreadLoads)
{
    std::vector<Samples::SampleNode> nodes;
    const auto add = [&](const std::string& name)
    { nodes.push_back({.name = name, .points = std::vector<Samples::SamplePoint>(50)}); };
    add("r");
    for (char a = '0'; a < '8'; ++a)
    {
        add(std::string("r") + a);
        for (char b = '0'; b < '8'; b = static_cast<char>(b + 2))
        {
            add(std::string("r") + a + b);
        }
    }
    Samples::OctreeWriterOptions options;
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 100.0};
    const TemporaryFolder folder;
    Samples::writeOctreeNodes(folder.path(), nodes, options);

    const auto pool = std::make_shared<Core::WorkerPool>(3);
    NodePrioritizer prioritizer(1'000'000);
    std::vector<std::jthread> clouds;
    std::atomic<std::size_t> complete = 0;
    for (std::size_t cloudId = 0; cloudId < 3; ++cloudId)
    {
        clouds.emplace_back(
            [&, cloudId]
            {
                const auto octree =
                    std::make_shared<Octree::Octree>(Octree::Location::fromPath(folder.path()), 1.0);
                NodeLoader loader(
                    std::make_shared<CachedVertices>(
                        octree,
                        octree->cacheIdentifier(),
                        std::make_shared<CachedVertices::Cache>(1'000'000, 100)
                    ),
                    pool
                );
                const OctreeSelectionTree tree(*octree);
                Core::TripleBuffer<Buffer> buffers;
                const NodeRanking ranking = [](std::size_t level, const Box&)
                { return rankOf(100.0F / static_cast<float>(level + 1)); };
                std::size_t taken = 0;
                for (std::size_t round = 0; round < 10; ++round)
                {
                    std::stop_source stop;
                    const bool isLast = round == 9;
                    const std::size_t stopAfter = 4 * round;
                    const VertexSource source =
                        [&](const OctreeNodeId& id, VertexContainer& out, std::stop_token token)
                    {
                        if (++taken % (stopAfter + 1) == stopAfter && !isLast)
                        {
                            stop.request_stop();
                        }
                        return loader.get(id, out, std::move(token));
                    };
                    selectNodes(
                        {
                            .prioritizer = prioritizer,
                            .cloudId = cloudId,
                            .tree = tree,
                            .ranking = ranking,
                            .vertexSource = source,
                            .buffers = buffers,
                            .maxLevel = 21,
                            .updateInterval = [] { return UpdateInterval(1); },
                            .requestRedraw = [] {},
                            .onProgress = {},
                            .loader = &loader,
                        },
                        stop.get_token()
                    );
                }
                buffers.update();
                complete += buffers.front().nodes.size() == nodes.size() ? 1U : 0U;
            }
        );
    }
    clouds.clear();
    EXPECT_EQ(complete.load(), 3U);
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 3 * 50 * nodes.size());
}
}  // namespace Render
