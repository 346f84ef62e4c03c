// Loader threads, a render thread and a user thread around one prioritizer, for the thread sanitizer.

#include "render/pointcloud/selectNodes.h"
#include "tests/render/algorithms/rankOf.h"
#include "tests/support/ThreadSignals.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <stop_token>
#include <thread>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;

constexpr std::size_t kCloudCount = 3;
constexpr std::size_t kPointsPerNode = 20;
constexpr std::size_t kNodesPerCloud = 1 + 8 + 64;
constexpr std::size_t kPasses = 60;
constexpr std::size_t kBudgetChanges = 300;

/// Three full levels.
class FullTree final : public SelectionTree
{
public:
    Box boundingCube(const OctreeNodeId& id) const override
    {
        return Box({0.0F, 0.0F, 0.0F}, {static_cast<float>(id.code()), 1.0F, 1.0F});
    }

    Octree::OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token) const override
    {
        return {id, id.level() < 2 ? 0xFFU : 0U};
    }

    Octree::NodeVisibilityType nodeVisibility(const OctreeNodeId&, std::stop_token) const override
    {
        return Octree::NodeVisibilityType::PerPoint;
    }
};

/// Everything of one cloud that its loader and the render thread share.
struct Cloud
{
    Core::TripleBuffer<Buffer> buffers;
    std::atomic<std::size_t> publications{0};
};

void load(NodePrioritizer& prioritizer, std::size_t cloudId, Cloud& cloud)
{
    const FullTree tree;
    const VertexSource source = [](const OctreeNodeId& id, VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(kPointsPerNode);
        for (std::size_t i = 0; i < kPointsPerNode; ++i)
        {
            vertices.setScanIndex(i, static_cast<unsigned short>(id.code()));
        }
        return true;
    };
    std::mt19937 random(static_cast<unsigned>(cloudId));
    for (std::size_t passNumber = 0; passNumber < kPasses; ++passNumber)
    {
        std::stop_source stop;
        std::size_t rankings = 0;
        const std::size_t stopAfter = random() % 400;
        const auto offset = static_cast<float>(random() % 100);
        const NodeRanking ranking = [&](std::size_t, const Box& box)
        {
            if (++rankings == stopAfter)
            {
                stop.request_stop();
            }
            return rankOf(offset + box.max().x);
        };
        const SelectionPass pass{
            .prioritizer = prioritizer,
            .cloudId = cloudId,
            .tree = tree,
            .ranking = ranking,
            .vertexSource = source,
            .buffers = cloud.buffers,
            .maxLevel = 21,
            .updateInterval = [] { return UpdateInterval(1); },
            .requestRedraw = [&cloud] { ++cloud.publications; },
            .onProgress = {},
        };
        selectNodes(pass, stop.get_token());
    }
}

/// Counts what is wrong with a published buffer.
std::size_t numFaults(const Buffer& buffer)
{
    std::size_t faults = buffer.octreeTextureData.size() == 4 * buffer.nodes.size() ? 0 : 1;
    std::size_t points = 0;
    for (const NodeRecord& record : buffer.nodes)
    {
        points += record.pointCount;
        for (std::uint64_t i = record.firstPoint; i < record.firstPoint + record.pointCount; ++i)
        {
            const bool isRight =
                i < buffer.vertices.size() &&
                buffer.vertices[i].scanIndex == static_cast<std::uint16_t>(record.octreeNodeId.code());
            faults += isRight ? 0U : 1U;
        }
    }
    return faults + (points == buffer.vertices.size() ? 0U : 1U);
}
}  // namespace

TEST(NodePrioritizerThreads, LoadersRenderThreadAndUserShareOnePrioritizer)
{
    constexpr std::size_t kLargestBudget = kCloudCount * kNodesPerCloud * kPointsPerNode;
    NodePrioritizer prioritizer(kLargestBudget);
    std::array<Cloud, kCloudCount> clouds;
    std::atomic<std::size_t> loadersLeft{kCloudCount};
    Rendezvous start(kCloudCount + 2);
    std::size_t faults = 0;
    std::size_t taken = 0;
    {
        std::vector<std::jthread> threads;
        for (std::size_t cloudId = 0; cloudId < kCloudCount; ++cloudId)
        {
            threads.emplace_back(
                [&, cloudId]
                {
                    start.arriveAndWait();
                    load(prioritizer, cloudId, clouds[cloudId]);
                    --loadersLeft;
                }
            );
        }
        threads.emplace_back(
            [&]
            {
                start.arriveAndWait();
                bool isLastLook = false;
                while (!isLastLook)
                {
                    isLastLook = loadersLeft == 0;  // what the loaders published last is looked at as well
                    for (Cloud& cloud : clouds)
                    {
                        if (cloud.buffers.update())
                        {
                            ++taken;
                            faults += numFaults(cloud.buffers.front());
                        }
                    }
                    std::this_thread::yield();
                }
            }
        );
        threads.emplace_back(
            [&]
            {
                start.arriveAndWait();
                std::mt19937 random(99);
                for (std::size_t change = 0; change < kBudgetChanges; ++change)
                {
                    prioritizer.setTotalMaxPointCount(random() % kLargestBudget);
                    if (random() % 8 == 0)
                    {
                        prioritizer.clear(random() % kCloudCount);
                    }
                    std::this_thread::yield();
                }
            }
        );
    }

    EXPECT_EQ(faults, 0U);
    EXPECT_GT(taken, 0U);
    for (Cloud& cloud : clouds)
    {
        EXPECT_GT(cloud.publications.load(), 0U);
    }
    prioritizer.setTotalMaxPointCount(0);
    EXPECT_EQ(prioritizer.totalUsedPointCount(), 0U);
}
}  // namespace Render
