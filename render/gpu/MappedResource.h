#pragma once

#include "core/NonCopyable.h"
#include "render/platform/Direct3D.h"

#include <cstddef>
#include <cstdint>

namespace Render
{
/// The memory of a resource, or of its first subresource, mapped while this lives.
///
/// Threads  the thread of the immediate context.
class [[nodiscard]] MappedResource : private Core::NonCopyable
{
public:
    /// @throws ComException  when it cannot be mapped
    MappedResource(ID3D11DeviceContext* context, ID3D11Resource* resource, D3D11_MAP type)
        : mContext(context), mResource(resource), mMapped(map(context, resource, type))
    {
    }

    ~MappedResource() { mContext->Unmap(mResource, 0); }

    std::byte* data() const noexcept { return static_cast<std::byte*>(mMapped.pData); }

    /// Bytes from one row of a texture to the next.
    std::uint64_t rowPitch() const noexcept { return mMapped.RowPitch; }

    /// Maps for somebody who unmaps.
    /// @throws ComException  when it cannot be mapped
    static D3D11_MAPPED_SUBRESOURCE map(
        ID3D11DeviceContext* context, ID3D11Resource* resource, D3D11_MAP type
    );

private:
    ID3D11DeviceContext* mContext;
    ID3D11Resource* mResource;
    D3D11_MAPPED_SUBRESOURCE mMapped;
};
}  // namespace Render
