#include "render/scene/Renderable.h"

#include "math/transform.h"
#include "render/platform/Direct3D.h"
#include "render/scene/alignedByCorrespondences.h"

#include <Eigen/LU>

#include <utility>

namespace Render
{
namespace
{
Eigen::Vector3f offset(const Math::Point<float, 3>& from, const Math::Point<float, 3>& to)
{
    return {to.x - from.x, to.y - from.y, to.z - from.z};
}
}  // namespace

Renderable::Renderable(std::string name) : mName(std::move(name)) {}

Renderable::Renderable(const Renderable& other) = default;
Renderable& Renderable::operator=(const Renderable& other) = default;
Renderable::~Renderable() = default;

// NOLINTBEGIN(performance-unnecessary-value-param): the signature is public
void Renderable::init(
    unsigned long long /*rendererId*/,
    std::shared_ptr<Camera> /*camera*/,
    CComPtr<ID3D11Device> /*device*/,
    CComPtr<ID3D11DeviceContext> /*deviceContext*/
)
{
}

// NOLINTEND(performance-unnecessary-value-param)

void Renderable::deinit() {}

void Renderable::onUpdateProjectionMatrix(const std::shared_ptr<Camera>& /*camera*/) {}

void Renderable::onUpdateViewMatrix(const std::shared_ptr<Camera>& /*camera*/) {}

void Renderable::onUpdateZRange(const std::shared_ptr<Camera>& /*camera*/) {}

void Renderable::onUpdateViewport(const std::shared_ptr<Camera>& /*camera*/) {}

void Renderable::onUpdateRenderMode(RenderMode /*renderMode*/) {}

void Renderable::render()
{
    setNeedsRedraw(false);
}

std::optional<Math::Color> Renderable::backgroundColor()
{
    return std::nullopt;
}

bool Renderable::isTransparent() const
{
    return false;
}

void Renderable::brightnessAndContrast(
    float /*quantile*/, float /*range*/, float& brightness, float& contrast
)
{
    brightness = 0.0F;
    contrast = 1.0F;
}

void Renderable::setMatrix(const Eigen::Matrix4f& matrix)
{
    if (matrix == mMatrix)
    {
        return;
    }
    mMatrix = matrix;
    invalidateWorldMatrix();
    setNeedsRedraw(true);
}

Eigen::Matrix4f Renderable::matrix()
{
    return mMatrix;
}

Eigen::Matrix4f Renderable::worldMatrix()
{
    if (mWorldMatrixDirty)
    {
        const std::shared_ptr<Renderable> parent = mParent.lock();
        mWorldMatrix = parent ? Eigen::Matrix4f(parent->worldMatrix() * mMatrix) : mMatrix;
        mWorldMatrixDirty = false;
    }
    return mWorldMatrix;
}

void Renderable::invalidateWorldMatrix()
{
    mWorldMatrixDirty = true;
    setNeedsRedraw(true);
}

void Renderable::setNeedsRedraw(bool needsRedraw)
{
    mNeedsRedraw = needsRedraw;
}

bool Renderable::needsRedraw() const
{
    return mNeedsRedraw;
}

void Renderable::setName(const std::string& name)
{
    mName = name;
}

std::string Renderable::name() const
{
    return mName;
}

std::shared_ptr<Renderable> Renderable::parent() const
{
    return mParent.lock();
}

void Renderable::setParent(std::weak_ptr<Renderable> parent)
{
    mParent = std::move(parent);
    invalidateWorldMatrix();
}

Eigen::Matrix4f Renderable::invWorldMatrix()
{
    return worldMatrix().inverse();
}

bool Renderable::visible() const noexcept
{
    return mVisible;
}

void Renderable::setVisible(bool visible)
{
    if (visible == mVisible)
    {
        return;
    }
    mVisible = visible;
    setNeedsRedraw(true);
}

Math::NBoundingBox<float, 3> Renderable::boundingBoxWorld()
{
    return Math::transformed(boundingBox(), worldMatrix());
}

Math::NBoundingBox<float, 3> Renderable::boundingBoxParent()
{
    return Math::transformed(boundingBox(), matrix());
}

void Renderable::setTranslationAndZRotationByCorrespondences(
    const Math::Point<float, 3>& from,
    const Math::Point<float, 3>& to,
    const Eigen::Vector3f& fromDirection,
    const Eigen::Vector3f& toDirection
)
{
    setMatrix(alignedByCorrespondences(matrix(), from, to, fromDirection, toDirection));
}

void Renderable::setTranslationByCorrespondences(
    const Math::Point<float, 3>& from, const Math::Point<float, 3>& to
)
{
    setTranslationAndZRotationByCorrespondences(from, to, Eigen::Vector3f::UnitX(), Eigen::Vector3f::UnitX());
}

void Renderable::setZRotationByCorrespondences(
    const Math::Point<float, 3>& center, const Math::Point<float, 3>& from, const Math::Point<float, 3>& to
)
{
    setTranslationAndZRotationByCorrespondences(center, center, offset(center, from), offset(center, to));
}
}  // namespace Render
