#include "render/platform/compileHlsl.h"

#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <stdexcept>
//
#include <d3dcompiler.h>

namespace Render
{
namespace
{
constexpr UINT kCompileFlags =
    D3DCOMPILE_ENABLE_STRICTNESS | D3DCOMPILE_OPTIMIZATION_LEVEL3 | D3DCOMPILE_WARNINGS_ARE_ERRORS;
static_assert(kCompileFlags == 0x48800);

/// The bytes of a blob; none for a null one.
std::string_view bytes(ID3DBlob* blob)
{
    if (blob == nullptr)
    {
        return {};
    }
    return {static_cast<const char*>(blob->GetBufferPointer()), blob->GetBufferSize()};
}
}  // namespace

std::string compileHlsl(
    std::string_view source, const std::string& sourceName, ID3DInclude* include, const ShaderProfile& profile
)
{
    CComPtr<ID3DBlob> code;
    CComPtr<ID3DBlob> messages;
    const HRESULT result = D3DCompile(
        source.data(),
        source.size(),
        sourceName.c_str(),
        nullptr,
        include,
        profile.entryPoint,
        profile.target,
        kCompileFlags,
        0,
        code.put(),
        messages.put()
    );
    if (FAILED(result))
    {
        std::string_view text = bytes(messages);
        if (text.ends_with('\0'))
        {
            text.remove_suffix(1);
        }
        throw std::runtime_error("Error: Compilation of hlsl shader failed\n" + std::string(text));
    }
    return std::string(bytes(code));
}
}  // namespace Render
