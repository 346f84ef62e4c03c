#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/pano/PanoRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/render/pointcloud/TestCloud.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Eigen::Vector3f;
using Math::Color;
using Point3 = Math::Point<float, 3>;

constexpr Color kSphere{10, 0, 0, 255};  // what the panorama shows
constexpr Color kNearDot{0, 0, 250, 255};
constexpr Color kFarDot{0, 250, 0, 255};
constexpr Color kPaint{250, 250, 0, 255};

/// A cube of 1 unit, all of whose faces look at its middle from outside.
class BoxLoader : public MeshLoader
{
public:
    explicit BoxLoader(const Vector3f& middle) : mMiddle(middle) {}

    void load(const MeshPartReceiver& receivePart) const override
    {
        std::vector<VertexPosNormalTexCoordColor> corners;
        for (const float side : {-0.5F, 0.5F})
        {
            for (int axis = 0; axis < 3; ++axis)
            {
                Vector3f outwards = Vector3f::Zero();
                outwards[axis] = side;
                const Vector3f u = Vector3f::Unit((axis + 1) % 3) * 0.5F;
                const Vector3f v = Vector3f::Unit((axis + 2) % 3) * 0.5F;
                for (const auto& [s, t] :
                     {std::pair(-1.0F, -1.0F),
                      std::pair(1.0F, -1.0F),
                      std::pair(1.0F, 1.0F),
                      std::pair(-1.0F, -1.0F),
                      std::pair(1.0F, 1.0F),
                      std::pair(-1.0F, 1.0F)})
                {
                    const Vector3f p = mMiddle + outwards + s * u + t * v;
                    const Vector3f n = 2.0F * outwards;
                    corners.emplace_back(
                        Point3(p.x(), p.y(), p.z()), n, Math::Point<float, 2>(0.0F, 0.0F), kPaint
                    );
                }
            }
        }
        receivePart(corners);
    }

private:
    Vector3f mMiddle;
};

/// A panorama in the middle of a cube of 16 units, that is a sphere round the eye, with points of a cloud and
/// boxes of a mesh before and behind it. The picture has 65 x 65 pixels of 90 degrees and looks along x, so
/// that pixel (32.5 - 32.5 y / x, 32.5 - 32.5 z / x) shows (x, y, z) from the eye.
class CompositionDevice : public TestCloudFixture
{
public:
    struct Place
    {
        std::uint64_t x;
        std::uint64_t y;
    };

    static constexpr Place kNearDotAt{16, 32};  // (4, 2, 0), 4.5 from the eye
    static constexpr Place kFarDotAt{48, 32};   // (7, -3.5, 0), 7.8 from the eye
    static constexpr Place kNearBoxAt{16, 16};  // (4.5, 2, 2) is its middle: 4 to 6 from the eye
    static constexpr Place kFarBoxAt{48, 16};   // (7, -3.25, 3.25): 7 to 9 from the eye

    /// Draws everything with the sphere at this radius.
    Graphics::ColorImage compose(bool reversedZ, float radius)
    {
        const auto loader = std::make_shared<RecordingPanoramaLoader>(1, 1);
        loader->depthAt = [radius](auto, auto, auto) { return radius; };
        const auto pano = PanoRenderable::create(loader, "pano");
        Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
        matrix.topRightCorner<3, 1>() = Vector3f(8.0F, 8.0F, 8.0F);
        pano->setMatrix(matrix);
        pano->loadPanoramaTiles();

        writeNodes(mFolder.path(), {{"r", {::dot(12, 10, 8, kNearDot), ::dot(15, 4.5, 8, kFarDot)}}});
        const auto cloud = open(mFolder.path());

        const auto group = GroupRenderable::create("group");
        group->add(box(Vector3f(12.5F, 10.0F, 10.0F)));
        group->add(pano);
        group->add(cloud);
        group->add(box(Vector3f(15.0F, 4.75F, 11.25F)));

        mRenderer = std::make_unique<Renderer>(reversedZ);
        mRenderer->setViewport(65, 65);
        mRenderer->setPerspective(90.0F, 0.1F, 100.0F, 0.0F, 0.0F);
        mRenderer->setCameraPose(
            Point3(8.0F, 8.0F, 8.0F), Vector3f(Vector3f::UnitX()), Vector3f(Vector3f::UnitZ())
        );
        mRenderer->setScene(group);
        mGroup = group;
        load(*cloud);
        return picture(*mRenderer);
    }

