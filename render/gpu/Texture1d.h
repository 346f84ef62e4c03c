#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns a one-dimensional texture.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API Texture1d
{
public:
    /// Empty: get() is null.
    Texture1d() = default;

    /// @throws ComException  when the texture cannot be created
    Texture1d(ID3D11Device* device, const D3D11_TEXTURE1D_DESC& desc);

    Texture1d(const Texture1d&) = delete;
    Texture1d& operator=(const Texture1d&) = delete;
    Texture1d(Texture1d&&) noexcept = default;
    Texture1d& operator=(Texture1d&&) noexcept = default;
    ~Texture1d() = default;

    /// Copies the whole of source, which must have the same size, format and number of mip levels.
    void copy(ID3D11DeviceContext* context, const Texture1d& source);

    /// Gives access to mip level 0 until unMap.
    /// @throws ComException  when the texture's usage does not allow this type
    D3D11_MAPPED_SUBRESOURCE map(ID3D11DeviceContext* context, D3D11_MAP type);
    void unMap(ID3D11DeviceContext* context);

    /// The object of Direct3D; null when there is none.
    ID3D11Texture1D* get() const noexcept { return mTexture; }

private:
    CComPtr<ID3D11Texture1D> mTexture;
};
}  // namespace Render
