// Selection passes that leave out what would be refused, against passes that offer everything.

#include "render/pointcloud/NodeRankingParameters.h"
#include "render/pointcloud/selectNodes.h"
#include "render/scene/Camera.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;
using Names = std::vector<std::string>;

constexpr std::size_t kCloud = 5;
constexpr float kRootSize = 64.0F;

Box cubeOf(const OctreeNodeId& id)
{
    Math::Point<float, 3> min;
    float step = kRootSize * std::ldexp(1.0F, -static_cast<int>(id.level()));
    const float size = step;
    for (OctreeNodeId node = id; !node.isRoot(); node = node.parent(), step *= 2.0F)
    {
        min.x += (node.childIndex() & 4U) != 0 ? step : 0.0F;
        min.y += (node.childIndex() & 2U) != 0 ? step : 0.0F;
        min.z += (node.childIndex() & 1U) != 0 ? step : 0.0F;
    }
    return Box(min, {min.x + size, min.y + size, min.z + size});
}

/// A tree that knows its counts.
class CountedTree final : public SelectionTree
{
public:
    CountedTree(std::mt19937& random, std::size_t nodeCount)
    {
        std::vector<OctreeNodeId> ids{OctreeNodeId()};
        for (std::size_t i = 0; i < ids.size(); ++i)
        {
            Node& node = mNodes[ids[i]];
            node.pointCount = random() % 200 == 0 ? 0 : 10 + random() % 30;
            for (unsigned child = 0; child < 8 && ids.size() < nodeCount; ++child)
            {
                if (random() % 2 == 0)
                {
                    node.childMask |= 1U << child;
                    ids.push_back(ids[i].child(child));
                }
            }
        }
        mNodes[OctreeNodeId()].pointCount = 20;
    }

    std::size_t pointCount(const OctreeNodeId& id) const { return mNodes.at(id).pointCount; }

    Box boundingCube(const OctreeNodeId& id) const override { return cubeOf(id); }

    Octree::OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token) const override
    {
        return {id, mNodes.at(id).childMask};
    }

    Octree::NodeVisibilityType nodeVisibility(const OctreeNodeId&, std::stop_token) const override
    {
        return Octree::NodeVisibilityType::PerPoint;
    }

    std::optional<std::size_t> exactPointCount(const OctreeNodeId& id, std::stop_token) const override
    {
        return pointCount(id);
    }

    std::optional<Octree::ChildSummary> childSummary(const OctreeNodeId& id, std::stop_token stop)
        const override
    {
        Octree::ChildSummary summary{.mask = mNodes.at(id).childMask};
        for (const OctreeNodeId& child : children(id, std::move(stop)))
        {
            summary.fewestPoints = std::min<std::uint64_t>(summary.fewestPoints, pointCount(child));
        }
        return summary;
    }

private:
    struct Node
    {
        std::size_t pointCount = 0;
        unsigned childMask = 0;
    };

    std::map<OctreeNodeId, Node> mNodes;
};

/// A cloud whose passes leave out what they can, or nothing.
class Cloud
{
public:
    Cloud(const CountedTree& tree, std::size_t budget, bool leavesOut)
        : mTree(tree), mPrioritizer(std::make_unique<NodePrioritizer>(budget)), mLeavesOut(leavesOut)
    {
    }

