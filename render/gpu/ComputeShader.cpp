#include "render/gpu/ComputeShader.h"

#include "core/readLocalFile.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
ComputeShader::ComputeShader(ID3D11ComputeShader* shader) : mShader(shader) {}

ComputeShader ComputeShader::fromHlslResource(const CComPtr<ID3D11Device>& device, const std::string& name)
{
    ComputeShader shader = fromCsoString(device, compileHlslResource(name, kComputeProfile));
    setDebugName(shader.mShader, name);
    return shader;
}

ComputeShader ComputeShader::fromHlslFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path
)
{
    return fromCsoString(device, compileHlslFile(path, kComputeProfile));
}

ComputeShader ComputeShader::fromCsoResource(const CComPtr<ID3D11Device>& device, const std::string& name)
{
    ComputeShader shader = fromCsoString(device, std::string(ShaderRegistry::open(name)));
    setDebugName(shader.mShader, name);
    return shader;
}

ComputeShader ComputeShader::fromCsoFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path
)
{
    return fromCsoString(device, Core::readLocalFile(path, kLargestShaderFile));
}

ComputeShader ComputeShader::fromCsoString(const CComPtr<ID3D11Device>& device, const std::string& bytes)
{
    CComPtr<ID3D11ComputeShader> shader;
    throwIfFailed(device->CreateComputeShader(bytes.data(), bytes.size(), nullptr, shader.put()), device);
    return ComputeShader(shader);
}

void ComputeShader::begin(ID3D11DeviceContext* context) const
{
    context->CSSetShader(mShader, nullptr, 0);
}

void ComputeShader::end(ID3D11DeviceContext* context) const
{
    context->CSSetShader(nullptr, nullptr, 0);
}
}  // namespace Render
