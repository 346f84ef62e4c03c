#pragma once

#include "render/Export.h"
#include "render/gpu/StageBinding.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns a view of a resource as shaders read it. Destruction does not unbind it.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API ShaderResourceView
{
public:
    /// Empty: get() is null.
    ShaderResourceView() = default;

    /// @param desc  null for the default view: the whole resource, in its own format
    /// @throws ComException  when the view cannot be created; E_INVALIDARG for no resource
    ShaderResourceView(
        ID3D11Device* device, ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc
    );

    ShaderResourceView(const ShaderResourceView&) = delete;
    ShaderResourceView& operator=(const ShaderResourceView&) = delete;
    ShaderResourceView(ShaderResourceView&&) noexcept = default;
    ShaderResourceView& operator=(ShaderResourceView&&) noexcept = default;
    ~ShaderResourceView() = default;

    /// Binds the view to the slot of each named stage.
    /// @throws std::logic_error  "Error: end call is missing" when it is bound; the old binding then stays
    void begin(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot);

    /// Sets no view where begin has bound this one.
    /// @throws std::logic_error  "Error: begin call is missing" when it is not bound
    void end(ID3D11DeviceContext* context);

    /// The object of Direct3D; null when there is none.
    ID3D11ShaderResourceView* get() const noexcept { return mView; }

private:
    CComPtr<ID3D11ShaderResourceView> mView;
    StageBinding mBinding;
};
}  // namespace Render
