#pragma once

#include "math/Frustum.h"
#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "math/eigenAlignment.h"
#include "render/Export.h"
#include "render/scene/Viewport.h"

#include <Eigen/Core>

#include <atomic>
#include <cstdint>

namespace Render
{
/// Everything that maps world coordinates to the screen.
///
/// The view-projection matrix is always projection x view and comes with its inverse. Arguments are not
/// checked: equal near and far, a zero field of view or a viewport without height give infinities or NaN in
/// the matrices.
///
/// Frame    right-handed, the camera looks along its local -z axis. With the reversed depth buffer near maps
///          to depth 1 and far to 0, else near to 0 and far to 1.
/// Threads  one thread, but for needsRedraw() and setNeedsRedraw(), which any thread may call.
class RENDER_API Camera
{
public:
    /// A perspective of 60 degrees for the default viewport.
    explicit Camera(bool zBufferReversed = true);

    /// Sets the size of the drawing area and moves it to the origin. The aspect ratio enters the projection
    /// with the next setPerspective() or three-argument setOrthographic().
    void setViewport(std::uint64_t width, std::uint64_t height) noexcept;

    /// Sets the matrix from world to camera coordinates; an equal one costs only the comparison.
    void setViewMatrix(const Eigen::Matrix4f& viewMatrix);

    /// Looks from `eye` along `direction`, with `up` towards the upper border; neither need be of unit
    /// length.
    void setPose(
        const Math::Point<float, 3>& eye, const Eigen::Vector3f& direction, const Eigen::Vector3f& up
    );

    /// Looks from `eye` to `target`.
    void setPose(
        const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target, const Eigen::Vector3f& up
    );

    /// A perspective for the viewport's aspect ratio.
    /// @param fovYDeg      vertical field of view in degrees
    /// @param offCenterX   the projection's element (0, 2): shift of the principal point, 1 is half the width
    /// @param offCenterY   the projection's element (1, 2)
    void setPerspective(float fovYDeg, float zNear, float zFar, float offCenterX, float offCenterY);

    /// A perspective through the given rectangle of the near plane.
    /// @param reversed  depth convention of this matrix; the camera's own flag stays, the caller keeps both
    ///                  the same
    void setPerspectiveOffCenter(
        float left, float right, float bottom, float top, float zNear, float zFar, bool reversed
    );

    /// A parallel projection of a box of the given size, in world units; zNear may be negative.
    void setOrthographic(float width, float height, float zNear, float zFar);

    /// The same with the width from the viewport's aspect ratio.
    void setOrthographic(float height, float zNear, float zFar);

    /// Takes a projection built elsewhere and derives the camera's parameters from it.
    ///
    /// The distances of near and far plane are taken through the inverse of projection x view, on purpose, so
    /// they are those in camera space only while the view matrix moves nothing along the depth axis.
    /// @param minDepth, maxDepth  the viewport's depth range
    /// @param reversed            the camera's depth convention from now on
    void setProjection(const Eigen::Matrix4f& projection, float minDepth, float maxDepth, bool reversed);

    /// Fits the depth range tightly around a box in world coordinates.
    ///
    /// A perspective keeps its near plane at least 0.01 before the eye; a parallel projection may reach
    /// behind it.
    void setZNearAndFarViaBoundingBox(const Math::NBoundingBox<float, 3>& box);

    /// Any thread.
    void setNeedsRedraw(bool needsRedraw) noexcept;

    /// Any thread; reading does not clear the flag.
    bool needsRedraw() const noexcept;

    /// From world to camera coordinates.
    const Eigen::Matrix4f& viewMatrix() const noexcept { return mViewMatrix; }

    /// From camera coordinates to the picture's: -1..1 across and up, 0..1 in depth.
    const Eigen::Matrix4f& projectionMatrix() const noexcept { return mProjectionMatrix; }

    /// The projection matrix times the view matrix.
    const Eigen::Matrix4f& viewProjectionMatrix() const noexcept { return mViewProjectionMatrix; }

    /// Its inverse.
    const Eigen::Matrix4f& invViewProjectionMatrix() const noexcept { return mInvViewProjectionMatrix; }

