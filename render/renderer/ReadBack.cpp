#include "render/renderer/ReadBack.h"

namespace Render
{
namespace
{
Texture2d stagingTexture(ID3D11Device* device, unsigned int width, unsigned int height, DXGI_FORMAT format)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = format;
    desc.SampleDesc.Count = 1;
    desc.Usage = D3D11_USAGE_STAGING;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    return Texture2d(device, desc, width, height);
}
}  // namespace

ReadBack::ReadBack(ID3D11Device* device, unsigned int width, unsigned int height)
    : mDepth{stagingTexture(device, width, height, DXGI_FORMAT_D32_FLOAT)},
      mColor{stagingTexture(device, width, height, DXGI_FORMAT_B8G8R8A8_UNORM)},
      mWorldPosition{stagingTexture(device, width, height, DXGI_FORMAT_R32G32B32A32_FLOAT)},
      mExactWorldPosition{stagingTexture(device, width, height, DXGI_FORMAT_R32G32B32A32_FLOAT)}
{
}

void ReadBack::forget() noexcept
{
    for (Copy* const copy : {&mDepth, &mColor, &mWorldPosition, &mExactWorldPosition})
    {
        copy->isCurrent = false;
    }
}

ReadBack::Mapped::Mapped(ID3D11DeviceContext* context, Texture2d& staging)
    : mStaging(staging), mResource(context, staging.get(), D3D11_MAP_READ)
{
}

MappedImage ReadBack::Mapped::image() const noexcept
{
    // Direct3D gives two-dimensional textures no depth pitch to rely on.
    return {mResource.data(), mResource.rowPitch(), mResource.rowPitch() * mStaging.desc().Height};
}

ReadBack::Mapped ReadBack::mapped(ID3D11DeviceContext* context, const Texture2d& source, Copy& copy)
{
    if (!copy.isCurrent)
    {
        copy.texture.copySubRegion(context, source, 0, 0, 0);
        copy.isCurrent = true;
    }
    return Mapped(context, copy.texture);
}

ReadBack::Mapped ReadBack::depth(ID3D11DeviceContext* context, const Texture2d& source)
{
    return mapped(context, source, mDepth);
}

ReadBack::Mapped ReadBack::color(ID3D11DeviceContext* context, const Texture2d& source)
{
    return mapped(context, source, mColor);
}

ReadBack::Mapped ReadBack::worldPosition(ID3D11DeviceContext* context, const Texture2d& source)
{
    return mapped(context, source, mWorldPosition);
}

ReadBack::Mapped ReadBack::exactWorldPosition(ID3D11DeviceContext* context, const Texture2d& source)
{
    return mapped(context, source, mExactWorldPosition);
}
}  // namespace Render
