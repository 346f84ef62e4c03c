#include "render/gpu/Texture2d.h"

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "render/gpu/MappedResource.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace Render
{
namespace
{
constexpr std::uint64_t kBytesPerTexel = 4;  // of both kinds of images

D3D11_TEXTURE2D_DESC withSize(D3D11_TEXTURE2D_DESC desc, unsigned int width, unsigned int height)
{
    desc.Width = width;
    desc.Height = height;
    return desc;
}

/// A size that is too large stays too large instead of wrapping round.
unsigned int saturated(std::uint64_t value)
{
    return static_cast<unsigned int>(std::min<std::uint64_t>(value, std::numeric_limits<unsigned int>::max())
    );
}

/// Whether one block of initial data is all that the texture needs.
bool hasOneSubresource(const D3D11_TEXTURE2D_DESC& desc)
{
    const bool isSmallest = desc.Width <= 1 && desc.Height <= 1;  // its full chain is one level
    return desc.ArraySize == 1 && (desc.MipLevels == 1 || (desc.MipLevels == 0 && isSmallest));
}

/// Whether a texel takes as many bytes as those of images do.
bool hasTexelsOfImages(DXGI_FORMAT format)
{
    switch (format)
    {
        case DXGI_FORMAT_R10G10B10A2_TYPELESS:
        case DXGI_FORMAT_R10G10B10A2_UNORM:
        case DXGI_FORMAT_R10G10B10A2_UINT:
        case DXGI_FORMAT_R11G11B10_FLOAT:
        case DXGI_FORMAT_R8G8B8A8_TYPELESS:
        case DXGI_FORMAT_R8G8B8A8_UNORM:
        case DXGI_FORMAT_R8G8B8A8_UNORM_SRGB:
        case DXGI_FORMAT_R8G8B8A8_UINT:
        case DXGI_FORMAT_R8G8B8A8_SNORM:
        case DXGI_FORMAT_R8G8B8A8_SINT:
        case DXGI_FORMAT_R16G16_TYPELESS:
        case DXGI_FORMAT_R16G16_FLOAT:
        case DXGI_FORMAT_R16G16_UNORM:
        case DXGI_FORMAT_R16G16_UINT:
        case DXGI_FORMAT_R16G16_SNORM:
        case DXGI_FORMAT_R16G16_SINT:
        case DXGI_FORMAT_R32_TYPELESS:
        case DXGI_FORMAT_D32_FLOAT:
        case DXGI_FORMAT_R32_FLOAT:
        case DXGI_FORMAT_R32_UINT:
        case DXGI_FORMAT_R32_SINT:
        case DXGI_FORMAT_R24G8_TYPELESS:
        case DXGI_FORMAT_D24_UNORM_S8_UINT:
        case DXGI_FORMAT_R9G9B9E5_SHAREDEXP:
        case DXGI_FORMAT_B8G8R8A8_TYPELESS:
        case DXGI_FORMAT_B8G8R8A8_UNORM:
        case DXGI_FORMAT_B8G8R8A8_UNORM_SRGB:
        case DXGI_FORMAT_B8G8R8X8_TYPELESS:
        case DXGI_FORMAT_B8G8R8X8_UNORM:
        case DXGI_FORMAT_B8G8R8X8_UNORM_SRGB:
            return true;
        default:
            return false;
    }
}

/// Direct3D would read wider texels past the end of an image.
void requireTexelsOfImages(DXGI_FORMAT format)
{
    if (!hasTexelsOfImages(format))
    {
        throwIfFailed(E_INVALIDARG);
    }
}

template <class Image>
void draw(
    Texture2d& texture,
    ID3D11DeviceContext* context,
    std::uint64_t x,
    std::uint64_t y,
    const Image& image,
    D3D11_MAP type
)
{
    const std::uint64_t width = texture.desc().Width;
    const std::uint64_t height = texture.desc().Height;
    if (x > width || image.width() > width - x || y > height || image.height() > height - y)
    {
        throw std::invalid_argument("Error: image does not lie inside the texture");
    }
    if (!hasTexelsOfImages(texture.desc().Format))
    {
        throw std::invalid_argument("Error: texels of the texture are not those of an image");
    }

    const MappedResource mapped(context, texture.get(), type);
    // The spare bytes after an image's row may be more than the texture's row has left.
    const std::uint64_t rowStart = x * kBytesPerTexel;
    const std::uint64_t rowSize = std::min(image.rowPitch(), mapped.rowPitch() - rowStart);
    for (std::uint64_t row = 0; row < image.height(); ++row)
    {
        std::memcpy(
            mapped.data() + mapped.rowPitch() * (y + row) + rowStart,
            image.data() + image.rowPitch() * row,
            static_cast<std::size_t>(rowSize)
        );
    }
}
}  // namespace

Texture2d::Texture2d(ID3D11Device* device, const D3D11_TEXTURE2D_DESC& desc) : mDesc(desc)
{
    if (desc.Width != 0 && desc.Height != 0)
    {
        create(device, nullptr);
    }
}

Texture2d::Texture2d(
    ID3D11Device* device, const D3D11_TEXTURE2D_DESC& desc, unsigned int width, unsigned int height
)
    : Texture2d(device, withSize(desc, width, height))
{
}

Texture2d::Texture2d(
    ID3D11Device* device,
    const D3D11_TEXTURE2D_DESC& desc,
    unsigned int width,
    unsigned int height,
    const Math::Color& value
)
    : mDesc(withSize(desc, width, height))
{
    if (width != 0 && height != 0)
    {
        requireTexelsOfImages(desc.Format);
        Graphics::ColorImage image(width, height);
        image.fill(value);
        const D3D11_SUBRESOURCE_DATA initialData{image.data(), saturated(image.rowPitch()), 0};
        create(device, &initialData);
    }
}

Texture2d::Texture2d(
    ID3D11Device* device,
    const D3D11_TEXTURE2D_DESC& desc,
    unsigned int width,
    unsigned int height,
    [[maybe_unused]] float value
)
    : Texture2d(device, desc, width, height)
{
}

void Texture2d::create(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* initialData)
{
    if (initialData != nullptr && !hasOneSubresource(mDesc))
    {
        // Direct3D would read an array with data for every mip level and slice, past the end of ours.
        throwIfFailed(E_INVALIDARG);
    }
    if (std::max(mDesc.Width, mDesc.Height) > D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION)
    {
        // Some drivers take more; what else Direct3D bounds, as viewports, would not fit such a texture.
        throwIfFailed(E_INVALIDARG);
    }
    throwIfFailed(device->CreateTexture2D(&mDesc, initialData, mTexture.put()), device);
    setDebugName(mTexture, "Texture2d");
}

void Texture2d::resize(ID3D11Device* device, unsigned int width, unsigned int height)
{
    mDesc = withSize(mDesc, width, height);
    mTexture.release();
    create(device, nullptr);
}

void Texture2d::load(
    ID3D11Device* device, unsigned int width, unsigned int height, unsigned int rowPitch, const char* data
)
{
    mDesc = withSize(mDesc, width, height);
    mTexture.release();
    const D3D11_SUBRESOURCE_DATA initialData{data, rowPitch, 0};
    create(device, &initialData);
}

void Texture2d::load(ID3D11Device* device, const Graphics::ColorImage& image)
{
    requireTexelsOfImages(mDesc.Format);
    load(
        device, saturated(image.width()), saturated(image.height()), saturated(image.rowPitch()), image.data()
    );
}

void Texture2d::load(ID3D11Device* device, const Graphics::DepthImage& image)
{
    requireTexelsOfImages(mDesc.Format);
    load(
        device, saturated(image.width()), saturated(image.height()), saturated(image.rowPitch()), image.data()
    );
}

void Texture2d::copy(ID3D11DeviceContext* context, const Texture2d& source)
{
    context->CopyResource(mTexture, source.mTexture);
}

void Texture2d::copySubRegion(
    ID3D11DeviceContext* context, const Texture2d& source, unsigned int x, unsigned int y, unsigned int z
)
{
    if (x >= mDesc.Width || y >= mDesc.Height)
    {
        return;
    }
    // Direct3D does not define what happens when the copied box leaves the destination. No box copies the
    // whole source, the only copy that it allows for depth buffers.
    const D3D11_BOX visible{
        .left = 0,
        .top = 0,
        .front = 0,
        .right = std::min(source.mDesc.Width, mDesc.Width - x),
        .bottom = std::min(source.mDesc.Height, mDesc.Height - y),
        .back = 1,
    };
    const bool isWhole = visible.right == source.mDesc.Width && visible.bottom == source.mDesc.Height;
    context->CopySubresourceRegion(mTexture, 0, x, y, z, source.mTexture, 0, isWhole ? nullptr : &visible);
}

void Texture2d::drawImageTile(ID3D11DeviceContext* context, const Graphics::ColorImage& image, D3D11_MAP type)
{
    draw(*this, context, 0, 0, image, type);
}

void Texture2d::drawImageTile(ID3D11DeviceContext* context, const Graphics::DepthImage& image, D3D11_MAP type)
{
    draw(*this, context, 0, 0, image, type);
}

void Texture2d::drawImageTile(
    ID3D11DeviceContext* context,
    unsigned int x,
    unsigned int y,
    const Graphics::ColorImage& image,
    D3D11_MAP type
)
{
    draw(*this, context, x, y, image, type);
}

void Texture2d::drawImageTile(
    ID3D11DeviceContext* context,
    unsigned int x,
    unsigned int y,
    const Graphics::DepthImage& image,
    D3D11_MAP type
)
{
    draw(*this, context, x, y, image, type);
}

D3D11_MAPPED_SUBRESOURCE Texture2d::map(ID3D11DeviceContext* context, D3D11_MAP type)
{
    return MappedResource::map(context, mTexture, type);
}

void Texture2d::unMap(ID3D11DeviceContext* context)
{
    context->Unmap(mTexture, 0);
}
}  // namespace Render
