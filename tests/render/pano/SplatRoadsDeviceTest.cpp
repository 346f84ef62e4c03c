// The splat rasterizer against quads: random scenes drawn on both roads.
//
// Colours are equal to one step of 255, as GPUs interpolate what quads hand to their pixels. More than that,
// pictures may differ in two kinds of pixels: at the rim of a splat, where the circle that is computed and
// the triangles' interpolated place in it fall on different sides of a pixel's centre; and where two splats
// have depths that are equal on one road and differ by rounding on the other. Both are rare.
#include "render/mesh/MeshLoader.h"
#include "render/mesh/MeshRenderable.h"
#include "render/pano/PanoRenderable.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/render/pointcloud/TestCloud.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

namespace Render
{
namespace
{
using Eigen::Vector3f;
using Position = Math::Point<float, 3>;

constexpr int kScenes = 50;  // of each test
constexpr double kMostDifferentShare = 0.002;
constexpr std::size_t kMostDifferent = 12;  // where little is covered
constexpr float kDepthTolerance = 1e-5F;

/// A triangle through the meadow.
class TriangleLoader : public MeshLoader
{
public:
    void load(const MeshPartReceiver& receivePart) const override
    {
        std::vector<VertexPosNormalTexCoordColor> corners;
        for (const Position& corner : {Position(0, 0, 1.5F), Position(16, 0, 2.5F), Position(8, 12, 4.0F)})
        {
            corners.emplace_back(
                corner, Vector3f::UnitZ(), Math::Point<float, 2>(0.0F, 0.0F), Math::Color(0, 90, 200, 255)
            );
        }
        receivePart(corners);
    }
};

/// Whether two colours differ by more than rounding.
bool areFar(const Math::Color& a, const Math::Color& b)
{
    const auto differ = [](int first, int second) { return std::abs(first - second) > 1; };
    return differ(a.r(), b.r()) || differ(a.g(), b.g()) || differ(a.b(), b.b()) || differ(a.a(), b.a());
}

struct Frame
{
    Graphics::ColorImage color;
    Graphics::DepthImage depth;
};

/// Two overlapping meadows, a triangle and a panorama.
class SplatRoadsDevice : public TestCloudFixture
{
protected:
    /// @param isMeshBetween  whether the triangle is drawn between the clouds, which then cannot share a step
    void build(bool reversedZ, bool isMeshBetween)
    {
        mFolder = std::make_unique<TemporaryFolder>();
        writeMeadow(mFolder->path());
        mRenderer = makeRenderer(reversedZ);
        mScene = GroupRenderable::create("all");
        for (int i = 0; i < 2; ++i)
        {
            mClouds[static_cast<std::size_t>(i)] = open(mFolder->path());
        }
        mMesh = MeshRenderable::create(std::make_shared<TriangleLoader>(), 1.0, "triangle");
        const auto tiles = std::make_shared<RecordingPanoramaLoader>(4, 4);
        tiles->depthAt = [](auto, auto, auto) { return 9.0F; };
        mPanorama = PanoRenderable::create(tiles, "panorama");
        mScene->add(mClouds[0]);
        if (isMeshBetween)
        {
            mScene->add(mMesh);
        }
        mScene->add(mClouds[1]);
        if (!isMeshBetween)
        {
            mScene->add(mMesh);
        }
        mScene->add(mPanorama);
        mRenderer->setScene(mScene);
        mPanorama->startAsyncPanoramaTilesLoading([] {});
        mPanorama->waitForLoadingComplete();  // so that both roads show the same of it
    }

    float between(float low, float high) { return std::uniform_real_distribution<float>(low, high)(mRandom); }

    bool chance(double probability) { return std::bernoulli_distribution(probability)(mRandom); }

    Eigen::Matrix4f randomTransform()
    {
        if (chance(0.5))
        {
            return Eigen::Matrix4f::Identity();
        }
        Eigen::Affine3f transform = Eigen::Affine3f::Identity();
        transform.translate(Vector3f(between(-2, 2), between(-2, 2), between(-1, 1)));
        transform.rotate(Eigen::AngleAxisf(between(-0.5F, 0.5F), Vector3f::UnitZ()));
        transform.scale(between(0.5F, 1.5F));
        return transform.matrix();
    }

    std::vector<Math::HalfSpace<float, 3>> randomPlanes()
    {
        std::vector<Math::HalfSpace<float, 3>> planes;
        while (planes.size() < 8 && chance(0.4))
        {
            const Vector3f normal = Vector3f(between(-1, 1), between(-1, 1), between(-1, 1)).normalized();
            planes.push_back(
                {normal.x(), normal.y(), normal.z(), -normal.dot(Vector3f(8, 6, 2)) + between(0, 6)}
            );
        }
        return planes;
    }

