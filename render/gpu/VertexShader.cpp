#include "render/gpu/VertexShader.h"

#include "core/readLocalFile.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
VertexShader::VertexShader(ID3D11VertexShader* shader, ID3D11InputLayout* inputLayout)
    : mShader(shader), mInputLayout(inputLayout)
{
}

VertexShader VertexShader::fromHlslResource(
    const CComPtr<ID3D11Device>& device, const std::string& name, const Layout& layout
)
{
    VertexShader shader = fromCsoString(device, compileHlslResource(name, kVertexProfile), layout);
    setDebugName(shader.mShader, name);
    return shader;
}

VertexShader VertexShader::fromHlslFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path, const Layout& layout
)
{
    return fromCsoString(device, compileHlslFile(path, kVertexProfile), layout);
}

VertexShader VertexShader::fromCsoResource(
    const CComPtr<ID3D11Device>& device, const std::string& name, const Layout& layout
)
{
    VertexShader shader = fromCsoString(device, std::string(ShaderRegistry::open(name)), layout);
    setDebugName(shader.mShader, name);
    return shader;
}

VertexShader VertexShader::fromCsoFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path, const Layout& layout
)
{
    return fromCsoString(device, Core::readLocalFile(path, kLargestShaderFile), layout);
}

VertexShader VertexShader::fromCsoString(
    const CComPtr<ID3D11Device>& device, const std::string& bytes, const Layout& layout
)
{
    CComPtr<ID3D11VertexShader> shader;
    throwIfFailed(device->CreateVertexShader(bytes.data(), bytes.size(), nullptr, shader.put()), device);

    CComPtr<ID3D11InputLayout> inputLayout;
    if (!layout.empty())
    {
        throwIfFailed(
            device->CreateInputLayout(
                layout.data(), static_cast<UINT>(layout.size()), bytes.data(), bytes.size(), inputLayout.put()
            ),
            device
        );
    }
    return VertexShader(shader, inputLayout);
}

void VertexShader::begin(ID3D11DeviceContext* context) const
{
    if (mInputLayout != nullptr)
    {
        context->IASetInputLayout(mInputLayout);
    }
    context->VSSetShader(mShader, nullptr, 0);
}

void VertexShader::end(ID3D11DeviceContext* context) const
{
    context->IASetInputLayout(nullptr);
    context->VSSetShader(nullptr, nullptr, 0);
}
}  // namespace Render
