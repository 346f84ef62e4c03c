#include "render/scene/alignedByCorrespondences.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <numbers>
#include <random>

namespace
{
using Point = Math::Point<float, 3>;

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kTolerance = 2e-5f;  // a few roundings of coordinates up to 20

Eigen::Matrix4f translation(float x, float y, float z)
{
    return Eigen::Affine3f(Eigen::Translation3f(x, y, z)).matrix();
}

Eigen::Matrix4f zRotation(float angleRad)
{
    return Eigen::Affine3f(Eigen::AngleAxisf(angleRad, Eigen::Vector3f::UnitZ())).matrix();
}

/// Moved, turned about a slanted axis, scaled differently along each axis.
Eigen::Matrix4f someTransform()
{
    Eigen::Affine3f transform = Eigen::Affine3f::Identity();
    transform.translate(Eigen::Vector3f(3, -2, 5));
    transform.rotate(Eigen::AngleAxisf(0.7f, Eigen::Vector3f(1, 2, -0.5f).normalized()));
    transform.scale(Eigen::Vector3f(2, 0.5f, 3));
    return transform.matrix();
}

void expectNear(const Eigen::Matrix4f& actual, const Eigen::Matrix4f& expected)
{
    EXPECT_LT((actual - expected).cwiseAbs().maxCoeff(), kTolerance) << "actual\n"
                                                                     << actual << "\nexpected\n"
                                                                     << expected;
}
}  // namespace

TEST(AlignedByCorrespondences, EqualDirectionsMoveByTheDifferenceOfThePoints)
{
    const Eigen::Matrix4f result = Render::alignedByCorrespondences(
        someTransform(), Point(1, 2, 3), Point(5, 1, 7), Eigen::Vector3f::UnitX(), Eigen::Vector3f::UnitX()
    );

    expectNear(result, translation(4, -1, 4) * someTransform());
}

TEST(AlignedByCorrespondences, TurnsAboutTheVerticalThroughThePointThatIsCarriedOver)
{
    const Eigen::Matrix4f result = Render::alignedByCorrespondences(
        someTransform(), Point(1, 2, 3), Point(-4, 6, 2), Eigen::Vector3f(1, 0, 0), Eigen::Vector3f(0, 1, 0)
    );

    expectNear(
        result, translation(-4, 6, 2) * zRotation(kPi / 2) * translation(-1, -2, -3) * someTransform()
    );
}

TEST(AlignedByCorrespondences, OnlyTheHorizontalPartsOfTheDirectionsCount)
{
    const Eigen::Matrix4f result = Render::alignedByCorrespondences(
        Eigen::Matrix4f::Identity(),
        Point(0, 0, 0),
        Point(0, 0, 0),
        Eigen::Vector3f(1, 0, 5),
        Eigen::Vector3f(0, 2, -1)
    );

    expectNear(result, zRotation(kPi / 2));
}

TEST(AlignedByCorrespondences, ADirectionAlongTheVerticalCountsAsTheXAxis)
{
    const Eigen::Matrix4f result = Render::alignedByCorrespondences(
        Eigen::Matrix4f::Identity(),
        Point(0, 0, 0),
        Point(0, 0, 0),
        Eigen::Vector3f(0, 0, 3),
        Eigen::Vector3f(0, 1, 0)
    );

    expectNear(result, zRotation(kPi / 2));
}

TEST(AlignedByCorrespondences, TurnsTheShortWayRound)
{
    // from 170 to -170 degrees: 20 degrees on, not 340 back
    const Eigen::Vector3f from(std::cos(kPi * 170 / 180), std::sin(kPi * 170 / 180), 0);
    const Eigen::Vector3f to(std::cos(kPi * 170 / 180), -std::sin(kPi * 170 / 180), 0);

    const Eigen::Matrix4f there = Render::alignedByCorrespondences(
        Eigen::Matrix4f::Identity(), Point(0, 0, 0), Point(0, 0, 0), from, to
    );
    const Eigen::Matrix4f back = Render::alignedByCorrespondences(
        Eigen::Matrix4f::Identity(), Point(0, 0, 0), Point(0, 0, 0), to, from
    );

    expectNear(there, zRotation(kPi * 20 / 180));
    expectNear(back, zRotation(-kPi * 20 / 180));
}

TEST(AlignedByCorrespondences, KeepsAMirroredTransformMirrored)
{
    const Eigen::Matrix4f mirrored = Eigen::Affine3f(Eigen::Scaling(2.0f, -3.0f, 4.0f)).matrix();

    const Eigen::Matrix4f result = Render::alignedByCorrespondences(
        mirrored, Point(0, 0, 0), Point(1, 1, 1), Eigen::Vector3f(1, 1, 0), Eigen::Vector3f(-1, 1, 0)
    );

    expectNear(result, translation(1, 1, 1) * zRotation(kPi / 2) * mirrored);
}

TEST(AlignedByCorrespondences, CarriesThePointAndKeepsLengthsForAnyTransformWithoutShear)
{
    std::mt19937 random(20240611);
    const auto next = [&random](float low, float high)
    { return low + (high - low) * static_cast<float>(random() >> 8U) * 0x1p-24f; };
    for (int i = 0; i < 200; ++i)
    {
        SCOPED_TRACE(i);
        Eigen::Affine3f transform = Eigen::Affine3f::Identity();
        transform.translate(Eigen::Vector3f(next(-5, 5), next(-5, 5), next(-5, 5)));
        const Eigen::Vector3f axis(next(-1, 1), next(-1, 1), next(0.1f, 1));
        transform.rotate(Eigen::AngleAxisf(next(-kPi, kPi), axis.normalized()));
        transform.scale(Eigen::Vector3f(next(0.5f, 3), next(0.5f, 3), next(0.5f, 3)));
        const Eigen::Vector3f from(next(-5, 5), next(-5, 5), next(-5, 5));
        const Eigen::Vector3f to(next(-5, 5), next(-5, 5), next(-5, 5));

        const Eigen::Matrix4f result = Render::alignedByCorrespondences(
            transform.matrix(),
            Point(from.x(), from.y(), from.z()),
            Point(to.x(), to.y(), to.z()),
            Eigen::Vector3f(next(-1, 1), next(-1, 1), next(-1, 1)),
            Eigen::Vector3f(next(-1, 1), next(-1, 1), next(-1, 1))
        );

        const Eigen::Vector4f inObject = transform.matrix().inverse() * from.homogeneous();
        EXPECT_LT(((result * inObject).head<3>() - to).norm(), 1e-4f);
        for (int column = 0; column < 3; ++column)
        {
            EXPECT_NEAR(result.col(column).norm(), transform.matrix().col(column).norm(), 1e-5f);
        }
    }
}
