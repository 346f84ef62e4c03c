#include "render/platform/linux/Vkd3dShader.h"

#include "render/platform/linux/loadLibrary.h"

#include <cstdarg>
#include <cstdlib>
#include <stdexcept>

namespace Render
{
namespace
{
constexpr const char* kName = "libvkd3d-shader.so.1";

/// Older ones have the same name and do not compile what hosts write; Debian 12 has a package of such a one.
constexpr unsigned int kMajor = 1;
constexpr unsigned int kMinor = 14;

constexpr const char* kHint =
    "HLSL given at run time needs it, version 1.14 or later; it is installed beside libTarnelRender.so";

void ignoreMessage(const char*, va_list) {}
}  // namespace

Vkd3dShader Vkd3dShader::load(const char* name)
{
    void* const library = loadLibrary(name, kHint);
    const auto version =
        findFunction<decltype(&vkd3d_shader_get_version)>(library, "vkd3d_shader_get_version");
    const auto setLog =
        findFunction<decltype(&vkd3d_shader_set_log_callback)>(library, "vkd3d_shader_set_log_callback");
    const Vkd3dShader result{
        findFunction<decltype(compile)>(library, "vkd3d_shader_compile"),
        findFunction<decltype(preprocess)>(library, "vkd3d_shader_preprocess"),
        findFunction<decltype(freeMessages)>(library, "vkd3d_shader_free_messages"),
        findFunction<decltype(freeCode)>(library, "vkd3d_shader_free_shader_code")};

    unsigned int major = 0;
    unsigned int minor = 0;
    if (version != nullptr)
    {
        version(&major, &minor);
    }
    if (major < kMajor || (major == kMajor && minor < kMinor) || setLog == nullptr ||
        result.compile == nullptr || result.preprocess == nullptr || result.freeMessages == nullptr ||
        result.freeCode == nullptr)
    {
        const std::string found = version == nullptr
                                      ? "no vkd3d-shader"
                                      : "version " + std::to_string(major) + "." + std::to_string(minor);
        throw std::runtime_error(std::string(name) + " is " + found + "; " + kHint);
    }
    if (std::getenv("VKD3D_SHADER_DEBUG") == nullptr)
    {
        setLog(&ignoreMessage);  // a library does not write to its program's standard error unasked
    }
    return result;
}

const Vkd3dShader& Vkd3dShader::instance()
{
    static const Vkd3dShader functions = load(kName);
    return functions;
}
}  // namespace Render