    void run(const NodeRankingParameters& parameters)
    {
        fetched.clear();
        rankedCount = 0;
        const NodeRanking ranking = [&](std::size_t level, const Box& box)
        {
            ++rankedCount;
            return parameters.rank(level, box);
        };
        const VertexSource source = [&](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
        {
            fetched.push_back(id.name());
            vertices.resize(mTree.pointCount(id));
            if (onFetch)
            {
                onFetch();
            }
            return true;
        };
        SelectionPass pass{
            .prioritizer = *mPrioritizer,
            .cloudId = kCloud,
            .tree = mTree,
            .ranking = ranking,
            .vertexSource = source,
            .buffers = buffers,
            .maxLevel = OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
            .updateInterval = [] { return UpdateInterval(std::chrono::hours(1)); },
            .requestRedraw = [] {},
            .onProgress = {},
        };
        if (mLeavesOut)
        {
            pass.childrenBound = [&](std::size_t level, const Box& box, unsigned mask)
            { return parameters.mostOfChildren(level, box, mask); };
        }
        selectNodes(pass, {});
        buffers.update();
    }

    /// Drawn nodes in the order of their vertices, which is that in which the prioritizer keeps them.
    Names drawn() const
    {
        std::vector<NodeRecord> records = buffers.front().nodes;
        std::ranges::sort(records, {}, &NodeRecord::firstPoint);
        Names names;
        std::ranges::transform(
            records,
            std::back_inserter(names),
            [](const NodeRecord& node) { return node.octreeNodeId.name(); }
        );
        return names;
    }

    NodePrioritizer& prioritizer() { return *mPrioritizer; }

    Names fetched;
    std::size_t rankedCount = 0;
    std::function<void()> onFetch;
    Core::TripleBuffer<Buffer> buffers;

private:
    const CountedTree& mTree;
    std::unique_ptr<NodePrioritizer> mPrioritizer;
    bool mLeavesOut;
};

float between(std::mt19937& random, float low, float high)
{
    return std::uniform_real_distribution<float>(low, high)(random);
}

NodeRankingParameters randomParameters(std::mt19937& random)
{
    Camera camera;
    camera.setViewport(1920, 1080);
    if (random() % 4 == 0)
    {
        camera.setOrthographic(160.0F, 90.0F, 0.1F, 1000.0F);
    }
    else
    {
        camera.setPerspective(between(random, 20.0F, 90.0F), 0.1F, 1000.0F, 0.0F, 0.0F);
    }
    const Math::Point<float, 3> eye(
        between(random, -100.0F, 160.0F), between(random, -100.0F, 160.0F), between(random, -50.0F, 150.0F)
    );
    camera.setPose(
        eye,
        Math::Point<float, 3>(between(random, 20.0F, 44.0F), 32.0F, 31.0F),
        Eigen::Vector3f(0.01F, 0.02F, 1.0F)
    );
    Eigen::Affine3f model = Eigen::Affine3f::Identity();
    model.scale(between(random, 0.5F, 2.0F));
    NodeRankingParameters parameters;
    parameters.setCamera(camera, model.matrix());
    parameters.octreeNodePriorityThreshold = 0.5F;
    parameters.minLevelToKeep = random() % 5 == 0 ? 2 : 0;
    parameters.maxLevelToKeep = random() % 5 == 0 ? 3 : 23;
    return parameters;
}
}  // namespace

TEST(ChildrenSetAside, PassesThatLeaveOutWhatIsRefusedFetchAndDrawTheSameInTheSameOrder)
{
    std::mt19937 random(13);
    std::size_t savedCount = 0;
    for (int round = 0; round < 60; ++round)
    {
        SCOPED_TRACE(round);
        const CountedTree tree(random, 200 + random() % 1500);
        const std::size_t budget = 300 + random() % 6000;
        Cloud all(tree, budget, false);
        Cloud fewer(tree, budget, true);
        for (int view = 0; view < 4; ++view)
        {
            const NodeRankingParameters parameters = randomParameters(random);
            for (int pass = 0; pass < 3; ++pass)
            {
                SCOPED_TRACE(view);
                all.run(parameters);
                fewer.run(parameters);

                ASSERT_EQ(fewer.fetched, all.fetched);
                ASSERT_EQ(fewer.prioritizer().totalUsedPointCount(), all.prioritizer().totalUsedPointCount());
                ASSERT_EQ(fewer.drawn(), all.drawn());
                ASSERT_LE(fewer.rankedCount, all.rankedCount);
                savedCount += all.rankedCount - fewer.rankedCount;
            }
        }
    }

    EXPECT_GT(savedCount, 3000U);
}

TEST(ChildrenSetAside, NodesThatFitTheRestOfTheBudgetGetInHoweverSmallOnTheScreen)
{
    std::mt19937 random(14);
    const CountedTree tree(random, 800);
    NodeRankingParameters parameters = randomParameters(random);
    Cloud all(tree, 4000, false);
    Cloud fewer(tree, 4000, true);
    all.run(parameters);
    fewer.run(parameters);

    all.prioritizer().setTotalMaxPointCount(4030);
    fewer.prioritizer().setTotalMaxPointCount(4030);
    all.run(parameters);
    fewer.run(parameters);

    EXPECT_FALSE(fewer.fetched.empty());
    EXPECT_EQ(fewer.fetched, all.fetched);
    EXPECT_EQ(fewer.drawn(), all.drawn());
}

