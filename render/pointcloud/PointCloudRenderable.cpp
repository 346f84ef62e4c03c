#include "render/pointcloud/PointCloudRenderable.h"

#include "math/transform.h"
#include "octree/Octree.h"
#include "render/platform/Direct3D.h"
#include "render/pointcloud/CloudCaches.h"
#include "render/pointcloud/CloudLoading.h"
#include "render/pointcloud/LoDPointCloud.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/SharedRanking.h"
#include "render/pointcloud/defaultUniformColor.h"
#include "render/pointcloud/greyHistogram.h"
#include "render/scene/Camera.h"
#include "render/scene/RenderMode.h"

#include <limits>
#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
constexpr float kPointSizeFactor = 5.1F;  // of the spacing: neighbouring splats overlap, so surfaces close

std::function<void()> toFunction(void (*callback)())
{
    return callback != nullptr ? std::function<void()>(callback) : std::function<void()>();
}
}  // namespace

// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::size_t PointCloudRenderable::kAllLevels;

std::shared_ptr<PointCloudRenderable> PointCloudRenderable::create(
    const Octree::Location& location, const std::string& name, std::size_t maxPointCount, double unitScale
)
{
    return create(std::make_shared<Octree::Octree>(location, unitScale), name, maxPointCount);
}

std::shared_ptr<PointCloudRenderable> PointCloudRenderable::create(
    std::shared_ptr<Octree::Octree> octree, const std::string& name, std::size_t maxPointCount
)
{
    if (!octree)
    {
        throw std::invalid_argument("PointCloudRenderable: octree must not be empty");
    }
    return std::make_shared<PointCloudRenderable>(Private(), std::move(octree), name, maxPointCount);
}

PointCloudRenderable::PointCloudRenderable(
    Private, std::shared_ptr<Octree::Octree> octree, const std::string& name, std::size_t maxPointCount
)
    : Renderable(name),
      mLoading(std::make_unique<CloudLoading>()),
      mOctree(std::move(octree)),
      mCaches(std::make_unique<CloudCaches>(mOctree)),
      mMaxPointCount(maxPointCount),
      mPointSize(defaultPointSize()),
      mUniformColor(defaultUniformColor(mOctree->location().hash())),
      mRanking(std::make_unique<SharedRanking>())
{
}

PointCloudRenderable::~PointCloudRenderable()
{
    mLoading->stop();
}

std::shared_ptr<PointCloudRenderable::VertexCache> PointCloudRenderable::createOrGetSharedCache(
    const Octree::Location& location,
    double unitScale,
    std::uint64_t capacity,
    std::uint64_t expectedEntryCount
)
{
    return CloudCaches::sharedVertices(
        Octree::CacheIdentifier{location, unitScale}, capacity, expectedEntryCount
    );
}

void PointCloudRenderable::init(
    unsigned long long groupKey,
    std::shared_ptr<Camera> camera,
    CComPtr<ID3D11Device> device,
    CComPtr<ID3D11DeviceContext> deviceContext
)
{
    if (mLoDPointCloud)
    {
        throw std::runtime_error("Error init was called on an already initialized PointCloudRenderable");
    }
    // A loader that was started before has failed so far; it goes on at once with what is set here.
    const CloudLoading::Pause pause(*mLoading);
    auto cloud = std::make_shared<LoDPointCloud>(
        groupKey, std::move(device), std::move(deviceContext), id(), mMaxPointCount
    );
    cloud->setUniformColor(mUniformColor);
    cloud->setPointSize(mPointSize);
    cloud->setMaxPointSize(mMaxPointSize);
    cloud->setSplatRoad(mSplatRoad);
    cloud->setLook(mLook);
    cloud->setTomographicContrast(mTomographicContrast);
    cloud->setRootNodeSize(mOctree->boundingCube().largestSize());
    cloud->setProjectionMatrix(camera->projectionMatrix());
    cloud->setViewMatrix(camera->viewMatrix());
    cloud->setModelMatrix(worldMatrix());
    cloud->setShowBoundingBoxes(mShowBoundingBoxes);
    cloud->setViewport(camera->viewport());
    cloud->setClippingVolume(inModelCoordinates(mClippingVolume));

    mLoDPointCloud = std::move(cloud);
    mCamera = std::move(camera);
    updateFrustums();
}

void PointCloudRenderable::deinit()
{
    mLoading->stop();
    mCamera.reset();
    mLoDPointCloud.reset();
}

