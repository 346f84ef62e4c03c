#include "render/gpu/ComException.h"
#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Box = Math::NBoundingBox<float, 3>;
using HalfSpace = Math::HalfSpace<float, 3>;
using Math::Color;
using Part = std::vector<VertexPosNormalTexCoordColor>;
using Point3 = Math::Point<float, 3>;
using Volume = Math::ConvexPolytope<float, 3>;

constexpr Color kWhite{255, 255, 255, 255};
constexpr Color kPaint{200, 100, 50, 255};

/// Hands over parts that it holds.
class PartLoader : public MeshLoader
{
public:
    explicit PartLoader(std::vector<Part> loadedParts) : parts(std::move(loadedParts)) {}

    void load(const MeshPartReceiver& receivePart) const override
    {
        for (const Part& part : parts)
        {
            receivePart(part);
        }
        if (mustFail)
        {
            throw std::runtime_error("broken mesh");
        }
    }

    std::vector<Part> parts;
    bool mustFail = false;
};

/// One part a vertex larger than a buffer; nobody may look at it.
class HugePartLoader : public MeshLoader
{
public:
    void load(const MeshPartReceiver& receivePart) const override
    {
        const VertexPosNormalTexCoordColor one{};
        receivePart(std::span(&one, std::size_t{59652324}));
    }
};

/// Two triangles over a rectangle of constant z.
Part plate(float left, float right, float bottom, float top, float z, const Eigen::Vector3f& normal)
{
    const auto corner = [&](float x, float y) {
        return VertexPosNormalTexCoordColor({x, y, z}, normal, {0.0F, 0.0F}, kPaint);
    };
    const auto a = corner(left, bottom), b = corner(right, bottom), c = corner(right, top),
               d = corner(left, top);
    return {a, b, c, a, c, d};
}

Part wholePlate(float z)
{
    return plate(-4.0F, 4.0F, -3.0F, 3.0F, z, Eigen::Vector3f::UnitZ());
}

/// kPaint in the light of a lamp at the eye.
Color lit(const Point3& point, const Eigen::Vector3f& normal, const Point3& eye)
{
    const Eigen::Vector3f toEye =
        Eigen::Vector3f(eye.x - point.x, eye.y - point.y, eye.z - point.z).normalized();
    const float light = 0.2F + 0.8F * std::abs(normal.normalized().dot(toEye));
    const auto channel = [light](unsigned char value)
    { return static_cast<unsigned char>(std::lround(light * static_cast<float>(value))); };
    return {channel(kPaint.r()), channel(kPaint.g()), channel(kPaint.b()), 255};
}

class MeshRenderableDevice : public RendererFixture
{
public:
    std::shared_ptr<MeshRenderable> showMesh(std::vector<Part> parts, double unitScale = 1.0)
    {
        auto mesh = MeshRenderable::create(std::make_shared<PartLoader>(std::move(parts)), unitScale, "mesh");
        mRenderer->setScene(mesh);
        mRenderer->render();
        return mesh;
    }

    void expectLit(std::uint64_t x, std::uint64_t y, float z, const Eigen::Vector3f& normal)
    {
        SCOPED_TRACE(testing::Message() << x << ", " << y);
        const Point3 point(static_cast<float>(x) - 3.5F, 2.5F - static_cast<float>(y), z);
        expectColor(shownAt(x, y), lit(point, normal, mRenderer->camera()->eye()));
    }

    /// Whether the mesh covers a pixel.
    bool isShown(std::uint64_t x, std::uint64_t y) { return shownAt(x, y) != kWhite; }
};
}  // namespace

