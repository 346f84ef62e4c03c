#include "render/pointcloud/LoDPointCloud.h"

#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/inputLayouts.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/ScopedBinding.h"
#include "render/pointcloud/sharedNodePrioritizer.h"
#include "render/pointcloud/writeOctreeTexture.h"
#include "render/scene/Viewport.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
constexpr const char* kShader = "shaders/pointcloud.hlsl";
constexpr UINT kCornersPerSplat = 4;
constexpr std::size_t kBytesPerTexel = 4;

using Vertex = VertexPosColorIntensityClassIndexScanIndex;

std::shared_ptr<NodePrioritizer> prioritizerWithin(std::uint64_t groupKey, std::size_t budget)
{
    std::shared_ptr<NodePrioritizer> prioritizer = sharedNodePrioritizer(groupKey, budget);
    if (prioritizer->totalMaxPointCount() > budget)
    {
        prioritizer->setTotalMaxPointCount(budget);
    }
    return prioritizer;
}

Texture1d octreeTexture(ID3D11Device* device)
{
    D3D11_TEXTURE1D_DESC desc{};
    desc.Width = kMaxDrawnNodes;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    return Texture1d(device, desc);
}
}  // namespace

LoDPointCloud::LoDPointCloud(
    std::uint64_t groupKey,
    CComPtr<ID3D11Device> device,
    CComPtr<ID3D11DeviceContext> deviceContext,
    std::uint64_t cloudId,
    std::size_t budget
)
    : mCloudId(cloudId),
      mDevice(std::move(device)),
      mDeviceContext(std::move(deviceContext)),
      mPerFrame(mDevice),
      mPerOctreeNode(mDevice, sizeof(PerOctreeNodeConstants)),
      mVertexShader(VertexShader::fromHlslResource(mDevice, kShader, pointInputLayout())),
      mPixelShader(PixelShader::fromHlslResource(mDevice, kShader)),
      mPrioritizer(prioritizerWithin(groupKey, budget)),
      mVertices(mDevice, budget, sizeof(Vertex)),
      mOctreeTexture(octreeTexture(mDevice)),
      mOctreeTextureView(mDevice, mOctreeTexture.get(), nullptr),
      mBoxes(mDevice, kMaxDrawnNodes)
{
}

LoDPointCloud::~LoDPointCloud()
{
    mPrioritizer->clear(mCloudId);
}

void LoDPointCloud::setProjectionMatrix(const Eigen::Matrix4f& projection)
{
    mProjection = projection;
    updateTransforms();
}

void LoDPointCloud::setViewMatrix(const Eigen::Matrix4f& view)
{
    mView = view;
    updateTransforms();
}

void LoDPointCloud::setModelMatrix(const Eigen::Matrix4f& model)
{
    mModel = model;
    updateTransforms();
}

void LoDPointCloud::updateTransforms()
{
    setTransforms(mPerFrame.edit(), mModel, mView, mProjection);
    mBoxes.setModelViewProjection(mPerFrame.values().model_view_proj);
}

void LoDPointCloud::setViewport(const Viewport& viewport)
{
    PerFrameConstants& constants = mPerFrame.edit();
    constants.width = static_cast<float>(viewport.width());
    constants.height = static_cast<float>(viewport.height());
    constants.aspect = constants.width / constants.height;
}

void LoDPointCloud::setClippingVolume(const Math::ConvexPolytope<float, 3>& volume)
{
    setClippingPlanes(mPerFrame.edit(), volume);
}

void LoDPointCloud::setUniformColor(const Math::Color& color)
{
    const auto channel = [](unsigned char value) { return static_cast<float>(value) / 255.0F; };
    mPerFrame.edit().uniformColor = {
        channel(color.r()), channel(color.g()), channel(color.b()), channel(color.a())};
}

void LoDPointCloud::setPointSize(float size)
{
    mPerFrame.edit().point_size = size;
}

void LoDPointCloud::setRootNodeSize(float size)
{
    mPerFrame.edit().root_node_size = size;
}

