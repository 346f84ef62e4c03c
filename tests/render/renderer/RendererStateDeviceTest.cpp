#include "render/gpu/ComException.h"
#include "tests/render/renderer/RecordingRenderable.h"
#include "tests/render/renderer/RendererFixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace Render
{
namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Calls = std::vector<std::string>;
using Point = Math::Point<float, 3>;

static_assert(!std::is_copy_constructible_v<Renderer> && !std::is_copy_assignable_v<Renderer>);
static_assert(std::has_virtual_destructor_v<Renderer>);

Eigen::Matrix4f translation(float x, float y, float z)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.col(3) << x, y, z, 1.0F;
    return matrix;
}

/// A renderer with a recording scene; no redraw is due, no call recorded.
class RendererState : public RendererFixture
{
protected:
    void SetUp() override
    {
        RendererFixture::SetUp();
        if (mRenderer)
        {
            mRenderer->setScene(mScene);
            settle();
        }
    }

    void settle()
    {
        mScene->takeCalls();
        mScene->setNeedsRedraw(false);
        mRenderer->camera()->setNeedsRedraw(false);
    }

    const std::shared_ptr<RecordingRenderable> mScene = std::make_shared<RecordingRenderable>();
};

struct Setter
{
    std::string name;
    std::function<void(Renderer&)> call;
    bool raisesEveryTime = false;
};

class Setters : public RendererState, public testing::WithParamInterface<Setter>
{
};
}  // namespace

TEST_F(RendererState, OfANewRendererIsANeutralWhiteUnitVolume)
{
    const Renderer renderer;

    EXPECT_TRUE(renderer.isOrthographic());
    EXPECT_FALSE(renderer.isPerspective());
    EXPECT_EQ(renderer.camera()->horizontalExtent(), 2.0F);
    EXPECT_EQ(renderer.camera()->verticalExtent(), 2.0F);
    float zNear = 0.0F;
    float zFar = 0.0F;
    renderer.getZRange(zNear, zFar);
    EXPECT_EQ(zNear, -1.0F);
    EXPECT_EQ(zFar, 1.0F);
    EXPECT_TRUE(renderer.camera()->isZBufferReversed());
    EXPECT_EQ(renderer.viewport(), Viewport(640, 480));
    EXPECT_EQ(renderer.backgroundColor(), Math::Color(255, 255, 255, 255));
    EXPECT_EQ(renderer.renderMode(), RenderMode::Default);
    EXPECT_EQ(renderer.brightness(), 0.0F);
    EXPECT_EQ(renderer.contrast(), 1.0F);
    EXPECT_EQ(renderer.opacity(), 1.0F);
    EXPECT_FALSE(renderer.autoAdjustZRangeEnabled());
    EXPECT_EQ(renderer.scene(), nullptr);
    EXPECT_TRUE(renderer.boundingBox().isEmpty());
    EXPECT_EQ(renderer.viewMatrix(), Eigen::Matrix4f::Identity());
    EXPECT_EQ(renderer.modelViewProjectionMatrix(), renderer.projectionMatrix());
    EXPECT_NE(renderer.device(), nullptr);
    EXPECT_NE(renderer.deviceContext(), nullptr);
    EXPECT_TRUE(renderer.needsRedraw());
}

TEST_F(RendererState, KnowsBothDepthConventions)
{
    EXPECT_FALSE(Renderer(false).camera()->isZBufferReversed());
    EXPECT_TRUE(Renderer(true).camera()->isZBufferReversed());
}

TEST_F(RendererState, EveryRendererHasAnIdOfItsOwn)
{
    const Renderer next;

    EXPECT_EQ(next.id(), mRenderer->id() + 1);
}

TEST_F(RendererState, ASceneIsInitialisedWithIdCameraDeviceAndContext)
{
    EXPECT_EQ(mScene->rendererId, mRenderer->id());
    EXPECT_EQ(mScene->camera, mRenderer->camera());
    EXPECT_EQ(mScene->device, mRenderer->device());
    EXPECT_EQ(mScene->deviceContext, mRenderer->deviceContext());
    EXPECT_EQ(mRenderer->scene(), mScene);
}

TEST_P(Setters, RaiseTheRedrawFlagWhenTheValueIsNew)
{
    GetParam().call(*mRenderer);

    EXPECT_TRUE(mRenderer->camera()->needsRedraw());
}

TEST_P(Setters, RaiseItAgainForTheSameValueOnlyIfTheySaySo)
{
    GetParam().call(*mRenderer);
    settle();

    GetParam().call(*mRenderer);

    EXPECT_EQ(mRenderer->camera()->needsRedraw(), GetParam().raisesEveryTime);
}

