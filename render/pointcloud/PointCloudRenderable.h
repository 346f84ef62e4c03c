#pragma once

#include "math/Color.h"
#include "math/ConvexPolytope.h"
#include "math/Frustum.h"
#include "math/HalfSpace.h"
#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/IntensityRange.h"
#include "octree/Location.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/CachedVertices.h"
#include "render/pointcloud/CloudStatus.h"
#include "render/pointcloud/FunctionFilter.h"
#include "render/pointcloud/NodePriority.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "render/pointcloud/PointLook.h"
#include "render/pointcloud/chooseSplatRoad.h"
#include "render/pointcloud/selectNodes.h"
#include "render/scene/Renderable.h"

#include <atomic>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Octree
{
class Octree;
}

namespace Render
{
class CloudCaches;
class CloudLoading;
class LoDPointCloud;
class SharedRanking;

/// An octree point cloud in a scene: it streams the nodes that matter for the camera and draws what has
/// arrived.
///
/// Nodes are chosen by their size on screen under a budget of points that all clouds of one renderer share;
/// the smallest budget of these clouds counts. Loading runs in the background once startAsyncReload() has
/// been called, starts again with every change of camera or settings, and never blocks drawing.
///
/// Frame    model coordinates are the octree's: (absolute coordinate - referencePosition()) x unitScale().
///          The subtraction is done in double precision before anything becomes float, so that projected
///          coordinates (an easting of 637000.0 and the like) lose nothing; boxes, vertices and spacings
///          are all in this frame.
/// Threads  the thread that drives the renderer, but for what says otherwise. onProgress runs on the loader
///          thread and must not call back into the object, apart from these.
class RENDER_API PointCloudRenderable : public Renderable,
                                        public std::enable_shared_from_this<PointCloudRenderable>
{
    /// Only the class itself can make one.
    struct Private
    {
        explicit Private() = default;
    };

public:
    /// Deeper than the deepest level of any data set.
    static constexpr std::uint64_t kAllLevels = Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL;

    /// The decoded vertices of nodes, shared by all renderables of one data set and unit scale.
    using VertexCache = CachedVertices::Cache;

    /// Opens a data set.
    /// @param maxPointCount  the budget: most points of all clouds of the renderer together
    /// @param unitScale      scene units per data unit, above 0
    /// @throws std::runtime_error     naming the file and what is wrong with it
    /// @throws std::invalid_argument  for a bad unit scale
    static std::shared_ptr<PointCloudRenderable> create(
        const Octree::Location& location, const std::string& name, std::size_t maxPointCount, double unitScale
    );

    /// Uses an octree that is open already.
    /// @throws std::invalid_argument  for no octree
    static std::shared_ptr<PointCloudRenderable> create(
        std::shared_ptr<Octree::Octree> octree, const std::string& name, std::size_t maxPointCount
    );

    /// For create().
    PointCloudRenderable(
        Private, std::shared_ptr<Octree::Octree> octree, const std::string& name, std::size_t maxPointCount
    );
    PointCloudRenderable(const PointCloudRenderable&) = delete;
    PointCloudRenderable& operator=(const PointCloudRenderable&) = delete;

    /// Stops the loader before anything else is released.
    ~PointCloudRenderable() override;

    /// The vertex cache of a data set without external attributes: a live one if there is, else a new one.
    /// @param capacity            most points in it
    /// @param expectedEntryCount  number of nodes to reserve room for
    static std::shared_ptr<VertexCache> createOrGetSharedCache(
        const Octree::Location& location,
        double unitScale,
        std::uint64_t capacity,
        std::uint64_t expectedEntryCount
    );

    /// @throws std::runtime_error     "Error init was called on an already initialized
    ///                                PointCloudRenderable"; and for more than 8 clipping planes
    /// @throws std::invalid_argument  for a budget whose vertices Direct3D cannot address
    /// @throws ComException           when something cannot be created on the device; the object is then
    ///                                not initialised
    void init(
        unsigned long long groupKey,
        std::shared_ptr<Camera> camera,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext
    ) override;

    /// Stops the loader and gives back everything that init() took.
    void deinit() override;

    void onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateZRange(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewport(const std::shared_ptr<Camera>& camera) override;
    void onUpdateRenderMode(RenderMode renderMode) override;
    void invalidateWorldMatrix() override;

    /// Draws what has been published last.
    void render() override;

    /// Clouds that are drawn one after the other share the last step.
    bool joinsNeighbours() const override { return true; }

    /// Transparent black for the tomographic modes.
    std::optional<Math::Color> backgroundColor() override;

    /// True for the tomographic modes.
    bool isTransparent() const override;

    /// Brightness and contrast that spread the grey values of the upper five levels over the range; nodes
    /// that cannot be read end the walk. The grey of a point is what the picture shows of it: its 8-bit
    /// intensity while the cloud is coloured by intensity, else the mean of its red, green and blue.
    void brightnessAndContrast(float quantile, float range, float& brightness, float& contrast) override;

    /// The tight bounds of the points.
    Math::NBoundingBox<float, 3> boundingBox() override;

    /// Any thread may ask and set: the loader does when it has published.
    void setNeedsRedraw(bool needsRedraw) override;
    bool needsRedraw() const override;

    /// The cube of the root or of a node.
    Math::NBoundingBox<float, 3> boundingCube() const;
    /// The cube of a node, as above.
    Math::NBoundingBox<float, 3> boundingCube(const Octree::OctreeNodeId& id) const;

    /// Where the origin of the model coordinates lies in absolute ones; not scaled.
    Math::Point<double, 3> referencePosition() const;

    /// Point spacing of a level, model units.
    float spacing(std::uint64_t level) const;

    /// The point size that suits the data set, model units.
    float defaultPointSize() const;

    /// Half the width of a point's splat where only the root is drawn; it halves with each level that is
    /// drawn below. Model units.
    void setPointSize(float pointSize);

    /// See setPointSize().
    float pointSize() const noexcept { return mPointSize; }

    /// Upper bound of a point's size on screen, pixels.
    void setMaxPointSize(float maxPointSize);

    /// See setMaxPointSize().
    float maxPointSize() const noexcept { return mMaxPointSize; }

    /// How points become splats where there is a choice; Automatic at first. The pictures are the same but
    /// for single pixels at the rims of splats.
    void setSplatRoad(SplatRoad road);

    /// See setSplatRoad().
    SplatRoad splatRoad() const noexcept { return mSplatRoad; }

    /// The road that the last frame took; Automatic before init() and before the first frame with points.
    SplatRoad drawnSplatRoad() const noexcept;

    /// Most bytes of new points that go to the device in one frame while the background loader runs, 64 MiB
    /// at first; the rest follows in the next frames, coarse nodes first. One node always goes, and what a
    /// finished pass has published goes at once.
    void setMaxUploadPerFrame(std::size_t bytes) noexcept { mMaxUploadPerFrame = bytes; }

    /// See setMaxUploadPerFrame().
    std::size_t maxUploadPerFrame() const noexcept { return mMaxUploadPerFrame; }

    /// How much a single point covers in the tomographic modes, 0 to 1.
    void setTomographicContrast(float contrast);

    /// See setTomographicContrast().
    float tomographicContrast() const noexcept { return mTomographicContrast; }

    /// The colour of RenderMode::UniformColor; at first one that the data set's location decides.
    void setUniformColor(const Math::Color& color);

    /// See setUniformColor().
    Math::Color uniformColor() const noexcept { return mUniformColor; }

    /// What points are coloured by instead of their own colours, and which are hidden by what they are; at
    /// first none. Nothing is loaded again for it. Hidden points count in the budget. The render modes work on
    /// the colours that the look gives; ColorizeByIntensity and the tomographic ones need none.
    void setLook(const PointLook& look);

    /// See setLook().
    const PointLook& look() const noexcept { return mLook; }

    /// Which intensities become the darkest and the brightest of the 8 bits that a vertex has for them, and of
    /// the greys of points without colours; without one, see Octree::Octree::setShownIntensityRange. Clouds
    /// that share the octree are to be told, too. Waits for the loader's current node, drops what is loaded,
    /// and loads again.
    /// @throws std::invalid_argument  for limits that are none
    void setIntensityRange(const std::optional<Octree::IntensityRange>& range);

    /// See setIntensityRange().
    std::optional<Octree::IntensityRange> intensityRange() const noexcept;

    /// Whether the cubes of the drawn nodes are shown.
    void setShowBoundingBoxes(bool show);

    /// See setShowBoundingBoxes().
    bool showBoundingBoxes() const noexcept { return mShowBoundingBoxes; }

    /// Size on screen, in pixels, below which nodes are not loaded. Setting it drops what is loaded and
    /// loads again, also when the value is the same.
    void setOctreeNodePriorityThreshold(float threshold);
    /// See setOctreeNodePriorityThreshold().
    float octreeNodePriorityThreshold() const;

    /// Levels below the minimum are loaded whatever their size on screen, levels above the maximum never.
    void setMinLevelToKeep(std::uint64_t level);
    /// See setMinLevelToKeep().
    std::uint64_t minLevelToKeep() const;
    /// See setMinLevelToKeep().
    void setMaxLevelToKeep(std::uint64_t level);
    /// See setMinLevelToKeep().
    std::uint64_t maxLevelToKeep() const;

    /// Shortest time between two publications while a pass runs.
    /// @throws std::invalid_argument  "updateInterval must be larger than 0!"
    void setUpdateInterval(UpdateInterval interval);
    /// See setUpdateInterval().
    UpdateInterval updateInterval() const noexcept;

    /// Most bytes of vertices that are read ahead and not yet resident. The threads that read are the
    /// process's, see Core::WorkerPool::setSharedThreadCount.
    void setMaxBytesInFlight(std::size_t bytes);
    /// See setMaxBytesInFlight().
    std::size_t maxBytesInFlight() const;

    /// Whether a change of the view matrix starts the loading again; that of the projection always does.
    void setRestartLoadingAfterCameraChange(bool restart) noexcept;

    /// See setRestartLoadingAfterCameraChange().
    bool restartLoadingAfterCameraChange() const noexcept { return mRestartLoadingAfterCameraChange; }

    /// Changes the scale of the model coordinates. Clouds that share the octree are to be told, too, so that
    /// they load again. Waits for the loader's current node, drops what is
    /// loaded, resets the point size, and loads again.
    /// @throws std::invalid_argument  for a value that is not above 0 and finite
    void setUnitScale(double unitScale);
    /// Scene units per data unit.
    double unitScale() const;

    /// Draws only what satisfies all half-spaces, their borders included, and loads accordingly.
    /// @param halfSpaces  world coordinates; none for no clipping
    /// @throws std::runtime_error  "Error: volume contains too many clipping planes, plane count = " and
    ///                             the count, when initialised and for more than 8; the old ones stay
    void setClippingVolume(const std::vector<Math::HalfSpace<float, 3>>& halfSpaces);

    /// Opens a second data set over the same octree whose attributes are used where the first has none. Waits
    /// for the loader's current node, drops what is loaded, and loads again.
    /// @throws std::runtime_error  when it cannot be opened or its cube is another; nothing changes then
    void addExternalAttributeLocation(const Octree::Location& location);

    /// How long background loading that has failed waits until it tries again, 2 s at first. Counts for what
    /// startAsyncReload() starts from now on.
    void setReloadRetryDelay(std::chrono::milliseconds delay) noexcept { mReloadRetryDelay = delay; }

    /// See setReloadRetryDelay().
    std::chrono::milliseconds reloadRetryDelay() const noexcept { return mReloadRetryDelay; }

    /// Starts loading in the background; does nothing, and drops the callback, when it has been started
    /// already. Before init() the loader fails, see isAsyncReloadHealthy(), and goes on as soon as init() is
    /// done.
    /// @param onProgress  called on the loader thread after each publication; may be empty
    /// @param maxLevel    deepest level that is loaded
    void startAsyncReload(std::function<void()> onProgress, std::uint64_t maxLevel = kAllLevels);
    /// The same with a function.
    void startAsyncReload(void (*onProgress)(), std::uint64_t maxLevel = kAllLevels);

    /// The same for any other callable, which would be as near to either of the two above.
    template <std::invocable Callback>
    requires std::is_class_v<Callback>

    void startAsyncReload(Callback onProgress, std::uint64_t maxLevel = kAllLevels)
    {
        startAsyncReload(std::function<void()>(std::move(onProgress)), maxLevel);
    }

    /// Stops the loader and waits for it; what has been published stays.
    void stopAsyncReload();

    /// Whether loading in the background has been started and not stopped.
    bool isAsyncReloadActive() const noexcept;

    /// False while the last run of the loader has failed; it is then tried again every 2 seconds.
    /// @param rethrow  throws the failure instead of returning false
    bool isAsyncReloadHealthy(bool rethrow) const;

    /// True when the loader has run to its end since the last change that made it start again: everything
    /// that the budget allows has been published.
    bool isAsyncReloadComplete() const noexcept;

    /// Runs one selection pass and publishes what it finds, on the calling thread.
    /// @throws std::runtime_error  "reloadingPoints is not allowed if PointCloudRenderable is not
    ///                             initialized"; "Error loading point data", the cause nested, when a node
    ///                             cannot be read
    void reloadPoints(
        std::function<void()> onProgress, std::uint64_t maxLevel = kAllLevels, std::stop_token stopToken = {}
    );
    /// The same with a function.
    void reloadPoints(
        void (*onProgress)(), std::uint64_t maxLevel = kAllLevels, std::stop_token stopToken = {}
    );

    /// The same for any other callable.
    template <std::invocable Callback>
    requires std::is_class_v<Callback>

    void reloadPoints(
        Callback onProgress, std::uint64_t maxLevel = kAllLevels, std::stop_token stopToken = {}
    )
    {
        reloadPoints(std::function<void()>(std::move(onProgress)), maxLevel, stopToken);
    }

    /// The rank of a node under the present camera and settings. Any thread.
    NodePriority boundingBoxPriority(std::uint64_t level, const Math::NBoundingBox<float, 3>& box) const;

    /// Drops what is loaded and loads again.
    void clearVisibleOctreeNodes();

    /// What the last frame drew; 0 before init(). Any thread, while neither init() nor deinit() runs.
    std::size_t numVisibleOctreeNodes() const noexcept;
    /// Number of points that the last frame drew; as above.
    std::size_t numVisiblePoints() const noexcept;

    /// Points that are resident now in all clouds that share this one's budget, drawn yet or not; 0 before
    /// init(). For progress reports. Any thread, while neither init() nor deinit() runs; waits while a node
    /// is fetched.
    std::size_t numResidentPoints() const;

    /// Where loading stands and what the cloud holds; what the last frame drew and the rest are of moments
    /// that may lie a little apart. Takes time in proportion to the resident nodes. Any thread, while neither
    /// init() nor deinit() nor setUnitScale() nor addExternalAttributeLocation() runs.
    CloudStatus status() const;

    /// How large the caches are that clouds share which are made from now on; those that there are keep what
    /// they have. Any thread.
    /// @throws std::invalid_argument  for a capacity of 0
    static void setCacheCapacities(const CacheCapacities& capacities);
    /// See setCacheCapacities().
    static CacheCapacities cacheCapacities();

    /// A query of this cloud's points as they lie in the world now. It is made on the thread that drives the
    /// renderer, and may be used on another one, also while the cloud is loading. Useless after
    /// setUnitScale().
    /// @param filter          the region in world coordinates, such as one of render/pointcloud/filters; the
    ///                        query owns it
    /// @param maxLevel        deepest level to visit
    /// @param minimumSpacing  levels with this point spacing or less are left out, world units
    /// @param timeout         from now; the largest duration means none
    /// @throws std::invalid_argument  without a filter
    PointCloudQuery createPointCloudQuery(
        IFilter* filter, std::uint64_t maxLevel, float minimumSpacing, std::chrono::nanoseconds timeout
    );

    /// The same with a filter whose ownership shows, and all points of the region by default.
    PointCloudQuery createPointCloudQuery(
        std::unique_ptr<IFilter> filter,
        std::uint64_t maxLevel = kAllLevels,
        float minimumSpacing = 0.0F,
        std::chrono::nanoseconds timeout = std::chrono::nanoseconds::max()
    );

    /// The same with a function that tells of each point, in world coordinates, whether it counts. Reads every
    /// node; a FunctionFilter may have bounds.
    template <std::predicate<const Math::Point<float, 3>&> Accepts>

    requires std::is_class_v<Accepts>

        PointCloudQuery createPointCloudQuery(
            Accepts accepts,
            std::uint64_t maxLevel = kAllLevels,
            float minimumSpacing = 0.0F,
            std::chrono::nanoseconds timeout = std::chrono::nanoseconds::max()
        )
    {
        return createPointCloudQuery(
            std::make_unique<FunctionFilter>(std::move(accepts)), maxLevel, minimumSpacing, timeout
        );
    }

    /// The camera's frustum in model coordinates.
    const Math::Frustum<float>& frustumModelCs() const noexcept { return mFrustumModelCs; }

private:
    void updateFrustums();
    void updateModelMatrix();
    Math::ConvexPolytope<float, 3> inModelCoordinates(const std::vector<Math::HalfSpace<float, 3>>& halfSpaces
    );
    void triggerReload();

    std::unique_ptr<CloudLoading> mLoading;
    SplatRoad mSplatRoad = SplatRoad::Automatic;
    std::size_t mMaxUploadPerFrame = std::size_t{64} << 20U;
    std::atomic<UpdateInterval::rep> mUpdateInterval{5'000'000};  // 0.5 s; read by the loader
    std::chrono::milliseconds mReloadRetryDelay = std::chrono::seconds(2);
    bool mRestartLoadingAfterCameraChange = true;
    std::shared_ptr<Octree::Octree> mOctree;
    std::unique_ptr<CloudCaches> mCaches;           // of mOctree
    std::shared_ptr<LoDPointCloud> mLoDPointCloud;  // present while initialised
    std::shared_ptr<Camera> mCamera;
    std::vector<Math::HalfSpace<float, 3>> mClippingVolume;  // world coordinates
    std::size_t mMaxPointCount;
    Math::Frustum<float> mFrustumModelCs;
    bool mShowBoundingBoxes = false;
    float mMaxPointSize = 5.0F;
    float mPointSize;
    float mTomographicContrast = 0.01F;
    Math::Color mUniformColor;
    PointLook mLook;
    std::atomic<bool> mNeedsRedraw{true};
    StoppedPublication mStoppedPublication;
    std::atomic<std::size_t> mPendingNodes{0};  // of the present pass
    std::unique_ptr<SharedRanking> mRanking;
};
}  // namespace Render