void PointCloudRenderable::onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera)
{
    onUpdateZRange(camera);
    triggerReload();
}

void PointCloudRenderable::onUpdateViewMatrix(const std::shared_ptr<Camera>& camera)
{
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setViewMatrix(camera->viewMatrix());
        updateFrustums();
    }
    if (mRestartLoadingAfterCameraChange)
    {
        triggerReload();
    }
}

void PointCloudRenderable::onUpdateZRange(const std::shared_ptr<Camera>& camera)
{
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setProjectionMatrix(camera->projectionMatrix());
        updateFrustums();
    }
}

void PointCloudRenderable::onUpdateViewport(const std::shared_ptr<Camera>& camera)
{
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setViewport(camera->viewport());
        updateFrustums();
    }
}

void PointCloudRenderable::onUpdateRenderMode(RenderMode renderMode)
{
    if (mLoDPointCloud && renderMode != mLoDPointCloud->renderMode())
    {
        mLoDPointCloud->setRenderMode(renderMode);
        triggerReload();
    }
}

void PointCloudRenderable::invalidateWorldMatrix()
{
    Renderable::invalidateWorldMatrix();
    updateModelMatrix();
    triggerReload();
}

void PointCloudRenderable::render()
{
    setNeedsRedraw(false);  // first: what is published from here on asks for the next frame
    if (mLoDPointCloud)
    {
        const bool isLoading = isAsyncReloadActive() && !isAsyncReloadComplete();
        mLoDPointCloud->setMaxUploadPerFrame(
            isLoading ? mMaxUploadPerFrame : std::numeric_limits<std::size_t>::max()
        );
        mLoDPointCloud->render();
        if (mLoDPointCloud->isUploading())
        {
            setNeedsRedraw(true);
        }
    }
}

std::optional<Math::Color> PointCloudRenderable::backgroundColor()
{
    return isTransparent() ? std::optional<Math::Color>(Math::Color(0, 0, 0, 0)) : std::nullopt;
}

bool PointCloudRenderable::isTransparent() const
{
    return mLoDPointCloud && isTomographic(mLoDPointCloud->renderMode());
}

void PointCloudRenderable::brightnessAndContrast(
    float quantile, float range, float& brightness, float& contrast
)
{
    const auto load = [this](const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stop)
    { return mCaches->vertices().load(id, vertices, std::move(stop)); };
    const RenderMode renderMode = mLoDPointCloud ? mLoDPointCloud->renderMode() : RenderMode::Default;
    BrightnessHistogram histogram = greyHistogram(OctreeSelectionTree(*mOctree), load, renderMode);
    histogram.brightnessAndContrast(quantile, range, brightness, contrast);
}

Math::NBoundingBox<float, 3> PointCloudRenderable::boundingBox()
{
    return mOctree->boundingBox();
}

void PointCloudRenderable::setNeedsRedraw(bool needsRedraw)
{
    mNeedsRedraw = needsRedraw;
}

bool PointCloudRenderable::needsRedraw() const
{
    return mNeedsRedraw;
}

Math::NBoundingBox<float, 3> PointCloudRenderable::boundingCube() const
{
    return mOctree->boundingCube();
}

Math::NBoundingBox<float, 3> PointCloudRenderable::boundingCube(const Octree::OctreeNodeId& id) const
{
    return mOctree->boundingCube(id);
}

Math::Point<double, 3> PointCloudRenderable::referencePosition() const
{
    return mOctree->position();
}

float PointCloudRenderable::spacing(std::uint64_t level) const
{
    return mOctree->spacing(level);
}

float PointCloudRenderable::defaultPointSize() const
{
    return spacing(0) * kPointSizeFactor;
}

void PointCloudRenderable::setPointSize(float pointSize)
{
    if (pointSize == mPointSize)
    {
        return;
    }
    mPointSize = pointSize;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setPointSize(pointSize);
    }
    setNeedsRedraw(true);
}

void PointCloudRenderable::setMaxPointSize(float maxPointSize)
{
    if (maxPointSize == mMaxPointSize)
    {
        return;
    }
    mMaxPointSize = maxPointSize;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setMaxPointSize(maxPointSize);
        setNeedsRedraw(true);
    }
}

void PointCloudRenderable::setSplatRoad(SplatRoad road)
{
    if (road == mSplatRoad)
    {
        return;
    }
    mSplatRoad = road;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setSplatRoad(road);
        setNeedsRedraw(true);
    }
}

