#include "render/gpu/ShaderInclude.h"

#include "render/gpu/shaderRegistry.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace Render
{
HRESULT STDMETHODCALLTYPE
ShaderInclude::Open(D3D_INCLUDE_TYPE, const char* fileName, const void*, const void** data, UINT* bytes)
{
    if (!ShaderRegistry::exists(fileName))
    {
        return E_FAIL;
    }
    const std::string_view file = ShaderRegistry::open(fileName);
    *data = nullptr;
    *bytes = static_cast<UINT>(file.size());
    if (!file.empty())
    {
        auto copy = std::make_unique<char[]>(file.size());
        std::copy(file.begin(), file.end(), copy.get());
        *data = copy.release();
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE ShaderInclude::Close(const void* data)
{
    delete[] static_cast<const char*>(data);
    return S_OK;
}
}  // namespace Render
