#pragma once

#include "render/platform/ShaderProfile.h"

#include <string>
#include <string_view>

struct ID3DInclude;

namespace Render
{
/// Compiles HLSL; warnings are errors. Runs on any thread.
/// @param sourceName  how messages call the source
/// @param include     resolves include lines; D3D_COMPILE_STANDARD_FILE_INCLUDE for files beside the source
/// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages, or
///                             one line that names the compiler's library when that is missing
std::string compileHlsl(
    std::string_view source, const std::string& sourceName, ID3DInclude* include, const ShaderProfile& profile
);
}  // namespace Render
