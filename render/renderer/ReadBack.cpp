#include "render/renderer/ReadBack.h"

#include "render/scene/Viewport.h"

namespace Render
{
namespace
{
Texture2d stagingTexture(ID3D11Device* device, const Viewport& viewport, DXGI_FORMAT format)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.MipLevels = 0;  // all, as the targets have them: a whole copy needs equal numbers
    desc.ArraySize = 1;
    desc.Format = format;
    desc.SampleDesc.Count = 1;
    desc.Usage = D3D11_USAGE_STAGING;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    return Texture2d(
        device,
        desc,
        static_cast<unsigned int>(viewport.width()),
        static_cast<unsigned int>(viewport.height())
    );
}
}  // namespace

ReadBack::ReadBack(const CComPtr<ID3D11Device>& device, const Viewport& viewport)
    : mDepth(stagingTexture(device, viewport, DXGI_FORMAT_D32_FLOAT)),
      mColor(stagingTexture(device, viewport, DXGI_FORMAT_B8G8R8A8_UNORM)),
      mWorldPosition(stagingTexture(device, viewport, DXGI_FORMAT_R32G32B32A32_FLOAT)),
      mExactWorldPosition(stagingTexture(device, viewport, DXGI_FORMAT_R32G32B32A32_FLOAT))
{
}

void ReadBack::setViewport(ID3D11Device* device, unsigned int width, unsigned int height)
{
    for (Texture2d* const texture : {&mDepth, &mColor, &mWorldPosition, &mExactWorldPosition})
    {
        texture->resize(device, width, height);
    }
}

ReadBack::Mapped::Mapped(ID3D11DeviceContext* context, Texture2d& staging)
    : mContext(context), mStaging(staging), mSubresource(staging.map(context, D3D11_MAP_READ))
{
}

ReadBack::Mapped::~Mapped()
{
    mStaging.unMap(mContext);
}

MappedImage ReadBack::Mapped::image() const noexcept
{
    return {
        static_cast<const std::byte*>(mSubresource.pData), mSubresource.RowPitch, mSubresource.DepthPitch};
}

ReadBack::Mapped ReadBack::depth(ID3D11DeviceContext* context, const Texture2d& source)
{
    mDepth.copy(context, source);
    return Mapped(context, mDepth);
}

ReadBack::Mapped ReadBack::color(ID3D11DeviceContext* context, const Texture2d& source)
{
    mColor.copy(context, source);
    return Mapped(context, mColor);
}

ReadBack::Mapped ReadBack::worldPosition(ID3D11DeviceContext* context, const Texture2d& source)
{
    mWorldPosition.copy(context, source);
    return Mapped(context, mWorldPosition);
}

ReadBack::Mapped ReadBack::exactWorldPosition(ID3D11DeviceContext* context, const Texture2d& source)
{
    mExactWorldPosition.copy(context, source);
    return Mapped(context, mExactWorldPosition);
}
}  // namespace Render
