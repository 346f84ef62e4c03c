#include "render/gpu/GeometryShader.h"

#include "core/readLocalFile.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
GeometryShader::GeometryShader(ID3D11GeometryShader* shader) : mShader(shader) {}

GeometryShader GeometryShader::fromHlslResource(const CComPtr<ID3D11Device>& device, const std::string& name)
{
    GeometryShader shader = fromCsoString(device, compileHlslResource(name, kGeometryProfile));
    setDebugName(shader.mShader, name);
    return shader;
}

GeometryShader GeometryShader::fromHlslFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path
)
{
    return fromCsoString(device, compileHlslFile(path, kGeometryProfile));
}

GeometryShader GeometryShader::fromCsoResource(const CComPtr<ID3D11Device>& device, const std::string& name)
{
    GeometryShader shader = fromCsoString(device, std::string(ShaderRegistry::open(name)));
    setDebugName(shader.mShader, name);
    return shader;
}

GeometryShader GeometryShader::fromCsoFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path
)
{
    return fromCsoString(device, Core::readLocalFile(path, kLargestShaderFile));
}

GeometryShader GeometryShader::fromCsoString(const CComPtr<ID3D11Device>& device, const std::string& bytes)
{
    CComPtr<ID3D11GeometryShader> shader;
    throwIfFailed(device->CreateGeometryShader(bytes.data(), bytes.size(), nullptr, shader.put()), device);
    return GeometryShader(shader);
}

void GeometryShader::begin(ID3D11DeviceContext* context) const
{
    context->GSSetShader(mShader, nullptr, 0);
}

void GeometryShader::end(ID3D11DeviceContext* context) const
{
    context->GSSetShader(nullptr, nullptr, 0);
}
}  // namespace Render
