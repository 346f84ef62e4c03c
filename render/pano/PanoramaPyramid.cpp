#include "render/pano/PanoramaPyramid.h"

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "graphics/PictureLimits.h"
#include "math/Color.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Render
{
namespace
{
/// What is particular about each kind of image.
template <class Image>
struct Kind;

template <>
struct Kind<Graphics::ColorImage>
{
    static constexpr DXGI_FORMAT kFormat = DXGI_FORMAT_B8G8R8A8_UNORM;

    static Math::Color unknown() { return Math::Color::white(255); }
};

template <>
struct Kind<Graphics::DepthImage>
{
    static constexpr DXGI_FORMAT kFormat = DXGI_FORMAT_R32_FLOAT;

    static float unknown() { return std::numeric_limits<float>::max(); }
};

/// A size that is too large stays too large instead of wrapping round.
UINT saturated(std::uint64_t size)
{
    return static_cast<UINT>(std::min<std::uint64_t>(size, std::numeric_limits<UINT>::max()));
}

/// One mip level.
D3D11_TEXTURE2D_DESC textureDesc(
    std::uint64_t width, std::uint64_t height, DXGI_FORMAT format, D3D11_USAGE usage
)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = saturated(width);
    desc.Height = saturated(height);
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = format;
    desc.SampleDesc.Count = 1;
    desc.Usage = usage;
    const bool isStaging = usage == D3D11_USAGE_STAGING;
    desc.BindFlags = isStaging ? 0U : UINT{D3D11_BIND_SHADER_RESOURCE};
    desc.CPUAccessFlags = isStaging ? UINT{D3D11_CPU_ACCESS_WRITE} : 0U;
    return desc;
}

template <class Image>
Texture2d unknownTexture(ID3D11Device* device, std::uint64_t width, std::uint64_t height)
{
    const D3D11_TEXTURE2D_DESC desc = textureDesc(width, height, Kind<Image>::kFormat, D3D11_USAGE_DEFAULT);
    constexpr std::uint64_t kLargestSide = Graphics::PictureLimits::kLargestSide;
    static_assert(kLargestSide == D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION);
    if (width > kLargestSide || height > kLargestSide)
    {
        return Texture2d(device, desc);  // fails before memory is taken for what cannot be
    }
    Image image(width, height);
    image.fill(Kind<Image>::unknown());
    Texture2d texture(device, desc, 0U, 0U);  // empty, load() makes it
    texture.load(device, image);
    return texture;
}
}  // namespace

template <class Image>
PanoramaPyramid<Image>::PanoramaPyramid(
    const CComPtr<ID3D11Device>& device, const Graphics::PanoramaLoader& loader, std::uint64_t levelCount
)
{
    const auto addLevel = [&](Texture2d texture, Texture2d uploadTexture)
    {
        ShaderResourceView view(device, texture.get(), nullptr);
        mLevels.push_back({std::move(texture), std::move(view), std::move(uploadTexture)});
    };
    for (std::uint64_t level = 0; level < levelCount; ++level)
    {
        const D3D11_TEXTURE2D_DESC uploadDesc = textureDesc(
            loader.tileWidth(level), loader.tileHeight(level), Kind<Image>::kFormat, D3D11_USAGE_STAGING
        );
        addLevel(
            unknownTexture<Image>(device, loader.width(level), loader.height(level)),
            Texture2d(device, uploadDesc)
        );
    }
    if (mLevels.empty())
    {
        addLevel(unknownTexture<Image>(device, 1, 1), Texture2d());
    }
}

template <class Image>
void PanoramaPyramid<Image>::upload(
    ID3D11DeviceContext* context,
    const Graphics::PanoramaLoader& loader,
    const Graphics::PanoramaLoader::TileIndex& tile,
    const Image& image
)
{
    Level& level = mLevels.at(static_cast<std::size_t>(tile.level));
    level.uploadTexture.drawImageTile(context, image, D3D11_MAP_WRITE);
    level.texture.copySubRegion(
        context,
        level.uploadTexture,
        saturated(loader.tileOffsetX(tile)),
        saturated(loader.tileOffsetY(tile)),
        0
    );
}

template class PanoramaPyramid<Graphics::ColorImage>;
template class PanoramaPyramid<Graphics::DepthImage>;
}  // namespace Render
