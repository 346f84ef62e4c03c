#include "render/scene/Camera.h"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Render
{
namespace
{
constexpr float kDefaultFovYDeg = 60.0F;
constexpr float kSmallestPerspectiveNear =
    0.01F;  // world units; a near plane at the eye would leave no depth resolution
constexpr float kSmallestDepthRange = 0.0001F;  // world units between near and far

/// Elements (2, 2) and (2, 3) of a perspective projection.
struct DepthTerms
{
    DepthTerms(float zNear, float zFar, bool reversed)
    {
        const float a = reversed ? zFar : zNear;
        const float b = reversed ? zNear : zFar;
        m22 = b / (a - b);
        m23 = a * b / (a - b);
    }

    float m22;
    float m23;
};

float fovYRadOf(const Eigen::Matrix4f& projection)
{
    return static_cast<float>(2.0 * std::atan(1.0 / static_cast<double>(projection(1, 1))));
}

Eigen::Vector3f toVector(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}

Eigen::Vector3f normalizedIfNotZero(const Eigen::Vector3f& vector)
{
    const float squaredLength = vector.squaredNorm();
    return squaredLength > 0.0F ? Eigen::Vector3f(vector / std::sqrt(squaredLength)) : vector;
}

Math::HalfSpace<float, 3> normalizedPlane(const Eigen::RowVector4f& plane)
{
    const float length = plane.head<3>().norm();
    const float factor = length == 0.0F ? 1.0F : static_cast<float>(1.0 / static_cast<double>(length));
    return {plane[0] * factor, plane[1] * factor, plane[2] * factor, plane[3] * factor};
}
}  // namespace

Camera::Camera(bool zBufferReversed) : mZBufferReversed(zBufferReversed)
{
    setPerspective(kDefaultFovYDeg, mZNear, mZFar, 0.0F, 0.0F);
}

void Camera::setViewport(std::uint64_t width, std::uint64_t height) noexcept
{
    mViewport.set(width, height);
}

void Camera::setViewMatrix(const Eigen::Matrix4f& viewMatrix)
{
    if (viewMatrix == mViewMatrix)
    {
        return;
    }
    mViewMatrix = viewMatrix;
    updateDerivedMatrices();
}

void Camera::setPose(
    const Math::Point<float, 3>& eye, const Eigen::Vector3f& direction, const Eigen::Vector3f& up
)
{
    const Eigen::Vector3f position = toVector(eye);
    const Eigen::Vector3f z = -normalizedIfNotZero(direction);
    const Eigen::Vector3f x = normalizedIfNotZero(up.cross(z));
    const Eigen::Vector3f y = z.cross(x);

    Eigen::Matrix4f view = Eigen::Matrix4f::Identity();
    view.row(0) << x.transpose(), -x.dot(position);
    view.row(1) << y.transpose(), -y.dot(position);
    view.row(2) << z.transpose(), -z.dot(position);
    setViewMatrix(view);
}

void Camera::setPose(
    const Math::Point<float, 3>& eye, const Math::Point<float, 3>& target, const Eigen::Vector3f& up
)
{
    setPose(eye, Eigen::Vector3f(toVector(target) - toVector(eye)), up);
}

void Camera::setPerspective(float fovYDeg, float zNear, float zFar, float offCenterX, float offCenterY)
{
    mZNear = zNear;
    mZFar = zFar;
    mOffCenterX = offCenterX;
    mOffCenterY = offCenterY;
    mFovY = static_cast<float>(static_cast<double>(fovYDeg) * std::numbers::pi / 180.0);

    const float halfFovY = mFovY / 2.0F;
    const float cotangent = std::cos(halfFovY) / std::sin(halfFovY);
    const float aspect = static_cast<float>(mViewport.width()) / static_cast<float>(mViewport.height());
    const DepthTerms depth(zNear, zFar, mZBufferReversed);

    Eigen::Matrix4f projection;
    projection << cotangent / aspect, 0.0F, offCenterX, 0.0F,  //
        0.0F, cotangent, offCenterY, 0.0F,                     //
        0.0F, 0.0F, depth.m22, depth.m23,                      //
        0.0F, 0.0F, -1.0F, 0.0F;
    setProjectionIfChanged(projection);
}

void Camera::setPerspectiveOffCenter(
    float left, float right, float bottom, float top, float zNear, float zFar, bool reversed
)
{
    mZNear = zNear;
    mZFar = zFar;

    const auto inverseWidth = static_cast<float>(1.0 / static_cast<double>(right - left));
    const auto inverseHeight = static_cast<float>(1.0 / static_cast<double>(top - bottom));
    const DepthTerms depth(zNear, zFar, reversed);

    Eigen::Matrix4f projection;
    projection << 2.0F * zNear * inverseWidth, 0.0F, (left + right) * inverseWidth, 0.0F,  //
        0.0F, 2.0F * zNear * inverseHeight, (bottom + top) * inverseHeight, 0.0F,          //
        0.0F, 0.0F, depth.m22, depth.m23,                                                  //
        0.0F, 0.0F, -1.0F, 0.0F;
    if (projection == mProjectionMatrix)
    {
        return;
    }
    mFovY = fovYRadOf(projection);
    mOffCenterX = projection(0, 2);
    mOffCenterY = projection(1, 2);
    mProjectionMatrix = projection;
    updateDerivedMatrices();
}

void Camera::setOrthographic(float width, float height, float zNear, float zFar)
{
    mHorizontalExtent = width;
    mVerticalExtent = height;
    mZNear = zNear;
    mZFar = zFar;

    const float a = mZBufferReversed ? zFar : zNear;
    const float b = mZBufferReversed ? zNear : zFar;
    const float k = 1.0F / (a - b);

    Eigen::Matrix4f projection;
    projection << 2.0F / width, 0.0F, 0.0F, 0.0F,  //
        0.0F, 2.0F / height, 0.0F, 0.0F,           //
        0.0F, 0.0F, k, k * a,                      //
        0.0F, 0.0F, 0.0F, 1.0F;
    setProjectionIfChanged(projection);
}

void Camera::setOrthographic(float height, float zNear, float zFar)
{
    const float aspect = static_cast<float>(mViewport.width()) / static_cast<float>(mViewport.height());
    setOrthographic(aspect * height, height, zNear, zFar);
}

void Camera::setProjection(const Eigen::Matrix4f& projection, float minDepth, float maxDepth, bool reversed)
{
    mProjectionMatrix = projection;
    updateDerivedMatrices();
    mZBufferReversed = reversed;
    mViewport.setDepthRange(minDepth, maxDepth);

    // From the member: the argument may be a matrix of this camera, which has been derived anew by now.
    if (isPerspective())
    {
        mFovY = fovYRadOf(mProjectionMatrix);
    }
    else
    {
        mHorizontalExtent = 2.0F / mProjectionMatrix(0, 0);
        mVerticalExtent = 2.0F / mProjectionMatrix(1, 1);
    }

    const Eigen::Matrix4f& inverse = mInvViewProjectionMatrix;
    const auto distanceAt = [&inverse](float depth)
    { return -(depth * inverse(2, 2) + inverse(2, 3)) / (depth * inverse(3, 2) + inverse(3, 3)); };
    mZNear = distanceAt(reversed ? maxDepth : minDepth);
    mZFar = distanceAt(reversed ? minDepth : maxDepth);
}

void Camera::setZNearAndFarViaBoundingBox(const Math::NBoundingBox<float, 3>& box)
{
    const Eigen::Vector3f direction = viewDirection();
    const float halfDepth = std::abs(direction.x() * (box.size(0) / 2.0F)) +
                            std::abs(direction.y() * (box.size(1) / 2.0F)) +
                            std::abs(direction.z() * (box.size(2) / 2.0F));
    const float centerDistance = direction.dot(toVector(box.center()) - toVector(eye()));
    mZNear = centerDistance - halfDepth;
    mZFar = centerDistance + halfDepth;

    if (isPerspective())
    {
        const float zNear = std::max(kSmallestPerspectiveNear, mZNear);
        const float zFar = std::max(zNear + kSmallestDepthRange, mZFar);
        setPerspective(fovYDeg(), zNear, zFar, mOffCenterX, mOffCenterY);
    }
    else
    {
        setOrthographic(mHorizontalExtent, mVerticalExtent, mZNear, mZFar);
    }
}

void Camera::setNeedsRedraw(bool needsRedraw) noexcept
{
    mNeedsRedraw.set(needsRedraw);
}

bool Camera::needsRedraw() const noexcept
{
    return mNeedsRedraw.get();
}

float Camera::fovYDeg() const noexcept
{
    return static_cast<float>(static_cast<double>(mFovY * 180.0F) / std::numbers::pi);
}

bool Camera::isOrthographic() const noexcept
{
    return !isPerspective();
}

bool Camera::isPerspective() const noexcept
{
    return mProjectionMatrix(3, 3) == 0.0F;
}

float Camera::clearDepthValue() const noexcept
{
    return mZBufferReversed ? mViewport.minDepth() : mViewport.maxDepth();
}

Eigen::Vector3f Camera::rightDirection() const
{
    return mViewMatrix.block<1, 3>(0, 0).transpose();
}

Eigen::Vector3f Camera::upDirection() const
{
    return mViewMatrix.block<1, 3>(1, 0).transpose();
}

Eigen::Vector3f Camera::viewDirection() const
{
    return -mViewMatrix.block<1, 3>(2, 0).transpose();
}

Math::Point<float, 3> Camera::eye() const
{
    const Eigen::Vector3f position =
        -(mViewMatrix.topLeftCorner<3, 3>().transpose() * mViewMatrix.block<3, 1>(0, 3));
    return {position.x(), position.y(), position.z()};
}

Math::Point<float, 3> Camera::unProject(std::uint64_t x, std::uint64_t y, float depth) const
{
    const Eigen::Vector4f normalized{
        2.0F * static_cast<float>(x) / static_cast<float>(mViewport.width()) - 1.0F,
        2.0F * static_cast<float>(mViewport.height() - y) / static_cast<float>(mViewport.height()) - 1.0F,
        depth,
        1.0F};
    const Eigen::Vector4f world = mInvViewProjectionMatrix * normalized;
    return {world.x() / world.w(), world.y() / world.w(), world.z() / world.w()};
}

Math::Frustum<float> Camera::frustum() const
{
    return frustumOf(mViewProjectionMatrix);
}

Math::Frustum<float> Camera::frustum(const Eigen::Matrix4f& model) const
{
    return frustumOf(mViewProjectionMatrix * model);
}

Math::Frustum<float> Camera::scaledFrustum(float sx, float sy, float sz, const Eigen::Matrix4f& model) const
{
    const Eigen::Vector4f scale{1.0F / sx, 1.0F / sy, 1.0F / sz, 1.0F};
    return frustumOf(scale.asDiagonal() * mViewProjectionMatrix * model);
}

bool Camera::operator==(const Camera& other) const noexcept
{
    return mViewport == other.mViewport && mProjectionMatrix == other.mProjectionMatrix &&
           mViewMatrix == other.mViewMatrix && mZBufferReversed == other.mZBufferReversed;
}

void Camera::setProjectionIfChanged(const Eigen::Matrix4f& projection)
{
    if (projection == mProjectionMatrix)
    {
        return;
    }
    mProjectionMatrix = projection;
    updateDerivedMatrices();
}

void Camera::updateDerivedMatrices()
{
    mViewProjectionMatrix = mProjectionMatrix * mViewMatrix;
    mInvViewProjectionMatrix = mViewProjectionMatrix.inverse();
}

Math::Frustum<float> Camera::frustumOf(const Eigen::Matrix4f& matrix) const
{
    const Eigen::RowVector4f r0 = matrix.row(0);
    const Eigen::RowVector4f r1 = matrix.row(1);
    const Eigen::RowVector4f r2 = matrix.row(2);
    const Eigen::RowVector4f r3 = matrix.row(3);
    const Eigen::RowVector4f depthZero = r2;
    const Eigen::RowVector4f depthOne = r3 - r2;
    return {
        {normalizedPlane(r3 + r0),
         normalizedPlane(r3 - r0),
         normalizedPlane(r3 + r1),
         normalizedPlane(r3 - r1),
         normalizedPlane(mZBufferReversed ? depthOne : depthZero),
         normalizedPlane(mZBufferReversed ? depthZero : depthOne)}};
}
}  // namespace Render
