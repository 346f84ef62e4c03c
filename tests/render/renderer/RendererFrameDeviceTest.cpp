#include "render/gpu/ComException.h"
#include "tests/render/renderer/RecordingRenderable.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Calls = std::vector<std::string>;
using Math::Color;

constexpr Color kWhite{255, 255, 255, 255};
constexpr Color kRed{255, 0, 0, 255};
constexpr Color kGreen{0, 255, 0, 255};
constexpr Color kBlue{0, 0, 255, 255};
constexpr std::byte kUntouched{0xEE};

using RendererFrame = RendererFixture;

/// Depth of a point straight ahead of the camera.
float depthOf(const Renderer& renderer, float z)
{
    const Eigen::Vector4f clip =
        renderer.camera()->viewProjectionMatrix() * Eigen::Vector4f(0.0F, 0.0F, z, 1.0F);
    return clip.z() / clip.w();
}

std::vector<VertexPosColor> wholePicture(float z, const Color& color)
{
    return rectangle(-4.0F, 4.0F, -3.0F, 3.0F, z, color);
}

template <class Image>
void expectAllPixels(const Image& image, const typename Image::PixelType& expected)
{
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            ASSERT_EQ(image.pixel(x, y), expected) << "at " << x << ", " << y;
        }
    }
}
}  // namespace

TEST_F(RendererFrame, WithoutASceneIsTheBackgroundOpaque)
{
    mRenderer->setBackgroundColor(10, 20, 30, 40);

    mRenderer->render();

    expectAllPixels(colorImage(*mRenderer), Color(10, 20, 30, 255));
    expectAllPixels(depthImage(*mRenderer), 0.0F);
}

TEST_F(RendererFrame, TheBackgroundGoesThroughThePostProcess)
{
    mRenderer->setBackgroundColor(10, 20, 30, 255);
    mRenderer->setRenderMode(RenderMode::TomographicDark);
    mRenderer->setOpacity(0.2F);

    mRenderer->render();

    expectColor(shownAt(3, 3), Color(245, 235, 225, 51));
}

TEST_F(RendererFrame, ShowsTheSceneWhereItIs)
{
    show(rectangle(-4.0F, -3.0F, 2.0F, 3.0F, 0.0F, kRed) + rectangle(3.0F, 4.0F, -3.0F, -2.0F, 0.0F, kGreen));

    const Graphics::ColorImage image = colorImage(*mRenderer);
    EXPECT_EQ(image.pixel(0, 0), kRed);
    EXPECT_EQ(image.pixel(1, 0), kWhite);
    EXPECT_EQ(image.pixel(0, 1), kWhite);
    EXPECT_EQ(image.pixel(7, 5), kGreen);
    EXPECT_EQ(image.pixel(6, 5), kWhite);
}

TEST_F(RendererFrame, DoesNotCallAnInvisibleScene)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    mRenderer->setScene(scene);
    scene->setVisible(false);
    scene->takeCalls();

    mRenderer->render();

    EXPECT_EQ(scene->takeCalls(), Calls{});
    expectAllPixels(colorImage(*mRenderer), kWhite);
}

TEST_F(RendererFrame, NearerTrianglesHideOthersInBothDepthConventions)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        mRenderer = pixelRenderer(reversedZ);
        show(wholePicture(1.0F, kRed) + wholePicture(2.0F, kGreen) + wholePicture(0.0F, kBlue));

        expectAllPixels(colorImage(*mRenderer), kGreen);
    }
}

TEST_F(RendererFrame, DepthIsThatOfTheCameraInBothConventions)
{
    for (const bool reversedZ : {true, false})
    {
        SCOPED_TRACE(reversedZ);
        mRenderer = pixelRenderer(reversedZ);
        show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 5.0F, kRed));

        const Graphics::DepthImage depth = depthImage(*mRenderer);
        // z from 10 to -10 is near to far: 5 lies a quarter of the way from the near plane.
        EXPECT_NEAR(depth.pixel(1, 1), reversedZ ? 0.75F : 0.25F, 1e-6F);
        EXPECT_NEAR(depth.pixel(1, 1), depthOf(*mRenderer, 5.0F), 1e-6F);
        EXPECT_EQ(depth.pixel(6, 1), reversedZ ? 0.0F : 1.0F);
    }
}

