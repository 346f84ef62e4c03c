#pragma once

#include "render/platform/ShaderProfile.h"

#include <string>
#include <string_view>

namespace Render
{
class IHlslInclude;

/// Compiles HLSL by vkd3d-shader; its warnings are errors. Runs on any thread, whatever the process's locale.
///
/// The library lacks some functions of HLSL; "countbits" of one uint, "isnan", "isinf" and "isfinite" are
/// ours.
/// @param sourceName  how messages call the source
/// @param include     resolves include lines; null to refuse them
/// @returns the bytecode, in the container that Direct3D 11 takes
/// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages, or
///                             one line that names the library when that is missing. What include throws
///                             comes through.
std::string compileByVkd3d(
    std::string_view source,
    const std::string& sourceName,
    IHlslInclude* include,
    const ShaderProfile& profile
);
}  // namespace Render
