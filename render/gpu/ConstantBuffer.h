#pragma once

#include "render/Export.h"
#include "render/gpu/StageBinding.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <cstddef>
#include <span>

namespace Render
{
/// Owns a dynamic constant buffer of a fixed size. Destruction does not unbind it.
///
/// ConstantBlock adds the values in memory and uploads them when they have changed.
/// Threads  the thread of the immediate context; not locked.
class RENDER_API ConstantBuffer
{
public:
    /// Empty: get() is null.
    ConstantBuffer() = default;

    /// @param sizeInBytes  a multiple of 16
    /// @throws ComException  when the buffer cannot be created
    ConstantBuffer(ID3D11Device* device, unsigned int sizeInBytes);

    ConstantBuffer(const ConstantBuffer&) = delete;
    ConstantBuffer& operator=(const ConstantBuffer&) = delete;
    ConstantBuffer(ConstantBuffer&&) noexcept = default;
    ConstantBuffer& operator=(ConstantBuffer&&) noexcept = default;
    ~ConstantBuffer() = default;

    /// Replaces the contents, whether bound or not.
    /// @param bytes  as many as the buffer has
    /// @throws std::invalid_argument  for more or fewer bytes; nothing is written then
    /// @throws ComException           when the buffer cannot be mapped
    void update(ID3D11DeviceContext* context, std::span<const std::byte> bytes);

    /// Binds the buffer to the slot of each named stage.
    /// @throws std::logic_error  "Error: end call is missing" when it is bound; the old binding then stays
    void begin(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot);

    /// The same, replacing the contents first. After a failure of that the buffer is not bound.
    /// @throws std::invalid_argument, ComException  as update
    void begin(
        ID3D11DeviceContext* context,
        ShaderConfiguration configuration,
        unsigned int slot,
        std::span<const std::byte> bytes
    );

    /// Sets no buffer where begin has bound this one.
    /// @throws std::logic_error  "Error: begin call is missing" when it is not bound
    void end(ID3D11DeviceContext* context);

    /// Whether begin has been called and end not yet.
    bool isBound() const noexcept { return mBinding.configuration() != ShaderConfiguration{}; }

    /// The object of Direct3D; null when there is none.
    ID3D11Buffer* get() const noexcept { return mBuffer; }

private:
    CComPtr<ID3D11Buffer> mBuffer;
    std::size_t mSizeInBytes = 0;
    StageBinding mBinding;
};
}  // namespace Render
