#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

struct ID3DInclude;

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

/// In bytes, of a source or of bytecode; no shader comes near it.
inline constexpr std::uint64_t kLargestShaderFile = 64ULL << 20U;

/// Compiles HLSL; warnings are errors. Runs on any thread.
/// @param sourceName  how messages call the source
/// @param include     resolves include lines
/// @throws std::runtime_error  "Error: Compilation of hlsl shader failed\n" and the compiler's messages
std::string compileHlsl(
    std::string_view source, const std::string& sourceName, ID3DInclude* include, const ShaderProfile& profile
);

/// Compiles an embedded source, which may include others.
/// @throws std::system_error   when the registry has no file of this name
/// @throws std::runtime_error  as compileHlsl
std::string compileHlslResource(const std::string& name, const ShaderProfile& profile);

/// Compiles a file, whose include lines are relative to its folder.
/// @throws std::runtime_error  as Core::readLocalFile and compileHlsl
std::string compileHlslFile(const std::filesystem::path& path, const ShaderProfile& profile);
}  // namespace Render