SplatRoad PointCloudRenderable::drawnSplatRoad() const noexcept
{
    return mLoDPointCloud ? mLoDPointCloud->drawnRoad() : SplatRoad::Automatic;
}

void PointCloudRenderable::setTomographicContrast(float contrast)
{
    if (contrast == mTomographicContrast)
    {
        return;
    }
    mTomographicContrast = contrast;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setTomographicContrast(contrast);
    }
    setNeedsRedraw(true);
}

void PointCloudRenderable::setUniformColor(const Math::Color& color)
{
    mUniformColor = color;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setUniformColor(color);
    }
    setNeedsRedraw(true);
}

void PointCloudRenderable::setLook(const PointLook& look)
{
    if (look == mLook)
    {
        return;
    }
    mLook = look;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setLook(look);
    }
    setNeedsRedraw(true);
}

void PointCloudRenderable::setIntensityRange(const std::optional<Octree::IntensityRange>& range)
{
    if (range == mOctree->shownIntensityRange() && range == mCaches->intensityRange())
    {
        return;
    }
    // Nodes that are read from here on have other intensities.
    const CloudLoading::Pause pause(*mLoading);
    mOctree->setShownIntensityRange(range);
    mCaches->renew();
    clearVisibleOctreeNodes();
    setNeedsRedraw(true);
}

std::optional<Octree::IntensityRange> PointCloudRenderable::intensityRange() const noexcept
{
    return mOctree->shownIntensityRange();
}

void PointCloudRenderable::setShowBoundingBoxes(bool show)
{
    if (show == mShowBoundingBoxes)
    {
        return;
    }
    mShowBoundingBoxes = show;
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setShowBoundingBoxes(show);
    }
    setNeedsRedraw(true);
}

void PointCloudRenderable::setOctreeNodePriorityThreshold(float threshold)
{
    mRanking->change([threshold](NodeRankingParameters& ranking)
                     { ranking.octreeNodePriorityThreshold = threshold; });
    clearVisibleOctreeNodes();
    triggerReload();
}

float PointCloudRenderable::octreeNodePriorityThreshold() const
{
    return mRanking->get()->octreeNodePriorityThreshold;
}

void PointCloudRenderable::setMinLevelToKeep(std::uint64_t level)
{
    if (level == minLevelToKeep())
    {
        return;
    }
    mRanking->change([level](NodeRankingParameters& ranking) { ranking.minLevelToKeep = level; });
    triggerReload();
}

std::size_t PointCloudRenderable::minLevelToKeep() const
{
    return mRanking->get()->minLevelToKeep;
}

void PointCloudRenderable::setMaxLevelToKeep(std::uint64_t level)
{
    if (level == maxLevelToKeep())
    {
        return;
    }
    mRanking->change([level](NodeRankingParameters& ranking) { ranking.maxLevelToKeep = level; });
    triggerReload();
}

std::size_t PointCloudRenderable::maxLevelToKeep() const
{
    return mRanking->get()->maxLevelToKeep;
}

void PointCloudRenderable::setUpdateInterval(UpdateInterval interval)
{
    if (interval <= UpdateInterval::zero())
    {
        throw std::invalid_argument("updateInterval must be larger than 0!");
    }
    mUpdateInterval = interval.count();
}

UpdateInterval PointCloudRenderable::updateInterval() const noexcept
{
    return UpdateInterval(mUpdateInterval);
}

void PointCloudRenderable::setMaxBytesInFlight(std::size_t bytes)
{
    mCaches->loader().setMaxBytesInFlight(bytes);
}

std::size_t PointCloudRenderable::maxBytesInFlight() const
{
    return mCaches->loader().maxBytesInFlight();
}

void PointCloudRenderable::setRestartLoadingAfterCameraChange(bool restart) noexcept
{
    mRestartLoadingAfterCameraChange = restart;
}

void PointCloudRenderable::setUnitScale(double unitScale)
{
    // A cloud that shares the octree may have changed the scale before.
    if (unitScale == mOctree->unitScale() && unitScale == mCaches->unitScale())
    {
        return;
    }
    // Nodes that are read while the scale changes would enter cache and prioritizer with coordinates of
    // either scale.
    const CloudLoading::Pause pause(*mLoading);
    mCaches->clearVertices();
    mOctree->setUnitScale(unitScale);
    // Other renderables of the old scale go on using the old cache.
    mCaches->renew();
    setPointSize(defaultPointSize());
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setRootNodeSize(mOctree->boundingCube().largestSize());
        clearVisibleOctreeNodes();
    }
    setNeedsRedraw(true);
}

