#include "render/gpu/ConstantBuffer.h"

#include "render/gpu/MappedResource.h"
#include "render/gpu/bindToStages.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Render
{
ConstantBuffer::ConstantBuffer(ID3D11Device* device, unsigned int sizeInBytes) : mSizeInBytes(sizeInBytes)
{
    const D3D11_BUFFER_DESC desc{
        .ByteWidth = sizeInBytes,
        .Usage = D3D11_USAGE_DYNAMIC,
        .BindFlags = D3D11_BIND_CONSTANT_BUFFER,
        .CPUAccessFlags = D3D11_CPU_ACCESS_WRITE,
        .MiscFlags = 0,
        .StructureByteStride = 0,
    };
    throwIfFailed(device->CreateBuffer(&desc, nullptr, mBuffer.put()), device);
    setDebugName(mBuffer, "ConstantBuffer");
}

void ConstantBuffer::update(ID3D11DeviceContext* context, std::span<const std::byte> bytes)
{
    if (bytes.size() != mSizeInBytes)
    {
        throw std::invalid_argument(
            "Error: a constant buffer of " + std::to_string(mSizeInBytes) + " bytes cannot take " +
            std::to_string(bytes.size())
        );
    }
    const MappedResource mapped(context, mBuffer, D3D11_MAP_WRITE_DISCARD);
    std::ranges::copy(bytes, mapped.data());
}

void ConstantBuffer::begin(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot)
{
    mBinding.begin(configuration, slot);
    bindToStages(context, mBinding, mBuffer.get());
}

void ConstantBuffer::begin(
    ID3D11DeviceContext* context,
    ShaderConfiguration configuration,
    unsigned int slot,
    std::span<const std::byte> bytes
)
{
    StageBinding binding = mBinding;
    binding.begin(configuration, slot);
    update(context, bytes);
    mBinding = binding;
    bindToStages(context, mBinding, mBuffer.get());
}

void ConstantBuffer::end(ID3D11DeviceContext* context)
{
    bindToStages(context, mBinding.end(), static_cast<ID3D11Buffer*>(nullptr));
}
}  // namespace Render
