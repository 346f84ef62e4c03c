// The prioritizer against a plain model of it, over long random histories.

#include "render/pointcloud/NodePrioritizer.h"
#include "tests/render/algorithms/rankOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <stop_token>
#include <tuple>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;

constexpr std::size_t kCloudCount = 3;

/// A node of the model; all priorities in use differ by 1 at least, so that the order of ranks is total.
struct ModelNode
{
    std::size_t cloudId = 0;
    OctreeNodeId id;
    int priority = 0;
    std::size_t pointCount = 0;
};

class Model
{
public:
    explicit Model(std::size_t budget) : mBudget(budget) {}

    bool contains(std::size_t cloudId, const OctreeNodeId& id) const
    {
        return std::any_of(
            nodes.begin(),
            nodes.end(),
            [&](const ModelNode& node) { return node.cloudId == cloudId && node.id == id; }
        );
    }

    std::size_t used() const
    {
        std::size_t sum = 0;
        for (const ModelNode& node : nodes)
        {
            sum += node.pointCount;
        }
        return sum;
    }

    void offer(const ModelNode& candidate)
    {
        if (contains(candidate.cloudId, candidate.id) || candidate.pointCount == 0)
        {
            return;
        }
        const bool reachesBudget = used() + candidate.pointCount >= mBudget;
        if (reachesBudget && !nodes.empty() && candidate.priority <= lowest()->priority)
        {
            return;
        }
        nodes.push_back(candidate);
        shrinkToBudget();
    }

    void setBudget(std::size_t budget)
    {
        mBudget = budget;
        shrinkToBudget();
    }

    std::vector<ModelNode> nodes;

private:
    std::vector<ModelNode>::iterator lowest()
    {
        return std::min_element(
            nodes.begin(),
            nodes.end(),
            [](const ModelNode& a, const ModelNode& b) { return a.priority < b.priority; }
        );
    }

    void shrinkToBudget()
    {
        while (used() > mBudget)
        {
            nodes.erase(lowest());
        }
    }

    std::size_t mBudget;
};

/// Hands out priorities 1, 2, 3, ... in random order.
class Priorities
{
public:
    explicit Priorities(std::mt19937& random) : mValues(4000)
    {
        for (std::size_t i = 0; i < mValues.size(); ++i)
        {
            mValues[i] = static_cast<int>(i) + 1;
        }
        std::shuffle(mValues.begin(), mValues.end(), random);
    }

    int next()
    {
        const int value = mValues.back();
        mValues.pop_back();
        return value;
    }

    bool nearlyUsedUp() const { return mValues.size() < 200; }

private:
    std::vector<int> mValues;
};

/// The box through which a ranking recognises a node.
Box boxOf(std::size_t cloudId, const OctreeNodeId& id)
{
    const auto code = static_cast<float>(id.code());
    return Box({static_cast<float>(cloudId), code, 0.0F}, {static_cast<float>(cloudId), code, 1.0F});
}

void expectSameNodes(NodePrioritizer& prioritizer, const Model& model, const std::vector<OctreeNodeId>& ids)
{
    for (std::size_t cloudId = 0; cloudId < kCloudCount; ++cloudId)
    {
        for (const OctreeNodeId& id : ids)
        {
            ASSERT_EQ(prioritizer.contains({cloudId, id}), model.contains(cloudId, id));
        }
    }
}

void expectSameDrawnSet(NodePrioritizer& prioritizer, const Model& model)
{
    for (std::size_t cloudId = 0; cloudId < kCloudCount; ++cloudId)
    {
        std::map<std::uint64_t, std::set<OctreeNodeId>> levels;
        std::map<OctreeNodeId, std::size_t> pointCounts;
        for (const ModelNode& node : model.nodes)
        {
            if (node.cloudId == cloudId)
            {
                levels[node.id.level()].insert(node.id);
                pointCounts[node.id] = node.pointCount;
            }
        }
        std::vector<OctreeNodeId> expected;
        for (std::uint64_t level = 0; levels.contains(level); ++level)
        {
            expected.insert(expected.end(), levels[level].begin(), levels[level].end());
        }

        Core::TripleBuffer<Buffer> buffers;
        prioritizer.updateBuffers(cloudId, false, buffers);
        ASSERT_TRUE(buffers.update());
        const Buffer& buffer = buffers.front();

        ASSERT_EQ(buffer.nodes.size(), expected.size());
        std::vector<bool> covered(buffer.vertices.size(), false);
        for (std::size_t i = 0; i < expected.size(); ++i)
        {
            const NodeRecord& record = buffer.nodes[i];
            ASSERT_EQ(record.octreeNodeId, expected[i]);
            ASSERT_EQ(record.index, i);
            ASSERT_EQ(record.pointCount, pointCounts[expected[i]]);
            ASSERT_LE(record.firstPoint + record.pointCount, buffer.vertices.size());
            for (std::uint64_t point = record.firstPoint; point < record.firstPoint + record.pointCount;
                 ++point)
            {
                ASSERT_FALSE(covered[point]);
                covered[point] = true;
                ASSERT_EQ(
                    buffer.vertices[point].scanIndex, static_cast<std::uint16_t>(record.octreeNodeId.code())
                );
            }
        }
        ASSERT_EQ(std::count(covered.begin(), covered.end(), false), 0);
        ASSERT_EQ(buffer.boundingBoxes.size(), expected.size());
        ASSERT_EQ(buffer.octreeTextureData.size(), 4 * expected.size());
    }
}