double PointCloudRenderable::unitScale() const
{
    return mOctree->unitScale();
}

void PointCloudRenderable::setClippingVolume(const std::vector<Math::HalfSpace<float, 3>>& halfSpaces)
{
    if (halfSpaces == mClippingVolume)
    {
        return;
    }
    const Math::ConvexPolytope<float, 3> volume = inModelCoordinates(halfSpaces);
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setClippingVolume(volume);  // before anything is stored: it refuses too many planes
        setNeedsRedraw(true);
    }
    mClippingVolume = halfSpaces;
    mRanking->change([&volume](NodeRankingParameters& ranking) { ranking.clippingVolume = volume; });
    triggerReload();
}

void PointCloudRenderable::addExternalAttributeLocation(const Octree::Location& location)
{
    // Nodes that are read from here on have other attributes.
    const CloudLoading::Pause pause(*mLoading);
    mOctree->addExternalAttributeLocation(location);
    mCaches->renew();
    clearVisibleOctreeNodes();
    setNeedsRedraw(true);
}

void PointCloudRenderable::startAsyncReload(std::function<void()> onProgress, std::uint64_t maxLevel)
{
    const bool isFirst = mLoading->start(
        [this, onProgress = std::move(onProgress), maxLevel](std::stop_token stopToken)
        { reloadPoints(onProgress, maxLevel, stopToken); },
        mReloadRetryDelay
    );
    if (isFirst)
    {
        setNeedsRedraw(true);
    }
}

void PointCloudRenderable::startAsyncReload(void (*onProgress)(), std::uint64_t maxLevel)
{
    startAsyncReload(toFunction(onProgress), maxLevel);
}

void PointCloudRenderable::stopAsyncReload()
{
    mLoading->stop();
}

bool PointCloudRenderable::isAsyncReloadActive() const noexcept
{
    return mLoading->isActive();
}

bool PointCloudRenderable::isAsyncReloadHealthy(bool rethrow) const
{
    return mLoading->isHealthy(rethrow);
}

bool PointCloudRenderable::isAsyncReloadComplete() const noexcept
{
    return mLoading->isComplete();
}

void PointCloudRenderable::reloadPoints(
    std::function<void()> onProgress, std::uint64_t maxLevel, std::stop_token stopToken
)
{
    if (!mLoDPointCloud)
    {
        throw std::runtime_error("reloadingPoints is not allowed if PointCloudRenderable is not initialized");
    }
    const OctreeSelectionTree tree(*mOctree);
    const NodeRanking rank = [this](std::uint64_t level, const Math::NBoundingBox<float, 3>& box)
    { return boundingBoxPriority(level, box); };
    const VertexSource vertexSource =
        [this](const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stop)
    { return mCaches->loader().get(id, vertices, std::move(stop)); };
    const SelectionPass pass{
        .prioritizer = mLoDPointCloud->prioritizer(),
        .cloudId = mLoDPointCloud->cloudId(),
        .tree = tree,
        .ranking = rank,
        .vertexSource = vertexSource,
        .buffers = mLoDPointCloud->buffers(),
        .maxLevel = maxLevel,
        .updateInterval = [this] { return updateInterval(); },
        .requestRedraw = [this] { setNeedsRedraw(true); },
        .onProgress = std::move(onProgress),
        .loader = &mCaches->loader(),
        .stopped = &mStoppedPublication,
        .pending = &mPendingNodes,
        .childrenBound = [this](std::uint64_t level, const Math::NBoundingBox<float, 3>& box, unsigned mask)
        { return mRanking->get()->mostOfChildren(level, box, mask); },
    };
    try
    {
        selectNodes(pass, stopToken);
    }
    catch (...)
    {
        // A node that cannot be read must not hide those that could.
        pass.prioritizer.updateBuffers(pass.cloudId, false, pass.buffers);
        setNeedsRedraw(true);
        throw;
    }
}

void PointCloudRenderable::reloadPoints(
    void (*onProgress)(), std::uint64_t maxLevel, std::stop_token stopToken
)
{
    reloadPoints(toFunction(onProgress), maxLevel, stopToken);
}

NodePriority PointCloudRenderable::boundingBoxPriority(
    std::uint64_t level, const Math::NBoundingBox<float, 3>& box
) const
{
    return mRanking->get()->rank(level, box);
}

