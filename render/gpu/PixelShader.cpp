#include "render/gpu/PixelShader.h"

#include "core/readLocalFile.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
PixelShader::PixelShader(ID3D11PixelShader* shader) : mShader(shader) {}

PixelShader PixelShader::fromHlslResource(const CComPtr<ID3D11Device>& device, const std::string& name)
{
    PixelShader shader = fromCsoString(device, compileHlslResource(name, kPixelProfile));
    setDebugName(shader.mShader, name);
    return shader;
}

PixelShader PixelShader::fromHlslFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path)
{
    return fromCsoString(device, compileHlslFile(path, kPixelProfile));
}

PixelShader PixelShader::fromCsoResource(const CComPtr<ID3D11Device>& device, const std::string& name)
{
    PixelShader shader = fromCsoString(device, std::string(ShaderRegistry::open(name)));
    setDebugName(shader.mShader, name);
    return shader;
}

PixelShader PixelShader::fromCsoFile(const CComPtr<ID3D11Device>& device, const std::filesystem::path& path)
{
    return fromCsoString(device, Core::readLocalFile(path, kLargestShaderFile));
}

PixelShader PixelShader::fromCsoString(const CComPtr<ID3D11Device>& device, const std::string& bytes)
{
    CComPtr<ID3D11PixelShader> shader;
    throwIfFailed(device->CreatePixelShader(bytes.data(), bytes.size(), nullptr, shader.put()), device);
    return PixelShader(shader);
}

void PixelShader::begin(ID3D11DeviceContext* context) const
{
    context->PSSetShader(mShader, nullptr, 0);
}

void PixelShader::end(ID3D11DeviceContext* context) const
{
    context->PSSetShader(nullptr, nullptr, 0);
}
}  // namespace Render
