#pragma once

#include "render/platform/ShaderProfile.h"
#include "render/platform/compileHlsl.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace Render
{
/// In bytes, of a source or of bytecode; no shader comes near it.
inline constexpr std::uint64_t kLargestShaderFile = 64ULL << 20U;

/// The bytecode of an embedded source: what was compiled beforehand where there is such, else the source is
/// compiled, which may include others.
/// @throws std::system_error   when the registry has no file of this name
/// @throws std::runtime_error  as compileHlsl
std::string compileHlslResource(const std::string& name, const ShaderProfile& profile);

/// Compiles a file, whose include lines are relative to its folder.
/// @throws std::runtime_error  as Core::readLocalFile and compileHlsl
std::string compileHlslFile(const std::filesystem::path& path, const ShaderProfile& profile);
}  // namespace Render
