#include "render/pointcloud/SplatRasterizer.h"

#include "render/gpu/ShaderConfiguration.h"
#include "render/pointcloud/ScopedBinding.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <initializer_list>
#include <span>
#include <utility>

namespace Render
{
namespace
{
constexpr unsigned int kPerFrameSlot = 0;  // the registers of shaders/splats.hlsl
constexpr unsigned int kSplatSlot = 2;
constexpr UINT kOctreeTextureSlot = 0;
constexpr UINT kChunkSlot = 1;
constexpr UINT kPointSlot = 2;
constexpr UINT kLevelSlot = 3;
constexpr UINT kExtraSlot = 4;
constexpr UINT kMostGroups = 65535;  // of one dimension

/// Sets views for compute shaders, and none at the end of the scope.
class [[nodiscard]] ComputeViews
{
public:
    using Input = std::pair<UINT, ID3D11ShaderResourceView*>;

    ComputeViews(
        ID3D11DeviceContext* context, std::initializer_list<Input> inputs, ID3D11UnorderedAccessView* output
    )
        : mContext(context), mInputs(inputs)
    {
        for (const auto& [slot, view] : mInputs)
        {
            mContext->CSSetShaderResources(slot, 1, &view);
        }
        mContext->CSSetUnorderedAccessViews(0, 1, &output, nullptr);
    }

    ComputeViews(const ComputeViews&) = delete;
    ComputeViews& operator=(const ComputeViews&) = delete;

    ~ComputeViews()
    {
        ID3D11UnorderedAccessView* const noOutput = nullptr;
        mContext->CSSetUnorderedAccessViews(0, 1, &noOutput, nullptr);
        ID3D11ShaderResourceView* const noInput = nullptr;
        for (const auto& [slot, view] : mInputs)
        {
            mContext->CSSetShaderResources(slot, 1, &noInput);
        }
    }

private:
    ID3D11DeviceContext* mContext;
    std::vector<Input> mInputs;
};

/// The same for pixel shaders.
class [[nodiscard]] PixelViews
{
public:
    using Views = std::array<ID3D11ShaderResourceView*, 5>;

    PixelViews(ID3D11DeviceContext* context, const Views& views) : mContext(context)
    {
        mContext->PSSetShaderResources(kChunkSlot, static_cast<UINT>(views.size()), views.data());
    }

    PixelViews(const PixelViews&) = delete;
    PixelViews& operator=(const PixelViews&) = delete;

