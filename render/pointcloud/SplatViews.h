#pragma once

#include "render/platform/Direct3D.h"
#include "render/pointcloud/SplatList.h"

#include <array>

namespace Render
{
/// Sets the views of a pass at a stage, and none at the end of the scope.
///
/// Set       ID3D11DeviceContext's function that sets the stage's resource views.
template <auto Set>
class [[nodiscard]] SplatViews
{
public:
    /// @param extra  what the pass reads behind chunks, points, levels and look; null for nothing
    explicit SplatViews(
        ID3D11DeviceContext* context,
        const SplatList::Views& views,
        const std::array<ID3D11ShaderResourceView*, 3>& extra = {}
    )
        : mContext(context)
    {
        const All all{views[0], views[1], views[2], views[3], extra[0], extra[1], extra[2]};
        (mContext->*Set)(SplatList::kChunkSlot, static_cast<UINT>(all.size()), all.data());
    }

    SplatViews(const SplatViews&) = delete;
    SplatViews& operator=(const SplatViews&) = delete;

    ~SplatViews()
    {
        const All none{};
        (mContext->*Set)(SplatList::kChunkSlot, static_cast<UINT>(none.size()), none.data());
    }

private:
    using All = std::array<ID3D11ShaderResourceView*, 7>;

    ID3D11DeviceContext* mContext;
};

/// Sets what compute shaders write at slot 0, and nothing at the end of the scope.
class [[nodiscard]] ComputeOutput
{
public:
    ComputeOutput(ID3D11DeviceContext* context, ID3D11UnorderedAccessView* output) : mContext(context)
    {
        mContext->CSSetUnorderedAccessViews(0, 1, &output, nullptr);
    }

    ComputeOutput(const ComputeOutput&) = delete;
    ComputeOutput& operator=(const ComputeOutput&) = delete;

    ~ComputeOutput()
    {
        ID3D11UnorderedAccessView* const nothing = nullptr;
        mContext->CSSetUnorderedAccessViews(0, 1, &nothing, nullptr);
    }

private:
    ID3D11DeviceContext* mContext;
};

using VertexSplatViews = SplatViews<&ID3D11DeviceContext::VSSetShaderResources>;
using PixelSplatViews = SplatViews<&ID3D11DeviceContext::PSSetShaderResources>;
using ComputeSplatViews = SplatViews<&ID3D11DeviceContext::CSSetShaderResources>;
}  // namespace Render