    void randomize()
    {
        constexpr std::array<RenderMode, 7> kModes{
            RenderMode::Default,
            RenderMode::TomographicDark,
            RenderMode::TomographicBright,
            RenderMode::ColorizeByNormal,
            RenderMode::ColorizeByPlaneDistance,
            RenderMode::ColorizeByIntensity,
            RenderMode::UniformColor};
        mRenderer->setRenderMode(kModes[std::uniform_int_distribution<std::size_t>(0, 6)(mRandom)]);
        mRenderer->setCameraPose(
            Position(between(-5, 21), between(-8, 4), between(3, 20)),
            Position(between(4, 12), between(4, 8), between(0, 3)),
            Vector3f(Vector3f::UnitZ())
        );
        if (chance(0.7))
        {
            mRenderer->setPerspective(between(30, 90), 0.1F, 200.0F, 0.0F, 0.0F);
        }
        else
        {
            mRenderer->setOrthographic(between(8, 24), -50.0F, 100.0F);
        }
        mMesh->setVisible(chance(0.5));
        mPanorama->setVisible(chance(0.3));
        for (const auto& cloud : mClouds)
        {
            cloud->setVisible(chance(0.8));
            cloud->setMaxPointSize(chance(0.3) ? 1.0F : between(1.5F, 32.0F));
            cloud->setPointSize(cloud->defaultPointSize() * between(0.1F, 1.5F));
            cloud->setMatrix(randomTransform());
            cloud->setClippingVolume(randomPlanes());
            cloud->reloadPoints(nullptr, kAllLevels, {});
        }
    }

    Frame drawn(SplatRoad road)
    {
        for (const auto& cloud : mClouds)
        {
            cloud->setSplatRoad(road);
        }
        mRenderer->render();
        for (const auto& cloud : mClouds)
        {
            const bool isForced = road == SplatRoad::Quads ||
                                  mRenderer->renderMode() == RenderMode::TomographicDark ||
                                  mRenderer->renderMode() == RenderMode::TomographicBright;
            if (cloud->visible() && cloud->numVisiblePoints() > 0)
            {
                EXPECT_EQ(cloud->drawnSplatRoad(), isForced ? SplatRoad::Quads : SplatRoad::Compute);
            }
        }
        Frame frame;
        mRenderer->getColorImage(frame.color);
        mRenderer->getDepthImage(frame.depth);
        return frame;
    }

    void compareScenes(bool reversedZ, bool isMeshBetween)
    {
        build(reversedZ, isMeshBetween);
        for (int i = 0; i < kScenes; ++i)
        {
            SCOPED_TRACE(i);
            mRandom.seed(static_cast<unsigned>(i + (isMeshBetween ? kScenes : 0)));
            randomize();
            const Frame computed = drawn(SplatRoad::Compute);
            const Frame quads = drawn(SplatRoad::Quads);

            const float empty = reversedZ ? 0.0F : 1.0F;
            std::size_t covered = 0;
            std::size_t otherColors = 0;
            std::size_t otherDepths = 0;
            for (std::uint64_t y = 0; y < kHeight; ++y)
            {
                for (std::uint64_t x = 0; x < kWidth; ++x)
                {
                    covered += quads.depth.pixel(x, y) != empty ? 1 : 0;
                    otherColors += areFar(computed.color.pixel(x, y), quads.color.pixel(x, y)) ? 1 : 0;
                    otherDepths +=
                        std::abs(computed.depth.pixel(x, y) - quads.depth.pixel(x, y)) > kDepthTolerance ? 1
                                                                                                         : 0;
                }
            }
            mCovered += covered;
            mOtherColors += otherColors;
            mOtherDepths += otherDepths;
            const auto most = static_cast<std::size_t>(kMostDifferentShare * static_cast<double>(covered));
            EXPECT_LE(otherColors, most + kMostDifferent) << "of " << covered;
            EXPECT_LE(otherDepths, most + kMostDifferent) << "of " << covered;
        }
        RecordProperty("covered", static_cast<int>(mCovered));
        RecordProperty("otherColors", static_cast<int>(mOtherColors));
        RecordProperty("otherDepths", static_cast<int>(mOtherDepths));
        EXPECT_GT(mCovered, kScenes * kWidth * kHeight / 10) << "the scenes show something";
    }

    std::unique_ptr<TemporaryFolder> mFolder;
    std::unique_ptr<Renderer> mRenderer;
    std::shared_ptr<GroupRenderable> mScene;
    std::array<std::shared_ptr<PointCloudRenderable>, 2> mClouds;
    std::shared_ptr<MeshRenderable> mMesh;
    std::shared_ptr<PanoRenderable> mPanorama;
    std::mt19937 mRandom;
    std::size_t mCovered = 0;
    std::size_t mOtherColors = 0;
    std::size_t mOtherDepths = 0;
};
}  // namespace

TEST_F(SplatRoadsDevice, DrawTheSamePicturesWithAReversedDepthBuffer)
{
    compareScenes(true, false);
}

TEST_F(SplatRoadsDevice, DrawTheSamePicturesWithANormalDepthBuffer)
{
    compareScenes(false, false);
}

TEST_F(SplatRoadsDevice, DrawTheSamePicturesAroundAMeshWithAReversedDepthBuffer)
{
    compareScenes(true, true);
}

TEST_F(SplatRoadsDevice, DrawTheSamePicturesAroundAMeshWithANormalDepthBuffer)
{
    compareScenes(false, true);
}
}  // namespace Render