void runHistory(unsigned seed)
{
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    Priorities priorities(random);
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t parent = 0; ids.size() < 1 + 8 + 64; ++parent)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            ids.push_back(ids[parent].child(i));
        }
    }
    constexpr std::size_t kBudget = 400;
    NodePrioritizer prioritizer(kBudget);
    Model model(kBudget);

    while (!priorities.nearlyUsedUp())
    {
        switch (random() % 40)
        {
            case 0:
            {
                const std::size_t cloudId = random() % kCloudCount;
                prioritizer.clear(cloudId);
                std::erase_if(
                    model.nodes, [cloudId](const ModelNode& node) { return node.cloudId == cloudId; }
                );
                break;
            }
            case 1:
            case 2:
            {
                const std::size_t budget = random() % 800;
                prioritizer.setTotalMaxPointCount(budget);
                model.setBudget(budget);
                break;
            }
            case 3:
            {
                const std::size_t cloudId = random() % kCloudCount;
                std::map<float, int> newPriorities;
                for (ModelNode& node : model.nodes)
                {
                    if (node.cloudId == cloudId)
                    {
                        node.priority = priorities.next();
                        newPriorities[static_cast<float>(node.id.code())] = node.priority;
                    }
                }
                prioritizer.rerank(
                    cloudId,
                    [&](std::size_t, const Box& box)
                    {
                        EXPECT_EQ(box.min().x, static_cast<float>(cloudId));
                        return rankOf(static_cast<float>(newPriorities.at(box.min().y)));
                    },
                    {}
                );
                break;
            }
            case 4:
                expectSameDrawnSet(prioritizer, model);
                break;
            default:
            {
                const ModelNode candidate{
                    random() % kCloudCount, ids[random() % ids.size()], priorities.next(), random() % 40};
                const VertexSource source =
                    [&](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
                {
                    vertices.resize(candidate.pointCount);
                    for (std::size_t i = 0; i < candidate.pointCount; ++i)
                    {
                        vertices.setScanIndex(i, static_cast<unsigned short>(id.code()));
                    }
                    return true;
                };
                const bool wasResident = model.contains(candidate.cloudId, candidate.id);
                model.offer(candidate);
                const bool isResident = model.contains(candidate.cloudId, candidate.id);
                bool resident = false;
                const bool added = prioritizer.addNode(
                    {candidate.cloudId, candidate.id},
                    boxOf(candidate.cloudId, candidate.id),
                    rankOf(static_cast<float>(candidate.priority)),
                    source,
                    resident,
                    {}
                );
                ASSERT_EQ(resident, isResident);
                ASSERT_EQ(added, isResident && !wasResident);
                break;
            }
        }
        ASSERT_EQ(prioritizer.totalUsedPointCount(), model.used());
        if (random() % 16 == 0)
        {
            ASSERT_NO_FATAL_FAILURE(expectSameNodes(prioritizer, model, ids));
        }
    }
    ASSERT_NO_FATAL_FAILURE(expectSameNodes(prioritizer, model, ids));
}
}  // namespace

TEST(NodePrioritizerModel, RandomHistoriesOfThreeCloudsUnderOneBudgetAgree)
{
    for (const unsigned seed : {1U, 2U, 3U, 4U})
    {
        ASSERT_NO_FATAL_FAILURE(runHistory(seed));
    }
}
}  // namespace Render
