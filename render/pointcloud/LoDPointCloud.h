#pragma once

#include "core/NonCopyable.h"
#include "core/TripleBuffer.h"
#include "math/Color.h"
#include "math/ConvexPolytope.h"
#include "render/Export.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture1d.h"
#include "render/pointcloud/Boxes.h"
#include "render/pointcloud/Buffer.h"
#include "render/pointcloud/PointLook.h"
#include "render/pointcloud/PointShaderConstants.h"
#include "render/pointcloud/chooseSplatRoad.h"
#include "render/scene/RenderMode.h"

#include <Eigen/Core>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace Render
{
class DrawQueue;
class NodePrioritizer;
class PointStore;
class SplatList;
class SplatQuads;
class SplatRasterizer;
class Viewport;
struct OutputState;

/// The GPU side of one point cloud: draws what the selection pass has published, every point as a round
/// splat whose size follows the depth of the deepest drawn octree node around it.
///
/// Frame    points, boxes and clipping planes in model coordinates.
/// Threads  the render thread, but for the back slot of buffers(), which the loader fills and publishes,
///          the prioritizer, and the two counts, which any thread may read.
class RENDER_API LoDPointCloud : private Core::NonCopyable
{
public:
    /// @param groupKey  clouds of one key share a prioritizer, whose budget is lowered to this cloud's
    /// @param cloudId   tells this cloud's nodes from others' in the prioritizer
    /// @param budget    most points that are drawn
    /// @throws std::invalid_argument  for a budget whose vertices Direct3D cannot address
    /// @throws ComException           when a shader, buffer or texture cannot be created
    LoDPointCloud(
        std::uint64_t groupKey,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext,
        std::uint64_t cloudId,
        std::size_t budget
    );

    /// Gives the cloud's share of the budget back to the clouds that go on using it.
    ~LoDPointCloud();

    /// The camera's matrices.
    void setProjectionMatrix(const Eigen::Matrix4f& projection);
    void setViewMatrix(const Eigen::Matrix4f& view);

    /// @param model  from model to world coordinates
    void setModelMatrix(const Eigen::Matrix4f& model);

    /// Where on the target it is drawn.
    void setViewport(const Viewport& viewport);

    /// @param volume  model coordinates
    /// @throws std::runtime_error  for more than 8 planes, see toClippingPlanes;
    ///                             the old ones stay
    void setClippingVolume(const Math::ConvexPolytope<float, 3>& volume);

    /// The colour of RenderMode::UniformColor.
    void setUniformColor(const Math::Color& color);

    /// @param size  half the width of a splat at level 0, model units
    void setPointSize(float size);

    /// @param size  largest side of the root's cube, model units
    void setRootNodeSize(float size);

    /// @param size  pixels
    void setMaxPointSize(float size);

    /// How points are coloured, and how much one covers in the tomographic modes.
    void setRenderMode(RenderMode renderMode);
    void setTomographicContrast(float contrast);

    /// What points are coloured and hidden by, from the next frame on.
    void setLook(const PointLook& look) { mLook = look; }

    /// How points become splats where there is a choice; Automatic at first.
    void setSplatRoad(SplatRoad road) noexcept { mSplatRoad = road; }

    /// The road that the last frame took; Automatic before the first one.
    SplatRoad drawnRoad() const noexcept { return mDrawnRoad; }

    /// After so many bytes of new points the rest of a publication waits for the next frame; one node always
    /// goes. No bound at first.
    void setMaxUploadPerFrame(std::size_t bytes) noexcept { mMaxUploadPerFrame = bytes; }

    /// Whether the last frame left something of a publication for the next one.
    bool isUploading() const noexcept { return mNeedsUpload; }

    /// Whether the cubes of the drawn nodes are shown.
    void setShowBoundingBoxes(bool show) noexcept { mShowBoundingBoxes = show; }

    /// How points are coloured.
    RenderMode renderMode() const noexcept;

    /// Length of the model matrix's first column.
    float modelScale() const noexcept { return mPerFrame.values().model_scale; }

    /// Takes what has been published last, uploads what is new of it, and draws what is there, under the
    /// depth, blend and rasterizer state and the viewport that are set. While the renderer's DrawQueue is
    /// open the last step is left there.
    /// @throws ComException  when something cannot be uploaded
    void render();

    /// What decides which nodes are resident; clouds share it.
    NodePrioritizer& prioritizer() const noexcept { return *mPrioritizer; }

    /// What the loader publishes by.
    Core::TripleBuffer<Buffer>& buffers() noexcept { return mBuffers; }

    /// The cloud's number in the prioritizer.
    std::uint64_t cloudId() const noexcept { return mCloudId; }

    /// What the last frame drew.
    std::size_t numVisibleOctreeNodes() const noexcept { return mNumVisibleOctreeNodes; }

    /// Number of points that the last frame drew.
    std::size_t numVisiblePoints() const noexcept { return mNumVisiblePoints; }

private:
    void updateTransforms();
    void upload(const Buffer& buffer);
    void uploadOctreeTexture(const std::vector<std::uint8_t>& texels);
    void draw();

    std::uint64_t mCloudId;
    CComPtr<ID3D11Device> mDevice;
    CComPtr<ID3D11DeviceContext> mDeviceContext;
    Eigen::Matrix4f mModel = Eigen::Matrix4f::Identity();
    Eigen::Matrix4f mView = Eigen::Matrix4f::Identity();
    Eigen::Matrix4f mProjection = Eigen::Matrix4f::Identity();
    ConstantBlock<PerFrameConstants> mPerFrame;
    std::shared_ptr<NodePrioritizer> mPrioritizer;
    Core::TripleBuffer<Buffer> mBuffers;
    std::shared_ptr<DrawQueue> mDrawQueue;
    bool mNeedsUpload = false;
    bool mNeedsLevels = false;
    std::size_t mMaxUploadPerFrame = std::numeric_limits<std::size_t>::max();
    std::unique_ptr<PointStore> mPoints;
    std::unique_ptr<SplatList> mSplats;
    std::shared_ptr<SplatRasterizer> mRasterizer;
    std::unique_ptr<SplatQuads> mQuads;
    std::uint32_t mPlaneCount = 0;
    PointLook mLook;
    SplatRoad mSplatRoad = SplatRoad::Automatic;
    SplatRoad mDrawnRoad = SplatRoad::Automatic;
    Texture1d mOctreeTexture;
    ShaderResourceView mOctreeTextureView;
    std::atomic<std::size_t> mNumVisibleOctreeNodes{0};
    std::atomic<std::size_t> mNumVisiblePoints{0};
    Boxes mBoxes;
    bool mShowBoundingBoxes = false;
};
}  // namespace Render
