#pragma once

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "render/renderer/Renderer.h"
#include "render/scene/Camera.h"
#include "tests/render/renderer/TriangleRenderable.h"
#include "tests/support/DeviceFixture.h"

#include <cmath>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace Render
{
/// Base of the tests of a whole renderer: one of 8 x 6 pixels in which a world unit is a pixel. Its volume
/// spans x from -4 to 4, y from -3 to 3 and z from 10 to -10; the upper left pixel's centre is (-3.5, 2.5).
class RendererFixture : public DeviceFixture
{
public:
    static constexpr int kByteRounding = 1;

    static Graphics::ColorImage colorImage(Renderer& renderer)
    {
        Graphics::ColorImage image;
        renderer.getColorImage(image);
        return image;
    }

    static Graphics::DepthImage depthImage(Renderer& renderer)
    {
        Graphics::DepthImage image;
        renderer.getDepthImage(image);
        return image;
    }

    /// Blending and filtering may err by a step.
    static void expectColor(const Math::Color& actual, const Math::Color& expected)
    {
        EXPECT_NEAR(int{actual.r()}, int{expected.r()}, kByteRounding);
        EXPECT_NEAR(int{actual.g()}, int{expected.g()}, kByteRounding);
        EXPECT_NEAR(int{actual.b()}, int{expected.b()}, kByteRounding);
        EXPECT_NEAR(int{actual.a()}, int{expected.a()}, kByteRounding);
    }

protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        mRenderer = pixelRenderer(true);
    }

    void TearDown() override
    {
        mRenderer.reset();
        DeviceFixture::TearDown();
    }

    static std::unique_ptr<Renderer> pixelRenderer(bool reversedZ)
    {
        auto renderer = std::make_unique<Renderer>(reversedZ);
        renderer->setViewport(8, 6);
        renderer->setOrthographic(8.0F, 6.0F, -10.0F, 10.0F);
        return renderer;
    }

    /// Makes these triangles the scene and draws a frame.
    std::shared_ptr<TriangleRenderable> show(std::vector<VertexPosColor> corners, bool transparent = false)
    {
        auto scene = std::make_shared<TriangleRenderable>(std::move(corners));
        scene->transparent = transparent;
        mRenderer->setScene(scene);
        mRenderer->render();
        return scene;
    }

    Math::Color shownAt(std::uint64_t x, std::uint64_t y) { return colorImage(*mRenderer).pixel(x, y); }

    std::unique_ptr<Renderer> mRenderer;
};
}  // namespace Render