    /// The drawing area.
    const Viewport& viewport() const noexcept { return mViewport; }

    /// The same, to change.
    Viewport& viewport() noexcept { return mViewport; }

    /// Vertical field of view of a perspective, in radians.
    float fovYRad() const noexcept { return mFovY; }

    /// The same in degrees.
    float fovYDeg() const noexcept;

    /// Width of what a parallel projection shows, world units.
    float horizontalExtent() const noexcept { return mHorizontalExtent; }

    /// Height of what a parallel projection shows, world units.
    float verticalExtent() const noexcept { return mVerticalExtent; }

    /// Distance of the near plane, world units.
    float zNear() const noexcept { return mZNear; }

    /// Distance of the far plane, world units.
    float zFar() const noexcept { return mZFar; }

    /// Whether the projection is a parallel one.
    bool isOrthographic() const noexcept;

    /// Whether the projection is a perspective.
    bool isPerspective() const noexcept;

    /// Whether the near plane maps to depth 1 and the far plane to 0.
    bool isZBufferReversed() const noexcept { return mZBufferReversed; }

    /// The depth that the far plane maps to.
    float clearDepthValue() const noexcept;

    // The directions are those of the view matrix, not normalised.

    /// Towards the picture's right border.
    Eigen::Vector3f rightDirection() const;

    /// Towards the picture's upper border.
    Eigen::Vector3f upDirection() const;

    /// Into the picture.
    Eigen::Vector3f viewDirection() const;

    /// The camera's position in world coordinates; exact for rigid view matrices.
    Math::Point<float, 3> eye() const;

    /// The point in world coordinates behind a pixel's upper left corner.
    /// @param x, y   pixel, y downwards; at most the viewport's width and height
    /// @param depth  within the viewport's depth range
    Math::Point<float, 3> unProject(std::uint64_t x, std::uint64_t y, float depth) const;

    /// The view volume in world coordinates.
    Math::Frustum<float> frustum() const;

    /// The view volume in the coordinates of a model.
    /// @param model  from model to world coordinates
    Math::Frustum<float> frustum(const Eigen::Matrix4f& model) const;

    /// The view volume in the coordinates of a model, widened by the factors sideways, up and down, and in
    /// depth.
    Math::Frustum<float> scaledFrustum(float sx, float sy, float sz, const Eigen::Matrix4f& model) const;

    /// Compares the viewports, the view and projection matrices exactly, and the depth convention; neither
    /// the depth range of the viewport nor the redraw flag nor the parameters of the projection take part.
    bool operator==(const Camera& other) const noexcept;

private:
    void setProjectionIfChanged(const Eigen::Matrix4f& projection);
    void updateDerivedMatrices();
    Math::Frustum<float> frustumOf(const Eigen::Matrix4f& matrix) const;

    /// An atomic flag that is copied by value.
    class RedrawFlag
    {
    public:
        RedrawFlag() noexcept = default;

        RedrawFlag(const RedrawFlag& other) noexcept : mValue(other.get()) {}

        RedrawFlag& operator=(const RedrawFlag& other) noexcept
        {
            set(other.get());
            return *this;
        }

        bool get() const noexcept { return mValue.load(); }

        void set(bool value) noexcept { mValue.store(value); }

    private:
        std::atomic<bool> mValue{true};
    };

    float mFovY = 1.0471976F;  // radians
    float mHorizontalExtent = 4.0F;
    float mVerticalExtent = 3.0F;
    float mZNear = 0.01F;
    float mZFar = 20000.0F;
    float mOffCenterX = 0.0F;
    float mOffCenterY = 0.0F;
    Viewport mViewport;
    Eigen::Matrix4f mViewMatrix = Eigen::Matrix4f::Identity();
    Eigen::Matrix4f mProjectionMatrix = Eigen::Matrix4f::Zero();
    Eigen::Matrix4f mViewProjectionMatrix = Eigen::Matrix4f::Zero();
    Eigen::Matrix4f mInvViewProjectionMatrix = Eigen::Matrix4f::Zero();
    bool mZBufferReversed;
    RedrawFlag mNeedsRedraw;
};
}  // namespace Render
