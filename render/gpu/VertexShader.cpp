#include "render/gpu/VertexShader.h"

#include "core/readLocalFile.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/shaderBytecode.h"
#include "render/gpu/shaderRegistry.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
VertexShader::VertexShader(
    const CComPtr<ID3D11Device>& device,
    const std::string& bytes,
    const Layout& layout,
    const std::string& debugName
)
    : mShader(StageShader<ID3D11VertexShader>::fromCsoString(device, bytes))
{
    if (!debugName.empty())
    {
        setDebugName(mShader.get(), debugName);
    }
    if (!layout.empty())
    {
        throwIfFailed(
            device->CreateInputLayout(
                layout.data(),
                static_cast<UINT>(layout.size()),
                bytes.data(),
                bytes.size(),
                mInputLayout.put()
            ),
            device
        );
    }
}

VertexShader VertexShader::fromHlslResource(
    const CComPtr<ID3D11Device>& device, const std::string& name, const Layout& layout
)
{
    return VertexShader(device, compileHlslResource(name, kVertexProfile), layout, name);
}

VertexShader VertexShader::fromHlslFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path, const Layout& layout
)
{
    return VertexShader(device, compileHlslFile(path, kVertexProfile), layout, {});
}

VertexShader VertexShader::fromCsoResource(
    const CComPtr<ID3D11Device>& device, const std::string& name, const Layout& layout
)
{
    return VertexShader(device, std::string(ShaderRegistry::open(name)), layout, name);
}

VertexShader VertexShader::fromCsoFile(
    const CComPtr<ID3D11Device>& device, const std::filesystem::path& path, const Layout& layout
)
{
    return VertexShader(device, Core::readLocalFile(path, kLargestShaderFile), layout, {});
}

VertexShader VertexShader::fromCsoString(
    const CComPtr<ID3D11Device>& device, const std::string& bytes, const Layout& layout
)
{
    return VertexShader(device, bytes, layout, {});
}

void VertexShader::begin(ID3D11DeviceContext* context) const
{
    if (mInputLayout != nullptr)
    {
        context->IASetInputLayout(mInputLayout);
    }
    mShader.begin(context);
}

void VertexShader::end(ID3D11DeviceContext* context) const
{
    context->IASetInputLayout(nullptr);
    mShader.end(context);
}
}  // namespace Render
