#pragma once

#include "render/platform/ShaderProfile.h"

#include <span>
#include <string_view>

namespace Render
{
/// A file whose bytes are part of the library.
struct EmbeddedFile
{
    std::string_view path;   ///< from the root, with forward slashes
    std::string_view bytes;  ///< valid as long as the library is loaded
};

/// All embedded files; the build writes this function.
std::span<const EmbeddedFile> embeddedShaderFiles();

/// What was compiled of them beforehand, "shaders/box.vs.cso" for the vertex stage of "shaders/box.hlsl"; the
/// build writes this function.
std::span<const EmbeddedFile> embeddedShaderBytecode();

/// The read-only tree of the embedded shader sources: the root, the directory "shaders", and the files in it.
///
/// Paths are relative to the root and case-sensitive; slashes at both ends and doubled ones do not count.
/// Threads  any.
namespace ShaderRegistry
{
/// Whether the path names a file or a directory.
bool exists(std::string_view path);

/// The bytes of a file, without a terminating zero.
/// @throws std::system_error  no_such_file_or_directory with the path, when it names nothing or a directory
std::string_view open(std::string_view path);

/// The bytecode of one stage of a source that was compiled beforehand; empty when there is none.
std::string_view bytecode(std::string_view path, const ShaderProfile& profile);
}  // namespace ShaderRegistry
}  // namespace Render
