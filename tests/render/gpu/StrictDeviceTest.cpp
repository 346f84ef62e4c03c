#include "render/gpu/ConstantBuffer.h"
#include "render/gpu/DepthStencilView.h"
#include "render/gpu/DeviceLostException.h"
#include "render/gpu/IndexBuffer.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture2d.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/throwIfFailed.h"
#include "render/pointcloud/BoxWithColor.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/createRules.h"
#include "tests/support/directRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

using Render::CComPtr;
using Render::ConstantBuffer;
using Render::IndexBuffer;
using Render::PixelShader;
using Render::RenderTargetView;
using Render::ShaderConfiguration;
using Render::ShaderResourceView;
using Render::Texture2d;
using Render::VertexShader;

namespace
{
constexpr DXGI_FORMAT kColor = DXGI_FORMAT_B8G8R8A8_UNORM;

class StrictDeviceTest : public DeviceFixture
{
public:
    Texture2d texture(unsigned int size, DXGI_FORMAT format = kColor)
    {
        return {
            device(), textureDesc(size, size, format, D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET)};
    }
};
}  // namespace

TEST_F(StrictDeviceTest, MapsMustFitTheUsage)
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

TEST_F(StrictDeviceTest, CopiedResourcesMustBeAlike)
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

TEST_F(StrictDeviceTest, RegionsMustLieInside)
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

TEST_F(StrictDeviceTest, ABrokenRuleFailsTheTest)
{
    const Texture2d four = texture(4);
    const Texture2d eight = texture(8);
    ID3D11DeviceContext& checked = *context();

    EXPECT_NONFATAL_FAILURE(checked.CopyResource(four.get(), eight.get()), "different kind or size");
    EXPECT_NONFATAL_FAILURE(checked.Unmap(four.get(), 0), "not mapped");
}

TEST_F(StrictDeviceTest, ATargetMustNotBeReadAtTheSameTime)
{
    const Texture2d four = texture(4);
    const RenderTargetView target(device(), four.get(), {});
    const ShaderResourceView view(device(), four.get(), nullptr);
    ID3D11RenderTargetView* const targets[] = {target.get()};
    ID3D11ShaderResourceView* const views[] = {view.get()};
    ID3D11DeviceContext& checked = *context();

    checked.OMSetRenderTargets(1, targets, nullptr);
    EXPECT_NONFATAL_FAILURE(checked.PSSetShaderResources(0, 1, views), "that is a target");

    checked.OMSetRenderTargets(0, nullptr, nullptr);
    checked.VSSetShaderResources(3, 1, views);
    EXPECT_NONFATAL_FAILURE(checked.OMSetRenderTargets(1, targets, nullptr), "bound as a shader view");
}

TEST_F(StrictDeviceTest, TargetsMustBeOfOneSize)
{
    const Texture2d four = texture(4);
    const Texture2d eight = texture(8);
    const RenderTargetView small(device(), four.get(), {});
    const RenderTargetView large(device(), eight.get(), {});
    ID3D11RenderTargetView* const targets[] = {small.get(), nullptr, large.get()};
    ID3D11DeviceContext& checked = *context();

    EXPECT_NONFATAL_FAILURE(checked.OMSetRenderTargets(3, targets, nullptr), "different sizes");
}

TEST_F(StrictDeviceTest, WhatTheGpuOnlyReadsIsNotCopiedTo)
{
    const Texture2d four = texture(4);
    const Texture2d dynamic(device(), dynamicTextureDesc(4, 4, kColor));

    EXPECT_NONFATAL_FAILURE(context()->CopyResource(dynamic.get(), four.get()), "dynamic");
    EXPECT_NONFATAL_FAILURE(
        context()->CopySubresourceRegion(dynamic.get(), 0, 0, 0, 0, four.get(), 0, nullptr), "dynamic"
    );
}

TEST_F(StrictDeviceTest, WhatIsMappedIsNotCopied)
{
    Texture2d staging(device(), stagingTextureDesc(4, 4, kColor));
    const Texture2d four = texture(4);
    staging.map(context(), D3D11_MAP_WRITE);

    EXPECT_NONFATAL_FAILURE(context()->CopyResource(four.get(), staging.get()), "mapped");
    staging.unMap(context());
    context()->CopyResource(four.get(), staging.get());
}