TEST_F(MeshRenderableDevice, IsLitFromTheCamera)
{
    mRenderer->setCameraPose(
        Point3(0.5F, -1.0F, 3.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f::UnitY()
    );
    showMesh({wholePlate(0.0F)});

    for (const auto& [x, y] : {std::pair(1U, 1U), std::pair(4U, 2U), std::pair(6U, 3U)})
    {
        SCOPED_TRACE(testing::Message() << x << ", " << y);
        const Point3 point(static_cast<float>(x) - 3.5F + 0.5F, 2.5F - static_cast<float>(y) - 1.0F, 0.0F);
        expectColor(shownAt(x, y), lit(point, Eigen::Vector3f::UnitZ(), {0.5F, -1.0F, 3.0F}));
    }
}

TEST_F(MeshRenderableDevice, FollowsTheCamera)
{
    showMesh({wholePlate(0.0F)});
    mRenderer->setCameraPose(
        Point3(3.0F, 0.0F, 2.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f::UnitY()
    );
    mRenderer->render();

    const Point3 leftmost(-3.5F + 3.0F, 2.5F, 0.0F);
    expectColor(shownAt(0, 0), lit(leftmost, Eigen::Vector3f::UnitZ(), {3.0F, 0.0F, 2.0F}));
    EXPECT_FALSE(isShown(6, 0));  // x = 5.5 is beyond the plate

    mRenderer->setOrthographic(80.0F, 60.0F, -10.0F, 10.0F);
    mRenderer->render();
    EXPECT_FALSE(isShown(0, 0));
}

TEST_F(MeshRenderableDevice, BothSidesOfAFaceAreLitAlike)
{
    const Eigen::Vector3f normal(0.6F, 0.0F, -0.8F);
    showMesh({plate(-4.0F, 0.0F, -3.0F, 3.0F, -1.0F, normal), plate(0.0F, 4.0F, -3.0F, 3.0F, -1.0F, -normal)}
    );

    expectLit(1, 1, -1.0F, normal);
    expectLit(6, 1, -1.0F, normal);
}

TEST_F(MeshRenderableDevice, ReadsObjFilesAndShadesTheirFacesFlat)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write(
        "roof.obj",
        "v -4 -3 0 1 0.5 0\nv 0 -3 3 1 0.5 0\nv 0 3 3 1 0.5 0\nv -4 3 0 1 0.5 0\n"
        "o left\nf 1 2 3 4\n"
        "o right\nv 4 -3 0 0 1 0\nv 4 3 0 0 1 0\nv 0 -3 3 0 1 0\nv 0 3 3 0 1 0\nf 7 5 6\nf 7 6 8\n"
    );
    const auto mesh = MeshRenderable::create(path, 1.0, "roof");
    mRenderer->setCameraPose(
        Point3(0.0F, 0.0F, 8.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f::UnitY()
    );
    mRenderer->setScene(mesh);
    mRenderer->render();

    EXPECT_EQ(mesh->numTriangles(), 4U);
    const auto light = [](const Eigen::Vector3f& point, const Eigen::Vector3f& normal)
    {
        const Eigen::Vector3f toEye = (Eigen::Vector3f(0.0F, 0.0F, 8.0F) - point).normalized();
        return 0.2F + 0.8F * std::abs(normal.dot(toEye));
    };
    const float left = light({-2.5F, 0.5F, 1.125F}, {-0.6F, 0.0F, 0.8F});
    EXPECT_NEAR(shownAt(1, 2).r(), 255.0F * left, 1.0F);
    EXPECT_NEAR(shownAt(1, 2).g(), 127.0F * left, 1.0F);  // half of 255, cut off
    EXPECT_NEAR(shownAt(1, 2).b(), 0.0F, 1.0F);
    const float right = light({1.5F, -1.5F, 1.875F}, {0.6F, 0.0F, 0.8F});
    EXPECT_NEAR(shownAt(5, 4).g(), 255.0F * right, 1.0F);
}

TEST_F(MeshRenderableDevice, PartsAddUp)
{
    const auto mesh = showMesh({wholePlate(0.0F), {}, plate(-9.0F, -8.0F, 0.0F, 1.0F, 7.0F, {0, 0, 1})});

    EXPECT_EQ(mesh->numTriangles(), 4U);
    EXPECT_EQ(mesh->boundingBox(), Box({-9.0F, -3.0F, 0.0F}, {4.0F, 3.0F, 7.0F}));
}

TEST_F(MeshRenderableDevice, TheUnitScaleScalesPositionsAndBox)
{
    const auto mesh = showMesh({plate(-1000.0F, 1000.0F, -2000.0F, 1000.0F, 3000.0F, {0, 0, 1})}, 0.001);

    EXPECT_EQ(mesh->unitScale(), 0.001);
    const Box box = mesh->boundingBox();
    EXPECT_FLOAT_EQ(box.min().x, -1.0F);
    EXPECT_FLOAT_EQ(box.min().y, -2.0F);
    EXPECT_FLOAT_EQ(box.max().z, 3.0F);
    EXPECT_TRUE(isShown(3, 4));
    EXPECT_TRUE(isShown(4, 2));
    EXPECT_FALSE(isShown(5, 2));  // x = 1.5
    EXPECT_FALSE(isShown(3, 1));  // y = 1.5
}

TEST_F(MeshRenderableDevice, FollowsItsOwnMatrixAndItsParents)
{
    const auto group = GroupRenderable::create("group");
    const auto mesh = MeshRenderable::create(
        std::make_shared<PartLoader>(std::vector<Part>{plate(-1.0F, 0.0F, 0.0F, 1.0F, 0.0F, {0, 0, 1})}),
        1.0,
        "mesh"
    );
    mRenderer->setScene(group);
    group->add(mesh);
    mRenderer->render();
    EXPECT_TRUE(isShown(3, 2));

    Eigen::Matrix4f right = Eigen::Matrix4f::Identity();
    right(0, 3) = 2.0F;
    mesh->setMatrix(right);
    mRenderer->render();
    EXPECT_FALSE(isShown(3, 2));
    EXPECT_TRUE(isShown(5, 2));

    Eigen::Matrix4f up = Eigen::Matrix4f::Identity();
    up(1, 3) = 1.0F;
    group->setMatrix(up);
    mRenderer->render();
    EXPECT_FALSE(isShown(5, 2));
    EXPECT_TRUE(isShown(5, 1));
}

TEST_F(MeshRenderableDevice, EightClippingPlanesCut)
{
    const auto mesh = showMesh({wholePlate(0.0F)});
    std::vector<HalfSpace> planes(7, HalfSpace(1.0F, 0.0F, 0.0F, 1.0F));  // keeps x >= -1
    planes.emplace_back(0.0F, -1.0F, 0.0F, 0.0F);                         // keeps y <= 0

    mesh->setClippingVolume(Volume(planes));
    EXPECT_TRUE(mesh->needsRedraw());
    mRenderer->render();

    for (std::uint64_t y = 0; y < 6; ++y)
    {
        for (std::uint64_t x = 0; x < 8; ++x)
        {
            EXPECT_EQ(isShown(x, y), x >= 3 && y >= 3) << x << ", " << y;
        }
    }
    mesh->setClippingVolume(Volume());
    mRenderer->render();
    EXPECT_TRUE(isShown(0, 0));
}

TEST_F(MeshRenderableDevice, NineClippingPlanesAreRefused)
{
    const auto mesh = showMesh({wholePlate(0.0F)});
    mesh->setClippingVolume(Volume({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F)}));
    mRenderer->render();

    EXPECT_EQ(
        messageOf<std::runtime_error>(
            [&] { mesh->setClippingVolume(Volume(std::vector<HalfSpace>(9, HalfSpace(0, 0, 1, 0)))); }
        ),
        "Error: volume contains too many clipping planes, plane count = 9"
    );

    EXPECT_FALSE(mesh->needsRedraw());
    mRenderer->render();
    EXPECT_FALSE(isShown(0, 0));  // as the plane from before has it
    EXPECT_TRUE(isShown(7, 0));
}

TEST_F(MeshRenderableDevice, ClippingPlanesMayBeSetBeforeItIsShown)
{
    const auto mesh = MeshRenderable::create(
        std::make_shared<PartLoader>(std::vector<Part>{wholePlate(0.0F)}), 1.0, "mesh"
    );
    mesh->setClippingVolume(Volume({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F)}));
    mRenderer->setScene(mesh);
    mRenderer->render();

    EXPECT_FALSE(isShown(0, 0));
    EXPECT_TRUE(isShown(7, 0));
}