    ~PixelViews()
    {
        const Views none{};
        mContext->PSSetShaderResources(kChunkSlot, static_cast<UINT>(none.size()), none.data());
    }

private:
    ID3D11DeviceContext* mContext;
};

/// Replaces the contents of a buffer that grows as needed.
template <class Element>
void assign(
    ShaderBuffer& buffer, ID3D11Device* device, ID3D11DeviceContext* context, const std::vector<Element>& values
)
{
    const std::span<const std::byte> bytes = std::as_bytes(std::span(values));
    if (bytes.size() > buffer.byteWidth() || buffer.buffer() == nullptr)
    {
        const std::size_t count = std::bit_ceil(std::max<std::size_t>(values.size(), 64));
        buffer = ShaderBuffer::dynamic(device, sizeof(Element), count);
    }
    buffer.update(context, bytes);
}
}  // namespace

SplatRasterizer::SplatRasterizer(CComPtr<ID3D11Device> device, std::shared_ptr<SplatTargets> targets)
    : mDevice(std::move(device)),
      mTargets(std::move(targets)),
      mLevelShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatlevels.hlsl")),
      mDepthShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatdepths.hlsl")),
      mWinnerShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatwinners.hlsl")),
      mPictureVertexShader(VertexShader::fromHlslResource(mDevice, "shaders/splatpicture.hlsl", {})),
      mPicturePixelShader(PixelShader::fromHlslResource(mDevice, "shaders/splatpicture.hlsl")),
      mConstants(mDevice)
{
}

void SplatRasterizer::setNodes(
    ID3D11DeviceContext* context,
    const PointStore& store,
    ShaderResourceView& octreeTexture,
    ConstantBlock<PerFrameConstants>& perFrame
)
{
    writeSplatChunks(store.drawnNodes(), mChunks, mNodes);
    if (mChunks.empty())
    {
        return;
    }
    assign(mChunkBuffer, mDevice, context, mChunks);
    assign(mNodeBuffer, mDevice, context, mNodes);

    const ScopedBinding frame(context, perFrame, ShaderConfiguration::Compute, kPerFrameSlot);
    const ScopedBinding texture(context, octreeTexture, ShaderConfiguration::Compute, kOctreeTextureSlot);
    const ScopedBinding shader(context, mLevelShader);
    for (std::size_t i = 0; i < store.windows().size(); ++i)
    {
        const PointStore::Window& window = store.windows()[i];
        setWindow(static_cast<std::uint32_t>(i));
        const ScopedBinding constants(context, mConstants, ShaderConfiguration::Compute, kSplatSlot);
        const ComputeViews views(
            context,
            {{kChunkSlot, mChunkBuffer.resourceView()},
             {kPointSlot, window.points.resourceView()},
             {kExtraSlot, mNodeBuffer.resourceView()}},
            window.levels.accessView()
        );
        dispatch(context);
    }
}

bool SplatRasterizer::fits(const D3D11_VIEWPORT& viewport) noexcept
{
    const double right = std::ceil(static_cast<double>(viewport.TopLeftX) + viewport.Width);
    const double bottom = std::ceil(static_cast<double>(viewport.TopLeftY) + viewport.Height);
    return viewport.TopLeftX >= 0.0F && viewport.TopLeftY >= 0.0F && right >= 1.0 && bottom >= 1.0 &&
           right <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION && bottom <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION &&
           SplatTargets::fits(static_cast<std::size_t>(right) * static_cast<std::size_t>(bottom));
}

void SplatRasterizer::draw(
    ID3D11DeviceContext* context,
    const PointStore& store,
    const OutputState& output,
    std::uint32_t planeCount,
    ConstantBlock<PerFrameConstants>& perFrame
)
{
    if (mChunks.empty())
    {
        return;
    }
    const D3D11_VIEWPORT& viewport = output.viewport;
    SplatConstants constants = mConstants.values();
    constants.viewport_min = {viewport.TopLeftX, viewport.TopLeftY};
    constants.viewport_size = {viewport.Width, viewport.Height};
    constants.min_depth = viewport.MinDepth;
    constants.max_depth = viewport.MaxDepth;
    constants.columns = static_cast<std::uint32_t>(std::ceil(viewport.TopLeftX + viewport.Width));
    constants.rows = static_cast<std::uint32_t>(std::ceil(viewport.TopLeftY + viewport.Height));
    constants.chunk_count = static_cast<std::uint32_t>(mChunks.size());
    constants.plane_count = planeCount;
    constants.depth_test = static_cast<std::uint32_t>(output.depthRule->test);
    constants.order_flip = output.depthRule->isLastFirst ? 0U : ~0U;
    if (constants != mConstants.values())
    {
        mConstants.edit() = constants;
    }

    mTargets->reserve(std::size_t{constants.columns} * constants.rows);
    constexpr UINT kNothing[4]{};
    context->ClearUnorderedAccessViewUint(mTargets->depths().accessView(), kNothing);
    context->ClearUnorderedAccessViewUint(mTargets->winners().accessView(), kNothing);

    const auto kAll = ShaderConfiguration::Compute | ShaderConfiguration::Pixel;
    const ScopedBinding frame(context, perFrame, kAll, kPerFrameSlot);
    const auto forEachWindow = [&](ShaderConfiguration stage, const auto& draw)
    {
        for (std::size_t i = 0; i < store.windows().size(); ++i)
        {
            setWindow(static_cast<std::uint32_t>(i));
            const ScopedBinding bound(context, mConstants, stage, kSplatSlot);
            draw(store.windows()[i]);
        }
    };
    const auto pass = [&](ComputeShader& shader, const ShaderBuffer* input, const ShaderBuffer& result)
    {
        const ScopedBinding bound(context, shader);
        forEachWindow(
            ShaderConfiguration::Compute,
            [&](const PointStore::Window& window)
            {
                const ComputeViews views(
                    context,
                    {{kChunkSlot, mChunkBuffer.resourceView()},
                     {kPointSlot, window.points.resourceView()},
                     {kLevelSlot, window.levels.resourceView()},
                     {kExtraSlot, input != nullptr ? input->resourceView() : nullptr}},
                    result.accessView()
                );
                dispatch(context);
            }
        );
    };
    pass(mDepthShader, nullptr, mTargets->depths());
    pass(mWinnerShader, &mTargets->depths(), mTargets->winners());

    const ScopedBinding vertexShader(context, mPictureVertexShader);
    const ScopedBinding pixelShader(context, mPicturePixelShader);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    forEachWindow(
        ShaderConfiguration::Pixel,
        [&](const PointStore::Window& window)
        {
            const PixelViews views(
                context,
                {mChunkBuffer.resourceView(),
                 window.points.resourceView(),
                 window.levels.resourceView(),
                 mTargets->winners().resourceView(),
                 mTargets->depths().resourceView()}
            );
            context->Draw(3, 0);
        }
    );
}

void SplatRasterizer::dispatch(ID3D11DeviceContext* context) const
{
    const auto groups = static_cast<UINT>(mChunks.size());
    context->Dispatch(std::min(groups, kMostGroups), (groups + kMostGroups - 1) / kMostGroups, 1);
}

void SplatRasterizer::setWindow(std::uint32_t window)
{
    if (mConstants.values().window != window || mConstants.values().chunk_count != mChunks.size())
    {
        SplatConstants& constants = mConstants.edit();
        constants.window = window;
        constants.chunk_count = static_cast<std::uint32_t>(mChunks.size());
    }
}
}  // namespace Render