TEST_F(StrictDeviceTest, DepthRangesOfViewportsLieIn0To1)
{
    const auto broken = [](float low, float high)
    {
        const D3D11_VIEWPORT viewport{0, 0, 4, 4, low, high};
        return DirectRules::brokenByViewports(1, &viewport);
    };

    EXPECT_EQ(broken(0.0F, 1.0F), "");
    EXPECT_EQ(broken(0.5F, 0.5F), "");
    EXPECT_NE(broken(-0.1F, 1.0F), "");
    EXPECT_NE(broken(0.0F, 1.1F), "");
    EXPECT_NE(broken(0.6F, 0.5F), "");
    const D3D11_VIEWPORT wide{0, 0, 40000, 4, 0, 1};
    EXPECT_NE(DirectRules::brokenByViewports(1, &wide), "");
}

TEST_F(StrictDeviceTest, ADepthBufferIsCopiedWhole)
{
    const auto depth = []
    { return Texture2d(device(), textureDesc(4, 4, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL)); };
    const Texture2d from = depth();
    const Texture2d to = depth();
    const D3D11_BOX part{0, 0, 0, 2, 2, 1};

    EXPECT_NE(DirectRules::brokenByRegionCopy(to.get(), 0, 0, 0, 0, from.get(), 0, &part), "");
    EXPECT_EQ(DirectRules::brokenByRegionCopy(to.get(), 0, 0, 0, 0, from.get(), 0, nullptr), "");
}

TEST_F(StrictDeviceTest, BuffersFitTheirUse)
{
    const auto broken =
        [](UINT size, D3D11_USAGE usage, UINT bind, UINT access, UINT misc = 0, UINT stride = 0) {
            return CreateRules::brokenBy(D3D11_BUFFER_DESC{size, usage, bind, access, misc, stride}, nullptr);
        };
    constexpr UINT kRaw = D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS;
    constexpr UINT kStructured = D3D11_RESOURCE_MISC_BUFFER_STRUCTURED;
    constexpr UINT kWrite = D3D11_CPU_ACCESS_WRITE;

    EXPECT_EQ(broken(16, D3D11_USAGE_DYNAMIC, D3D11_BIND_CONSTANT_BUFFER, kWrite), "");
    EXPECT_NE(broken(20, D3D11_USAGE_DYNAMIC, D3D11_BIND_CONSTANT_BUFFER, kWrite), "");
    EXPECT_NE(broken(65552, D3D11_USAGE_DYNAMIC, D3D11_BIND_CONSTANT_BUFFER, kWrite), "");
    EXPECT_NE(broken(16, D3D11_USAGE_DYNAMIC, D3D11_BIND_VERTEX_BUFFER, 0), "");
    EXPECT_NE(broken(16, D3D11_USAGE_DYNAMIC, D3D11_BIND_UNORDERED_ACCESS, kWrite), "");
    EXPECT_NE(broken(16, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER, kWrite), "");
    EXPECT_NE(broken(16, D3D11_USAGE_IMMUTABLE, D3D11_BIND_VERTEX_BUFFER, 0), "");
    EXPECT_NE(broken(16, D3D11_USAGE_STAGING, D3D11_BIND_VERTEX_BUFFER, kWrite), "");
    EXPECT_NE(broken(0x80000010U, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER, 0), "");
    EXPECT_EQ(broken(16, D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, 0, kRaw), "");
    EXPECT_NE(broken(18, D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, 0, kRaw), "");
    EXPECT_EQ(broken(24, D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, 0, kStructured, 12), "");
    EXPECT_NE(broken(24, D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, 0, kStructured, 10), "");
    EXPECT_NE(broken(24, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER, 0, kStructured, 12), "");
}

TEST_F(StrictDeviceTest, LayoutsGiveTheKindOfNumbersThatShadersRead)
{
    ShaderFacts shader;
    shader.inputs = {{"IDX", 0, 0, 1, 0, 1, 1}};
    const D3D11_INPUT_ELEMENT_DESC number{
        "idx", 0, DXGI_FORMAT_R32_UINT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0};
    D3D11_INPUT_ELEMENT_DESC fraction = number;
    fraction.Format = DXGI_FORMAT_R32_FLOAT;

    EXPECT_EQ(CreateRules::brokenByLayout(&number, 1, shader), "");
    EXPECT_NE(CreateRules::brokenByLayout(&fraction, 1, shader), "");
    EXPECT_NE(CreateRules::brokenByLayout(nullptr, 0, shader), "");
}