TEST_F(RendererFrame, DepthOfAPerspectiveIsThatOfTheCamera)
{
    mRenderer->setPerspective(60.0F, 1.0F, 50.0F, 0.0F, 0.0F);

    show(rectangle(-40.0F, 40.0F, -30.0F, 30.0F, -7.0F, kRed));

    EXPECT_NEAR(depthImage(*mRenderer).pixel(4, 3), depthOf(*mRenderer, -7.0F), 1e-6F);
    EXPECT_GT(depthImage(*mRenderer).pixel(4, 3), 0.1F);
}

TEST_F(RendererFrame, BackFacesAreDrawnLikeFrontFaces)
{
    std::vector<VertexPosColor> reversed = wholePicture(0.0F, kRed);
    std::reverse(reversed.begin(), reversed.end());

    show(reversed);

    expectAllPixels(colorImage(*mRenderer), kRed);
}

TEST_F(RendererFrame, ATransparentSceneIsBlendedInDrawingOrderWhateverTheDepth)
{
    mRenderer->setBackgroundColor(0, 0, 0, 255);

    show(wholePicture(5.0F, Color(255, 0, 0, 128)) + wholePicture(-5.0F, Color(0, 255, 0, 51)), true);

    // Half red over black, then a fifth of green over that.
    expectColor(shownAt(2, 2), Color(102, 51, 0, 255));
}

TEST_F(RendererFrame, ATransparentSceneLeavesTheDepthBufferAlone)
{
    show(wholePicture(5.0F, Color(255, 0, 0, 128)), true);

    expectAllPixels(depthImage(*mRenderer), 0.0F);
}

TEST_F(RendererFrame, PositionsOfATransparentSceneAreThoseOfTheLastFragment)
{
    show(wholePicture(5.0F, Color(255, 0, 0, 128)) + wholePicture(-5.0F, Color(0, 255, 0, 51)), true);

    std::vector<VertexPosColor> points;
    mRenderer->getPoints(points);
    ASSERT_EQ(points.size(), 48U);
    EXPECT_EQ(points[0].position.z, -5.0F);
}

TEST_F(RendererFrame, AnOpaqueSceneIsNotBlended)
{
    show(wholePicture(5.0F, Color(200, 100, 50, 10)));

    expectColor(shownAt(2, 2), Color(200, 100, 50, 255));
}

TEST_F(RendererFrame, TheNextFrameDoesNotBlendAfterATransparentOne)
{
    const auto scene = show(wholePicture(0.0F, Color(200, 100, 50, 10)), true);
    scene->transparent = false;

    mRenderer->render();

    expectColor(shownAt(2, 2), Color(200, 100, 50, 255));
}

TEST_F(RendererFrame, StatesDuringAnOpaqueSceneTestAndWriteDepthAndCullNothing)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    D3D11_DEPTH_STENCIL_DESC depth{};
    D3D11_RASTERIZER_DESC rasterizer{};
    UINT stencilReference = 0;
    bool isBlended = true;
    std::vector<std::string> bound;
    scene->onRender = [&]
    {
        CComPtr<ID3D11DepthStencilState> depthState;
        mRenderer->deviceContext()->OMGetDepthStencilState(depthState.put(), &stencilReference);
        depthState->GetDesc(&depth);
        CComPtr<ID3D11RasterizerState> rasterizerState;
        mRenderer->deviceContext()->RSGetState(rasterizerState.put());
        rasterizerState->GetDesc(&rasterizer);
        CComPtr<ID3D11BlendState> blendState;
        mRenderer->deviceContext()->OMGetBlendState(blendState.put(), nullptr, nullptr);
        isBlended = blendState != nullptr;
        bound = boundObjects(mRenderer->deviceContext());
    };
    mRenderer->setScene(scene);

    mRenderer->render();

    EXPECT_TRUE(depth.DepthEnable);
    EXPECT_EQ(depth.DepthWriteMask, D3D11_DEPTH_WRITE_MASK_ALL);
    EXPECT_EQ(depth.DepthFunc, D3D11_COMPARISON_GREATER_EQUAL);
    EXPECT_EQ(stencilReference, 1U);
    EXPECT_EQ(rasterizer.CullMode, D3D11_CULL_NONE);
    EXPECT_EQ(rasterizer.FillMode, D3D11_FILL_SOLID);
    EXPECT_FALSE(rasterizer.FrontCounterClockwise);
    EXPECT_TRUE(rasterizer.DepthClipEnable);
    EXPECT_FALSE(
        rasterizer.ScissorEnable || rasterizer.MultisampleEnable || rasterizer.AntialiasedLineEnable
    );
    EXPECT_EQ(rasterizer.DepthBias, 0);
    EXPECT_FALSE(isBlended);
    EXPECT_EQ(bound.size(), 4U) << "three targets and the depth buffer, nothing else";
}

