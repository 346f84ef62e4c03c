#include "apps/cli/placeCamera.h"
#include "render/thumbnail/thumbnailEye.h"
#include "tests/support/messageOf.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <cmath>

namespace Cli
{
namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;

const Box kCube(Point(-1, -1, -1), Point(1, 1, 1));
const Box kField(Point(0, 0, 0), Point(100, 100, 0));

CameraWish wishOf(const std::optional<Point>& eye, const std::optional<Point>& target)
{
    CameraWish wish;
    wish.eye = eye;
    wish.target = target;
    return wish;
}

SeenScene sceneOf(const Box& box)
{
    SeenScene scene;
    scene.box = box;
    return scene;
}

Eigen::Matrix4f placedAt(float x, float y, float z)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.col(3) = Eigen::Vector4f(x, y, z, 1.0f);
    return matrix;
}

float distanceBetween(const Point& a, const Point& b)
{
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}
}  // namespace

TEST(PlaceCamera, WithoutAWishTheSceneIsSeenFromTheNorthEastAndAbove)
{
    const CameraPlacement placement = placeCamera({}, sceneOf(kCube));

    EXPECT_GT(placement.eye.x, 1.0f);
    EXPECT_GT(placement.eye.y, 1.0f);
    EXPECT_GT(placement.eye.z, 1.0f);
    EXPECT_TRUE(placement.fitsZRange);
}

TEST(PlaceCamera, AThumbnailIsTakenFromItsOwnPlace)
{
    CameraWish wish;
    wish.isThumbnail = true;

    const CameraPlacement placement = placeCamera(wish, sceneOf(kCube));

    const Point eye = Render::thumbnailEye(kCube, sceneOf(kCube).aspect);
    EXPECT_EQ(placement.eye, eye);
    const Eigen::Vector3f towardsCenter =
        Eigen::Vector3f(kCube.center().x - eye.x, kCube.center().y - eye.y, kCube.center().z - eye.z);
    EXPECT_EQ(placement.direction, towardsCenter);
}

TEST(PlaceCamera, AnEyeLooksAtTheMiddleOfTheScene)
{
    const CameraPlacement placement =
        placeCamera(wishOf(Point(0, -10, 0), std::nullopt), sceneOf(Box(Point(1, 1, 1), Point(3, 3, 3))));

    EXPECT_EQ(placement.eye, Point(0, -10, 0));
    EXPECT_EQ(placement.direction, Eigen::Vector3f(2, 12, 2));
}

TEST(PlaceCamera, ATargetWithoutAnEyeIsSeenFromAsFarAsTheWhole)
{
    const Point target(5, 6, 7);

    const CameraPlacement whole = placeCamera({}, sceneOf(kCube));
    const CameraPlacement placement = placeCamera(wishOf(std::nullopt, target), sceneOf(kCube));

    EXPECT_NEAR(distanceBetween(placement.eye, target), distanceBetween(whole.eye, kCube.center()), 1e-4f);
    EXPECT_EQ(placement.direction, whole.direction);
}

TEST(PlaceCamera, PanoramasAloneAreSeenFromThePlaceOfTheFirst)
{
    SeenScene scene;
    scene.firstPanorama = placedAt(3, 4, 5);

    const CameraPlacement placement = placeCamera({}, scene);

    EXPECT_EQ(placement.eye, Point(3, 4, 5));
    EXPECT_EQ(placement.direction, Eigen::Vector3f(1, 0, 0));
    EXPECT_FALSE(placement.fitsZRange);
    EXPECT_FLOAT_EQ(placement.nearDistance, 0.1f);
    EXPECT_FLOAT_EQ(placement.farDistance, 2000.0f);
}

TEST(PlaceCamera, APanoramaKeepsTheRangeFromBeingFitted)
{
    SeenScene scene = sceneOf(kCube);
    scene.firstPanorama = placedAt(0, 0, 0);

    const CameraPlacement placement = placeCamera({}, scene);

    EXPECT_FALSE(placement.fitsZRange);
    EXPECT_FLOAT_EQ(placement.nearDistance, 0.1f);
}

