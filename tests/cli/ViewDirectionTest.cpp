#include "apps/cli/viewDirection.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>

using Cli::viewDirection;

namespace
{
void expectNear(const Eigen::Vector3d& actual, double x, double y, double z)
{
    EXPECT_LT((actual - Eigen::Vector3d(x, y, z)).norm(), 1e-12) << actual.transpose();
}
}  // namespace

TEST(ViewDirection, OfACompassPointIsSeenFromThere)
{
    expectNear(viewDirection("north").towardsEye, 0, 1, 0);
    expectNear(viewDirection("east").towardsEye, 1, 0, 0);
    expectNear(viewDirection("south").towardsEye, 0, -1, 0);
    expectNear(viewDirection("west").towardsEye, -1, 0, 0);
    expectNear(viewDirection("south").up, 0, 0, 1);
}

TEST(ViewDirection, FromAboveAndBelowTheNorthIsUp)
{
    expectNear(viewDirection("top").towardsEye, 0, 0, 1);
    expectNear(viewDirection("top").up, 0, 1, 0);
    expectNear(viewDirection("bottom").towardsEye, 0, 0, -1);
    expectNear(viewDirection("bottom").up, 0, 1, 0);
}

TEST(ViewDirection, OfAnIsometricViewShowsAllAxesAlike)
{
    const double third = 1.0 / std::sqrt(3.0);
    expectNear(viewDirection("iso").towardsEye, third, third, third);
}

TEST(ViewDirection, TurnsClockwiseFromTheNorthAndRises)
{
    expectNear(viewDirection(30.0, 0.0).towardsEye, 0.5, std::sqrt(3.0) / 2.0, 0);
    expectNear(viewDirection(180.0, 30.0).towardsEye, 0, -std::sqrt(3.0) / 2.0, 0.5);
    expectNear(viewDirection(90.0, 90.0).up, -1, 0, 0);  // as when the eye comes from the east
}

TEST(ViewDirection, IsContinuousNearStraightUp)
{
    const auto nearly = viewDirection(40.0, 89.999);
    const auto straight = viewDirection(40.0, 90.0);
    const Eigen::Vector3d right = nearly.up.cross(nearly.towardsEye).normalized();
    EXPECT_LT((right - straight.up.cross(straight.towardsEye)).norm(), 1e-4);
}