INSTANTIATE_TEST_SUITE_P(
    RendererState,
    Setters,
    testing::Values(
        Setter{"setViewMatrix", [](Renderer& r) { r.setViewMatrix(translation(1.0F, 0.0F, 0.0F)); }},
        Setter{
            "setCameraPoseAlongADirection",
            [](Renderer& r)
            {
                r.setCameraPose(
                    Point(1.0F, 2.0F, 3.0F),
                    Eigen::Vector3f(1.0F, 0.0F, 0.0F),
                    Eigen::Vector3f(0.0F, 0.0F, 1.0F)
                );
            }},
        Setter{
            "setCameraPoseAtATarget",
            [](Renderer& r) {
                r.setCameraPose(
                    Point(1.0F, 2.0F, 3.0F), Point(4.0F, 2.0F, 3.0F), Eigen::Vector3f(0.0F, 0.0F, 1.0F)
                );
            }},
        Setter{"setPerspective", [](Renderer& r) { r.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F); }},
        Setter{
            "setPerspectiveOffCenter",
            [](Renderer& r) { r.setPerspectiveOffCenter(-1.0F, 1.0F, -1.0F, 2.0F, 1.0F, 2.0F, true); }},
        Setter{"setOrthographic", [](Renderer& r) { r.setOrthographic(3.0F, 4.0F, 1.0F, 2.0F); }},
        Setter{"setOrthographicByHeight", [](Renderer& r) { r.setOrthographic(4.0F, 1.0F, 2.0F); }},
        Setter{
            "setProjection",
            [](Renderer& r) { r.setProjection(translation(0.5F, 0.0F, 0.0F), 0.0F, 1.0F, true); }},
        Setter{
            "setZNearAndFarViaBoundingBox",
            [](Renderer& r) {
                r.setZNearAndFarViaBoundingBox(Box({0.0F, 0.0F, -3.0F}, {1.0F, 1.0F, -2.0F}));
            }},
        Setter{"setAutoAdjustZRange", [](Renderer& r) { r.setAutoAdjustZRange(true); }},
        Setter{"setModelMatrix", [](Renderer& r) { r.setModelMatrix(translation(1.0F, 0.0F, 0.0F)); }},
        Setter{"setViewport", [](Renderer& r) { r.setViewport(16, 12); }},
        Setter{"setBackgroundColor", [](Renderer& r) { r.setBackgroundColor(1, 2, 3, 4); }},
        Setter{"setRenderMode", [](Renderer& r) { r.setRenderMode(RenderMode::UniformColor); }},
        Setter{"setBrightness", [](Renderer& r) { r.setBrightness(0.5F); }},
        Setter{"setContrast", [](Renderer& r) { r.setContrast(0.5F); }},
        Setter{"setOpacity", [](Renderer& r) { r.setOpacity(0.5F); }},
        Setter{
            "setColorizationRange",
            [](Renderer& r) {
                r.setColorizationRange({}, {1.0F, 0.0F, 0.0F}, ColorMap::Gray);
            },
            true},
        Setter{
            "autoAdjustBrightnessAndContrast",
            [](Renderer& r) { r.autoAdjustBrightnessAndContrast(0.5F, 0.5F); },
            true}
    ),
    [](const testing::TestParamInfo<Setter>& setter) { return setter.param.name; }
);

TEST_F(RendererState, GivesTheCamerasViewsOfItself)
{
    mRenderer->setViewport(300, 200);
    mRenderer->setPerspective(60.0F, 1.0F, 20.0F, 0.0F, 0.0F);
    mRenderer->setCameraPose(
        Point(1.0F, 2.0F, 3.0F), Eigen::Vector3f(1.0F, 0.0F, 0.0F), Eigen::Vector3f(0.0F, 0.0F, 1.0F)
    );
    const Camera& camera = *mRenderer->camera();

    EXPECT_EQ(mRenderer->viewMatrix(), camera.viewMatrix());
    EXPECT_EQ(mRenderer->projectionMatrix(), camera.projectionMatrix());
    EXPECT_TRUE(mRenderer->isPerspective());
    EXPECT_EQ(mRenderer->eye(), camera.eye());
    EXPECT_TRUE(mRenderer->viewDirection().isApprox(Eigen::Vector3f(1.0F, 0.0F, 0.0F)));
    EXPECT_TRUE(mRenderer->rightDirection().isApprox(Eigen::Vector3f(0.0F, -1.0F, 0.0F)));
    EXPECT_TRUE(mRenderer->upDirection().isApprox(Eigen::Vector3f(0.0F, 0.0F, 1.0F)));
    EXPECT_EQ(mRenderer->unProject(7, 9, 0.5F), camera.unProject(7, 9, 0.5F));
    float zNear = 0.0F;
    float zFar = 0.0F;
    mRenderer->getZRange(zNear, zFar);
    EXPECT_EQ(zNear, 1.0F);
    EXPECT_EQ(zFar, 20.0F);
}

TEST_F(RendererState, OfTheModelMatrixEntersTheModelViewProjection)
{
    mRenderer->setModelMatrix(translation(1.0F, 2.0F, 3.0F));

    EXPECT_EQ(
        mRenderer->modelViewProjectionMatrix(),
        Eigen::Matrix4f(mRenderer->projectionMatrix() * translation(1.0F, 2.0F, 3.0F))
    );

    const auto later = std::make_shared<RecordingRenderable>();
    mRenderer->setScene(later);
    EXPECT_EQ(later->matrix(), Eigen::Matrix4f::Identity());
    EXPECT_NE(mRenderer->modelViewProjectionMatrix(), mRenderer->projectionMatrix());
}

