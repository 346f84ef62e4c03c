#pragma once

namespace Render
{
/// What the compiler must know about a stage.
struct ShaderProfile
{
    const char* entryPoint;
    const char* target;
};

inline constexpr ShaderProfile kVertexProfile{"vs_main", "vs_5_0"};
inline constexpr ShaderProfile kPixelProfile{"ps_main", "ps_5_0"};
inline constexpr ShaderProfile kGeometryProfile{"gs_main", "gs_5_0"};
inline constexpr ShaderProfile kComputeProfile{"cs_main", "cs_5_0"};
}  // namespace Render
