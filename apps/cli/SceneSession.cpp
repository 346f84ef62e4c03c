#include "apps/cli/SceneSession.h"

#include "apps/cli/Console.h"
#include "apps/cli/Progress.h"
#include "apps/cli/fitCamera.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parsePlanes.h"
#include "apps/cli/parseValue.h"
#include "apps/cli/refuseSizeClearly.h"
#include <graphics/DeepZoomPanoramaLoader.h>
#include <graphics/DepthImage.h>
#include <math/ConvexPolytope.h>
#include <math/HalfSpace.h>
#include <octree/Octree.h>
#include <octree/OctreeNodeId.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <stop_token>
#include <thread>

namespace Cli
{
namespace
{
// From the north-east, looking down by about 38 degrees as thumbnails do: shows facades and roofs.
const Eigen::Vector3f kDefaultDirection(-0.6F, -0.5F, -0.62F);

// In data units, where there is no extent to fit them to; the far plane moves out for what is farther away.
constexpr float kNear = 0.1F;
constexpr float kFar = 2000.0F;

// A scene that is thinner than this part of its distance is flat: fitted planes would leave it no depth.
constexpr float kFlat = 1e-4F;
constexpr std::chrono::milliseconds kPollInterval{50};

Eigen::Vector3f toVector(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}

/// From the coordinates of the octree to absolute ones.
Eigen::Matrix4d absolutePlacement(const SceneItem& item, const Octree::Octree& octree)
{
    const Math::Point<double, 3> reference = octree.position();
    Eigen::Matrix4d toAbsolute = Eigen::Matrix4d::Identity();
    toAbsolute.topRightCorner<3, 1>() = Eigen::Vector3d(reference.x, reference.y, reference.z);
    return item.transform ? *item.transform * toAbsolute : toAbsolute;
}

void loadWithProgress(Render::PanoRenderable& panorama)
{
    Progress progress("loading " + panorama.name(), 0, "tiles");
    const auto count =
        std::make_shared<std::atomic<std::uint64_t>>(0);  // the thread may outlive an error here
    panorama.startAsyncPanoramaTilesLoading([count] { ++*count; });
    while (!panorama.isLoadingComplete())
    {
        panorama.isLoadingHealthy(true);
        std::this_thread::sleep_for(kPollInterval);
        progress.update(*count);
    }
}
}  // namespace

SceneSession::SceneSession(const SceneOptions& options)
    : mScene(Render::GroupRenderable::create("scene")),
      mAutoContrast(options.autoContrast),
      mDepthFile(options.depth)
{
    const Size size = parseSize("--size", options.size);
    refuseSizeClearly(size, [&] { mRenderer.setViewport(size.width, size.height); });
    addItems(options);
    mRenderer.setScene(mScene);
    applyLook(options);
    applyClipping(options);
    applyCamera(options);
}

void SceneSession::addItems(const SceneOptions& options)
{
    std::vector<SceneItem> items = options.items;
    for (const std::string& path : options.clouds)
    {
        items.push_back({SceneItem::Kind::Cloud, path, 1.0, std::nullopt});
    }
    // Clouds need an origin nearby most: their coordinates are the most exact ones.
    const auto isCloud = [](const SceneItem& item) { return item.kind == SceneItem::Kind::Cloud; };
    if (const auto first = std::find_if(items.begin(), items.end(), isCloud); first != items.end())
    {
        placement(absolutePlacement(*first, Octree::Octree(datasetLocation(first->path), 1.0)));
    }
    for (const SceneItem& item : items)
    {
        switch (item.kind)
        {
            case SceneItem::Kind::Cloud:
                addCloud(item, options);
                break;
            case SceneItem::Kind::Panorama:
                addPanorama(item);
                break;
            case SceneItem::Kind::Mesh:
                addMesh(item);
                break;
        }
    }
}

Eigen::Matrix4f SceneSession::placement(const Eigen::Matrix4d& toAbsolute)
{
    if (!mFirstPlace)
    {
        mFirstPlace = {toAbsolute(0, 3), toAbsolute(1, 3), toAbsolute(2, 3)};
        mOrigin = *mFirstPlace;
    }
    Eigen::Matrix4d toScene = toAbsolute;
    toScene.topRightCorner<3, 1>() -= Eigen::Vector3d(mOrigin.x, mOrigin.y, mOrigin.z);
    return toScene.cast<float>();
}

void SceneSession::addPanorama(const SceneItem& item)
{
    const auto loader = std::make_shared<Graphics::DeepZoomPanoramaLoader>(toPath(item.path));
    auto panorama = Render::PanoRenderable::create(loader, item.path);
    panorama->setMatrix(placement(item.transform.value_or(loader->pose())));
    mScene->add(panorama);
    mPanoramas.push_back(std::move(panorama));
}

void SceneSession::addMesh(const SceneItem& item)
{
    auto mesh = Render::MeshRenderable::create(toPath(item.path), item.unitScale, item.path);
    mesh->setMatrix(placement(item.transform.value_or(Eigen::Matrix4d::Identity())));
    mScene->add(mesh);
    mMeshes.push_back(std::move(mesh));
}

void SceneSession::addCloud(const SceneItem& item, const SceneOptions& options)
{
    const auto octree = std::make_shared<Octree::Octree>(datasetLocation(item.path), 1.0);
    auto cloud = Render::PointCloudRenderable::create(octree, item.path, options.budget);
    cloud->setMatrix(placement(absolutePlacement(item, *octree)));
    if (options.threshold)
    {
        cloud->setOctreeNodePriorityThreshold(static_cast<float>(*options.threshold));
    }
    if (options.minLevel)
    {
        cloud->setMinLevelToKeep(*options.minLevel);
    }
    if (options.maxLevel)
    {
        cloud->setMaxLevelToKeep(*options.maxLevel);
    }
    if (options.pointSize)
    {
        cloud->setPointSize(static_cast<float>(*options.pointSize));
    }
    if (options.maxPointSize)
    {
        cloud->setMaxPointSize(static_cast<float>(*options.maxPointSize));
    }
    if (!options.uniformColor.empty())
    {
        cloud->setUniformColor(parseColor("--uniform-color", options.uniformColor));
    }
    cloud->setShowBoundingBoxes(options.showBoxes);
    mScene->add(cloud);
    mClouds.push_back(std::move(cloud));
}

void SceneSession::applyLook(const SceneOptions& options)
{
    mRenderer.setRenderMode(parseRenderMode("--mode", options.mode));
    mRenderer.setBackgroundColor(parseColor("--background", options.background));
    mRenderer.setBrightness(static_cast<float>(options.brightness.value_or(0.0)));
    mRenderer.setContrast(static_cast<float>(options.contrast.value_or(1.0)));
    mRenderer.setOpacity(static_cast<float>(options.opacity));

    const Math::NBoundingBox<float, 3> box = mRenderer.boundingBox();
    const Math::Point<float, 3> center = box.center();
    const Math::Point<float, 3> from = options.colorizeFrom.empty()
                                           ? Math::Point<float, 3>(center.x, center.y, box.min().z)
                                           : toScene(parsePoint("--colorize-from", options.colorizeFrom));
    const Math::Point<float, 3> to = options.colorizeTo.empty()
                                         ? Math::Point<float, 3>(center.x, center.y, box.max().z)
                                         : toScene(parsePoint("--colorize-to", options.colorizeTo));
    mRenderer.setColorizationRange(from, to, parseColorMap("--color-map", options.colorMap));
}

void SceneSession::applyClipping(const SceneOptions& options)
{
    const auto given = parsePlanes("--clip", options.clipPlanes, mOrigin);
    if (given.size() > Render::MeshRenderable::CLIPPING_PLANES_MAX_COUNT)
    {
        throw CLI::ValidationError(
            "--clip",
            std::to_string(given.size()) + " planes are too many, at most " +
                std::to_string(Render::MeshRenderable::CLIPPING_PLANES_MAX_COUNT) + " are possible"
        );
    }
    std::vector<Math::HalfSpace<float, 3>> planes;
    for (const Math::HalfSpace<double, 3>& plane : given)
    {
        planes.emplace_back(
            static_cast<float>(plane.a),
            static_cast<float>(plane.b),
            static_cast<float>(plane.c),
            static_cast<float>(plane.d)
        );
    }
    for (const auto& cloud : mClouds)
    {
        cloud->setClippingVolume(planes);
    }
    for (const auto& mesh : mMeshes)
    {
        mesh->setClippingVolume(Math::ConvexPolytope<float, 3>(planes));
    }
}

void SceneSession::applyCamera(const SceneOptions& options)
{
    const Math::NBoundingBox<float, 3> box = mRenderer.boundingBox();
    const auto aspect = static_cast<float>(mRenderer.aspectRatio());
    const auto fovYRad = static_cast<float>(options.fovDeg * std::numbers::pi / 180.0);

    const Eigen::Vector3f up = toVector(
        [&]
        {
            const Math::Point<double, 3> value = parsePoint("--up", options.up);
            return Math::Point<float, 3>(
                static_cast<float>(value.x), static_cast<float>(value.y), static_cast<float>(value.z)
            );
        }()
    );
    // Panoramas have no extent: a scene of nothing else is seen from the centre of the first.
    const bool isInPanorama = box.isEmpty() && !mPanoramas.empty();
    const Eigen::Matrix4f place =
        isInPanorama ? mPanoramas.front()->worldMatrix() : Eigen::Matrix4f(Eigen::Matrix4f::Identity());
    const auto toPoint = [](const Eigen::Vector3f& vector)
    { return Math::Point<float, 3>(vector.x(), vector.y(), vector.z()); };
    const Math::Point<float, 3> middle =
        isInPanorama ? toPoint(place.col(3).head<3>() + place.col(0).head<3>()) : box.center();
    const Math::Point<float, 3> target =
        options.target.empty() ? middle : toScene(parsePoint("--target", options.target));
    Eigen::Vector3f direction = kDefaultDirection;
    if (!options.eye.empty())
    {
        direction = toVector(target) - toVector(toScene(parsePoint("--eye", options.eye)));
    }
    else if (isInPanorama)
    {
        direction = toVector(target) - place.col(3).head<3>();
    }
    if (direction.isZero(0.0F))
    {
        throw CLI::ValidationError(
            "--eye",
            "'" + options.eye + "' is " +
                (options.target.empty() ? "the middle of the scene, which a camera without --target looks at"
                                        : "where --target is, '" + options.target + "'")
        );
    }
    if (!(direction.stableNormalized().cross(up.stableNormalized()).squaredNorm() > 0.0F))
    {
        throw CLI::ValidationError("--up", "'" + options.up + "' is zero or along the direction of view");
    }
    const FittedView fitted = fitCamera(box, direction, up, fovYRad, aspect);
    Math::Point<float, 3> eye = fitted.eye;
    if (!options.eye.empty())
    {
        eye = toScene(parsePoint("--eye", options.eye));
    }
    else if (isInPanorama)
    {
        eye = toPoint(place.col(3).head<3>());
    }
    else if (!options.target.empty())
    {
        const float distance = (toVector(fitted.eye) - toVector(box.center())).norm();
        const Eigen::Vector3f moved = toVector(target) - direction.normalized() * distance;
        eye = {moved.x(), moved.y(), moved.z()};
    }

    const Eigen::Vector3f view = direction.stableNormalized();
    const Eigen::Vector3f extent =
        box.isEmpty() ? Eigen::Vector3f(0.0F, 0.0F, 0.0F) : toVector(box.max()) - toVector(box.min());
    const Eigen::Vector3f toCenter = toVector(box.isEmpty() ? eye : box.center()) - toVector(eye);
    const float distance = toCenter.dot(view);
    const float reach = toCenter.norm() + extent.norm() / 2.0F;
    const bool isFlat = extent.dot(view.cwiseAbs()) < kFlat * reach;

    // A range fitted to the other objects would cut panoramas: they reach from the eye to the sky.
    mRenderer.setAutoAdjustZRange(!box.isEmpty() && !isFlat && mPanoramas.empty());
    const bool isFlatAlone = isFlat && mPanoramas.empty() && (distance > 0.0F || options.orthographicHeight);
    const float margin = std::max(std::abs(distance) / 2.0F, kFlat);
    const float near = isFlatAlone ? distance - margin : kNear;
    const float far = isFlatAlone ? distance + margin : std::max(kFar, 2.0F * reach);
    if (options.orthographicHeight)
    {
        mRenderer.setOrthographic(static_cast<float>(*options.orthographicHeight), near, far);
    }
    else
    {
        mRenderer.setPerspective(static_cast<float>(options.fovDeg), near, far, 0.0F, 0.0F);
    }
    mRenderer.setCameraPose(eye, direction, up);
}

Math::Point<float, 3> SceneSession::toScene(const Math::Point<double, 3>& absolute) const noexcept
{
    return {
        static_cast<float>(absolute.x - mOrigin.x),
        static_cast<float>(absolute.y - mOrigin.y),
        static_cast<float>(absolute.z - mOrigin.z)};
}

void SceneSession::load()
{
    // Clouds share one budget, so a cloud that loads later may take points from an earlier one: a second
    // round lets the earlier ones publish what they kept.
    for (const auto& panorama : mPanoramas)
    {
        loadWithProgress(*panorama);
    }
    const int rounds = mClouds.size() > 1 ? 2 : 1;
    for (int round = 0; round < rounds; ++round)
    {
        for (const auto& cloud : mClouds)
        {
            Progress progress("loading " + cloud->name(), 0, "points");
            cloud->reloadPoints(
                [&] { progress.update(cloud->numResidentPoints()); },
                Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
                std::stop_token{}
            );
        }
    }
    if (mAutoContrast)
    {
        mRenderer.autoAdjustBrightnessAndContrast(static_cast<float>(*mAutoContrast), 1.0F);
    }
}

void SceneSession::writeDepth()
{
    if (!mDepthFile.empty())
    {
        Graphics::DepthImage depth;
        mRenderer.getDepthImage(depth);
        depth.writePng(toPath(mDepthFile));
        writeOutput(mDepthFile + "\n");
    }
}
}  // namespace Cli
