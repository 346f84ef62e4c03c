#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "math/Color.h"
#include "render/gpu/Texture1d.h"
#include "render/gpu/Texture2d.h"
#include "tests/render/gpu/referenceCount.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

using Math::Color;
using Render::Texture1d;
using Render::Texture2d;

namespace
{
constexpr DXGI_FORMAT kColor = DXGI_FORMAT_B8G8R8A8_UNORM;
constexpr DXGI_FORMAT kFloat = DXGI_FORMAT_R32_FLOAT;

class Texture1dDevice : public DeviceFixture
{
public:
    static D3D11_TEXTURE1D_DESC desc(unsigned int width, D3D11_USAGE usage)
    {
        D3D11_TEXTURE1D_DESC result{};
        result.Width = width;
        result.MipLevels = 1;
        result.ArraySize = 1;
        result.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
        result.Usage = usage;
        result.BindFlags = usage == D3D11_USAGE_STAGING ? 0U : UINT{D3D11_BIND_SHADER_RESOURCE};
        result.CPUAccessFlags = usage == D3D11_USAGE_DEFAULT ? 0U : UINT{D3D11_CPU_ACCESS_WRITE};
        return result;
    }
};

class Texture2dDevice : public DeviceFixture
{
public:
    /// Pixel (x, y) tells its place.
    static Color placeColor(std::size_t x, std::size_t y)
    {
        return {static_cast<unsigned char>(x), static_cast<unsigned char>(y), 77, 200};
    }

    static Graphics::ColorImage placeImage(std::uint64_t width, std::uint64_t height, std::uint64_t rowPitch)
    {
        Graphics::ColorImage image;
        image.resize(width, height, rowPitch);
        std::fill_n(image.data(), image.sizeInBytes(), '\x55');
        for (std::uint64_t y = 0; y < height; ++y)
        {
            for (std::uint64_t x = 0; x < width; ++x)
            {
                image.setPixel(x, y, placeColor(x, y));
            }
        }
        return image;
    }

    static Graphics::ColorImage placeImage(std::uint64_t width, std::uint64_t height)
    {
        return placeImage(width, height, width * 4);
    }

    /// Floats x + 100 y.
    static Graphics::DepthImage placeDepthImage(std::uint64_t width, std::uint64_t height)
    {
        Graphics::DepthImage image(width, height);
        for (std::uint64_t y = 0; y < height; ++y)
        {
            for (std::uint64_t x = 0; x < width; ++x)
            {
                image.setPixel(x, y, static_cast<float>(x + 100 * y));
            }
        }
        return image;
    }

    /// A staging texture, each texel transparent black.
    Texture2d blackStaging(unsigned int width, unsigned int height)
    {
        return Texture2d(device(), stagingTextureDesc(width, height, kColor), width, height, Color());
    }

    static void expectPlaces(const TexelGrid<Color>& grid, std::size_t left, std::size_t top)
    {
        for (std::size_t y = 0; y < grid.height; ++y)
        {
            for (std::size_t x = 0; x < grid.width; ++x)
            {
                const bool isInside = x >= left && y >= top;
                const Color expected = isInside ? placeColor(x - left, y - top) : Color();
                ASSERT_EQ(grid.at(x, y), expected) << x << ", " << y;
            }
        }
    }
};
}  // namespace

TEST_F(Texture1dDevice, ADefaultTextureIsEmpty)
{
    EXPECT_EQ(Texture1d().get(), nullptr);
}

TEST_F(Texture1dDevice, WrittenTexelsReachTheTexture)
{
    Texture1d texture(device(), desc(300, D3D11_USAGE_DYNAMIC));
    std::vector<std::uint32_t> texels(300);
    std::iota(texels.begin(), texels.end(), 0xABCD0000U);

    CheckedContext checked(context());
    const D3D11_MAPPED_SUBRESOURCE mapped = texture.map(&checked, D3D11_MAP_WRITE_DISCARD);
    std::memcpy(mapped.pData, texels.data(), texels.size() * 4);
    texture.unMap(&checked);

    EXPECT_EQ(readBack(texture), texels);
}

