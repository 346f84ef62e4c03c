#pragma once

#include "core/NonCopyable.h"
#include "render/Render.h"
#include "render/gpu/ComputeShader.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/ShaderBuffer.h"
#include "render/gpu/VertexShader.h"
#include "render/pointcloud/OutputState.h"
#include "render/pointcloud/PointShaderConstants.h"
#include "render/pointcloud/SplatList.h"
#include "render/pointcloud/SplatTargets.h"

#include <array>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace Render
{
/// What the last pass needs of a cloud: Cloud of shaders/splatpictures.hlsl, with its field names.
struct SplatCloud
{
    ShaderMatrix model{};
    ShaderMatrix model_view_proj{};
    ShaderMatrix inv_view_proj{};
    std::array<float, 4> uniformColor{};
    std::int32_t point_render_mode = 0;
    std::uint32_t coloring = 0;
    std::uint32_t color_table = 0;
    std::uint32_t padding = 0;
};

static_assert(std::is_trivially_copyable_v<SplatCloud> && sizeof(SplatCloud) == 224);

/// Draws points as the same splats that triangles would give, without triangles: compute shaders find the
/// nearest depth and the winning point of every pixel, then one full-screen pass writes the winners. All
/// clouds of a group use the same one, and those that are drawn one after the other share the last passes.
///
/// The first pass takes the nearest depth of each pixel by an atomic maximum, the second, among the points
/// that have it, the one that the depth test would leave; the pixels of a splat are those whose centres lie
/// in its circle. The picture is then tested against what is in the targets already, so the clouds compose
/// with whatever else is drawn.
///
/// Source   M. Schuetz, B. Kerbl, M. Wimmer, "Rendering Point Clouds with Compute Shaders and Vertex Order
///          Optimization" (2021), for resolving points by atomic operations; two passes stand here for the
///          64-bit operations of that work, which feature level 11.0 has not.
/// Threads  the thread of the immediate context; not locked.
class SplatRasterizer : private Core::NonCopyable
{
public:
    /// @throws ComException  when a shader or buffer cannot be created
    explicit SplatRasterizer(CComPtr<ID3D11Device> device);

    /// The one that the clouds of a group share on a device; it lives as long as somebody holds it.
    static std::shared_ptr<SplatRasterizer> shared(
        std::uint64_t groupKey, const CComPtr<ID3D11Device>& device
    );

    /// Whether the pixel buffers of a viewport keep within the limits of every device.
    static bool fits(const D3D11_VIEWPORT& viewport) noexcept;

    /// Begins to draw a cloud into the targets that are bound; flush() ends it. Whatever lies in the output's
    /// way is drawn before, should it differ from that of the clouds that wait.
    /// @param list, perFrame  must live and stay the same until flush()
    /// @param output          its depth rule must be known
    /// @param planeCount      clipping planes in force
    /// @throws ComException   when something cannot be created or mapped; what waited is dropped then
    void add(
        ID3D11DeviceContext* context,
        SplatList& list,
        const OutputState& output,
        std::uint32_t planeCount,
        ConstantBlock<PerFrameConstants>& perFrame
    );

    /// Draws what waits; the state of the output must be that of the last add().
    /// @throws ComException  when something cannot be created or mapped; what waited is dropped then
    void flush(ID3D11DeviceContext* context);

    /// Forgets what waits.
    void drop() noexcept { mPending.clear(); }

private:
    /// A cloud whose depths have been taken.
    struct Pending
    {
        SplatList* list;
        ConstantBlock<PerFrameConstants>* perFrame;
    };

    void begin(ID3D11DeviceContext* context, const SplatConstants& constants);
    void takeDepths(ID3D11DeviceContext* context, const Pending& cloud);
    void takeWinners(ID3D11DeviceContext* context, const Pending& cloud);
    void drawPicture(ID3D11DeviceContext* context);
    void drawPictures(ID3D11DeviceContext* context);
    void mergeChunks(ID3D11DeviceContext* context);
    bool mergeLooks(ID3D11DeviceContext* context);

    CComPtr<ID3D11Device> mDevice;
    SplatTargets mTargets;
    ComputeShader mDepthShader;
    ComputeShader mWinnerShader;
    VertexShader mPictureVertexShader;
    PixelShader mPicturePixelShader;   // of one cloud
    PixelShader mPicturesPixelShader;  // of several
    std::vector<Pending> mPending;
    SplatConstants mOutput;  // of all that wait

    // What several clouds are drawn from.
    std::vector<std::uint64_t> mMerged;  // the lists' revisions
    std::vector<SplatChunk> mChunks;
    std::vector<SplatCloud> mClouds;
    ShaderBuffer mChunkBuffer;
    ShaderBuffer mCloudBuffer;
    std::vector<std::uint32_t> mColorTables;
    ShaderBuffer mColorTableBuffer;
};
}  // namespace Render
