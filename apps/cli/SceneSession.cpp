#include "apps/cli/SceneSession.h"

#include "apps/cli/CoarsePoints.h"
#include "apps/cli/Console.h"
#include "apps/cli/ElapsedTime.h"
#include "apps/cli/Progress.h"
#include "apps/cli/cloudLook.h"
#include "apps/cli/depthFile.h"
#include "apps/cli/emptyPicture.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parsePlanes.h"
#include "apps/cli/parseValue.h"
#include "apps/cli/placeCamera.h"
#include "apps/cli/refuseSizeClearly.h"
#include "apps/cli/remoteData.h"
#include "apps/cli/sceneLegend.h"
#include "apps/cli/viewDirection.h"
#include <graphics/DeepZoomPanoramaLoader.h>
#include <graphics/DepthImage.h>
#include <graphics/reducedImage.h>
#include <math/ConvexPolytope.h>
#include <math/HalfSpace.h>
#include <octree/NodePointData.h>
#include <octree/Octree.h>
#include <octree/OctreeNodeId.h>

#include <Eigen/Core>
#include <Eigen/LU>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <utility>

namespace Cli
{
namespace
{
constexpr std::chrono::milliseconds kPollInterval{50};
constexpr unsigned char kOpaque = 255;
constexpr double kAzimuthDeg = 50.0;  // the direction that placeCamera takes by itself
constexpr double kElevationDeg = 38.0;
constexpr float kUsedOfPicture = 0.96F;  // by a section
constexpr double kEyeDomeStrengthByItself = 1.0;
constexpr double kRowsOfOrdinaryPicture = 720.0;  // for which the two sizes in pixels are chosen
constexpr double kMaxPointSize = 5.0;             // pixels

Eigen::Vector3f toEigen(const Math::Point<float, 3>& point)
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

Render::RenderMode modeOf(const SceneOptions& options)
{
    return options.colorBy == "height" ? Render::RenderMode::ColorizeByPlaneDistance
                                       : parseRenderMode("--mode", options.mode);
}

/// None where they cannot be read: loading meets the same failure, and tells it.
CoarsePoints coarsePointsIfReadable(const Octree::Octree& octree)
{
    try
    {
        return readCoarsePoints(octree);
    }
    catch (const std::runtime_error&)
    {
        return {};
    }
}

/// Of the picture without the margin.
Size drawnSize(const SceneOptions& options)
{
    Size size = parseSize("--size", options.size);
    if (options.hasLegend)
    {
        const LegendMeasures measures(size.height);
        const auto leastWidth = static_cast<std::uint64_t>(measures.leastWidth());
        if (size.width < leastWidth || size.height < LegendMeasures::kLeastHeight)
        {
            throw CLI::ValidationError(
                "--legend",
                "a picture of " + options.size + " has no room for it, expected at least " +
                    std::to_string(leastWidth) + "x" + std::to_string(LegendMeasures::kLeastHeight)
            );
        }
        size.width -= static_cast<std::uint64_t>(measures.margin);
    }
    return size;
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
    : mOptions(options),
      mScene(Render::GroupRenderable::create("scene")),
      mAutoContrast(options.autoContrast),
      mDepthFile(options.depth),
      mSamples(options.samples)
{
    if (mSamples > 1 && !mDepthFile.empty())
    {
        throw CLI::ValidationError("--samples", "a depth picture has one sample a pixel");
    }
    if (options.hasLegend && !mDepthFile.empty())
    {
        throw CLI::ValidationError("--legend", "a depth picture has no margin");
    }
    const Size size = drawnSize(options);
    mPictureHeight = size.height;
    const Size drawn{size.width * mSamples, size.height * mSamples};
    refuseSizeClearly(drawn, [&] { mRenderer.setViewport(drawn.width, drawn.height); });
    addItems(options);
    mRenderer.setScene(mScene);
    applyLook(options);
    applyShading(options);
    applyClipping(options);
    if (options.section.empty())
    {
        applyCamera(options);
    }
    else
    {
        applySection(options);
        applyClipPlanes();
    }
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
        mFirstCloud = std::make_shared<Octree::Octree>(datasetLocation(first->path), 1.0);
        placement(absolutePlacement(*first, *mFirstCloud));
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
    const auto loader = std::make_shared<Graphics::DeepZoomPanoramaLoader>(dataFolder(item.path));
    auto panorama = Render::PanoRenderable::create(loader, shownName(item.path));
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
    const std::shared_ptr<Octree::Octree> octree =
        mFirstCloud ? std::move(mFirstCloud)
                    : std::make_shared<Octree::Octree>(datasetLocation(item.path), 1.0);
    auto cloud = Render::PointCloudRenderable::create(octree, shownName(item.path), options.budget);
    cloud->setMatrix(placement(absolutePlacement(item, *octree)));
    const double threshold = options.threshold.value_or(cloud->octreeNodePriorityThreshold());
    cloud->setOctreeNodePriorityThreshold(static_cast<float>(threshold * static_cast<double>(mSamples)));
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
    const double height = static_cast<double>(mPictureHeight);
    const double byHeight = options.maxPointShare
                                ? *options.maxPointShare * height
                                : kMaxPointSize * std::max(1.0, height / kRowsOfOrdinaryPicture);
    cloud->setMaxPointSize(
        static_cast<float>(options.maxPointSize.value_or(byHeight) * static_cast<double>(mSamples))
    );
    if (!options.uniformColor.empty())
    {
        cloud->setUniformColor(parseColor("--uniform-color", options.uniformColor));
    }
    cloud->setShowBoundingBoxes(options.showBoxes);
    applyPointLook(*cloud, *octree, options);
    mScene->add(cloud);
    mClouds.push_back({octree, std::move(cloud)});
}

void SceneSession::applyPointLook(
    Render::PointCloudRenderable& cloud, const Octree::Octree& octree, const SceneOptions& options
)
{
    const bool hasColors = Octree::hasColor(octree.attributeMask());
    const bool isByIntensity = options.colorBy == "intensity" ||
                               modeOf(options) == Render::RenderMode::ColorizeByIntensity ||
                               (!hasColors && (options.colorBy.empty() || options.colorBy == "rgb"));
    const CoarsePoints points = isByIntensity ? coarsePointsIfReadable(octree) : CoarsePoints{};
    const std::optional<Octree::IntensityRange> range = shownIntensities(options, points, isByIntensity);
    cloud.setIntensityRange(range);
    cloud.setLook(pointLook(options, range));
}

void SceneSession::applyLook(const SceneOptions& options)
{
    mRenderer.setRenderMode(modeOf(options));
    const bool isXRay = Render::isTomographic(mRenderer.renderMode());
    const Math::Color background = options.background.empty()
                                       ? (isXRay ? Math::Color(0, 0, 0, 255) : Math::Color::white(255))
                                       : parseColor("--background", options.background);
    mRenderer.setBackgroundColor(background);
    mRenderer.setTransparentBackground(isXRay || background.a() < kOpaque);
    mRenderer.setBrightness(static_cast<float>(options.brightness.value_or(0.0)));
    mRenderer.setContrast(static_cast<float>(options.contrast.value_or(1.0)));
    mRenderer.setOpacity(static_cast<float>(options.opacity));

    const auto [from, to] = colorizationRange();
    mRenderer.setColorizationRange(
        from, to, parseColorMap("--color-map", options.colorMap.value_or("Turbo"))
    );
}

std::pair<Math::Point<float, 3>, Math::Point<float, 3>> SceneSession::colorizationRange() const
{
    const Math::NBoundingBox<float, 3> box = mRenderer.boundingBox();
    const Math::Point<float, 3> center = box.center();
    const Math::Point<float, 3> from = mOptions.colorizeFrom.empty()
                                           ? Math::Point<float, 3>(center.x, center.y, box.min().z)
                                           : toScene(parsePoint("--colorize-from", mOptions.colorizeFrom));
    const Math::Point<float, 3> to = mOptions.colorizeTo.empty()
                                         ? Math::Point<float, 3>(center.x, center.y, box.max().z)
                                         : toScene(parsePoint("--colorize-to", mOptions.colorizeTo));
    return {from, to};
}

void SceneSession::applyShading(const SceneOptions& options)
{
    const auto isColorless = [](const Cloud& cloud)
    { return !Octree::hasColor(cloud.octree->attributeMask()); };
    const bool isByItself = options.isThumbnail || std::ranges::any_of(mClouds, isColorless);
    Render::EyeDomeLighting lighting;
    lighting.strength =
        static_cast<float>(options.eyeDomeStrength.value_or(isByItself ? kEyeDomeStrengthByItself : 0.0));
    const double tallness = static_cast<double>(mPictureHeight) / kRowsOfOrdinaryPicture;
    const double radius = options.eyeDomeRadius.value_or(lighting.radius * std::max(1.0, tallness));
    lighting.radius = static_cast<float>(radius * static_cast<double>(mSamples));
    mRenderer.setEyeDomeLighting(lighting);
}

void SceneSession::applyClipping(const SceneOptions& options)
{
    for (const Math::HalfSpace<double, 3>& plane : parsePlanes("--clip", options.clipPlanes, mOrigin))
    {
        mClipPlanes.emplace_back(
            static_cast<float>(plane.a),
            static_cast<float>(plane.b),
            static_cast<float>(plane.c),
            static_cast<float>(plane.d)
        );
    }
    applyClipPlanes();
}

void SceneSession::applyClipPlanes()
{
    if (mClipPlanes.size() > Render::MeshRenderable::CLIPPING_PLANES_MAX_COUNT)
    {
        throw CLI::ValidationError(
            "--clip",
            std::to_string(mClipPlanes.size()) + " planes are too many, at most " +
                std::to_string(Render::MeshRenderable::CLIPPING_PLANES_MAX_COUNT) + " are possible"
        );
    }
    for (const Cloud& cloud : mClouds)
    {
        cloud.renderable->setClippingVolume(mClipPlanes);
    }
    for (const auto& mesh : mMeshes)
    {
        mesh->setClippingVolume(Math::ConvexPolytope<float, 3>(mClipPlanes));
    }
}

void SceneSession::applyCamera(const SceneOptions& options)
{
    CameraWish wish;
    wish.up = Eigen::Vector3f::UnitZ();
    if (!options.view.empty() || options.azimuthDeg || options.elevationDeg)
    {
        const ViewDirection direction =
            !options.view.empty()
                ? viewDirection(options.view)
                : viewDirection(
                      options.azimuthDeg.value_or(kAzimuthDeg), options.elevationDeg.value_or(kElevationDeg)
                  );
        wish.towardsEye = direction.towardsEye.cast<float>();
        wish.up = direction.up.cast<float>();
    }
    if (!options.up.empty())
    {
        const Math::Point<double, 3> up = parsePoint("--up", options.up);
        wish.up = Eigen::Vector3d(up.x, up.y, up.z).cast<float>();
    }
    if (!options.target.empty())
    {
        wish.target = toScene(parsePoint("--target", options.target));
    }
    if (!options.eye.empty())
    {
        wish.eye = toScene(parsePoint("--eye", options.eye));
    }
    if (options.distance)
    {
        wish.distance = static_cast<float>(*options.distance);
    }
    if (!options.fit.empty())
    {
        wish.fit = boxToFit(options.fit);
    }
    wish.eyeText = options.eye;
    wish.targetText = options.target;
    wish.upText = options.up.empty() ? "0,0,1" : options.up;
    wish.fovYRad = static_cast<float>(options.fovDeg * std::numbers::pi / 180.0);
    wish.isOrthographic = options.isOrthographic;
    wish.isThumbnail = options.isThumbnail;
    place(wish, options);
}

void SceneSession::applySection(const SceneOptions& options)
{
    const std::vector<double> numbers = parseNumbers("--section", options.section, 5);
    const Math::Point<float, 3> from = toScene({numbers[0], numbers[1], mOrigin.z});
    const Math::Point<float, 3> to = toScene({numbers[2], numbers[3], mOrigin.z});
    const auto width = static_cast<float>(numbers[4]);
    const Eigen::Vector2f along(to.x - from.x, to.y - from.y);
    const float length = along.norm();
    if (!(length > 0.0F) || !(width > 0.0F))
    {
        throw CLI::ValidationError("--section", "'" + options.section + "' has no length or no width");
    }
    const Eigen::Vector2f right = along / length;
    const Eigen::Vector2f ahead(
        -right.y(), right.x()
    );  // what lies behind the slice, seen with `from` at left
    const Eigen::Vector2f middle = (Eigen::Vector2f(from.x, from.y) + Eigen::Vector2f(to.x, to.y)) / 2.0F;
    const auto keep = [&](const Eigen::Vector2f& normal, float most)
    { mClipPlanes.emplace_back(-normal.x(), -normal.y(), 0.0F, most + normal.dot(middle)); };
    keep(ahead, width / 2.0F);
    keep(-ahead, width / 2.0F);
    keep(right, length / 2.0F);
    keep(-right, length / 2.0F);

    const Math::NBoundingBox<float, 3> box = mRenderer.boundingBox();
    CameraWish wish;
    wish.up = Eigen::Vector3f::UnitZ();
    wish.target = {middle.x(), middle.y(), box.center().z};
    wish.towardsEye = Eigen::Vector3f(-ahead.x(), -ahead.y(), 0.0F);
    wish.distance = (toEigen(box.max()) - toEigen(box.min())).norm() + width;
    wish.isOrthographic = true;
    SceneOptions parallel = options;
    parallel.isOrthographic = true;
    const auto aspect = static_cast<float>(mRenderer.aspectRatio());
    const float height = std::max(box.max().z - box.min().z, length / aspect) / kUsedOfPicture;
    parallel.orthographicHeight = options.orthographicHeight.value_or(height);
    place(wish, parallel);
    const double perPixel = *parallel.orthographicHeight / static_cast<double>(mPictureHeight);
    printNote("a pixel of the section is " + formatNumber(static_cast<float>(perPixel)) + " data units wide");
}

void SceneSession::place(const CameraWish& wish, const SceneOptions& options)
{
    SeenScene scene;
    scene.box = mRenderer.boundingBox();
    if (!mPanoramas.empty())
    {
        scene.firstPanorama = mPanoramas.front()->worldMatrix();
    }
    scene.aspect = static_cast<float>(mRenderer.aspectRatio());

    const CameraPlacement placement = placeCamera(wish, scene);
    mRenderer.setAutoAdjustZRange(placement.fitsZRange);
    if (options.isOrthographic)
    {
        const float height =
            static_cast<float>(options.orthographicHeight.value_or(placement.orthographicHeight));
        mRenderer.setOrthographic(height, placement.nearDistance, placement.farDistance);
    }
    else
    {
        mRenderer.setPerspective(
            static_cast<float>(options.fovDeg), placement.nearDistance, placement.farDistance, 0.0F, 0.0F
        );
    }
    mRenderer.setCameraPose(placement.eye, placement.direction, placement.up);
    mTargetDepth = placement.targetDepth;
}

Math::NBoundingBox<float, 3> SceneSession::boxToFit(const std::string& text) const
{
    constexpr auto kCommasOfBox = 5;
    if (std::count(text.begin(), text.end(), ',') == kCommasOfBox)
    {
        const std::vector<double> limits = parseNumbers("--fit", text, 6);
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            if (limits[axis] > limits[axis + 3])
            {
                throw CLI::ValidationError("--fit", "'" + text + "' is an inverted box");
            }
        }
        return {toScene({limits[0], limits[1], limits[2]}), toScene({limits[3], limits[4], limits[5]})};
    }
    const Math::NBoundingBox<double, 3> box =
        Octree::Octree(datasetLocation(text), 1.0).absoluteBoundingBox();
    return {toScene(box.min()), toScene(box.max())};
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
        for (const Cloud& cloud : mClouds)
        {
            Progress progress("loading " + cloud.renderable->name(), 0, "points");
            cloud.renderable->reloadPoints(
                [&] { progress.update(cloud.renderable->numResidentPoints()); },
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

void SceneSession::writePicture(const std::filesystem::path& path)
{
    {
        const ElapsedTime elapsed("drawing " + toText(path));
        drawPicture(path);
    }
    noteEmptyPicture();
}

void SceneSession::drawPicture(const std::filesystem::path& path)
{
    if (mSamples == 1 && !mOptions.hasLegend)
    {
        mRenderer.writePngImage(path);
        return;
    }
    mRenderer.render();
    Graphics::ColorImage image;
    mRenderer.getColorImage(image);
    if (mSamples > 1)
    {
        image = Graphics::reducedImage(image, mSamples);
    }
    if (mOptions.hasLegend)
    {
        image = withLegend(image, legend(), emptyColor(mRenderer));
    }
    image.writePng(path);
}

Legend SceneSession::legend()
{
    const auto [from, to] = colorizationRange();
    const auto absolute = [&](const Math::Point<float, 3>& point)
    { return Math::Point<double, 3>(point.x + mOrigin.x, point.y + mOrigin.y, point.z + mOrigin.z); };
    LegendScene scene{mRenderer, {}, {}, absolute(from), absolute(to), mTargetDepth, mPictureHeight};
    for (const Cloud& cloud : mClouds)
    {
        scene.clouds.push_back({cloud.renderable, Octree::hasColor(cloud.octree->attributeMask())});
    }
    scene.others.insert(scene.others.end(), mPanoramas.begin(), mPanoramas.end());
    scene.others.insert(scene.others.end(), mMeshes.begin(), mMeshes.end());
    return sceneLegend(scene, mOptions);
}

std::optional<SceneSession::Identified> SceneSession::identify(const Math::Point<float, 3>& place)
{
    constexpr double kSame = 1e-4;  // of the extent of a cloud: positions of pictures are floats
    std::optional<Identified> nearest;
    for (const Cloud& cloud : mClouds)
    {
        const Eigen::Vector4f inCloud =
            cloud.renderable->worldMatrix().inverse() * Eigen::Vector4f(place.x, place.y, place.z, 1.0F);
        const std::optional<FoundPoint> found =
            findPoint(*cloud.octree, {inCloud.x(), inCloud.y(), inCloud.z()});
        const double most = kSame * static_cast<double>(cloud.octree->boundingCube().largestSize());
        if (found && found->distance <= most && (!nearest || found->distance < nearest->point.distance))
        {
            nearest = Identified{cloud.renderable->name(), *found};
        }
    }
    return nearest;
}

void SceneSession::noteEmptyPicture()
{
    Render::VertexPosColor first;
    mRenderer.resetPointChunkPosition();
    const bool showsSome = mRenderer.getNextPointChunk(&first, 1) > 0;
    mRenderer.resetPointChunkPosition();
    if (showsSome)
    {
        return;
    }
    EmptyPicture picture{*mRenderer.camera(), mRenderer.boundingBox(), mClipPlanes};
    for (const Cloud& cloud : mClouds)
    {
        picture.drawnPoints += cloud.renderable->numVisiblePoints();
        picture.isFiltered |= !cloud.renderable->look().hidesNothing();
    }
    printNote("the picture shows no point: " + reasonOfEmptyPicture(picture));
}

void SceneSession::writeDepth()
{
    if (!mDepthFile.empty())
    {
        Graphics::DepthImage depth;
        mRenderer.getDepthImage(depth);
        writeDepthFile(mDepthFile, depth, *mRenderer.camera());
        writeOutput(mDepthFile + "\n");
        if (const std::string side = depthSideFile(mDepthFile); !side.empty())
        {
            writeOutput(side + "\n");
        }
    }
}
}  // namespace Cli