TEST_F(Texture1dDevice, CopyTakesTheSource)
{
    Texture1d source(device(), desc(8, D3D11_USAGE_STAGING));
    Texture1d target(device(), desc(8, D3D11_USAGE_DEFAULT));
    CheckedContext checked(context());
    const D3D11_MAPPED_SUBRESOURCE mapped = source.map(&checked, D3D11_MAP_WRITE);
    const std::vector<std::uint32_t> texels{1, 2, 3, 4, 5, 6, 7, 8};
    std::memcpy(mapped.pData, texels.data(), texels.size() * 4);
    source.unMap(&checked);

    target.copy(&checked, source);

    EXPECT_EQ(readBack(target), texels);
}

TEST_F(Texture1dDevice, RefusedSizesThrowTheResult)
{
    EXPECT_EQ(resultOf([&] { Texture1d(device(), desc(0, D3D11_USAGE_DEFAULT)); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { Texture1d(device(), desc(20000, D3D11_USAGE_DEFAULT)); }), E_INVALIDARG);
}

TEST_F(Texture1dDevice, AMapThatTheUsageForbidsThrowsTheResult)
{
    Texture1d texture(device(), desc(4, D3D11_USAGE_DEFAULT));

    EXPECT_EQ(resultOf([&] { texture.map(context(), D3D11_MAP_READ); }), E_INVALIDARG);
}

TEST_F(Texture1dDevice, MovingTakesTheTexture)
{
    Texture1d source(device(), desc(4, D3D11_USAGE_DEFAULT));
    ID3D11Texture1D* const texture = source.get();

    Texture1d constructed(std::move(source));
    EXPECT_EQ(constructed.get(), texture);
    EXPECT_EQ(source.get(), nullptr);  // NOLINT(bugprone-use-after-move): empty is promised

    Texture1d assigned;
    assigned = std::move(constructed);
    EXPECT_EQ(assigned.get(), texture);
    EXPECT_EQ(constructed.get(), nullptr);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(referenceCount(texture), 1U);
}

TEST_F(Texture2dDevice, WithoutWidthOrHeightItStaysEmpty)
{
    const D3D11_TEXTURE2D_DESC desc = dynamicTextureDesc(5, 5, kColor);

    EXPECT_EQ(Texture2d().get(), nullptr);
    EXPECT_EQ(Texture2d(device(), dynamicTextureDesc(0, 5, kColor)).get(), nullptr);
    EXPECT_EQ(Texture2d(device(), dynamicTextureDesc(5, 0, kColor)).get(), nullptr);
    EXPECT_EQ(Texture2d(device(), desc, 0, 5).get(), nullptr);
    EXPECT_EQ(Texture2d(device(), desc, 5, 0, Color()).get(), nullptr);
    EXPECT_EQ(Texture2d(device(), desc, 0, 0, 1.0f).get(), nullptr);
}

TEST_F(Texture2dDevice, SizeArgumentsReplaceTheDescriptorsSize)
{
    const Texture2d texture(device(), textureDesc(5, 5, kColor, D3D11_BIND_SHADER_RESOURCE), 7, 3);

    D3D11_TEXTURE2D_DESC desc{};
    texture.get()->GetDesc(&desc);
    EXPECT_EQ(desc.Width, 7U);
    EXPECT_EQ(desc.Height, 3U);
    EXPECT_EQ(texture.desc().Width, 7U);
    EXPECT_EQ(texture.desc().Height, 3U);
}

TEST_F(Texture2dDevice, AColorFillsEveryTexel)
{
    const Color color(10, 20, 30, 40);

    const Texture2d texture(device(), dynamicTextureDesc(1, 1, kColor), 641, 3, color);

    const auto texels = readBack<Color>(texture);
    EXPECT_EQ(texels.width, 641U);
    EXPECT_EQ(texels.height, 3U);
    EXPECT_THAT(texels.texels, testing::Each(color));
}

TEST_F(Texture2dDevice, AFloatDoesNotReachTheTexels)
{
    const Texture2d texture(device(), dynamicTextureDesc(1, 1, kFloat), 4, 4, 7.0f);

    EXPECT_THAT(readBack<float>(texture).texels, testing::Each(testing::Ne(7.0f)));
}

TEST_F(Texture2dDevice, ResizeKeepsTheDescriptor)
{
    D3D11_TEXTURE2D_DESC wanted =
        textureDesc(8, 8, kColor, D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET);
    wanted.MipLevels = 0;
    Texture2d texture(device(), wanted);

    texture.resize(device(), 33, 17);

    D3D11_TEXTURE2D_DESC desc{};
    texture.get()->GetDesc(&desc);
    EXPECT_EQ(desc.Width, 33U);
    EXPECT_EQ(desc.Height, 17U);
    EXPECT_EQ(desc.MipLevels, 6U);  // 33, 16, 8, 4, 2, 1
    EXPECT_EQ(desc.Format, kColor);
    EXPECT_EQ(desc.BindFlags, wanted.BindFlags);
}

TEST_F(Texture2dDevice, AFailedResizeLeavesItEmptyWithTheNewSize)
{
    Texture2d texture(device(), textureDesc(8, 8, kColor, D3D11_BIND_SHADER_RESOURCE));

    EXPECT_EQ(resultOf([&] { texture.resize(device(), 20000, 5); }), E_INVALIDARG);
    EXPECT_EQ(texture.get(), nullptr);
    EXPECT_EQ(texture.desc().Width, 20000U);
    EXPECT_EQ(texture.desc().Height, 5U);

    EXPECT_EQ(resultOf([&] { texture.resize(device(), 0, 7); }), E_INVALIDARG);
    EXPECT_EQ(texture.desc().Width, 0U);
    EXPECT_EQ(texture.desc().Height, 7U);

    texture.resize(device(), 2, 2);
    EXPECT_NE(texture.get(), nullptr);
}

TEST_F(Texture2dDevice, LoadTakesRowsAtTheirPitch)
{
    const Graphics::ColorImage image = placeImage(5, 3, 28);
    Texture2d texture(device(), textureDesc(1, 1, kColor, D3D11_BIND_SHADER_RESOURCE));

    texture.load(device(), 5, 3, 28, image.data());

    const auto texels = readBack<Color>(texture);
    ASSERT_EQ(texels.width, 5U);
    ASSERT_EQ(texels.height, 3U);
    expectPlaces(texels, 0, 0);
}

TEST_F(Texture2dDevice, LoadTakesAColorImage)
{
    Texture2d texture(device(), textureDesc(1, 1, kColor, D3D11_BIND_SHADER_RESOURCE));

    texture.load(device(), placeImage(17, 33, 80));

    const auto texels = readBack<Color>(texture);
    ASSERT_EQ(texels.width, 17U);
    ASSERT_EQ(texels.height, 33U);
    expectPlaces(texels, 0, 0);
}

TEST_F(Texture2dDevice, LoadTakesADepthImage)
{
    Texture2d texture(device(), textureDesc(1, 1, kFloat, D3D11_BIND_SHADER_RESOURCE));

    texture.load(device(), placeDepthImage(3, 2));

    EXPECT_THAT(
        readBack<float>(texture).texels, testing::ElementsAre(0.0f, 1.0f, 2.0f, 100.0f, 101.0f, 102.0f)
    );
}

TEST_F(Texture2dDevice, AFailedLoadLeavesItEmptyWithTheNewSize)
{
    Texture2d texture(device(), textureDesc(8, 8, kColor, D3D11_BIND_SHADER_RESOURCE));

    EXPECT_EQ(resultOf([&] { texture.load(device(), Graphics::ColorImage(3, 0)); }), E_INVALIDARG);

    EXPECT_EQ(texture.get(), nullptr);
    EXPECT_EQ(texture.desc().Width, 3U);
    EXPECT_EQ(texture.desc().Height, 0U);
}

TEST_F(Texture2dDevice, DataForOneLevelDoNotMakeAChainOfLevels)
{
    D3D11_TEXTURE2D_DESC desc = textureDesc(4, 4, kColor, D3D11_BIND_SHADER_RESOURCE);
    desc.MipLevels = 0;
    Texture2d texture(device(), desc);

    EXPECT_EQ(resultOf([&] { texture.load(device(), placeImage(4, 4)); }), E_INVALIDARG);
    EXPECT_EQ(texture.get(), nullptr);

    texture.load(device(), placeImage(1, 1));  // a chain of one level
    EXPECT_EQ(readBack<Color>(texture).at(0, 0), placeColor(0, 0));
}

TEST_F(Texture2dDevice, CopyTakesTheSource)
{
    Texture2d source(device(), textureDesc(1, 1, kColor, D3D11_BIND_SHADER_RESOURCE));
    source.load(device(), placeImage(641, 3));
    Texture2d target = blackStaging(641, 3);

    CheckedContext checked(context());
    target.copy(&checked, source);

    expectPlaces(readBack<Color>(target), 0, 0);
}

TEST_F(Texture2dDevice, CopySubRegionPutsTheWholeSourceAtThePlace)
{
    Texture2d source(device(), stagingTextureDesc(1, 1, kColor));
    source.load(device(), placeImage(3, 2));
    Texture2d target = blackStaging(5, 4);

    CheckedContext checked(context());
    target.copySubRegion(&checked, source, 2, 2, 0);

    expectPlaces(readBack<Color>(target), 2, 2);
}

TEST_F(Texture2dDevice, CopySubRegionLeavesOutWhatLiesBeyondTheBorder)
{
    Texture2d source(device(), stagingTextureDesc(1, 1, kColor));
    source.load(device(), placeImage(8, 8));
    Texture2d target = blackStaging(5, 4);

    CheckedContext checked(context());
    target.copySubRegion(&checked, source, 3, 1, 0);
    target.copySubRegion(&checked, source, 5, 0, 0);
    target.copySubRegion(&checked, source, 0, 4, 0);

    expectPlaces(readBack<Color>(target), 3, 1);
}

TEST_F(Texture2dDevice, AnImageTileFillsStagingAndDynamicTextures)
{
    CheckedContext checked(context());
    Texture2d staging(device(), stagingTextureDesc(641, 3, kColor));
    Texture2d dynamic(device(), dynamicTextureDesc(1000, 3, kColor));  // its rows may have spare bytes

    staging.drawImageTile(&checked, placeImage(641, 3), D3D11_MAP_WRITE);
    dynamic.drawImageTile(&checked, placeImage(1000, 3), D3D11_MAP_WRITE_DISCARD);

    expectPlaces(readBack<Color>(staging), 0, 0);
    expectPlaces(readBack<Color>(dynamic), 0, 0);
}

TEST_F(Texture2dDevice, ADepthTileIsWrittenAsItIs)
{
    CheckedContext checked(context());
    Texture2d texture(device(), stagingTextureDesc(3, 2, kFloat));

    texture.drawImageTile(&checked, placeDepthImage(3, 2), D3D11_MAP_WRITE);

    EXPECT_THAT(
        readBack<float>(texture).texels, testing::ElementsAre(0.0f, 1.0f, 2.0f, 100.0f, 101.0f, 102.0f)
    );
}

TEST_F(Texture2dDevice, AnImageTileAtAPlaceLeavesTheRestAlone)
{
    CheckedContext checked(context());
    Texture2d texture = blackStaging(7, 5);

    texture.drawImageTile(&checked, 4, 3, placeImage(3, 2), D3D11_MAP_WRITE);

    expectPlaces(readBack<Color>(texture), 4, 3);
}

TEST_F(Texture2dDevice, ADepthTileAtAPlaceLeavesTheRestAlone)
{
    CheckedContext checked(context());
    Texture2d texture(device(), stagingTextureDesc(1, 1, kFloat));
    Graphics::DepthImage background(3, 3);
    background.fill(-1.0f);
    texture.load(device(), background);

    texture.drawImageTile(&checked, 1, 2, placeDepthImage(2, 1), D3D11_MAP_WRITE);

    EXPECT_THAT(
        readBack<float>(texture).texels, testing::ElementsAre(-1, -1, -1, -1, -1, -1, -1, 0.0f, 1.0f)
    );
}

TEST_F(Texture2dDevice, AnImageTileBringsTheSpareBytesOfItsRowsAlong)
{
    CheckedContext checked(context());
    Texture2d texture = blackStaging(7, 5);

    texture.drawImageTile(&checked, 1, 1, placeImage(2, 2, 12), D3D11_MAP_WRITE);

    const auto texels = readBack<std::uint32_t>(texture);
    EXPECT_EQ(texels.at(1, 1), placeColor(0, 0).packed());
    EXPECT_EQ(texels.at(2, 2), placeColor(1, 1).packed());
    EXPECT_EQ(texels.at(3, 1), 0x55555555U);
    EXPECT_EQ(texels.at(3, 2), 0x55555555U);
    EXPECT_EQ(texels.at(4, 1), 0U);
    EXPECT_EQ(texels.at(1, 3), 0U);
}

TEST_F(Texture2dDevice, SpareBytesEndWithTheRowOfTheTexture)
{
    CheckedContext checked(context());
    Texture2d texture = blackStaging(4, 3);

    texture.drawImageTile(&checked, 2, 1, placeImage(2, 2, 40000), D3D11_MAP_WRITE);

    expectPlaces(readBack<Color>(texture), 2, 1);
}

TEST_F(Texture2dDevice, AnImageThatLeavesTheTextureIsRefused)
{
    Texture2d texture = blackStaging(4, 3);
    const auto draw = [&](unsigned int x, unsigned int y, std::uint64_t width, std::uint64_t height)
    {
        return messageOf<std::invalid_argument>(
            [&] { texture.drawImageTile(context(), x, y, placeImage(width, height), D3D11_MAP_WRITE); }
        );
    };

    const char* const refused = "Error: image does not lie inside the texture";
    EXPECT_EQ(draw(0, 0, 5, 3), refused);
    EXPECT_EQ(draw(0, 0, 4, 4), refused);
    EXPECT_EQ(draw(1, 0, 4, 3), refused);
    EXPECT_EQ(draw(0, 1, 4, 3), refused);
    EXPECT_EQ(draw(5, 0, 0, 1), refused);
    EXPECT_EQ(draw(0xFFFFFFFFU, 0xFFFFFFFFU, 1, 1), refused);
    EXPECT_THAT(readBack<Color>(texture).texels, testing::Each(Color()));
}

TEST_F(Texture2dDevice, AnImageTileNeedsTexelsOfFourBytes)
{
    Texture2d narrow(device(), stagingTextureDesc(400, 2, DXGI_FORMAT_R8_UNORM));
    Texture2d wide(device(), stagingTextureDesc(4, 2, DXGI_FORMAT_R32G32B32A32_FLOAT));

    for (Texture2d* const texture : {&narrow, &wide})
    {
        EXPECT_EQ(
            messageOf<std::invalid_argument>(
                [&] { texture->drawImageTile(context(), 1, 1, placeImage(2, 1), D3D11_MAP_WRITE); }
            ),
            "Error: texels of the texture are not those of an image"
        );
    }
}

TEST_F(Texture2dDevice, ImagesAndColorsNeedTexelsOfFourBytes)
{
    const D3D11_TEXTURE2D_DESC desc =
        textureDesc(4, 2, DXGI_FORMAT_R32G32B32A32_FLOAT, D3D11_BIND_SHADER_RESOURCE);
    Texture2d texture(device(), desc);
    ID3D11Texture2D* const before = texture.get();

    EXPECT_EQ(resultOf([&] { texture.load(device(), placeImage(3, 3)); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { texture.load(device(), placeDepthImage(3, 3)); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { Texture2d(device(), desc, 3, 3, Color::white(255)); }), E_INVALIDARG);

    EXPECT_EQ(texture.get(), before);
    EXPECT_EQ(texture.desc().Width, 4U);
}

TEST_F(Texture2dDevice, AnEmptyImageWritesNothing)
{
    CheckedContext checked(context());
    Texture2d texture = blackStaging(4, 3);

    texture.drawImageTile(&checked, 4, 3, Graphics::ColorImage(), D3D11_MAP_WRITE);

    EXPECT_THAT(readBack<Color>(texture).texels, testing::Each(Color()));
}

TEST_F(Texture2dDevice, DrawingWithAMapThatTheUsageForbidsThrowsTheResult)
{
    Texture2d texture(device(), textureDesc(4, 4, kColor, D3D11_BIND_SHADER_RESOURCE));

    EXPECT_EQ(
        resultOf([&] { texture.drawImageTile(context(), placeImage(4, 4), D3D11_MAP_WRITE_DISCARD); }),
        E_INVALIDARG
    );
}

TEST_F(Texture2dDevice, MapsThatTheUsageForbidsThrowTheResult)
{
    const auto map = [&](D3D11_TEXTURE2D_DESC desc, D3D11_MAP type)
    {
        Texture2d texture(device(), desc);
        return resultOf([&] { texture.map(context(), type); });
    };
    const auto staging = [&](UINT access)
    {
        D3D11_TEXTURE2D_DESC desc = stagingTextureDesc(4, 4, kColor);
        desc.CPUAccessFlags = access;
        return desc;
    };
    const D3D11_TEXTURE2D_DESC usual = textureDesc(4, 4, kColor, D3D11_BIND_SHADER_RESOURCE);

    EXPECT_EQ(map(usual, D3D11_MAP_READ), E_INVALIDARG);
    EXPECT_EQ(map(usual, D3D11_MAP_WRITE_DISCARD), E_INVALIDARG);
    EXPECT_EQ(map(staging(D3D11_CPU_ACCESS_READ), D3D11_MAP_WRITE), E_INVALIDARG);
    EXPECT_EQ(map(staging(D3D11_CPU_ACCESS_READ), D3D11_MAP_READ_WRITE), E_INVALIDARG);
    EXPECT_EQ(map(staging(D3D11_CPU_ACCESS_READ), D3D11_MAP_WRITE_DISCARD), E_INVALIDARG);
    EXPECT_EQ(map(staging(D3D11_CPU_ACCESS_WRITE), D3D11_MAP_READ), E_INVALIDARG);
    EXPECT_EQ(map(dynamicTextureDesc(4, 4, kColor), D3D11_MAP_READ), E_INVALIDARG);
}

TEST_F(Texture2dDevice, RefusedDescriptorsThrowTheResult)
{
    const auto create = [&](D3D11_TEXTURE2D_DESC desc)
    { return resultOf([&] { Texture2d(device(), desc); }); };
    const auto changed = [&](UINT D3D11_TEXTURE2D_DESC::*field, UINT value)
    {
        D3D11_TEXTURE2D_DESC desc = textureDesc(4, 4, kColor, D3D11_BIND_SHADER_RESOURCE);
        desc.*field = value;
        return desc;
    };

    EXPECT_EQ(create(changed(&D3D11_TEXTURE2D_DESC::Width, 16385)), E_INVALIDARG);
    EXPECT_EQ(create(changed(&D3D11_TEXTURE2D_DESC::Height, 20000)), E_INVALIDARG);
    EXPECT_EQ(create(changed(&D3D11_TEXTURE2D_DESC::ArraySize, 0)), E_INVALIDARG);
    EXPECT_EQ(
        create(changed(&D3D11_TEXTURE2D_DESC::BindFlags, D3D11_BIND_RENDER_TARGET | D3D11_BIND_DEPTH_STENCIL)
        ),
        E_INVALIDARG
    );
    EXPECT_EQ(create(changed(&D3D11_TEXTURE2D_DESC::BindFlags, D3D11_BIND_DEPTH_STENCIL)), E_INVALIDARG);
    EXPECT_EQ(create(textureDesc(4, 4, DXGI_FORMAT_UNKNOWN, D3D11_BIND_SHADER_RESOURCE)), E_INVALIDARG);
    EXPECT_EQ(
        create(textureDesc(4, 4, static_cast<DXGI_FORMAT>(9999), D3D11_BIND_SHADER_RESOURCE)), E_INVALIDARG
    );
    D3D11_TEXTURE2D_DESC threeSamples = textureDesc(4, 4, kColor, D3D11_BIND_RENDER_TARGET);
    threeSamples.SampleDesc.Count = 3;
    EXPECT_EQ(create(threeSamples), E_INVALIDARG);
}

TEST_F(Texture2dDevice, MovingTakesTextureAndDescriptor)
{
    Texture2d source = blackStaging(4, 3);
    ID3D11Texture2D* const texture = source.get();
    Texture2d assigned = blackStaging(9, 9);

    assigned = std::move(source);

    EXPECT_EQ(assigned.get(), texture);
    EXPECT_EQ(assigned.desc().Width, 4U);
    EXPECT_EQ(assigned.desc().Height, 3U);
    EXPECT_EQ(source.get(), nullptr);  // NOLINT(bugprone-use-after-move): empty is promised
    EXPECT_EQ(referenceCount(texture), 1U);
}

TEST_F(Texture2dDevice, MovingATextureToItselfKeepsIt)
{
    Texture2d texture = blackStaging(4, 3);
    ID3D11Texture2D* const before = texture.get();
    Texture2d& same = texture;

    texture = std::move(same);

    EXPECT_EQ(texture.get(), before);
    EXPECT_EQ(referenceCount(before), 1U);
}