TEST_F(MeshRenderableDevice, AnEqualClippingVolumeAsksForNoFrame)
{
    const auto mesh = showMesh({wholePlate(0.0F)});
    const Volume volume({HalfSpace(1.0F, 0.0F, 0.0F, 0.0F)});
    mesh->setClippingVolume(volume);
    mRenderer->render();

    mesh->setClippingVolume(volume);

    EXPECT_FALSE(mesh->needsRedraw());
}

TEST_F(MeshRenderableDevice, HasTheDepthOfOtherObjectsInBothConventions)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        mRenderer = pixelRenderer(reversedZ);
        showMesh({plate(-4.0F, 0.0F, -3.0F, 3.0F, 1.0F, {0, 0, 1}), wholePlate(5.0F), wholePlate(-5.0F)});

        // z from 10 to -10 is near to far
        EXPECT_NEAR(depthImage(*mRenderer).pixel(1, 1), reversedZ ? 0.75F : 0.25F, 1e-6F);
    }
}

TEST_F(MeshRenderableDevice, IsDrawnWithTheRangeFittedToTheScene)
{
    mRenderer->setPerspective(60.0F, 0.1F, 1000.0F, 0.0F, 0.0F);
    const auto mesh = showMesh({plate(-40.0F, 40.0F, -30.0F, 30.0F, 0.0F, {0, 0, 1})});
    mRenderer->setAutoAdjustZRange(true);
    mRenderer->setCameraPose(
        Point3(0.0F, 0.0F, 20.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f::UnitY()
    );
    Eigen::Matrix4f lower = Eigen::Matrix4f::Identity();
    lower(2, 3) = -20.0F;
    mesh->setMatrix(lower);  // the frame fits the range anew
    mRenderer->render();

    const Eigen::Vector4f clip =
        mRenderer->camera()->viewProjectionMatrix() * Eigen::Vector4f(0.0F, 0.0F, -20.0F, 1.0F);
    EXPECT_NEAR(depthImage(*mRenderer).pixel(4, 3), clip.z() / clip.w(), 1e-5F);
}

TEST_F(MeshRenderableDevice, AFailedLoadLeavesNoParts)
{
    const auto loader = std::make_shared<PartLoader>(std::vector<Part>{wholePlate(0.0F)});
    loader->mustFail = true;
    const auto mesh = MeshRenderable::create(loader, 1.0, "mesh");

    EXPECT_EQ(messageOf<std::runtime_error>([&] { mRenderer->setScene(mesh); }), "broken mesh");

    EXPECT_EQ(mesh->numTriangles(), 0U);
    EXPECT_TRUE(mesh->boundingBox().isEmpty());
}

TEST_F(MeshRenderableDevice, EnteringASceneAgainLoadsItOnce)
{
    const auto mesh = showMesh({wholePlate(0.0F)});
    mRenderer->setScene(GroupRenderable::create("other"));
    mRenderer->setScene(mesh);

    EXPECT_EQ(mesh->numTriangles(), 2U);
}

TEST_F(MeshRenderableDevice, GivesItsBuffersBackAndComesBack)
{
    const auto before = objectsOf(mRenderer->device());
    const auto mesh = showMesh({wholePlate(0.0F)});
    ASSERT_GT(objectsOf(mRenderer->device()), before);

    mRenderer->setScene(nullptr);
    EXPECT_EQ(objectsOf(mRenderer->device()), before);
    EXPECT_EQ(mesh->numTriangles(), 2U);

    mRenderer->setScene(mesh);
    mRenderer->render();
    EXPECT_TRUE(isShown(3, 3));
    EXPECT_EQ(mesh->numTriangles(), 2U);
}

TEST_F(MeshRenderableDevice, AfterAFailedUploadTheNextFrameIsRight)
{
    const auto mesh = showMesh({wholePlate(0.0F)});
    mesh->setMatrix(Eigen::Matrix4f(Eigen::Matrix4f::Identity() * 1.0F));
    mRenderer->setCameraPose(
        Point3(0.0F, 0.0F, 2.0F), Eigen::Vector3f(0.0F, 0.0F, -1.0F), Eigen::Vector3f::UnitY()
    );
    faultsOf(mRenderer->device()).failAt(1, CallFaults::Kind::OutOfMemory);

    EXPECT_THROW(mRenderer->render(), ComException);
    mRenderer->render();

    expectLit(3, 3, 0.0F, Eigen::Vector3f::UnitZ());
}

TEST_F(MeshRenderableDevice, APartThatNoBufferHoldsIsRefusedByName)
{
    const auto mesh = MeshRenderable::create(std::make_shared<HugePartLoader>(), 1.0, "mesh");

    EXPECT_EQ(
        messageOf<std::invalid_argument>([&] { mRenderer->setScene(mesh); }),
        "a part of the mesh of 59652324 vertices needs a buffer of more than the 2147483648 bytes that "
        "Direct3D allows: at most 59652323 of 36 bytes"
    );
}

TEST_F(MeshRenderableDevice, LeavesTheContextAsItFoundIt)
{
    CheckedContext checked(context());
    const auto mesh = MeshRenderable::create(
        std::make_shared<PartLoader>(std::vector<Part>{wholePlate(0.0F)}), 1.0, "mesh"
    );
    mesh->init(1, std::make_shared<Camera>(), device(), &checked);
    setViewport(8, 6);

    mesh->render();

    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
    EXPECT_FALSE(mesh->needsRedraw());
}

TEST(MeshRenderable, RefusesABadUnitScaleOrNoLoader)
{
    const auto loader = std::make_shared<PartLoader>(std::vector<Part>());
    for (const double scale : {0.0, -1.0, std::numeric_limits<double>::infinity(), std::nan("")})
    {
        EXPECT_THROW(MeshRenderable::create(loader, scale, "mesh"), std::invalid_argument) << scale;
    }
    EXPECT_THROW(MeshRenderable::create(std::shared_ptr<MeshLoader>(), 1.0, "mesh"), std::invalid_argument);
}

TEST(MeshRenderable, DoesNothingBeforeItIsShown)
{
    const auto mesh = MeshRenderable::create(std::filesystem::path("none.obj"), 1.0, "mesh");

    mesh->render();

    EXPECT_TRUE(mesh->boundingBox().isEmpty());
    EXPECT_EQ(mesh->numTriangles(), 0U);
}
}  // namespace Render
