#include "render/gpu/StageShader.h"

#include "core/readLocalFile.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
namespace
{
/// What a stage has of its own: what the compiler is told, and the calls of device and context.
template <class Interface>
struct Stage;

template <>
struct Stage<ID3D11VertexShader>
{
    static constexpr ShaderProfile kProfile = kVertexProfile;
    static constexpr auto kCreate = &ID3D11Device::CreateVertexShader;
    static constexpr auto kSet = &ID3D11DeviceContext::VSSetShader;
};

template <>
struct Stage<ID3D11GeometryShader>
{
    static constexpr ShaderProfile kProfile = kGeometryProfile;
    static constexpr auto kCreate = &ID3D11Device::CreateGeometryShader;
    static constexpr auto kSet = &ID3D11DeviceContext::GSSetShader;
};

template <>
struct Stage<ID3D11PixelShader>
{
    static constexpr ShaderProfile kProfile = kPixelProfile;
    static constexpr auto kCreate = &ID3D11Device::CreatePixelShader;
    static constexpr auto kSet = &ID3D11DeviceContext::PSSetShader;
};

template <>
struct Stage<ID3D11ComputeShader>
{
    static constexpr ShaderProfile kProfile = kComputeProfile;
    static constexpr auto kCreate = &ID3D11Device::CreateComputeShader;
    static constexpr auto kSet = &ID3D11DeviceContext::CSSetShader;
};
}  // namespace

template <class Interface>
StageShader<Interface> StageShader<Interface>::fromHlslResource(
    const CComPtr<ID3D11Device>& device, const std::string& name
)
{
    StageShader shader = fromCsoString(device, compileHlslResource(name, Stage<Interface>::kProfile));
    setDebugName(shader.mShader, name);
    return shader;
}

template <class Interface>
StageShader<Interface> StageShader<Interface>::fromHlslFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path
)
{
    return fromCsoString(device, compileHlslFile(path, Stage<Interface>::kProfile));
}

template <class Interface>
StageShader<Interface> StageShader<Interface>::fromCsoResource(
    const CComPtr<ID3D11Device>& device, const std::string& name
)
{
    StageShader shader = fromCsoString(device, std::string(ShaderRegistry::open(name)));
    setDebugName(shader.mShader, name);
    return shader;
}

template <class Interface>
StageShader<Interface> StageShader<Interface>::fromCsoFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path
)
{
    return fromCsoString(device, Core::readLocalFile(path, kLargestShaderFile));
}

template <class Interface>
StageShader<Interface> StageShader<Interface>::fromCsoString(
    const CComPtr<ID3D11Device>& device, const std::string& bytes
)
{
    StageShader shader;
    throwIfFailed(
        (device.get()->*Stage<Interface>::kCreate)(bytes.data(), bytes.size(), nullptr, shader.mShader.put()),
        device
    );
    return shader;
}

template <class Interface>
void StageShader<Interface>::begin(ID3D11DeviceContext* context) const
{
    (context->*Stage<Interface>::kSet)(mShader, nullptr, 0);
}

template <class Interface>
void StageShader<Interface>::end(ID3D11DeviceContext* context) const
{
    (context->*Stage<Interface>::kSet)(nullptr, nullptr, 0);
}

// GCC exports what is exported here, Clang for Windows what the class says, and objects to hearing it again.
#if defined(__clang__) && defined(_WIN32)
#define STAGE_SHADER_API
#else
#define STAGE_SHADER_API RENDER_API
#endif
template class STAGE_SHADER_API StageShader<ID3D11VertexShader>;
template class STAGE_SHADER_API StageShader<ID3D11GeometryShader>;
template class STAGE_SHADER_API StageShader<ID3D11PixelShader>;
template class STAGE_SHADER_API StageShader<ID3D11ComputeShader>;
}  // namespace Render
