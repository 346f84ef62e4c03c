#include "tests/soak/RandomHost.h"

#include "graphics/ColorImage.h"
#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/DepthImage.h"
#include "octree/Location.h"
#include "render/mesh/MeshRenderable.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "render/pointcloud/filters/BoxFilter.h"
#include "render/pointcloud/filters/SphereFilter.h"

#include <array>
#include <chrono>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

using Render::GroupRenderable;
using Render::PanoRenderable;
using Render::PointCloudQuery;
using Render::PointCloudRenderable;
using Render::Renderer;
using Point = Math::Point<float, 3>;

namespace
{
constexpr std::size_t kAllLevels = 21;
constexpr float kDistance = 200.0F;
}  // namespace

RandomHost::RandomHost(Scenery scenery, std::uint64_t seed)
    : mScenery(std::move(scenery)), mRandom(seed), mRenderer(std::make_unique<Renderer>())
{
    mRenderer->setViewport(96, 64);
}

int RandomHost::below(int limit)
{
    return static_cast<int>(mRandom() % static_cast<std::uint64_t>(limit));
}

float RandomHost::between(float low, float high)
{
    constexpr int kSteps = 1000;
    return low + (high - low) * static_cast<float>(below(kSteps)) / kSteps;
}

void RandomHost::lap(int moves)
{
    for (int i = 0; i < moves; ++i)
    {
        move();
        draw();
    }
}

void RandomHost::rest()
{
    mRenderer->setScene(nullptr);
    mScene.reset();
    mClouds.clear();
    mPanorama.reset();
    mRenderer->setViewport(96, 64);
    draw();
}

void RandomHost::draw()
{
    mRenderer->render();
    ++mFrames;
    if (maybe())
    {
        Graphics::ColorImage image;
        mRenderer->getColorImage(image);
        if (image.width() != mRenderer->viewport().width())
        {
            throw std::logic_error("a picture of another size than the viewport");
        }
    }
    else
    {
        Graphics::DepthImage image;
        mRenderer->getDepthImage(image);
    }
    for (const auto& cloud : mClouds)
    {
        cloud->isAsyncReloadHealthy(true);
    }
    if (mPanorama)
    {
        mPanorama->isLoadingHealthy(true);
    }
}

void RandomHost::move()
{
    using Move = void (RandomHost::*)();
    // As often as they stand here.
    constexpr std::array<Move, 22> kMoves{
        &RandomHost::moveCamera,   &RandomHost::moveCamera,  &RandomHost::moveCamera,
        &RandomHost::moveCamera,   &RandomHost::moveCamera,  &RandomHost::moveCamera,
        &RandomHost::project,      &RandomHost::resize,      &RandomHost::set,
        &RandomHost::set,          &RandomHost::setCloud,    &RandomHost::setCloud,
        &RandomHost::clip,         &RandomHost::pick,        &RandomHost::exportPoints,
        &RandomHost::query,        &RandomHost::query,       &RandomHost::changeScene,
        &RandomHost::changeScene,  &RandomHost::changeScene, &RandomHost::changeLoading,
        &RandomHost::changeLoading};
    constexpr int kMovesPerRenderer = 400;
    if (below(kMovesPerRenderer) == 0)
    {
        replaceRenderer();
        return;
    }
    (this->*kMoves[static_cast<std::size_t>(below(static_cast<int>(kMoves.size())))])();
}

void RandomHost::moveCamera()
{
    const float angle = between(0.0F, 2.0F * std::numbers::pi_v<float>);
    const float height = between(10.0F, 150.0F);
    const float radius = between(5.0F, kDistance);
    mRenderer->setCameraPose(
        Point(radius * std::cos(angle), radius * std::sin(angle), height),
        Point(between(-20.0F, 20.0F), between(-20.0F, 20.0F), 0.0F),
        Eigen::Vector3f(Eigen::Vector3f::UnitZ())
    );
}

void RandomHost::project()
{
    mRenderer->setAutoAdjustZRange(maybe());
    if (maybe())
    {
        mRenderer->setPerspective(between(20.0F, 90.0F), 1.0F, 2000.0F, 0.0F, 0.0F);
    }
    else
    {
        mRenderer->setOrthographic(between(20.0F, 400.0F), 1.0F, 2000.0F);
    }
}

void RandomHost::resize()
{
    mRenderer->setViewport(
        static_cast<std::uint64_t>(8 + below(240)), static_cast<std::uint64_t>(8 + below(160))
    );
}

void RandomHost::set()
{
    mRenderer->setRenderMode(static_cast<Render::RenderMode>(below(7)));
    mRenderer->setBrightness(between(-0.5F, 0.5F));
    mRenderer->setContrast(between(0.5F, 2.0F));
    mRenderer->setOpacity(between(0.1F, 1.0F));
    mRenderer->setBackgroundColor(Math::Color(static_cast<unsigned char>(below(256)), 20, 30, 255));
    mRenderer->setColorizationRange(
        Point(0.0F, 0.0F, 0.0F), Point(0.0F, 0.0F, 50.0F), static_cast<Render::ColorMap>(below(9))
    );
    if (maybe())
    {
        mRenderer->autoAdjustBrightnessAndContrast(0.02F, 0.8F);
    }
}

std::shared_ptr<PointCloudRenderable> RandomHost::anyCloud()
{
    return mClouds.empty() ? nullptr
                           : mClouds[static_cast<std::size_t>(below(static_cast<int>(mClouds.size())))];
}