TEST(ChildrenSetAside, RoomThatOthersMakeDuringThePassIsUsed)
{
    std::mt19937 random(15);
    const CountedTree tree(random, 800);
    const NodeRankingParameters parameters = randomParameters(random);
    Cloud cloud(tree, 4000, true);
    cloud.run(parameters);
    cloud.run(parameters);
    ASSERT_LT(cloud.fetched.size(), 10U);  // those without points
    const std::size_t before = cloud.prioritizer().totalUsedPointCount();
    NodeRankingParameters withRoom = parameters;
    withRoom.octreeNodePriorityThreshold = 0.51F;
    std::size_t calls = 0;
    const SelectionPass pass{
        .prioritizer = cloud.prioritizer(),
        .cloudId = kCloud,
        .tree = tree,
        .ranking = [&](std::size_t level, const Box& box) { return withRoom.rank(level, box); },
        .vertexSource =
            [&](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
        {
            vertices.resize(tree.pointCount(id));
            return true;
        },
        .buffers = cloud.buffers,
        .maxLevel = OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
        .updateInterval = [] { return UpdateInterval(std::chrono::hours(1)); },
        .requestRedraw = [] {},
        .onProgress = {},
        .childrenBound =
            [&](std::size_t level, const Box& box, unsigned mask)
        {
            if (++calls == 20)
            {
                cloud.prioritizer().setTotalMaxPointCount(5000);
            }
            return withRoom.mostOfChildren(level, box, mask);
        },
    };

    selectNodes(pass, {});

    EXPECT_GE(calls, 20U);
    EXPECT_GT(cloud.prioritizer().totalUsedPointCount(), before + 500);
}

TEST(NodePrioritizerBar, TellsTheLeastPriorityAndTheRoomAndWhetherAnythingHasChanged)
{
    NodePrioritizer prioritizer(100);
    const VertexSource thirty = [](const OctreeNodeId&, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(30);
        return true;
    };
    std::mt19937 random(16);
    const NodeRankingParameters parameters = randomParameters(random);
    EXPECT_TRUE(std::isinf(prioritizer.bar().leastPriority));
    EXPECT_LT(prioritizer.bar().leastPriority, 0.0F);
    EXPECT_EQ(prioritizer.bar().pointCount, 100U);

    bool resident = false;
    prioritizer.addNode({1, OctreeNodeId()}, cubeOf({}), NodePriority::keep(), thirty, resident, {});
    const NodePrioritizer::Bar bar = prioritizer.bar();
    EXPECT_EQ(bar.pointCount, 70U);
    EXPECT_TRUE(prioritizer.confirmRefusals(bar.changeCount));
    prioritizer.addNode(
        {1, OctreeNodeId().child(1)}, cubeOf({}), NodePriority::discard(), thirty, resident, {}
    );

    EXPECT_FALSE(prioritizer.confirmRefusals(bar.changeCount));
    EXPECT_EQ(prioritizer.bar().leastPriority, 0.0F);
    prioritizer.rerank(1, [&](std::size_t, const Box&) { return NodePriority::keep(); }, {});
    EXPECT_EQ(prioritizer.bar().leastPriority, NodePriority::keep().priority());
}

TEST(NodeRankingParametersBound, NoChildExceedsTheBoundOfItsParent)
{
    std::mt19937 random(17);
    std::size_t knownCount = 0;
    for (int round = 0; round < 300; ++round)
    {
        NodeRankingParameters parameters = randomParameters(random);
        for (int i = 0; i < 50; ++i)
        {
            OctreeNodeId parent;
            for (auto level = random() % 8; level > 0; --level)
            {
                parent = parent.child(static_cast<unsigned>(random() % 8));
            }
            const unsigned mask = 1U + static_cast<unsigned>(random() % 255);
            const std::size_t level = parent.level() + 1;
            const float bound = parameters.mostOfChildren(level, cubeOf(parent), mask);
            knownCount += std::isfinite(bound) ? 1 : 0;
            for (const OctreeNodeId& child : Octree::OctreeChildNodeIdRange(parent, mask))
            {
                ASSERT_LE(parameters.rank(level, cubeOf(child)).priority(), bound) << child.name();
            }
        }
    }

    EXPECT_GT(knownCount, 10000U);
}

TEST(NodeRankingParametersBound, TheBoundIsThatOfTheLargestChild)
{
    std::mt19937 random(18);
    NodeRankingParameters parameters = randomParameters(random);
    parameters.minLevelToKeep = 0;
    parameters.maxLevelToKeep = 23;
    parameters.loadingFrustum = {};
    for (auto& plane : parameters.loadingFrustum.planes)
    {
        plane = {0.0F, 0.0F, 0.0F, 1.0F};  // which everything is inside
    }
    const OctreeNodeId parent = OctreeNodeId().child(3).child(5);
    float largest = 0.0F;
    for (const unsigned child : {1U, 6U})
    {
        largest = std::max(largest, parameters.rank(3, cubeOf(parent.child(child))).priority());
    }

    const float bound = parameters.mostOfChildren(3, cubeOf(parent), 1U << 1U | 1U << 6U);

    EXPECT_GT(largest, 1.0F);
    EXPECT_NEAR(bound, largest, 0.002F * largest);
}
}  // namespace Render