namespace
{
/// Draws a box as Boxes does, with something missing.
class StrictDraw : public StrictDeviceTest
{
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        constexpr UINT kAppend = D3D11_APPEND_ALIGNED_ELEMENT;
        constexpr D3D11_INPUT_CLASSIFICATION kInstance = D3D11_INPUT_PER_INSTANCE_DATA;
        const VertexShader::Layout layout{
            {"POS_MIN", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, kInstance, 1},
            {"POS_MAX", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, kAppend, kInstance, 1},
            {"COL", 0, DXGI_FORMAT_B8G8R8A8_UNORM, 0, kAppend, kInstance, 1},
        };
        mVertexShader = VertexShader::fromHlslResource(device(), "shaders/box.hlsl", layout);
        mPixelShader = PixelShader::fromHlslResource(device(), "shaders/box.hlsl");
        mConstants = ConstantBuffer(device(), 64);
        const D3D11_BUFFER_DESC desc{2 * kStride, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER, 0, 0, 0};
        Render::throwIfFailed(device()->CreateBuffer(&desc, nullptr, mVertices.put()));

        setViewport(4, 4);
        context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_LINELIST);
        mVertexShader.begin(context());
        mPixelShader.begin(context());
        bindConstants(mConstants.get());
        bindVertices(mVertices, kStride);
    }

    void TearDown() override
    {
        mVertices.release();
        mConstants = ConstantBuffer();
        mPixelShader = PixelShader();
        mVertexShader = VertexShader();
        DeviceFixture::TearDown();
    }

    static void bindConstants(ID3D11Buffer* buffer) { context()->VSSetConstantBuffers(0, 1, &buffer); }

    static void bindVertices(ID3D11Buffer* buffer, UINT stride)
    {
        const UINT offset = 0;
        context()->IASetVertexBuffers(0, 1, &buffer, &stride, &offset);
    }

    static void draw(UINT boxes) { context()->DrawInstanced(24, boxes, 0, 0); }

    static constexpr UINT kStride = sizeof(Render::BoxWithColor);
    VertexShader mVertexShader;
    PixelShader mPixelShader;
    ConstantBuffer mConstants;
    CComPtr<ID3D11Buffer> mVertices;
};
}  // namespace

TEST_F(StrictDraw, IsAllowedWithEverythingBound)
{
    draw(2);
}

TEST_F(StrictDraw, NeedsConstantsAsLargeAsTheShaderReads)
{
    bindConstants(nullptr);
    EXPECT_NONFATAL_FAILURE(draw(2), "no constant buffer at VS 0");

    const ConstantBuffer small(device(), 16);
    bindConstants(small.get());
    EXPECT_NONFATAL_FAILURE(draw(2), "too small a constant buffer at VS 0");
}

TEST_F(StrictDraw, ReadsNoVertexBeyondItsBuffer)
{
    testing::TestPartResultArray failures;
    {
        const testing::ScopedFakeTestPartResultReporter intercept(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures
        );
        draw(3);
    }

    ASSERT_EQ(failures.size(), 3);  // one for each element
    EXPECT_THAT(failures.GetTestPartResult(0).message(), testing::HasSubstr("beyond the vertex buffer"));
}

TEST_F(StrictDraw, NeedsTopologyAndViewport)
{
    context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_UNDEFINED);
    EXPECT_NONFATAL_FAILURE(draw(2), "without a topology");

    context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_LINELIST);
    context()->RSSetViewports(0, nullptr);
    EXPECT_NONFATAL_FAILURE(draw(2), "without a viewport");
}

TEST_F(StrictDraw, NeedsAPixelStageThatTakesWhatTheVertexStageGives)
{
    const PixelShader other = PixelShader::fromHlslResource(device(), "shaders/mesh.hlsl");
    other.begin(context());
    const ConstantBuffer constants(device(), 288);
    ID3D11Buffer* const buffer = constants.get();
    context()->PSSetConstantBuffers(0, 1, &buffer);

    EXPECT_NONFATAL_FAILURE(draw(2), "as the next one takes it");
}

