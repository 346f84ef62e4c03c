#pragma once

#include "core/JobState.h"
#include "render/Export.h"
#include "render/scene/Renderable.h"

#include <atomic>
#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace Core
{
class BackgroundThread;
}

namespace Graphics
{
class PanoramaLoader;
}

namespace Render
{
class PanoramaTiles;

/// A spherical panorama with a distance for every pixel. Each pixel of it has a true depth and position in
/// the world, so it hides and is hidden as other objects are.
///
/// It is shown in the finest level of which all tiles have arrived. Where no distance has been measured, or
/// has arrived yet, it lies just before the far plane.
///
/// Frame    model: the panorama's centre at the origin, z up; longitude runs to the left over the picture's
///          width from -x, latitude down over its height from +z.
/// Threads  the thread that drives the renderer, but for what says otherwise.
class RENDER_API PanoRenderable : public Renderable, public std::enable_shared_from_this<PanoRenderable>
{
    struct Private
    {
        explicit Private() = default;
    };

public:
    /// @param loader  may be empty: nothing is drawn then
    static std::shared_ptr<PanoRenderable> create(
        std::shared_ptr<Graphics::PanoramaLoader> loader, const std::string& name
    );

    /// For create().
    PanoRenderable(Private, std::shared_ptr<Graphics::PanoramaLoader> loader, const std::string& name);
    PanoRenderable(const PanoRenderable&) = delete;
    PanoRenderable& operator=(const PanoRenderable&) = delete;

    /// Stops the loading.
    ~PanoRenderable() override;

    /// What an earlier device had is lost, and comes back by the road that it came on: what was loaded on the
    /// calling thread is loaded again here, a loading on a thread of its own begins anew. One that was
    /// stopped stays so.
    /// @throws ComException  when a shader, texture, view, buffer or sampler cannot be created
    /// @throws  what loadPanoramaTiles() throws
    void init(
        unsigned long long rendererId,
        std::shared_ptr<Camera> camera,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext
    ) override;

    /// Gives textures and shaders back. A loading in progress goes on.
    void deinit() override;

    void onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewMatrix(const std::shared_ptr<Camera>& camera) override;
    void onUpdateZRange(const std::shared_ptr<Camera>& camera) override;
    void onUpdateViewport(const std::shared_ptr<Camera>& camera) override;
    void setMatrix(const Eigen::Matrix4f& matrix) override;
    void invalidateWorldMatrix() override;

    /// Uploads the tiles that have arrived, then draws.
    /// @throws ComException  when a texture or buffer cannot be mapped; the next frame uploads what this one
    ///                       could not
    void render() override;

    /// Always empty: the panorama has no part in the extent of a scene.
    Math::NBoundingBox<float, 3> boundingBox() override;

    /// Any thread.
    void setNeedsRedraw(bool needsRedraw) override;

    /// Any thread.
    bool needsRedraw() const override;

    /// Loads all tiles on the calling thread, coarse to fine.
    /// @returns  Complete, or NoSource without a loader
    /// @throws   what the loader throws; std::runtime_error for a tile that does not fit its level
    Core::JobState loadPanoramaTiles();

    /// Starts to load all tiles on a thread of its own; a loading in progress is stopped first.
    /// @param onTile  called on that thread after each tile; it must not call back into the object, but for
    ///                setNeedsRedraw(). May be empty.
    void startAsyncPanoramaTilesLoading(std::function<void()> onTile);
    void startAsyncPanoramaTilesLoading(void (*onTile)());

    /// The same for any other callable, which would be as near to either of the two above.
    template <std::invocable Callback>
    requires std::is_class_v<Callback>

    void startAsyncPanoramaTilesLoading(Callback onTile)
    {
        startAsyncPanoramaTilesLoading(std::function<void()>(std::move(onTile)));
    }

    /// Stops the loading after the tile in progress and waits for that; what has arrived stays.
    void stopAsyncPanoramaTilesLoading();

    /// Where the loading stands. Any thread.
    Core::JobState loadingState() const noexcept;

    /// Any thread.
    bool isLoadingComplete() const noexcept;

    /// False when the last loading has failed. Any thread.
    /// @param rethrow  throws the failure instead of returning false
    bool isLoadingHealthy(bool rethrow) const;

    /// Blocks until all tiles have been loaded, looking ten times a second; for ever when loading is not
    /// started, or was stopped and is not started again. Any thread.
    /// @throws  the failure of the loading; std::logic_error without a loader, since nothing can be loaded
    void waitForLoadingComplete() const;

private:
    struct Constants;
    struct DeviceObjects;

    /// By which road the tiles have come.
    enum class Road
    {
        None,
        CallingThread,
        OwnThread
    };

    void loadAgain();
    void updateCamera(const Camera& camera);
    void updateModel();
    void updateInverses();
    void updatePanoramaTextures();

    const std::unique_ptr<PanoramaTiles> mTiles;
    std::unique_ptr<DeviceObjects> mDeviceObjects;  // absent before init()
    Eigen::Matrix4f mView = Eigen::Matrix4f::Identity();
    Eigen::Matrix4f mViewProjection = Eigen::Matrix4f::Identity();
    Eigen::Matrix4f mModel = Eigen::Matrix4f::Identity();
    const std::unique_ptr<Constants> mConstants;
    std::atomic<bool> mNeedsRedraw{true};
    Road mRoad = Road::None;
    bool mIsLost = false;  // tiles had been uploaded to a device that is gone
    std::function<void()> mOnTile;
    std::unique_ptr<Core::BackgroundThread>
        mThread;  // absent unless tiles are loaded on it; last, so that it stops before the rest goes
};
}  // namespace Render
