#include "render/renderer/View.h"

#include "render/platform/Direct3D.h"
#include "render/scene/Camera.h"
#include "render/scene/Renderable.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace Render
{
namespace
{
/// Which view has brought a scene to life last: a host may hand a scene on before it ends the old renderer.
class LiveScenes
{
public:
    void begin(const View& view, const Renderable* scene)
    {
        const std::scoped_lock lock(mMutex);
        mViews[scene] = &view;
    }

    /// @returns whether the scene has been this view's until now
    bool end(const View& view, const Renderable* scene) noexcept
    {
        const std::scoped_lock lock(mMutex);
        const auto found = mViews.find(scene);
        const bool wasLive = found != mViews.end() && found->second == &view;
        std::erase_if(mViews, [&view](const auto& entry) { return entry.second == &view; });
        return wasLive;
    }

private:
    std::mutex mMutex;
    std::unordered_map<const Renderable*, const View*> mViews;
};

LiveScenes& liveScenes()
{
    static LiveScenes scenes;
    return scenes;
}

/// Where another error is the one to report, or none can be.
void deinitQuietly(Renderable& scene) noexcept
{
    try
    {
        scene.deinit();
    }
    catch (...)
    {
        // what it took it gives back at the end of its life
    }
}
}  // namespace

View::View(bool reversedZ) : mCamera(std::make_shared<Camera>(reversedZ)) {}

View::~View()
{
    if (liveScenes().end(*this, mScene.get()))
    {
        deinitQuietly(*mScene);
    }
}

void View::setScene(
    std::shared_ptr<Renderable> scene,
    std::uint64_t rendererId,
    const CComPtr<ID3D11Device>& device,
    const CComPtr<ID3D11DeviceContext>& context
)
{
    liveScenes().end(*this, mScene.get());
    if (mScene)
    {
        mScene->deinit();
    }
    mScene = std::move(scene);
    if (!mScene)
    {
        return;
    }
    try
    {
        mScene->init(rendererId, mCamera, device, context);
        mScene->onUpdateRenderMode(mRenderMode);
    }
    catch (...)
    {
        // Half of it may lack its device objects; what the other half took is given back.
        const std::shared_ptr<Renderable> failed = std::exchange(mScene, nullptr);
        deinitQuietly(*failed);
        throw;
    }
    liveScenes().begin(*this, mScene.get());
}

template <class Change>
void View::changeCamera(Matrix watched, Callback callback, bool fitsZRange, const Change& change)
{
    const Eigen::Matrix4f before = ((*mCamera).*watched)();
    change(*mCamera);
    if (((*mCamera).*watched)() == before)
    {
        return;
    }

    if (fitsZRange)
    {
        updateZRangeIfNeeded();
    }
    if (mScene)
    {
        ((*mScene).*callback)(mCamera);
    }
    raiseRedraw();
}

template <class Change>
void View::changeView(const Change& change)
{
    changeCamera(&Camera::viewMatrix, &Renderable::onUpdateViewMatrix, true, change);
}

template <class Change>
void View::changeProjection(const Change& change)
{
    changeCamera(&Camera::projectionMatrix, &Renderable::onUpdateProjectionMatrix, true, change);
}

void View::setViewMatrix(const Eigen::Matrix4f& viewMatrix)
{
    changeView([&](Camera& camera) { camera.setViewMatrix(viewMatrix); });
}

void View::setCameraPose(
    const Math::Point<float, 3>& eye, const Eigen::Vector3f& direction, const Eigen::Vector3f& up
)
{
    changeView([&](Camera& camera) { camera.setPose(eye, direction, up); });
}

void View::setCameraPose(
    const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target, const Eigen::Vector3f& up
)
{
    changeView([&](Camera& camera) { camera.setPose(eye, target, up); });
}

void View::setPerspective(float fovYDeg, float zNear, float zFar, float offCenterX, float offCenterY)
{
    changeProjection([=](Camera& camera)
                     { camera.setPerspective(fovYDeg, zNear, zFar, offCenterX, offCenterY); });
}

void View::setPerspectiveOffCenter(
    float left, float right, float bottom, float top, float zNear, float zFar, bool reversed
)
{
    changeProjection([=](Camera& camera)
                     { camera.setPerspectiveOffCenter(left, right, bottom, top, zNear, zFar, reversed); });
}

void View::setOrthographic(float width, float height, float zNear, float zFar)
{
    changeProjection([=](Camera& camera) { camera.setOrthographic(width, height, zNear, zFar); });
}

void View::setOrthographic(float height, float zNear, float zFar)
{
    changeProjection([=](Camera& camera) { camera.setOrthographic(height, zNear, zFar); });
}

void View::setProjection(const Eigen::Matrix4f& projection, float minDepth, float maxDepth, bool reversed)
{
    changeProjection([&](Camera& camera) { camera.setProjection(projection, minDepth, maxDepth, reversed); });
}

void View::setZNearAndFarViaBoundingBox(const Math::NBoundingBox<float, 3>& box)
{
    changeCamera(
        &Camera::projectionMatrix,
        &Renderable::onUpdateProjectionMatrix,
        false,
        [&](Camera& camera) { camera.setZNearAndFarViaBoundingBox(box); }
    );
}

void View::setModelMatrix(const Eigen::Matrix4f& modelMatrix)
{
    if (modelMatrix == mModelMatrix)
    {
        return;
    }
    mModelMatrix = modelMatrix;
    if (mScene)
    {
        mScene->setMatrix(mModelMatrix);
    }
    raiseRedraw();
}

void View::setAutoAdjustZRange(bool enabled)
{
    if (enabled == mAutoAdjustZRange)
    {
        return;
    }
    mAutoAdjustZRange = enabled;
    if (mScene)
    {
        mScene->onUpdateProjectionMatrix(mCamera);
    }
    raiseRedraw();
}

void View::setRenderMode(RenderMode renderMode)
{
    if (renderMode == mRenderMode)
    {
        return;
    }
    mRenderMode = renderMode;
    if (mScene)
    {
        mScene->onUpdateRenderMode(mRenderMode);
    }
    raiseRedraw();
}

void View::updateZRangeIfNeeded()
{
    if (!mAutoAdjustZRange)
    {
        return;
    }
    mCamera->setZNearAndFarViaBoundingBox(boundingBox());
    if (mScene)
    {
        mScene->onUpdateZRange(mCamera);
    }
}

Math::NBoundingBox<float, 3> View::boundingBox() const
{
    return mScene ? mScene->boundingBoxWorld() : Math::NBoundingBox<float, 3>{};
}

bool View::needsRedraw() const
{
    return mCamera->needsRedraw() || (mScene && mScene->needsRedraw());
}

void View::raiseRedraw()
{
    mCamera->setNeedsRedraw(true);
}
}  // namespace Render
