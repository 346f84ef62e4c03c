#pragma once

#include "render/Render.h"
#include "render/platform/Direct3D.h"

#include <cstdint>
#include <optional>

namespace Render
{
/// Which of the fragments of a pixel stays.
struct DepthRule
{
    /// The numbers of depth_test of shaders/splats.hlsl.
    enum class Test : std::uint32_t
    {
        None = 0,
        LessIsNearer = 1,
        GreaterIsNearer = 2,
    };

    Test test = Test::None;
    bool isLastFirst = true;  ///< among fragments of equal depth the one that is drawn last stays
};

/// The rule of a depth state.
/// @param hasDepthBuffer  whether one is bound; without it nothing is tested
/// @return nothing where the fragments that stay cannot be told from their depths and order alone: stencil
///         tests, tests that do not write, comparisons for equality
std::optional<DepthRule> depthRuleOf(const D3D11_DEPTH_STENCIL_DESC& desc, bool hasDepthBuffer);

/// What happens to fragments on the way into the targets that are bound.
struct OutputState
{
    std::optional<DepthRule> depthRule;  ///< nothing where more than one fragment may count in a pixel
    D3D11_VIEWPORT viewport{};
};

/// Asks the context. States that were not set are the defaults of Direct3D.
OutputState outputStateOf(ID3D11DeviceContext* context);
}  // namespace Render