    static std::shared_ptr<MeshRenderable> box(const Vector3f& middle)
    {
        return MeshRenderable::create(std::make_shared<BoxLoader>(middle), 1.0, "box");
    }

    static Color at(const Graphics::ColorImage& image, Place place) { return image.pixel(place.x, place.y); }

    static bool isPaint(Color color) { return color.r() > 100 && color.r() == color.g() && color.b() == 0; }

    /// The name of what a pixel shows.
    std::string ownerAt(Place place)
    {
        const std::shared_ptr<Renderable> owner = mRenderer->pickRenderable(place.x, place.y);
        return owner ? owner->name() : "nothing";
    }

    TemporaryFolder mFolder;
    TemporaryFolder mOtherFolder;
    std::shared_ptr<GroupRenderable> mGroup;
    std::unique_ptr<Renderer> mRenderer;
};
}  // namespace

TEST_F(CompositionDevice, ASphereBeforeEverythingHidesAll)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        const Graphics::ColorImage image = compose(reversedZ, 2.5F);

        EXPECT_EQ(countOf(image, kSphere), 65U * 65U);
    }
}

TEST_F(CompositionDevice, ASphereBetweenHidesWhatLiesBehindAndIsHiddenByWhatLiesBefore)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        const Graphics::ColorImage image = compose(reversedZ, 6.25F);

        EXPECT_EQ(at(image, kNearDotAt), kNearDot);
        EXPECT_TRUE(isPaint(at(image, kNearBoxAt)));
        EXPECT_EQ(at(image, kFarDotAt), kSphere);
        EXPECT_EQ(at(image, kFarBoxAt), kSphere);
        EXPECT_EQ(at(image, {60, 60}), kSphere);
        Point3 position;
        ASSERT_TRUE(mRenderer->pickPoint(kNearDotAt.x, kNearDotAt.y, position));
        EXPECT_NEAR(position.x, 12.0F, 1e-3F);
        ASSERT_TRUE(mRenderer->pickPoint(kNearBoxAt.x, kNearBoxAt.y, position));
        EXPECT_NEAR(position.x, 12.0F, 1e-3F);
    }
}

TEST_F(CompositionDevice, ASphereBehindEverythingIsItsBackground)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        const Graphics::ColorImage image = compose(reversedZ, 12.0F);

        EXPECT_EQ(at(image, kNearDotAt), kNearDot);
        EXPECT_TRUE(isPaint(at(image, kNearBoxAt)));
        EXPECT_EQ(at(image, kFarDotAt), kFarDot);
        EXPECT_TRUE(isPaint(at(image, kFarBoxAt)));
        EXPECT_EQ(at(image, {60, 60}), kSphere);
    }
}

TEST_F(CompositionDevice, ASphereCutsABoxWhereItsDistanceIs)
{
    const Graphics::ColorImage image = compose(true, 4.9F);

    // The front of the near box is the plane x = 4 from the eye. Along y = z = t it lies at a distance of
    // sqrt(16 + 2 t t), which is 4.9 at t = 2.0: nearer to the middle of the picture it is seen, farther out
    // not.
    EXPECT_TRUE(isPaint(image.pixel(18, 18)));  // t = 1.7
    EXPECT_EQ(image.pixel(14, 14), kSphere);    // t = 2.2
}

TEST_F(CompositionDevice, PixelsTellWhichRenderableTheyShow)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        compose(reversedZ, 6.25F);
        mGroup->front()->setName("near box");
        (*std::next(mGroup->begin(), 2))->setName("cloud");
        mGroup->back()->setName("far box");
        writeNodes(mOtherFolder.path(), {{"r", {::dot(12, 5, 5, kFarDot)}}});
        const auto other = open(mOtherFolder.path());
        const auto others = GroupRenderable::create("others");
        others->add("other cloud", other);
        mGroup->add(others);
        load(*other);
        mRenderer->render();

        EXPECT_EQ(ownerAt(kNearDotAt), "cloud");
        EXPECT_EQ(ownerAt({56, 56}), "other cloud");  // (4, -3, -3) from the eye
        EXPECT_EQ(ownerAt(kNearBoxAt), "near box");
        EXPECT_EQ(ownerAt(kFarDotAt), "pano");
        EXPECT_EQ(ownerAt(kFarBoxAt), "pano");
    }
}
}  // namespace Render