TEST_F(RendererFrame, StatesDuringATransparentSceneBlendTheColorAlone)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    scene->transparent = true;
    D3D11_DEPTH_STENCIL_DESC depth{};
    D3D11_BLEND_DESC blend{};
    std::array<float, 4> factor{};
    UINT sampleMask = 0;
    scene->onRender = [&]
    {
        CComPtr<ID3D11DepthStencilState> depthState;
        mRenderer->deviceContext()->OMGetDepthStencilState(depthState.put(), nullptr);
        depthState->GetDesc(&depth);
        CComPtr<ID3D11BlendState> blendState;
        mRenderer->deviceContext()->OMGetBlendState(blendState.put(), factor.data(), &sampleMask);
        blendState->GetDesc(&blend);
    };
    mRenderer->setScene(scene);

    mRenderer->render();

    EXPECT_FALSE(depth.DepthEnable);
    EXPECT_FALSE(blend.AlphaToCoverageEnable);
    EXPECT_TRUE(blend.IndependentBlendEnable);
    EXPECT_TRUE(blend.RenderTarget[0].BlendEnable);
    EXPECT_EQ(blend.RenderTarget[0].SrcBlend, D3D11_BLEND_SRC_ALPHA);
    EXPECT_EQ(blend.RenderTarget[0].DestBlend, D3D11_BLEND_INV_SRC_ALPHA);
    EXPECT_EQ(blend.RenderTarget[0].BlendOp, D3D11_BLEND_OP_ADD);
    EXPECT_EQ(blend.RenderTarget[0].SrcBlendAlpha, D3D11_BLEND_ONE);
    EXPECT_EQ(blend.RenderTarget[0].DestBlendAlpha, D3D11_BLEND_ZERO);
    for (std::size_t i = 0; i < 8; ++i)
    {
        EXPECT_EQ(blend.RenderTarget[i].RenderTargetWriteMask, D3D11_COLOR_WRITE_ENABLE_ALL);
        EXPECT_TRUE(i == 0 || !blend.RenderTarget[i].BlendEnable);
    }
    EXPECT_EQ(sampleMask, 0xFFFFFFFFU);
    EXPECT_EQ(factor, (std::array<float, 4>{1.0F, 1.0F, 1.0F, 1.0F}));
}

TEST_F(RendererFrame, LeavesNothingBoundInTheContext)
{
    show(wholePicture(0.0F, kRed));
    ID3D11DeviceContext* const used = mRenderer->deviceContext();

    EXPECT_EQ(boundObjects(used), std::vector<std::string>{});
    CComPtr<ID3D11DepthStencilState> depthState;
    UINT stencilReference = 7;
    used->OMGetDepthStencilState(depthState.put(), &stencilReference);
    EXPECT_EQ(depthState, nullptr);
    EXPECT_EQ(stencilReference, 0U);
    CComPtr<ID3D11BlendState> blendState;
    used->OMGetBlendState(blendState.put(), nullptr, nullptr);
    EXPECT_EQ(blendState, nullptr);
    CComPtr<ID3D11RasterizerState> rasterizerState;
    used->RSGetState(rasterizerState.put());
    EXPECT_EQ(rasterizerState, nullptr);
    UINT viewportCount = 0;
    used->RSGetViewports(&viewportCount, nullptr);
    EXPECT_EQ(viewportCount, 0U);
}

TEST_F(RendererFrame, ASceneThatThrowsLeavesNothingBoundEither)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    scene->onRender = [] { throw std::runtime_error("cannot draw"); };
    mRenderer->setScene(scene);

    EXPECT_THROW(mRenderer->render(), std::runtime_error);

    EXPECT_EQ(boundObjects(mRenderer->deviceContext()), std::vector<std::string>{});
    EXPECT_TRUE(mRenderer->needsRedraw());
    scene->onRender = nullptr;
    mRenderer->render();
    expectAllPixels(colorImage(*mRenderer), kWhite);
}

