#pragma once

#include "render/gpu/ConstantBuffer.h"

#include <cstddef>
#include <span>
#include <type_traits>

namespace Render
{
/// A constant buffer with its values in memory: changed values are uploaded when the buffer is next bound.
///
/// Shape    Block is laid out exactly as the shader declares its constants, padded to a multiple of 16 bytes;
///          it should have static_asserts for its size and offsets.
/// Threads  the thread of the immediate context; not locked.
template <class Block>
class ConstantBlock
{
    static_assert(std::is_trivially_copyable_v<Block> && std::is_standard_layout_v<Block>);
    static_assert(sizeof(Block) % 16 == 0, "constant buffers are made of registers of 16 bytes");

public:
    /// The values alone; begin must not be called.
    ConstantBlock() = default;

    /// @throws ComException  when the buffer cannot be created
    explicit ConstantBlock(ID3D11Device* device, const Block& values = Block{})
        : mBuffer(device, static_cast<unsigned int>(sizeof(Block))), mValues(values)
    {
    }

    /// Gives the device's buffer back and keeps the values.
    void releaseBuffer() noexcept
    {
        mBuffer = ConstantBuffer();
        mDirty = true;
    }

    /// As they were set last, uploaded or not.
    const Block& values() const noexcept { return mValues; }

    /// The values for changing; they count as changed from now on.
    Block& edit() noexcept
    {
        mDirty = true;
        return mValues;
    }

    /// Whether the next begin uploads.
    bool isDirty() const noexcept { return mDirty; }

    /// Uploads the values if they have changed, then binds the buffer to the slot of each named stage.
    /// @throws std::logic_error  "Error: end call is missing" when it is bound; nothing changes then
    /// @throws ComException      when the buffer cannot be mapped; it is not bound then, and the next begin
    ///                           uploads
    void begin(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot)
    {
        if (!mDirty || mBuffer.isBound())
        {
            mBuffer.begin(context, configuration, slot);
            return;
        }
        mBuffer.begin(context, configuration, slot, std::as_bytes(std::span(&mValues, 1)));
        mDirty = false;
    }

    /// Sets no buffer where begin has bound this one.
    /// @throws std::logic_error  "Error: begin call is missing" when it is not bound
    void end(ID3D11DeviceContext* context) { mBuffer.end(context); }

    /// The object of Direct3D; null when there is none.
    ID3D11Buffer* get() const noexcept { return mBuffer.get(); }

private:
    ConstantBuffer mBuffer;
    Block mValues{};
    bool mDirty = true;
};
}  // namespace Render
