#pragma once

#include <string>
#include <vkd3d_shader.h>

namespace Render
{
/// The functions of vkd3d-shader, the library that compiles HLSL here. Only who compiles comes here, so
/// programs that do not compile run without the library.
struct Vkd3dShader
{
    decltype(&vkd3d_shader_compile) compile = nullptr;
    decltype(&vkd3d_shader_preprocess) preprocess = nullptr;
    decltype(&vkd3d_shader_free_messages) freeMessages = nullptr;
    decltype(&vkd3d_shader_free_shader_code) freeCode = nullptr;

    /// Loads a library of this name, beside our own or where the system looks for libraries.
    /// @throws std::runtime_error  one line that names the file, when it is missing, broken or too old
    static Vkd3dShader load(const char* name);

    /// The library, loaded by the first call that finds it and kept.
    ///
    /// Threads  any.
    /// @throws std::runtime_error  as load
    static const Vkd3dShader& instance();
};
}  // namespace Render