TEST_F(StrictDraw, ReadsNoIndexBeyondItsBuffer)
{
    EXPECT_NONFATAL_FAILURE(context()->DrawIndexedInstanced(6, 2, 0, 0, 0), "without an index buffer");

    IndexBuffer indices(device(), {0, 1, 2, 3, 4, 5});
    indices.begin(context(), 0);
    context()->DrawIndexedInstanced(6, 2, 0, 0, 0);
    EXPECT_NONFATAL_FAILURE(context()->DrawIndexedInstanced(6, 2, 1, 0, 0), "beyond the index buffer");
}

namespace
{
/// A raw buffer that shaders may read and write, and its two views.
class StrictUnordered : public StrictDeviceTest
{
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        const D3D11_BUFFER_DESC desc{
            64,
            D3D11_USAGE_DEFAULT,
            D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_UNORDERED_ACCESS,
            0,
            D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS,
            0};
        Render::throwIfFailed(device()->CreateBuffer(&desc, nullptr, mBuffer.put()));
        D3D11_UNORDERED_ACCESS_VIEW_DESC unordered{};
        unordered.Format = DXGI_FORMAT_R32_TYPELESS;
        unordered.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
        unordered.Buffer = {0, 16, D3D11_BUFFER_UAV_FLAG_RAW};
        Render::throwIfFailed(device()->CreateUnorderedAccessView(mBuffer, &unordered, mUnordered.put()));
        D3D11_SHADER_RESOURCE_VIEW_DESC view{};
        view.Format = DXGI_FORMAT_R32_TYPELESS;
        view.ViewDimension = D3D11_SRV_DIMENSION_BUFFEREX;
        view.BufferEx = {0, 16, D3D11_BUFFEREX_SRV_FLAG_RAW};
        Render::throwIfFailed(device()->CreateShaderResourceView(mBuffer, &view, mView.put()));
    }

    void TearDown() override
    {
        mView.release();
        mUnordered.release();
        mBuffer.release();
        DeviceFixture::TearDown();
    }

    static void read(ID3D11ShaderResourceView* view) { context()->VSSetShaderResources(0, 1, &view); }

    static void write(ID3D11UnorderedAccessView* view)
    {
        context()->CSSetUnorderedAccessViews(0, 1, &view, nullptr);
    }

    CComPtr<ID3D11Buffer> mBuffer;
    CComPtr<ID3D11UnorderedAccessView> mUnordered;
    CComPtr<ID3D11ShaderResourceView> mView;
};
}  // namespace

TEST_F(StrictUnordered, ABufferIsNotReadAndWrittenAtOnce)
{
    write(mUnordered);
    EXPECT_NONFATAL_FAILURE(read(mView), "written unordered");
    context()->ClearState();

    read(mView);
    EXPECT_NONFATAL_FAILURE(write(mUnordered), "bound for reading");
}

TEST_F(StrictUnordered, ADispatchNeedsAShader)
{
    EXPECT_NONFATAL_FAILURE(context()->Dispatch(1, 1, 1), "without a compute shader");
}

TEST_F(StrictUnordered, ViewsStayInsideTheirBuffer)
{
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_R32_TYPELESS;
    desc.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
    desc.Buffer = {1, 16, D3D11_BUFFER_UAV_FLAG_RAW};

    EXPECT_NE(CreateRules::brokenBy(mBuffer, &desc), "");
    desc.Buffer.NumElements = 15;
    EXPECT_EQ(CreateRules::brokenBy(mBuffer, &desc), "");
    desc.Buffer.Flags = 0;
    EXPECT_NE(CreateRules::brokenBy(mBuffer, &desc), "");
}

TEST_F(StrictDeviceTest, AChosenCallFailsAndTheDeviceGoesOn)
{
    faults().failAt(2, CallFaults::Kind::OutOfMemory);

    EXPECT_NE(texture(4).get(), nullptr);
    EXPECT_THROW(texture(4), Render::ComException);
    EXPECT_EQ(faults().failed(), "CreateTexture2D");
    EXPECT_NE(texture(4).get(), nullptr);
    EXPECT_EQ(device()->GetDeviceRemovedReason(), S_OK);
}

TEST_F(StrictDeviceTest, ALostDeviceStaysLost)
{
    faults().failAt(1, CallFaults::Kind::DeviceLost);

    EXPECT_THROW(texture(4), Render::DeviceLostException);
    EXPECT_THROW(texture(4), Render::DeviceLostException);
    EXPECT_EQ(device()->GetDeviceRemovedReason(), CallFaults::kReason);
    faults().failNone();
}