void LoDPointCloud::setMaxPointSize(float size)
{
    mPerFrame.edit().max_point_size = size;
}

void LoDPointCloud::setRenderMode(RenderMode renderMode)
{
    mPerFrame.edit().point_render_mode = static_cast<std::int32_t>(renderMode);
}

void LoDPointCloud::setTomographicContrast(float contrast)
{
    mPerFrame.edit().tomo_contrast = contrast;
}

RenderMode LoDPointCloud::renderMode() const noexcept
{
    return static_cast<RenderMode>(mPerFrame.values().point_render_mode);
}

void LoDPointCloud::render()
{
    mNeedsUpload |= mBuffers.update();
    const Buffer& buffer = std::as_const(mBuffers).front();
    if (mNeedsUpload)
    {
        upload(buffer);
        mNeedsUpload = false;  // not before: after a failure the next frame tries again
    }
    drawNodes(buffer);
    if (mShowBoundingBoxes)
    {
        mBoxes.draw(mDeviceContext);
    }
}

void LoDPointCloud::upload(const Buffer& buffer)
{
    uploadOctreeTexture(buffer);
    std::vector<std::span<const std::byte>> pieces;
    for (const std::span<const Vertex> vertices : buffer.vertices.spans())
    {
        pieces.push_back(std::as_bytes(vertices));
    }
    // A host that raises the shared budget later can have more points published than this cloud has room for.
    mVertices.update(mDeviceContext, pieces);
    mBoxes.update(mDeviceContext, buffer.boundingBoxes);
    mNumVisibleOctreeNodes = buffer.nodes.size();
    mNumVisiblePoints = buffer.vertices.size();
}

void LoDPointCloud::uploadOctreeTexture(const Buffer& buffer)
{
    constexpr std::size_t kTextureBytes = kMaxDrawnNodes * kBytesPerTexel;
    const std::size_t used = std::min(buffer.octreeTextureData.size(), kTextureBytes);
    const D3D11_MAPPED_SUBRESOURCE mapped = mOctreeTexture.map(mDeviceContext, D3D11_MAP_WRITE_DISCARD);
    auto* const texels = static_cast<std::uint8_t*>(mapped.pData);
    std::copy_n(buffer.octreeTextureData.data(), used, texels);
    std::fill_n(texels + used, kTextureBytes - used, std::uint8_t{0});  // mapping left it undefined
    mOctreeTexture.unMap(mDeviceContext);
}

void LoDPointCloud::drawNodes(const Buffer& buffer)
{
    constexpr auto kStages = ShaderConfiguration::Vertex | ShaderConfiguration::Pixel;
    const ScopedBinding vertexShader(mDeviceContext, mVertexShader);
    const ScopedBinding pixelShader(mDeviceContext, mPixelShader);
    const ScopedBinding perFrame(mDeviceContext, mPerFrame, kStages, 0U);
    const ScopedBinding octreeTexture(mDeviceContext, mOctreeTextureView, ShaderConfiguration::Vertex, 0U);
    const ScopedBinding perOctreeNode(mDeviceContext, mPerOctreeNode, ShaderConfiguration::Vertex, 1U);
    mDeviceContext->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
    mVertices.set(mDeviceContext);

    PerOctreeNodeConstants constants;
    for (const NodeRecord& node : buffer.nodes)
    {
        if (node.firstPoint + node.pointCount > mVertices.capacity())
        {
            continue;  // not uploaded, see upload()
        }
        constants.node_min = {node.boxMin.x, node.boxMin.y, node.boxMin.z};
        constants.node_index = static_cast<std::uint32_t>(node.index);
        constants.node_depth = static_cast<std::uint32_t>(node.level);
        mPerOctreeNode.update(mDeviceContext, std::as_bytes(std::span(&constants, 1)));
        mDeviceContext->DrawInstanced(
            kCornersPerSplat, static_cast<UINT>(node.pointCount), 0, static_cast<UINT>(node.firstPoint)
        );
    }
}
}  // namespace Render