TEST_F(RendererFrame, LeavesNoRedrawDueEvenIfALoaderAskedForOneMeanwhile)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    scene->onRender = [&] { mRenderer->camera()->setNeedsRedraw(true); };
    mRenderer->setScene(scene);

    mRenderer->render();

    EXPECT_FALSE(mRenderer->camera()->needsRedraw());
    EXPECT_FALSE(mRenderer->needsRedraw());
}

TEST_F(RendererFrame, FitsTheDepthRangeToASceneThatHasMoved)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    scene->box = Box({-1.0F, -1.0F, -20.0F}, {1.0F, 1.0F, -10.0F});
    mRenderer->setScene(scene);
    mRenderer->setAutoAdjustZRange(true);
    scene->takeCalls();

    mRenderer->render();

    EXPECT_EQ(scene->takeCalls(), (Calls{"onUpdateZRange", "render"}));
    EXPECT_FLOAT_EQ(mRenderer->camera()->zNear(), 10.0F);
    EXPECT_FLOAT_EQ(mRenderer->camera()->zFar(), 20.0F);
}

TEST_F(RendererFrame, KeepsTheDepthRangeWhileFittingIsOff)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    mRenderer->setScene(scene);
    scene->takeCalls();

    mRenderer->render();

    EXPECT_EQ(scene->takeCalls(), (Calls{"render"}));
    EXPECT_EQ(mRenderer->camera()->zNear(), -10.0F);
}

TEST_F(RendererFrame, TheSettingsOfTheColoringShow)
{
    show(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 2.5F, Color(102, 153, 26, 255)));
    mRenderer->setBrightness(0.1F);
    mRenderer->setContrast(2.0F);
    mRenderer->setOpacity(0.4F);
    mRenderer->render();
    expectColor(shownAt(1, 1), Color(128, 230, 0, 102));

    mRenderer->setRenderMode(RenderMode::TomographicBright);
    mRenderer->render();
    expectColor(shownAt(1, 1), Color(102, 153, 26, 41));  // alpha 0.4 x 0.4

    mRenderer->setRenderMode(RenderMode::ColorizeByPlaneDistance);
    mRenderer->setOpacity(1.0F);
    mRenderer->setColorizationRange({1000.0F, 0.0F, 0.0F}, {1008.0F, 0.0F, 0.0F}, ColorMap::Gray);
    mRenderer->render();
    expectColor(shownAt(5, 1), Color(48, 48, 48, 255));  // the exact x there is 1001.5

    mRenderer->setRenderMode(RenderMode::ColorizeByNormal);
    mRenderer->render();
    expectColor(shownAt(5, 4), Color(128, 128, 0, 255));  // (1, 0, 0) x (0, -1, 0) = (0, 0, -1)
}

TEST_F(RendererFrame, SeveralRenderersDoNotDisturbEachOther)
{
    Renderer other(false);
    other.setViewport(5, 4);
    other.setBackgroundColor(1, 2, 3, 255);
    mRenderer->setBackgroundColor(9, 8, 7, 255);
    auto scene = std::make_shared<TriangleRenderable>(rectangle(-0.2F, 0.2F, -0.25F, 0.25F, 0.0F, kBlue));
    other.setScene(scene);

    mRenderer->render();
    other.render();
    mRenderer->render();

    expectAllPixels(colorImage(*mRenderer), Color(9, 8, 7, 255));
    EXPECT_EQ(colorImage(other).pixel(0, 0), Color(1, 2, 3, 255));
    EXPECT_EQ(colorImage(other).pixel(2, 1), kBlue);
    EXPECT_EQ(depthImage(other).pixel(0, 0), 1.0F);
    EXPECT_EQ(depthImage(*mRenderer).pixel(0, 0), 0.0F);
}

TEST_F(RendererFrame, SizesFollowTheViewport)
{
    show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 0.0F, kRed));
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> sizes{
        {641, 479}, {1, 1}, {3, 5}, {640, 480}, {8, 6}};
    for (const auto& [width, height] : sizes)
    {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        mRenderer->setViewport(width, height);

        mRenderer->render();

        const Graphics::ColorImage image = colorImage(*mRenderer);
        ASSERT_EQ(image.width(), width);
        ASSERT_EQ(image.height(), height);
        EXPECT_GE(image.rowPitch(), width * 4);
        EXPECT_EQ(
            image.pixel(0, height - 1), width == 1 ? kWhite : kRed
        );  // a single centre lies on the border
        EXPECT_EQ(image.pixel(width - 1, 0), kWhite);
        const Graphics::DepthImage depth = depthImage(*mRenderer);
        ASSERT_EQ(depth.width(), width);
        ASSERT_EQ(depth.height(), height);
        EXPECT_EQ(depth.pixel(width - 1, 0), 0.0F);
    }
}

