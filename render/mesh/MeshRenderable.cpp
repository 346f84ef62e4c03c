#include "render/mesh/MeshRenderable.h"

#include "render/gpu/ClippingPlanes.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/ScopedBinding.h"
#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/ShaderMatrix.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/bufferSize.h"
#include "render/gpu/inputLayouts.h"
#include "render/gpu/throwIfFailed.h"
#include "render/mesh/ObjMeshLoader.h"
#include "render/platform/Direct3D.h"
#include "render/scene/Camera.h"

#include <algorithm>
#include <array>
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

/// cbPerFrameConstants of shaders/mesh.hlsl.
struct Constants
{
    ShaderMatrix modelMatrix = kIdentityShaderMatrix;
    ShaderMatrix viewProjectionMatrix = kIdentityShaderMatrix;
    ClippingPlanes clipping_planes{};
    float unitScale = 1.0F;
    std::array<float, 3> cameraPosition{};
    std::array<float, 3> lightPos{};
    float padding = 0.0F;
};

static_assert(offsetof(Constants, clipping_planes) == 128);
static_assert(offsetof(Constants, unitScale) == 256);
static_assert(offsetof(Constants, cameraPosition) == 260);
static_assert(offsetof(Constants, lightPos) == 272);
static_assert(sizeof(Constants) == 288);

std::array<float, 3> toArray(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}
}  // namespace

struct MeshRenderable::Drawing
{
    struct Part
    {
        CComPtr<ID3D11Buffer> vertices;
        UINT vertexCount = 0;
    };

    CComPtr<ID3D11Device> device;  // none before init()
    CComPtr<ID3D11DeviceContext> context;
    std::shared_ptr<Camera> camera;
    VertexShader vertexShader;
    PixelShader pixelShader;
    ConstantBlock<Constants> constants;
    std::vector<Part> parts;
};

static_assert(MeshRenderable::CLIPPING_PLANES_MAX_COUNT == std::tuple_size_v<ClippingPlanes>);

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
    : Renderable(name),
      mLoader(std::move(loader)),
      mUnitScale(unitScale),
      mDrawing(std::make_unique<Drawing>())
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
    mDrawing->constants = ConstantBlock<Constants>(device, mDrawing->constants.values());
    mDrawing->vertexShader = std::move(vertexShader);
    mDrawing->pixelShader = std::move(pixelShader);
    mDrawing->device = std::move(device);
    mDrawing->context = std::move(deviceContext);
    mDrawing->camera = std::move(camera);
    mDrawing->constants.edit().unitScale = static_cast<float>(mUnitScale);
    mDrawing->constants.edit().modelMatrix = toShaderMatrix(worldMatrix());
    onUpdateViewMatrix(mDrawing->camera);

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
    mDrawing->parts.clear();
    mDrawing->vertexShader = VertexShader();
    mDrawing->pixelShader = PixelShader();
    mDrawing->constants.releaseBuffer();
    mDrawing->camera.reset();
    mDrawing->context.release();
    mDrawing->device.release();
}

void MeshRenderable::forgetMesh() noexcept
{
    mDrawing->parts.clear();
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
    Drawing::Part part;
    part.vertexCount = static_cast<UINT>(vertices.size());
    throwIfFailed(mDrawing->device->CreateBuffer(&desc, &data, part.vertices.put()), mDrawing->device, what);
    mDrawing->parts.push_back(std::move(part));

    for (const VertexPosNormalTexCoordColor& vertex : vertices)
    {
        mFileBox.extend(vertex.position);
    }
    mTriangleCount += vertices.size() / kCornersPerTriangle;
    setNeedsRedraw(true);
}

void MeshRenderable::onUpdateProjectionMatrix(const std::shared_ptr<Camera>& camera)
{
    mDrawing->constants.edit().viewProjectionMatrix = toShaderMatrix(camera->viewProjectionMatrix());
}

void MeshRenderable::onUpdateViewMatrix(const std::shared_ptr<Camera>& camera)
{
    onUpdateProjectionMatrix(camera);
    mDrawing->constants.edit().cameraPosition = toArray(camera->eye());
}

void MeshRenderable::onUpdateZRange(const std::shared_ptr<Camera>& camera)
{
    onUpdateProjectionMatrix(camera);
}

void MeshRenderable::invalidateWorldMatrix()
{
    Renderable::invalidateWorldMatrix();
    mDrawing->constants.edit().modelMatrix = toShaderMatrix(worldMatrix());
}

void MeshRenderable::setClippingVolume(const Math::ConvexPolytope<float, 3>& volume)
{
    const ClippingPlanes planes = toClippingPlanes(volume);
    if (volume.halfSpaces() == mClippingPlanes)
    {
        return;
    }
    mClippingPlanes = volume.halfSpaces();
    mDrawing->constants.edit().clipping_planes = planes;
    setNeedsRedraw(true);
}

void MeshRenderable::render()
{
    Renderable::render();
    if (!mDrawing->context)
    {
        return;
    }
    const ScopedBinding vertexShader(mDrawing->context, mDrawing->vertexShader);
    const ScopedBinding pixelShader(mDrawing->context, mDrawing->pixelShader);
    constexpr ShaderConfiguration kStages = ShaderConfiguration::Vertex | ShaderConfiguration::Pixel;
    const ScopedBinding constants(mDrawing->context, mDrawing->constants, kStages, 0U);
    mDrawing->context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    const UINT offset = 0;
    for (const Drawing::Part& part : mDrawing->parts)
    {
        ID3D11Buffer* const buffer = part.vertices;
        mDrawing->context->IASetVertexBuffers(0, 1, &buffer, &kStride, &offset);
        mDrawing->context->Draw(part.vertexCount, 0);
    }
    ID3D11Buffer* const none = nullptr;
    const UINT zero = 0;
    mDrawing->context->IASetVertexBuffers(0, 1, &none, &zero, &zero);
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
