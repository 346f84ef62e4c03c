#include "render/mesh/MeshRenderable.h"

#include "render/gpu/ScopedBinding.h"
#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/bufferSize.h"
#include "render/gpu/inputLayouts.h"
#include "render/gpu/throwIfFailed.h"
#include "render/mesh/ObjMeshLoader.h"
#include "render/platform/Direct3D.h"
#include "render/scene/Camera.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

namespace Render
{
namespace
{
constexpr const char* kShader = "shaders/mesh.hlsl";
constexpr std::size_t kCornersPerTriangle = 3;
constexpr UINT kStride = sizeof(VertexPosNormalTexCoordColor);

std::array<float, 3> toArray(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}
}  // namespace

// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::size_t MeshRenderable::CLIPPING_PLANES_MAX_COUNT;

std::shared_ptr<MeshRenderable> MeshRenderable::create(
    const std::filesystem::path& path, double unitScale, const std::string& name
)
{
    return std::make_shared<MeshRenderable>(Private(), path, unitScale, name);
}

std::shared_ptr<MeshRenderable> MeshRenderable::create(
    std::shared_ptr<MeshLoader> loader, double unitScale, const std::string& name
)
{
    return std::make_shared<MeshRenderable>(Private(), std::move(loader), unitScale, name);
}

MeshRenderable::MeshRenderable(
    Private, std::shared_ptr<MeshLoader> loader, double unitScale, const std::string& name
)
    : Renderable(name), mLoader(std::move(loader)), mUnitScale(unitScale)
{
    if (!mLoader)
    {
        throw std::invalid_argument("MeshRenderable: loader must not be empty");
    }
    if (!(unitScale > 0.0) || !std::isfinite(unitScale))
    {
        throw std::invalid_argument("MeshRenderable: unit scale must be above 0 and finite");
    }
}

MeshRenderable::MeshRenderable(
    Private, const std::filesystem::path& path, double unitScale, const std::string& name
)
    : MeshRenderable(Private(), std::make_shared<ObjMeshLoader>(path), unitScale, name)
{
}

MeshRenderable::~MeshRenderable() = default;

void MeshRenderable::init(
    unsigned long long /*rendererId*/,
    std::shared_ptr<Camera> camera,
    CComPtr<ID3D11Device> device,
    CComPtr<ID3D11DeviceContext> deviceContext
)
{
    auto vertexShader = VertexShader::fromHlslResource(device, kShader, meshInputLayout());
    auto pixelShader = PixelShader::fromHlslResource(device, kShader);
    mConstants = ConstantBlock<Constants>(device, mConstants.values());
    mVertexShader = std::move(vertexShader);
    mPixelShader = std::move(pixelShader);
    mDevice = std::move(device);
    mContext = std::move(deviceContext);
    mCamera = std::move(camera);
    mConstants.edit().unitScale = static_cast<float>(mUnitScale);
    mConstants.edit().modelMatrix = toShaderMatrix(worldMatrix());
    onUpdateViewMatrix(mCamera);

    forgetMesh();
    try
    {
        mLoader->load([this](std::span<const VertexPosNormalTexCoordColor> part) { addMeshPart(part); });
    }
    catch (...)
    {
        deinit();
        forgetMesh();
        throw;
    }
}

void MeshRenderable::deinit()
{
    mParts.clear();
    mVertexShader = VertexShader();
    mPixelShader = PixelShader();
    mConstants.releaseBuffer();
    mCamera.reset();
    mContext.release();
    mDevice.release();
}

void MeshRenderable::forgetMesh() noexcept
{
    mParts.clear();
    mFileBox = {};
    mTriangleCount = 0;
}

void MeshRenderable::addMeshPart(std::span<const VertexPosNormalTexCoordColor> vertices)
{
    if (vertices.empty())
    {
        return;  // Direct3D has no empty buffers
    }
    const std::string what = "a part of the mesh of " + std::to_string(vertices.size()) + " vertices";
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = bufferSize(vertices.size(), kStride, what);
    desc.Usage = D3D11_USAGE_IMMUTABLE;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
    const D3D11_SUBRESOURCE_DATA data{vertices.data(), 0, 0};
    MeshPart part;
    part.vertexCount = static_cast<UINT>(vertices.size());
    throwIfFailed(mDevice->CreateBuffer(&desc, &data, part.vertices.put()), mDevice, what);
    mParts.push_back(std::move(part));

    for (const VertexPosNormalTexCoordColor& vertex : vertices)
    {
        mFileBox.extend(vertex.position);
    }
    mTriangleCount += vertices.size() / kCornersPerTriangle;
    setNeedsRedraw(true);
}

void MeshRenderable::onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera)
{
    mConstants.edit().viewProjectionMatrix = toShaderMatrix(camera->viewProjectionMatrix());
}

void MeshRenderable::onUpdateViewMatrix(const std::shared_ptr<Camera>& camera)
{
    onUpdateProjectionMatrix(camera);
    mConstants.edit().cameraPosition = toArray(camera->eye());
}

void MeshRenderable::onUpdateZRange(const std::shared_ptr<Camera>& camera)
{
    onUpdateProjectionMatrix(camera);
}

void MeshRenderable::invalidateWorldMatrix()
{
    Renderable::invalidateWorldMatrix();
    mConstants.edit().modelMatrix = toShaderMatrix(worldMatrix());
}

void MeshRenderable::setClippingVolume(const Math::ConvexPolytope<float, 3>& volume)
{
    const ClippingPlanes planes = toClippingPlanes(volume);
    if (volume.halfSpaces() == mClippingPlanes)
    {
        return;
    }
    mClippingPlanes = volume.halfSpaces();
    mConstants.edit().clipping_planes = planes;
    setNeedsRedraw(true);
}

void MeshRenderable::render()
{
    Renderable::render();
    if (!mContext)
    {
        return;
    }
    const ScopedBinding vertexShader(mContext, mVertexShader);
    const ScopedBinding pixelShader(mContext, mPixelShader);
    constexpr ShaderConfiguration kStages = ShaderConfiguration::Vertex | ShaderConfiguration::Pixel;
    const ScopedBinding constants(mContext, mConstants, kStages, 0U);
    mContext->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    const UINT offset = 0;
    for (const MeshPart& part : mParts)
    {
        ID3D11Buffer* const buffer = part.vertices;
        mContext->IASetVertexBuffers(0, 1, &buffer, &kStride, &offset);
        mContext->Draw(part.vertexCount, 0);
    }
    ID3D11Buffer* const none = nullptr;
    const UINT zero = 0;
    mContext->IASetVertexBuffers(0, 1, &none, &zero, &zero);
}

Math::NBoundingBox<float, 3> MeshRenderable::boundingBox()
{
    if (mFileBox.isEmpty())
    {
        return {};
    }
    const auto scaled = [scale = static_cast<float>(mUnitScale)](const Math::Point<float, 3>& point)
    { return Math::Point<float, 3>(point.x * scale, point.y * scale, point.z * scale); };
    return {scaled(mFileBox.min()), scaled(mFileBox.max())};
}
}  // namespace Render