TEST_F(RendererState, OfTheSceneGivesTheBoundingBoxInTheWorld)
{
    mScene->box = Box({0.0F, 0.0F, 0.0F}, {1.0F, 1.0F, 1.0F});
    mScene->setMatrix(translation(5.0F, 6.0F, 7.0F));

    EXPECT_EQ(mRenderer->boundingBox(), Box({5.0F, 6.0F, 7.0F}, {6.0F, 7.0F, 8.0F}));
}

TEST_F(RendererState, ANewViewportKeepsTheProjectionAndTellsTheScene)
{
    mRenderer->setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);
    const Eigen::Matrix4f projection = mRenderer->projectionMatrix();
    settle();

    mRenderer->setViewport(192, 108);

    EXPECT_EQ(mRenderer->projectionMatrix(), projection);
    EXPECT_EQ(mRenderer->aspectRatio(), double(192.0F / 108.0F));
    EXPECT_EQ(mRenderer->viewport(), Viewport(192, 108));
    EXPECT_EQ(mScene->takeCalls(), (Calls{"onUpdateViewport"}));
}

TEST_F(RendererState, TheSameViewportAgainTellsNobody)
{
    mRenderer->setViewport(8, 6);

    EXPECT_EQ(mScene->takeCalls(), Calls{});
}

TEST_F(RendererState, AnImpossibleViewportIsAnErrorAndTheOldOneStays)
{
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> impossible{
        {0, 6},
        {8, 0},
        {20000, 6},
        {8, (std::uint64_t{1} << 32U) + 6},
        {std::numeric_limits<std::uint64_t>::max(), 6}};
    for (const auto& [width, height] : impossible)
    {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));

        EXPECT_THROW(mRenderer->setViewport(width, height), ComException);

        EXPECT_EQ(mRenderer->viewport(), Viewport(8, 6));
        EXPECT_FALSE(mRenderer->camera()->needsRedraw());
        EXPECT_EQ(mScene->takeCalls(), Calls{});
        mRenderer->render();
        EXPECT_EQ(colorImage(*mRenderer).pixel(7, 5), Math::Color(255, 255, 255, 255));
        settle();
    }
}

TEST_F(RendererState, ARenderModeReachesTheSceneOnce)
{
    mRenderer->setRenderMode(RenderMode::TomographicBright);
    mRenderer->setRenderMode(RenderMode::TomographicBright);

    EXPECT_EQ(mRenderer->renderMode(), RenderMode::TomographicBright);
    EXPECT_EQ(mScene->takeCalls(), (Calls{"onUpdateRenderMode 2"}));
}

TEST_F(RendererState, BrightnessAndContrastAreTakenFromTheScene)
{
    mRenderer->setBrightness(3.0F);
    mRenderer->setContrast(4.0F);

    mRenderer->autoAdjustBrightnessAndContrast(0.02F, 0.5F);

    EXPECT_FLOAT_EQ(mRenderer->brightness(), 0.2F);  // the scene adds 10 x 0.02 to 0
    EXPECT_FLOAT_EQ(mRenderer->contrast(), 51.0F);   // and 100 x 0.5 to 1
}

TEST_F(RendererState, BrightnessAndContrastStayWithoutAScene)
{
    mRenderer->setScene(nullptr);
    mRenderer->setBrightness(3.0F);
    mRenderer->camera()->setNeedsRedraw(false);

    mRenderer->autoAdjustBrightnessAndContrast(0.02F, 0.5F);

    EXPECT_EQ(mRenderer->brightness(), 3.0F);
    EXPECT_FALSE(mRenderer->camera()->needsRedraw());
}

TEST_F(RendererState, ARedrawIsDueForCameraOrScene)
{
    EXPECT_FALSE(mRenderer->needsRedraw());

    mScene->setNeedsRedraw(true);
    EXPECT_TRUE(mRenderer->needsRedraw());
}

TEST_F(RendererState, WithoutASceneOnlyTheCameraAsksForARedraw)
{
    mRenderer->setScene(nullptr);
    EXPECT_FALSE(mRenderer->needsRedraw());

    mRenderer->camera()->setNeedsRedraw(true);
    EXPECT_TRUE(mRenderer->needsRedraw());
}

TEST_F(RendererState, BothFormsOfTheBackgroundColorAreTheSame)
{
    mRenderer->setBackgroundColor(1, 2, 3, 4);
    EXPECT_EQ(mRenderer->backgroundColor(), Math::Color(1, 2, 3, 4));
    settle();

    mRenderer->setBackgroundColor(Math::Color(1, 2, 3, 4));
    EXPECT_FALSE(mRenderer->needsRedraw());
}
}  // namespace Render
