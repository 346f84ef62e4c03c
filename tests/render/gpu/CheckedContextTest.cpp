#include "render/gpu/DepthStencilView.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture2d.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/directRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

using Render::RenderTargetView;
using Render::ShaderResourceView;
using Render::Texture2d;

namespace
{
constexpr DXGI_FORMAT kColor = DXGI_FORMAT_B8G8R8A8_UNORM;

class CheckedContextDevice : public DeviceFixture
{
public:
    Texture2d texture(unsigned int size, DXGI_FORMAT format = kColor)
    {
        return {
            device(), textureDesc(size, size, format, D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET)};
    }
};
}  // namespace

TEST_F(CheckedContextDevice, MapsMustFitTheUsage)
{
    const Texture2d usual = texture(4);
    const Texture2d dynamic(device(), dynamicTextureDesc(4, 4, kColor));
    const Texture2d staging(device(), stagingTextureDesc(4, 4, kColor));

    EXPECT_NE(DirectRules::brokenByMap(usual.get(), D3D11_MAP_READ), "");
    EXPECT_NE(DirectRules::brokenByMap(dynamic.get(), D3D11_MAP_WRITE), "");
    EXPECT_NE(DirectRules::brokenByMap(dynamic.get(), D3D11_MAP_WRITE_NO_OVERWRITE), "");
    EXPECT_NE(DirectRules::brokenByMap(staging.get(), D3D11_MAP_WRITE_DISCARD), "");
    EXPECT_EQ(DirectRules::brokenByMap(dynamic.get(), D3D11_MAP_WRITE_DISCARD), "");
    EXPECT_EQ(DirectRules::brokenByMap(staging.get(), D3D11_MAP_READ), "");
    EXPECT_EQ(DirectRules::brokenByMap(staging.get(), D3D11_MAP_WRITE), "");
    EXPECT_EQ(DirectRules::brokenByMap(staging.get(), D3D11_MAP_READ_WRITE), "");
}

TEST_F(CheckedContextDevice, CopiedResourcesMustBeAlike)
{
    const Texture2d four = texture(4);
    const Texture2d otherFour = texture(4);
    const Texture2d eight = texture(8);
    const Texture2d floats = texture(4, DXGI_FORMAT_R32_FLOAT);
    D3D11_TEXTURE2D_DESC desc = textureDesc(4, 4, kColor, D3D11_BIND_SHADER_RESOURCE);
    desc.MipLevels = 0;
    const Texture2d chain(device(), desc);
    const Texture2d typeless(
        device(), textureDesc(4, 4, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_SHADER_RESOURCE)
    );

    EXPECT_EQ(DirectRules::brokenByCopy(four.get(), otherFour.get()), "");
    EXPECT_EQ(DirectRules::brokenByCopy(floats.get(), typeless.get()), "");
    EXPECT_NE(DirectRules::brokenByCopy(four.get(), four.get()), "");
    EXPECT_NE(DirectRules::brokenByCopy(four.get(), eight.get()), "");
    EXPECT_NE(DirectRules::brokenByCopy(four.get(), floats.get()), "");
    EXPECT_NE(DirectRules::brokenByCopy(four.get(), chain.get()), "");
}

TEST_F(CheckedContextDevice, RegionsMustLieInside)
{
    const Texture2d four = texture(4);
    const Texture2d eight = texture(8);
    const auto copy = [&](UINT x, UINT y, D3D11_BOX box)
    { return DirectRules::brokenByRegionCopy(eight.get(), 0, x, y, 0, four.get(), 0, &box); };

    EXPECT_EQ(copy(4, 4, {0, 0, 0, 4, 4, 1}), "");
    EXPECT_NE(copy(5, 4, {0, 0, 0, 4, 4, 1}), "");
    EXPECT_NE(copy(4, 5, {0, 0, 0, 4, 4, 1}), "");
    EXPECT_NE(copy(0, 0, {0, 0, 0, 5, 4, 1}), "");
    EXPECT_NE(copy(0, 0, {2, 0, 0, 2, 4, 1}), "");
    EXPECT_NE(DirectRules::brokenByRegionCopy(four.get(), 0, 0, 0, 0, eight.get(), 0, nullptr), "");
}

TEST_F(CheckedContextDevice, ABrokenRuleFailsTheTest)
{
    const Texture2d four = texture(4);
    const Texture2d eight = texture(8);
    CheckedContext checked(context());

    EXPECT_NONFATAL_FAILURE(checked.CopyResource(four.get(), eight.get()), "different kind or size");
    EXPECT_NONFATAL_FAILURE(checked.Unmap(four.get(), 0), "not mapped");
}

TEST_F(CheckedContextDevice, ATargetMustNotBeReadAtTheSameTime)
{
    const Texture2d four = texture(4);
    const RenderTargetView target(device(), four.get(), {});
    const ShaderResourceView view(device(), four.get(), nullptr);
    ID3D11RenderTargetView* const targets[] = {target.get()};
    ID3D11ShaderResourceView* const views[] = {view.get()};
    CheckedContext checked(context());

    checked.OMSetRenderTargets(1, targets, nullptr);
    EXPECT_NONFATAL_FAILURE(checked.PSSetShaderResources(0, 1, views), "that is a target");

    checked.OMSetRenderTargets(0, nullptr, nullptr);
    checked.VSSetShaderResources(3, 1, views);
    EXPECT_NONFATAL_FAILURE(checked.OMSetRenderTargets(1, targets, nullptr), "bound as a shader view");
}

TEST_F(CheckedContextDevice, TargetsMustBeOfOneSize)
{
    const Texture2d four = texture(4);
    const Texture2d eight = texture(8);
    const RenderTargetView small(device(), four.get(), {});
    const RenderTargetView large(device(), eight.get(), {});
    ID3D11RenderTargetView* const targets[] = {small.get(), nullptr, large.get()};
    CheckedContext checked(context());

    EXPECT_NONFATAL_FAILURE(checked.OMSetRenderTargets(3, targets, nullptr), "different sizes");
}
