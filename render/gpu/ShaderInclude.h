#pragma once

#include "render/Export.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Lets an embedded shader source include another one by its path from the root of the registry, wherever the
/// including source lies.
///
/// Threads  any; stateless.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): the interface has none
class RENDER_API ShaderInclude final : public ID3DInclude
{
public:
    /// Gives out a copy of the file, which Close frees; no data for an empty file.
    /// @returns E_FAIL when the registry has no such name
    /// @throws std::system_error  when the name is a directory's
    HRESULT STDMETHODCALLTYPE Open(
        D3D_INCLUDE_TYPE type, const char* fileName, const void* parentData, const void** data, UINT* bytes
    ) override;

    /// Frees what Open has given out.
    HRESULT STDMETHODCALLTYPE Close(const void* data) override;
};
}  // namespace Render
