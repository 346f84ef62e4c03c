#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "render/Render.h"
#include "render/scene/RenderMode.h"

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Render
{
/// Camera and scene of a renderer, and the protocol by which changes of the view reach the scene.
///
/// A camera operation changes the camera; only when the matrix that it may change really differs afterwards
/// is the depth range fitted (if that is on), the scene told, and the camera's redraw flag raised. So the
/// whole view may be set anew for every frame at no cost.
///
/// Threads  rendering thread only, not locked.
class View
{
public:
    /// A perspective camera without a scene.
    /// @param reversedZ  depth convention of the camera
    explicit View(bool reversedZ);

    /// Gives the scene's device objects back, unless the scene has come to life elsewhere since.
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    std::shared_ptr<Camera>& camera() noexcept { return mCamera; }

    const std::shared_ptr<Camera>& camera() const noexcept { return mCamera; }

    std::shared_ptr<Renderable>& scene() noexcept { return mScene; }

    const std::shared_ptr<Renderable>& scene() const noexcept { return mScene; }

    /// Gives the old scene's device objects back, then brings the new one to life. The new root gets neither
    /// the model matrix nor a fitted depth range. An empty scene leaves none; a scene whose init fails is not
    /// kept.
    void setScene(
        std::shared_ptr<Renderable> scene,
        std::uint64_t rendererId,
        const CComPtr<ID3D11Device>& device,
        const CComPtr<ID3D11DeviceContext>& context
    );

    // The camera's operations of the same names, under the protocol above.

    void setViewMatrix(const Eigen::Matrix4f& viewMatrix);
    void setCameraPose(
        const Math::Point<float, 3>& eye, const Eigen::Vector3f& direction, const Eigen::Vector3f& up
    );
    void setCameraPose(
        const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target, const Eigen::Vector3f& up
    );
    void setPerspective(float fovYDeg, float zNear, float zFar, float offCenterX, float offCenterY);
    void setPerspectiveOffCenter(
        float left, float right, float bottom, float top, float zNear, float zFar, bool reversed
    );
    void setOrthographic(float width, float height, float zNear, float zFar);
    void setOrthographic(float height, float zNear, float zFar);
    void setProjection(const Eigen::Matrix4f& projection, float minDepth, float maxDepth, bool reversed);

    /// Tells the scene of a new projection, not of a new depth range; never fits the range again.
    void setZNearAndFarViaBoundingBox(const Math::NBoundingBox<float, 3>& box);

    /// Gives the matrix to the scene's root when it differs from the last one.
    void setModelMatrix(const Eigen::Matrix4f& modelMatrix);

    const Eigen::Matrix4f& modelMatrix() const noexcept { return mModelMatrix; }

    /// The range is first fitted at the next change of the camera.
    void setAutoAdjustZRange(bool enabled);

    bool autoAdjustZRangeEnabled() const noexcept { return mAutoAdjustZRange; }

    void setRenderMode(RenderMode renderMode);

    RenderMode renderMode() const noexcept { return mRenderMode; }

    /// Fits near and far to the scene, if that is on, and tells it.
    void updateZRangeIfNeeded();

    /// The scene's box in world coordinates, the empty box without a scene.
    Math::NBoundingBox<float, 3> boundingBox() const;

    /// Whether camera or scene have changed since the last frame.
    bool needsRedraw() const;

    void raiseRedraw();

private:
    using Matrix = const Eigen::Matrix4f& (Camera::*)() const noexcept;
    using Callback = void (Renderable::*)(const std::shared_ptr<Camera>&);

    template <class Change>
    void changeCamera(Matrix watched, Callback callback, bool fitsZRange, const Change& change);
    template <class Change>
    void changeView(const Change& change);
    template <class Change>
    void changeProjection(const Change& change);

    std::shared_ptr<Camera> mCamera;
    std::shared_ptr<Renderable> mScene;
    Eigen::Matrix4f mModelMatrix = Eigen::Matrix4f::Identity();
    bool mAutoAdjustZRange = false;
    RenderMode mRenderMode = RenderMode::Default;
};
}  // namespace Render