void PointCloudRenderable::clearVisibleOctreeNodes()
{
    if (!mLoDPointCloud)
    {
        return;
    }
    NodePrioritizer& prioritizer = mLoDPointCloud->prioritizer();
    prioritizer.clear(mLoDPointCloud->cloudId());
    prioritizer.updateBuffers(mLoDPointCloud->cloudId(), false, mLoDPointCloud->buffers());
    triggerReload();
    setNeedsRedraw(true);
}

std::size_t PointCloudRenderable::numVisibleOctreeNodes() const noexcept
{
    return mLoDPointCloud ? mLoDPointCloud->numVisibleOctreeNodes() : 0;
}

std::size_t PointCloudRenderable::numVisiblePoints() const noexcept
{
    return mLoDPointCloud ? mLoDPointCloud->numVisiblePoints() : 0;
}

std::size_t PointCloudRenderable::numResidentPoints() const
{
    return mLoDPointCloud ? mLoDPointCloud->prioritizer().totalUsedPointCount() : 0;
}

CloudStatus PointCloudRenderable::status() const
{
    CloudStatus status{
        .pendingNodes = mPendingNodes,
        .isComplete = isAsyncReloadComplete(),
        .drawnNodes = numVisibleOctreeNodes(),
        .drawnPoints = numVisiblePoints(),
        .readNodes = mCaches->counts().read,
        .failedNodes = mCaches->counts().failed,
        .budgetPoints = mMaxPointCount,
        .cachedPoints = mCaches->vertexCache().weight(),
        .cacheCapacity = mCaches->vertexCache().capacity(),
        .bytesInFlight = mCaches->loader().bytesInFlight(),
        .maxBytesInFlight = mCaches->loader().maxBytesInFlight()};
    if (mLoDPointCloud)
    {
        const NodePrioritizer& prioritizer = mLoDPointCloud->prioritizer();
        const NodePrioritizer::Share share = prioritizer.shareOf(mLoDPointCloud->cloudId());
        status.residentNodes = share.nodes;
        status.residentPoints = share.points;
        status.budgetPoints = prioritizer.totalMaxPointCount();
        status.usedBudgetPoints = prioritizer.totalUsedPointCount();
    }
    return status;
}

void PointCloudRenderable::setCacheCapacities(const CacheCapacities& capacities)
{
    CloudCaches::setCapacities(capacities);
}

CacheCapacities PointCloudRenderable::cacheCapacities()
{
    return CloudCaches::capacities();
}

PointCloudQuery PointCloudRenderable::createPointCloudQuery(
    IFilter* filter, std::uint64_t maxLevel, float minimumSpacing, std::chrono::nanoseconds timeout
)
{
    return PointCloudQuery(
        mOctree, mCaches->pointsForQuery(), worldMatrix(), filter, maxLevel, minimumSpacing, timeout
    );
}

PointCloudQuery PointCloudRenderable::createPointCloudQuery(
    std::unique_ptr<IFilter> filter,
    std::uint64_t maxLevel,
    float minimumSpacing,
    std::chrono::nanoseconds timeout
)
{
    return createPointCloudQuery(filter.release(), maxLevel, minimumSpacing, timeout);
}

void PointCloudRenderable::updateFrustums()
{
    const Eigen::Matrix4f model = worldMatrix();
    mFrustumModelCs = mCamera->frustum(model);
    mRanking->change([this, &model](NodeRankingParameters& ranking) { ranking.setCamera(*mCamera, model); });
}

void PointCloudRenderable::updateModelMatrix()
{
    const Math::ConvexPolytope<float, 3> volume = inModelCoordinates(mClippingVolume);
    mRanking->change([&volume](NodeRankingParameters& ranking) { ranking.clippingVolume = volume; });
    if (mLoDPointCloud)
    {
        mLoDPointCloud->setModelMatrix(worldMatrix());
        mLoDPointCloud->setClippingVolume(volume);
        updateFrustums();
    }
}

Math::ConvexPolytope<float, 3> PointCloudRenderable::inModelCoordinates(
    const std::vector<Math::HalfSpace<float, 3>>& halfSpaces
)
{
    return Math::transformedByInverse(Math::ConvexPolytope<float, 3>(halfSpaces), worldMatrix());
}

void PointCloudRenderable::triggerReload()
{
    mLoading->restart();
}
}  // namespace Render