void RandomHost::setCloud()
{
    const auto cloud = anyCloud();
    if (!cloud)
    {
        return;
    }
    cloud->setPointSize(cloud->defaultPointSize() * between(0.5F, 3.0F));
    cloud->setMaxPointSize(between(1.0F, 60.0F));
    cloud->setTomographicContrast(between(0.1F, 2.0F));
    cloud->setShowBoundingBoxes(maybe());
    cloud->setUniformColor(Math::Color(static_cast<unsigned char>(below(256)), 200, 0, 255));
    cloud->setMinLevelToKeep(static_cast<std::size_t>(below(3)));
    cloud->setMaxBytesInFlight(static_cast<std::size_t>(1 + below(8)) << 20U);
    cloud->setRestartLoadingAfterCameraChange(maybe());
    if (below(5) == 0)
    {
        cloud->clearVisibleOctreeNodes();
    }
}

void RandomHost::clip()
{
    const auto cloud = anyCloud();
    if (!cloud)
    {
        return;
    }
    std::vector<Math::HalfSpace<float, 3>> planes;
    for (int i = below(9); i > 0; --i)
    {
        planes.emplace_back(between(-1.0F, 1.0F), between(-1.0F, 1.0F), 0.5F, between(0.0F, 100.0F));
    }
    cloud->setClippingVolume(planes);
}

void RandomHost::pick()
{
    const auto x = static_cast<unsigned long long>(below(260));  // outside too
    const auto y = static_cast<unsigned long long>(below(180));
    Point point;
    Math::NPlane<float, 3> plane;
    mRenderer->pickPoint(x, y, point);
    mRenderer->pickClosestPointWithTolerance(x, y, 5, point);
    mRenderer->pickPlane(x, y, 10, plane, point, 0.5);
}

void RandomHost::exportPoints()
{
    std::vector<Render::VertexPosColor> points;
    mRenderer->getPoints(points);
    mRenderer->resetPointChunkPosition();
    std::array<double, 300> positions{};
    std::array<int, 100> colors{};
    mRenderer->getNextPointChunk(positions.data(), colors.data(), colors.size());
}

void RandomHost::query()
{
    const auto cloud = anyCloud();
    if (!cloud)
    {
        return;
    }
    const float size = between(1.0F, kDistance);
    Render::IFilter* const filter =
        maybe() ? static_cast<Render::IFilter*>(new Render::BoxFilter(
                      Math::NBoundingBox<float, 3>(Point(-size, -size, -size), Point(size, size, size))
                  ))
                : new Render::SphereFilter(Point(0.0F, 0.0F, 0.0F), size);
    PointCloudQuery query =
        cloud->createPointCloudQuery(filter, kAllLevels, 0.0F, std::chrono::milliseconds(1 + below(200)));
    std::vector<Render::VertexPosColor> points(2000);
    const int most = below(60);  // it often ends before its time
    for (int i = 0; i < most && !query.isFinished(); ++i)
    {
        query.getNextPointChunk(points.data(), points.size());
    }
}

void RandomHost::changeScene()
{
    if (!mScene || below(12) == 0)
    {
        mScene = GroupRenderable::create("scene");
        mClouds.clear();
        mPanorama.reset();
        mRenderer->setScene(mScene);
    }
    switch (below(5))
    {
        case 0:
        case 1:
        {
            if (mClouds.size() >= 2)
            {
                mScene->removeByName(mClouds.front()->name());
                mClouds.erase(mClouds.begin());
            }
            const bool isOctree = maybe();
            const auto budget = static_cast<std::size_t>(500 + below(60'000));
            auto cloud = isOctree ? PointCloudRenderable::create(
                                        PoTree::FileSystemLocation(mScenery.octree), "octree", budget, 1.0
                                    )
                                  : PointCloudRenderable::create(
                                        Entwine::FileSystemLocation(mScenery.tiles), "tiles", budget, 1.0
                                    );
            cloud->setName("cloud " + std::to_string(cloud->id()));
            mScene->add(cloud);
            cloud->startAsyncReload(nullptr, kAllLevels);
            mClouds.push_back(std::move(cloud));
            break;
        }
        case 2:
            mScene->removeByName("panorama");
            mPanorama.reset();
            if (maybe())
            {
                mPanorama = PanoRenderable::create(
                    std::make_shared<Graphics::DeepZoomPanoramaLoader>(mScenery.panorama), "panorama"
                );
                mPanorama->startAsyncPanoramaTilesLoading(nullptr);
                mScene->add(mPanorama);
            }
            break;
        case 3:
            mScene->removeByName("mesh");
            if (maybe())
            {
                mScene->add(Render::MeshRenderable::create(mScenery.mesh, 1.0, "mesh"));
            }
            break;
        default:
            if (const auto cloud = anyCloud())
            {
                cloud->setVisible(maybe());
                Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
                matrix(0, 3) = between(-50.0F, 50.0F);
                cloud->setMatrix(matrix);
            }
            break;
    }
}

void RandomHost::changeLoading()
{
    if (const auto cloud = anyCloud())
    {
        if (cloud->isAsyncReloadActive())
        {
            cloud->stopAsyncReload();
        }
        else if (maybe())
        {
            cloud->startAsyncReload(nullptr, kAllLevels);
        }
        else
        {
            cloud->reloadPoints(nullptr, static_cast<std::size_t>(below(6)), {});
        }
    }
    if (mPanorama)
    {
        if (maybe())
        {
            mPanorama->stopAsyncPanoramaTilesLoading();
        }
        else
        {
            mPanorama->startAsyncPanoramaTilesLoading(nullptr);
        }
    }
}

void RandomHost::replaceRenderer()
{
    mRenderer.reset();
    mRenderer = std::make_unique<Renderer>(maybe());
    mRenderer->setViewport(96, 64);
    if (mScene)
    {
        mRenderer->setScene(mScene);
    }
}
