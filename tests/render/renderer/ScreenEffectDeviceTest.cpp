#include "render/gpu/shaderBytecode.h"
#include "render/renderer/Frame.h"
#include "render/renderer/PassImages.h"
#include "render/renderer/PostProcess.h"
#include "render/renderer/View.h"
#include "render/scene/Camera.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
using Math::Color;

constexpr const char* kVertices = R"(
float4 vs_main(uint index : SV_VertexID) : SV_POSITION
{
    return float4(lerp(-1.0, 1.0, (float) ((index >> 1) & 1)), lerp(-1.0, 1.0, (float) (index & 1)), 1.0, 1.0);
}
)";

constexpr const char* kRotateChannels = R"(
Texture2D<float4> color : register(t0);
float4 ps_main(float4 position : SV_POSITION) : SV_TARGET
{
    return color.Load(int3(position.xy, 0)).gbra;
}
)";

constexpr const char* kShowDepth = R"(
Texture2D<float> depth : register(t0);
float4 ps_main(float4 position : SV_POSITION) : SV_TARGET
{
    const float value = depth.Load(int3(position.xy, 0));
    return float4(1.0 - value, value, 0.0, 1.0);
}
)";

class TestEffect final : public ScreenPass
{
public:
    TestEffect(
        const CComPtr<ID3D11Device>& device,
        const Camera& camera,
        std::vector<std::string> inputs,
        const char* pixelSource
    )
        : ScreenPass(device, camera, std::move(inputs)),
          mVertexShader(VertexShader::fromCsoString(
              device, compileHlsl(kVertices, "vertices", nullptr, kVertexProfile), {}
          )),
          mPixelShader(
              PixelShader::fromCsoString(device, compileHlsl(pixelSource, "effect", nullptr, kPixelProfile))
          )
    {
        addTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
    }

    bool isOn(const FrameInput&) const override { return on; }

    bool on = true;

private:
    void drawPixels(const FrameInput& input) override
    {
        mVertexShader.begin(input.context);
        mPixelShader.begin(input.context);
        input.context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
        input.context->DrawInstanced(4, 1, 0, 0);
    }

    VertexShader mVertexShader;
    PixelShader mPixelShader;
};

class ScreenEffect : public DeviceFixture
{
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        mView = std::make_unique<View>(true);
        mView->camera()->setViewport(16, 8);
        mFrame = std::make_unique<Frame>(device(), *mView->camera(), 1);
        mPostProcess = PostProcess(device());
        mPostProcess.setViewport(mView->camera()->viewport());
    }

    void TearDown() override
    {
        mPostProcess = PostProcess();
        mFrame.reset();
        mView.reset();
        DeviceFixture::TearDown();
    }

    TestEffect& add(std::vector<std::string> inputs, const char* pixelSource)
    {
        auto effect =
            std::make_unique<TestEffect>(device(), *mView->camera(), std::move(inputs), pixelSource);
        TestEffect& added = *effect;
        mFrame->addEffect(std::move(effect));
        return added;
    }

    void draw() { mFrame->draw(context(), *mView, mPostProcess, Color(10, 20, 30, 255)); }

    Color picture() { return readBack<Color>(mFrame->outputPass().texture("color")).at(15, 7); }

    std::unique_ptr<View> mView;
    std::unique_ptr<Frame> mFrame;
    PostProcess mPostProcess;
};
}  // namespace

TEST_F(ScreenEffect, MakesThePictureOfItsImageAndLeavesThatOfTheScene)
{
    add({"color"}, kRotateChannels);

    draw();

    EXPECT_EQ(picture(), Color(20, 30, 10, 255));
    EXPECT_EQ(readBack<Color>(mFrame->scenePass().texture("color")).at(15, 7), Color(10, 20, 30, 255));
}

TEST_F(ScreenEffect, ReadsTheImageOfTheEffectBefore)
{
    add({"color"}, kRotateChannels);
    add({"color"}, kRotateChannels);

    draw();

    EXPECT_EQ(picture(), Color(30, 10, 20, 255));
}

TEST_F(ScreenEffect, ThatIsOffHasNoImage)
{
    add({"color"}, kRotateChannels).on = false;

    draw();

    EXPECT_EQ(picture(), Color(10, 20, 30, 255));
}

TEST_F(ScreenEffect, ReadsTheDepthBuffer)
{
    add({PassImages::kDepth}, kShowDepth);

    draw();

    EXPECT_EQ(picture(), Color(255, 0, 0, 255)) << "nothing was drawn: depth is 0, which is far";
}

TEST_F(ScreenEffect, FollowsTheSizeOfTheFrame)
{
    const TestEffect& effect = add({"color"}, kRotateChannels);

    mFrame->use(mFrame->texturesOfSize(4, 2));

    EXPECT_EQ(effect.targets().texture("color").desc().Width, 4U);
    EXPECT_EQ(effect.targets().texture("color").desc().Height, 2U);
    mView->camera()->setViewport(4, 2);
    mPostProcess.setViewport(mView->camera()->viewport());
    draw();
    EXPECT_EQ(readBack<Color>(mFrame->outputPass().texture("color")).at(3, 1), Color(20, 30, 10, 255));
}

TEST_F(ScreenEffect, WhoseImageNobodyDrawsIsAnErrorThatNamesIt)
{
    add({"color", "normals"}, kRotateChannels);

    const std::string expected = "Error: no pass of the frame has drawn an image named normals";
    EXPECT_EQ(messageOf<std::out_of_range>([this] { draw(); }), expected);
    EXPECT_EQ(messageOf<std::out_of_range>([this] { draw(); }), expected) << "what was bound is free again";
}
}  // namespace Render
