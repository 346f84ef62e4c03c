#include "render/pointcloud/LoDPointCloud.h"

#include "render/gpu/MappedResource.h"
#include "render/pointcloud/NodePrioritizer.h"
#include "render/pointcloud/OutputState.h"
#include "render/pointcloud/PointStore.h"
#include "render/pointcloud/SplatList.h"
#include "render/pointcloud/SplatQuads.h"
#include "render/pointcloud/SplatRasterizer.h"
#include "render/pointcloud/sharedNodePrioritizer.h"
#include "render/pointcloud/writeOctreeTexture.h"
#include "render/scene/DrawQueue.h"
#include "render/scene/Viewport.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace Render
{
namespace
{
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

std::size_t checkedBudget(std::size_t budget)
{
    constexpr std::size_t kLargest = std::numeric_limits<UINT>::max();
    if (budget > kLargest / sizeof(Vertex))
    {
        throw std::invalid_argument(
            "A budget of " + std::to_string(budget) + " elements of " + std::to_string(sizeof(Vertex)) +
            " bytes is larger than the " + std::to_string(kLargest) + " bytes that Direct3D can address"
        );
    }
    return budget;
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
      mPrioritizer(prioritizerWithin(groupKey, checkedBudget(budget))),
      mDrawQueue(DrawQueue::shared(groupKey)),
      mPoints(std::make_unique<PointStore>(PointWindows::shared(groupKey, mDevice), budget)),
      mSplats(std::make_unique<SplatList>(mDevice)),
      mRasterizer(SplatRasterizer::shared(groupKey, mDevice)),
      mQuads(std::make_unique<SplatQuads>(mDevice)),
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
    const ClippingPlanes planes = toClippingPlanes(volume);
    mPerFrame.edit().clipping_planes = planes;
    mPlaneCount = static_cast<std::uint32_t>(volume.size());
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
    mNeedsLevels = true;
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
    if (mNeedsUpload)
    {
        mDrawQueue->finish();  // what waits there lies where points may move now
        upload(std::as_const(mBuffers).front());
    }
    draw();
    if (mShowBoundingBoxes)
    {
        mBoxes.draw(mDeviceContext);
    }
}

void LoDPointCloud::upload(const Buffer& buffer)
{
    // A failure leaves the flag set, so that the next frame tries again. A host that raises the shared budget
    // later can have more points published than this cloud's budget admits; those are left out.
    const bool isComplete = mPoints->update(mDeviceContext, buffer, mMaxUploadPerFrame);
    if (isComplete)
    {
        uploadOctreeTexture(buffer.octreeTextureData);
        mNumVisibleOctreeNodes = buffer.nodes.size();
        mNumVisiblePoints = buffer.vertices.size();
    }
    else
    {
        std::vector<NodeRecord> records;
        std::uint64_t points = 0;
        for (const DrawnNode& node : mPoints->drawnNodes())
        {
            records.push_back(node.record);
            points += node.record.pointCount;
        }
        std::vector<std::uint8_t> texels;
        writeOctreeTexture(records, texels);
        uploadOctreeTexture(texels);
        mNumVisibleOctreeNodes = records.size();
        mNumVisiblePoints = points;
    }
    mBoxes.update(mDeviceContext, buffer.boundingBoxes);
    mNeedsUpload = !isComplete;
}

void LoDPointCloud::uploadOctreeTexture(const std::vector<std::uint8_t>& texels)
{
    constexpr std::size_t kTextureBytes = kMaxDrawnNodes * kBytesPerTexel;
    const std::size_t used = std::min(texels.size(), kTextureBytes);
    const MappedResource mapped(mDeviceContext, mOctreeTexture.get(), D3D11_MAP_WRITE_DISCARD);
    std::byte* const end = std::ranges::copy(std::as_bytes(std::span(texels).first(used)), mapped.data()).out;
    std::fill_n(end, kTextureBytes - used, std::byte{0});  // mapping left it undefined
}

void LoDPointCloud::draw()
{
    if (mPoints->drawnNodes().empty())
    {
        return;
    }
    mNeedsLevels |= mPoints->takeChanged();
    if (mNeedsLevels)
    {
        mSplats->setNodes(mDeviceContext, *mPoints, mOctreeTextureView, mPerFrame);
        mNeedsLevels = false;  // not before: after a failure the next frame tries again
    }
    mSplats->setLook(mDeviceContext, mLook);
    const OutputState output = outputStateOf(mDeviceContext);
    mDrawnRoad = chooseSplatRoad({
        .wanted = mSplatRoad,
        .isTomographic = isTomographic(renderMode()),
        .maxSplatSize = mPerFrame.values().max_point_size,
        .isOutputOrdered = output.depthRule.has_value(),
        .fitsBuffers = SplatRasterizer::fits(output.viewport),
    });
    if (mDrawnRoad == SplatRoad::Quads)
    {
        mDrawQueue->finish();
        mQuads->draw(mDeviceContext, *mSplats, mPlaneCount, mPerFrame);
        return;
    }
    mRasterizer->add(mDeviceContext, *mSplats, output, mPlaneCount, mPerFrame);
    if (mDrawQueue->isOpen() && !mShowBoundingBoxes)
    {
        mDrawQueue->add(
            mRasterizer.get(),
            [this] { mRasterizer->flush(mDeviceContext); },
            [rasterizer = mRasterizer] { rasterizer->drop(); }
        );
    }
    else
    {
        mRasterizer->flush(mDeviceContext);
    }
}
}  // namespace Render