TEST(PlaceCamera, TheFarPlaneReachesTwiceAsFarAsTheScene)
{
    const CameraPlacement placement = placeCamera(wishOf(Point(0, -3000, 0), std::nullopt), sceneOf(kCube));

    EXPECT_NEAR(placement.farDistance, 2.0f * (3000.0f + std::sqrt(3.0f)), 0.01f);
}

TEST(PlaceCamera, AFlatSceneGetsHalfItsDistanceOnEitherSide)
{
    CameraWish wish = wishOf(Point(50, 50, 40), std::nullopt);
    wish.up = Eigen::Vector3f::UnitY();

    const CameraPlacement placement = placeCamera(wish, sceneOf(kField));

    EXPECT_FALSE(placement.fitsZRange);
    EXPECT_FLOAT_EQ(placement.nearDistance, 20.0f);
    EXPECT_FLOAT_EQ(placement.farDistance, 60.0f);
}

TEST(PlaceCamera, AFlatSceneBehindThePerspectiveEyeHasNoSay)
{
    CameraWish wish = wishOf(Point(50, 50, 40), Point(50, 50, 100));
    wish.up = Eigen::Vector3f::UnitY();

    const CameraPlacement placement = placeCamera(wish, sceneOf(kField));

    EXPECT_FLOAT_EQ(placement.nearDistance, 0.1f);
    EXPECT_FLOAT_EQ(placement.farDistance, 2000.0f);
}

TEST(PlaceCamera, AParallelViewShowsAFlatSceneBehindTheEye)
{
    CameraWish wish = wishOf(Point(50, 50, 40), Point(50, 50, 100));
    wish.up = Eigen::Vector3f::UnitY();
    wish.isOrthographic = true;

    const CameraPlacement placement = placeCamera(wish, sceneOf(kField));

    EXPECT_FLOAT_EQ(placement.nearDistance, -60.0f);
    EXPECT_FLOAT_EQ(placement.farDistance, -20.0f);
}

TEST(PlaceCamera, AnEyeInTheMiddleOfTheSceneIsRefused)
{
    CameraWish wish = wishOf(Point(0, 0, 0), std::nullopt);
    wish.eyeText = "7,8,9";

    EXPECT_EQ(
        messageOf<CLI::ValidationError>([&] { placeCamera(wish, sceneOf(kCube)); }),
        "--eye: '7,8,9' is the middle of the scene, which a camera without --target looks at"
    );
}

TEST(PlaceCamera, AnEyeAtTheTargetIsRefused)
{
    CameraWish wish = wishOf(Point(1, 2, 3), Point(1, 2, 3));
    wish.eyeText = "7,8,9";
    wish.targetText = "7,8,9.0";

    EXPECT_EQ(
        messageOf<CLI::ValidationError>([&] { placeCamera(wish, sceneOf(kCube)); }),
        "--eye: '7,8,9' is where --target is, '7,8,9.0'"
    );
}

TEST(PlaceCamera, AnUpAlongTheDirectionIsRefused)
{
    CameraWish wish = wishOf(Point(0, 0, 5), std::nullopt);
    wish.upText = "0,0,1";

    EXPECT_EQ(
        messageOf<CLI::ValidationError>([&] { placeCamera(wish, sceneOf(kCube)); }),
        "--up: '0,0,1' is zero or along the direction of view"
    );
}

TEST(PlaceCamera, AnUpOfNoLengthIsRefused)
{
    CameraWish wish;
    wish.up = Eigen::Vector3f::Zero();
    wish.upText = "0,0,0";

    EXPECT_EQ(
        messageOf<CLI::ValidationError>([&] { placeCamera(wish, sceneOf(kCube)); }),
        "--up: '0,0,0' is zero or along the direction of view"
    );
}
}  // namespace Cli