TEST_F(RendererFrame, ReadIntoMemoryHasTheSamePixels)
{
    show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    std::vector<std::byte> colors(8 * 4 * 6, kUntouched);
    std::vector<std::byte> depths(8 * 4 * 6, kUntouched);

    mRenderer->getColorImage(colors, 8 * 4, 6);
    mRenderer->getDepthImage(depths, 8 * 4, 6);

    const Graphics::ColorImage image = colorImage(*mRenderer);
    const Graphics::DepthImage depthPicture = depthImage(*mRenderer);
    for (std::size_t y = 0; y < 6; ++y)
    {
        for (std::size_t x = 0; x < 8; ++x)
        {
            Color color;
            float depth = 0.0F;
            std::memcpy(&color, &colors[32 * y + 4 * x], 4);
            std::memcpy(&depth, &depths[32 * y + 4 * x], 4);
            EXPECT_EQ(color, image.pixel(x, y));
            EXPECT_EQ(depth, depthPicture.pixel(x, y));
        }
    }
}

TEST_F(RendererFrame, ReadIntoMoreRowsThanThePictureHasLeavesTheRest)
{
    mRenderer->setBackgroundColor(0, 0, 0, 255);
    mRenderer->render();
    std::vector<std::byte> colors(32 * 8, kUntouched);

    mRenderer->getColorImage(colors, 32, 8);

    EXPECT_EQ(colors[32 * 6 - 1], std::byte{255});
    EXPECT_TRUE(
        std::all_of(colors.begin() + 32 * 6, colors.end(), [](std::byte b) { return b == kUntouched; })
    );
}

TEST_F(RendererFrame, ReadIntoNarrowerRowsTakesTheLeftOfEach)
{
    show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 2.0F, kRed));
    std::vector<std::byte> colors(4 * 2 * 3, kUntouched);

    mRenderer->getColorImage(colors, 8, 3);

    for (std::size_t i = 0; i < 6; ++i)
    {
        Color color;
        std::memcpy(&color, &colors[4 * i], 4);
        EXPECT_EQ(color, kRed);
    }
}

TEST_F(RendererFrame, ReadBackBeforeTheFirstFrameWorks)
{
    const Graphics::ColorImage image = colorImage(*mRenderer);

    EXPECT_EQ(image.width(), 8U);
    EXPECT_EQ(image.height(), 6U);
}

TEST_F(RendererFrame, IsWrittenAsAPng)
{
    const TemporaryFolder folder;
    auto scene = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 0.0F, kRed));
    mRenderer->setScene(scene);

    mRenderer->writePngImage(folder.path() / "picture.png");

    const Graphics::ColorImage read = Graphics::ColorImage::readPng(folder.path() / "picture.png");
    ASSERT_EQ(read.width(), 8U);
    ASSERT_EQ(read.height(), 6U);
    EXPECT_EQ(read.pixel(0, 0), kRed);
    EXPECT_EQ(read.pixel(7, 0), kWhite);
    EXPECT_FALSE(mRenderer->needsRedraw()) << "it has drawn a frame";
}

TEST_F(RendererFrame, APngThatCannotBeWrittenIsAnError)
{
    const TemporaryFolder folder;

    EXPECT_THROW(mRenderer->writePngImage(folder.path() / "missing" / "picture.png"), std::runtime_error);
}

TEST_F(RendererFrame, ANewSceneReplacesTheOldOneInThePicture)
{
    show(wholePicture(0.0F, kRed));

    show(wholePicture(0.0F, kGreen));

    expectAllPixels(colorImage(*mRenderer), kGreen);
}

TEST_F(RendererFrame, SceneDestroyedAfterTheRendererIsHarmless)
{
    const auto scene = show(wholePicture(0.0F, kRed));

    mRenderer.reset();

    EXPECT_FALSE(scene->boundingBox().isEmpty());
}
}  // namespace Render
