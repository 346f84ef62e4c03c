#include "render/renderer/Frame.h"
#include "render/renderer/PostProcess.h"
#include "render/renderer/View.h"
#include "tests/render/renderer/RecordingRenderable.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Calls = std::vector<std::string>;

/// A frame whose calls are recorded.
class FrameCalls : public DeviceFixture
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

    /// Draws and gives the functions that were called, each run of equal ones as a number and a name.
    Calls drawn()
    {
        CheckedContext checked(context());
        mFrame->draw(&checked, *mView, mPostProcess, Math::Color(255, 255, 255, 255));

        Calls runs;
        std::string last;
        int count = 0;
        const auto finish = [&]
        {
            if (count > 0)
            {
                runs.push_back(count == 1 ? last : std::to_string(count) + " " + last);
            }
        };
        for (const std::string& call : checked.calls())
        {
            const std::string function = call.substr(0, call.find(' '));
            if (function != last)
            {
                finish();
                last = function;
                count = 0;
            }
            ++count;
        }
        finish();
        return runs;
    }

    std::shared_ptr<RecordingRenderable> addScene()
    {
        auto scene = std::make_shared<RecordingRenderable>();
        mView->setScene(scene, 0, device(), context());
        return scene;
    }

    std::unique_ptr<View> mView;
    std::unique_ptr<Frame> mFrame;
    PostProcess mPostProcess;
};

Calls frameOf(const Calls& states)
{
    Calls calls{"OMSetRenderTargets"};
    calls.insert(calls.end(), states.begin(), states.end());
    const Calls rest{
        "RSSetState",
        "3 ClearRenderTargetView",
        "ClearDepthStencilView",
        "ClearState",
        "2 OMSetRenderTargets",  // none, then those of the output pass
        "OMSetBlendState",
        "OMSetDepthStencilState",
        "2 ClearRenderTargetView",
        "3 PSSetShaderResources",
        "VSSetShader",
        "PSSetShader",
        "Map",
        "Unmap",
        "PSSetConstantBuffers",
        "IASetPrimitiveTopology",
        "DrawInstanced",
        "IASetInputLayout",
        "VSSetShader",
        "PSSetShader",
        "PSSetConstantBuffers",
        "3 PSSetShaderResources",
        "ClearState",
        "OMSetRenderTargets",
    };
    calls.insert(calls.end(), rest.begin(), rest.end());
    return calls;
}
}  // namespace

TEST_F(FrameCalls, WithoutASceneTestDepthAndLeaveTheBlendState)
{
    EXPECT_EQ(drawn(), frameOf({"OMSetDepthStencilState"}));
}

TEST_F(FrameCalls, OfATransparentSceneSetTheBlendState)
{
    addScene()->transparent = true;

    EXPECT_EQ(drawn(), frameOf({"OMSetBlendState", "OMSetDepthStencilState"}));
}

TEST_F(FrameCalls, OfAnInvisibleTransparentSceneStillSetTheBlendState)
{
    const auto scene = addScene();
    scene->transparent = true;
    scene->setVisible(false);
    scene->takeCalls();

    EXPECT_EQ(drawn(), frameOf({"OMSetBlendState", "OMSetDepthStencilState"}));
    EXPECT_EQ(scene->takeCalls(), Calls{});
}

TEST_F(FrameCalls, TheSceneIsDrawnIntoClearedTargetsOfTheWholeViewport)
{
    const auto scene = addScene();
    D3D11_VIEWPORT viewport{};
    TexelGrid<Float4> exact;
    scene->onRender = [&]
    {
        UINT count = 1;
        context()->RSGetViewports(&count, &viewport);
        exact = readBack<Float4>(mFrame->scenePass().texture("exactWorldPosition"));
    };

    drawn();

    EXPECT_EQ(viewport.Width, 16.0F);
    EXPECT_EQ(viewport.Height, 8.0F);
    EXPECT_EQ(viewport.MaxDepth, 1.0F);
    EXPECT_EQ(exact.at(15, 7), Float4{});
}

TEST_F(FrameCalls, TheClearColorOfBothPassesIsTheBackgroundWithItsAlpha)
{
    mFrame->draw(context(), *mView, mPostProcess, Math::Color(10, 20, 30, 40));

    EXPECT_EQ(
        readBack<Math::Color>(mFrame->scenePass().texture("color")).at(3, 3), Math::Color(10, 20, 30, 40)
    );
    EXPECT_EQ(
        readBack<Math::Color>(mFrame->outputPass().texture("color")).at(3, 3), Math::Color(10, 20, 30, 255)
    );
}

TEST_F(FrameCalls, TargetsHaveTheirFormatsAndSizes)
{
    const auto formatOf = [](const Texture2d& texture)
    {
        EXPECT_EQ(texture.desc().Width, 16U);
        EXPECT_EQ(texture.desc().Height, 8U);
        return texture.desc().Format;
    };

    EXPECT_EQ(formatOf(mFrame->scenePass().texture("color")), DXGI_FORMAT_B8G8R8A8_UNORM);
    EXPECT_EQ(formatOf(mFrame->scenePass().texture("worldPosition")), DXGI_FORMAT_R32G32B32A32_FLOAT);
    EXPECT_EQ(formatOf(mFrame->scenePass().texture("exactWorldPosition")), DXGI_FORMAT_R32G32B32A32_FLOAT);
    EXPECT_EQ(formatOf(mFrame->scenePass().depthTexture()), DXGI_FORMAT_R32_TYPELESS);
    EXPECT_EQ(formatOf(mFrame->outputPass().texture("color")), DXGI_FORMAT_B8G8R8A8_UNORM);
    EXPECT_EQ(formatOf(mFrame->outputPass().texture("worldPosition")), DXGI_FORMAT_R32G32B32A32_FLOAT);
}
}  // namespace Render
