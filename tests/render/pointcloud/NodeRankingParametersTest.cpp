#include "render/pointcloud/NodeRankingParameters.h"
#include "render/scene/Camera.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;
using Render::NodePriority;
using Render::NodeRankingParameters;

/// A camera at z = 10 that looks down at the origin.
void lookDown(Render::Camera& camera)
{
    camera.setViewport(400, 200);
    camera.setPerspective(90.0f, 0.1f, 100.0f, 0.0f, 0.0f);
    camera.setPose(Point(0, 0, 10), Point(0, 0, 0), Eigen::Vector3f::UnitY());
}

const Box kUnitCube(Point(-0.5f, -0.5f, -0.5f), Point(0.5f, 0.5f, 0.5f));
const float kRadius = std::sqrt(0.75f);  // of the sphere around the unit cube
}  // namespace

TEST(NodeRankingParameters, RanksByTheSizeOnScreenInAPerspective)
{
    Render::Camera camera;
    lookDown(camera);
    NodeRankingParameters parameters;
    parameters.octreeNodePriorityThreshold = 1.0f;

    parameters.setCamera(camera, Eigen::Matrix4f::Identity());

    const NodePriority rank = parameters.rank(3, kUnitCube);
    // half the height is 100 pixels, which at 45 degrees are 10 units
    EXPECT_NEAR(rank.priority(), 100.0f / 10.0f * kRadius, 1e-4f);
    EXPECT_FLOAT_EQ(rank.distanceToEye(), 10.0f);
}

TEST(NodeRankingParameters, RanksByTheSizeOnScreenInAParallelProjection)
{
    Render::Camera camera;
    lookDown(camera);
    camera.setOrthographic(40.0f, 20.0f, 0.1f, 100.0f);
    NodeRankingParameters parameters;
    parameters.octreeNodePriorityThreshold = 1.0f;

    parameters.setCamera(camera, Eigen::Matrix4f::Identity());

    // 400 pixels are 40 units
    EXPECT_NEAR(parameters.rank(3, kUnitCube).priority(), 10.0f * kRadius, 1e-4f);
}

TEST(NodeRankingParameters, RanksInModelCoordinates)
{
    Render::Camera camera;
    lookDown(camera);
    Eigen::Affine3f model = Eigen::Affine3f::Identity();
    model.translate(Eigen::Vector3f(0, 0, 4));
    model.scale(2.0f);
    NodeRankingParameters parameters;
    parameters.octreeNodePriorityThreshold = 1.0f;

    parameters.setCamera(camera, model.matrix());

    const NodePriority rank = parameters.rank(0, kUnitCube);
    EXPECT_NEAR(rank.distanceToEye(), 3.0f, 1e-5f);  // (10 - 4) / 2 model units
    EXPECT_NEAR(rank.priority(), 100.0f / 3.0f * kRadius * 2.0f, 1e-3f);
}

TEST(NodeRankingParameters, NodesJustOutsideTheViewAreLoadedToo)
{
    Render::Camera camera;
    lookDown(camera);
    NodeRankingParameters parameters;
    parameters.octreeNodePriorityThreshold = 0.0f;
    parameters.setCamera(camera, Eigen::Matrix4f::Identity());
    const auto cubeAt = [](float y) { return Box(Point(-0.1f, y, -0.1f), Point(0.1f, y + 0.2f, 0.1f)); };

    // at distance 10 the view ends at y = 10, the loading frustum at y = 20
    EXPECT_GT(parameters.rank(1, cubeAt(12.0f)), NodePriority::discard());
    EXPECT_GT(parameters.rank(1, cubeAt(19.0f)), NodePriority::discard());
    EXPECT_EQ(parameters.rank(1, cubeAt(21.0f)), NodePriority::discard());
}

TEST(NodeRankingParameters, TheLoadingFrustumIsNotDeeper)
{
    Render::Camera camera;
    lookDown(camera);
    NodeRankingParameters parameters;
    parameters.octreeNodePriorityThreshold = 0.0f;
    parameters.setCamera(camera, Eigen::Matrix4f::Identity());

    EXPECT_GT(parameters.rank(1, Box(Point(0, 0, -89), Point(1, 1, -88))), NodePriority::discard());
    EXPECT_EQ(parameters.rank(1, Box(Point(0, 0, -92), Point(1, 1, -91))), NodePriority::discard());
}

TEST(NodeRankingParameters, LevelsBelowTheMinimumAreKeptAndAboveTheMaximumDiscarded)
{
    struct Row
    {
        std::size_t minLevel;
        std::size_t maxLevel;
        std::size_t level;
        NodePriority expected;
    };

    const Row rows[] = {
        {2, 5, 1, NodePriority::keep()},
        {2, 5, 6, NodePriority::discard()},
        // the minimum above the maximum: what is above the maximum goes, the rest stays
        {4, 2, 2, NodePriority::keep()},
        {4, 2, 3, NodePriority::discard()},
        {4, 2, 5, NodePriority::discard()},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.minLevel << " " << row.maxLevel << " " << row.level);
        NodeRankingParameters parameters;
        parameters.minLevelToKeep = row.minLevel;
        parameters.maxLevelToKeep = row.maxLevel;

        EXPECT_EQ(parameters.rank(row.level, kUnitCube), row.expected);
    }
}

TEST(NodeRankingParameters, TheThresholdAndTheClippingVolumeDiscard)
{
    Render::Camera camera;
    lookDown(camera);
    NodeRankingParameters parameters;
    parameters.setCamera(camera, Eigen::Matrix4f::Identity());

    parameters.octreeNodePriorityThreshold = 8.0f;  // the cube has 8.66 pixels
    EXPECT_GT(parameters.rank(1, kUnitCube), NodePriority::discard());
    parameters.octreeNodePriorityThreshold = 9.0f;
    EXPECT_EQ(parameters.rank(1, kUnitCube), NodePriority::discard());

    parameters.octreeNodePriorityThreshold = 1.0f;
    parameters.clippingVolume = Math::ConvexPolytope<float, 3>({Math::HalfSpace<float, 3>(1, 0, 0, -1)});
    EXPECT_EQ(parameters.rank(1, kUnitCube), NodePriority::discard()) << "x >= 1 leaves nothing of the cube";
}
