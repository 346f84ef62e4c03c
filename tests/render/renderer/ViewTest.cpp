#include "render/renderer/View.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/renderer/RecordingRenderable.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Calls = std::vector<std::string>;
using Point = Math::Point<float, 3>;

const Eigen::Vector3f kUp = Eigen::Vector3f::UnitY();

Eigen::Matrix4f translation(float x, float y, float z)
{
    Eigen::Matrix4f matrix = Eigen::Matrix4f::Identity();
    matrix.col(3) << x, y, z, 1.0F;
    return matrix;
}

/// A projection of the library's own making, for the operation that takes one from elsewhere.
Eigen::Matrix4f foreignProjection()
{
    Camera camera;
    camera.setPerspective(35.0F, 1.0F, 50.0F, 0.0F, 0.0F);
    return camera.projectionMatrix();
}

/// A view with a recording scene whose box spans z from -120 to -100; no redraw is due, no call recorded.
class ViewOfScene : public testing::Test
{
protected:
    ViewOfScene()
    {
        mScene->box = Box({-10.0F, -10.0F, -120.0F}, {10.0F, 10.0F, -100.0F});
        mView.setScene(mScene, 7, nullptr, nullptr);
        settle();
    }

    void settle()
    {
        mScene->takeCalls();
        mScene->setNeedsRedraw(false);
        mView.camera()->setNeedsRedraw(false);
    }

    const std::shared_ptr<RecordingRenderable> mScene = std::make_shared<RecordingRenderable>();
    View mView{true};
};

struct CameraOperation
{
    std::string name;
    std::function<void(View&)> call;
    std::string callback;
    bool fitsZRange;
};

class CameraOperations : public ViewOfScene, public testing::WithParamInterface<CameraOperation>
{
};
}  // namespace

TEST_P(CameraOperations, AChangeTellsTheSceneAndRaisesTheRedrawFlag)
{
    GetParam().call(mView);

    EXPECT_EQ(mScene->takeCalls(), (Calls{GetParam().callback}));
    EXPECT_TRUE(mView.camera()->needsRedraw());
}

TEST_P(CameraOperations, TheSameAgainDoesNothing)
{
    GetParam().call(mView);
    settle();

    GetParam().call(mView);

    EXPECT_EQ(mScene->takeCalls(), Calls{});
    EXPECT_FALSE(mView.camera()->needsRedraw());
}

TEST_P(CameraOperations, AChangeFitsTheZRangeBeforeTheSceneIsTold)
{
    mView.setAutoAdjustZRange(true);
    settle();

    GetParam().call(mView);

    const Calls expected =
        GetParam().fitsZRange ? Calls{"onUpdateZRange", GetParam().callback} : Calls{GetParam().callback};
    EXPECT_EQ(mScene->takeCalls(), expected);
}

TEST_P(CameraOperations, WorkWithoutAScene)
{
    View view(true);
    view.setAutoAdjustZRange(true);
    view.camera()->setNeedsRedraw(false);

    GetParam().call(view);

    EXPECT_TRUE(view.camera()->needsRedraw());
}

INSTANTIATE_TEST_SUITE_P(
    View,
    CameraOperations,
    testing::Values(
        CameraOperation{
            "setViewMatrix",
            [](View& view) { view.setViewMatrix(translation(1.0F, 2.0F, 3.0F)); },
            "onUpdateViewMatrix",
            true,
        },
        CameraOperation{
            "setCameraPoseAlongADirection",
            [](View& view)
            { view.setCameraPose(Point(1.0F, 2.0F, 3.0F), Eigen::Vector3f(0.0F, 0.0F, -2.0F), kUp); },
            "onUpdateViewMatrix",
            true,
        },
        CameraOperation{
            "setCameraPoseAtATarget",
            [](View& view) { view.setCameraPose(Point(1.0F, 2.0F, 3.0F), Point(1.0F, 2.0F, 0.0F), kUp); },
            "onUpdateViewMatrix",
            true,
        },
        CameraOperation{
            "setPerspective",
            [](View& view) { view.setPerspective(45.0F, 1.0F, 2.0F, 0.0F, 0.0F); },
            "onUpdateProjectionMatrix",
            true,
        },
        CameraOperation{
            "setOrthographic",
            [](View& view) { view.setOrthographic(20.0F, 10.0F, 1.0F, 2.0F); },
            "onUpdateProjectionMatrix",
            true,
        },
        CameraOperation{
            "setOrthographicByHeight",
            [](View& view) { view.setOrthographic(10.0F, 1.0F, 2.0F); },
            "onUpdateProjectionMatrix",
            true,
        },
        CameraOperation{
            "setProjection",
            [](View& view) { view.setProjection(foreignProjection(), 0.0F, 1.0F, true); },
            "onUpdateProjectionMatrix",
            true,
        },
        CameraOperation{
            "setPerspectiveOffCenter",
            [](View& view) { view.setPerspectiveOffCenter(-1.0F, 2.0F, -1.0F, 1.0F, 1.0F, 50.0F, true); },
            "onUpdateProjectionMatrix",
            true,
        },
        CameraOperation{
            "setZNearAndFarViaBoundingBox",
            [](View& view) {
                view.setZNearAndFarViaBoundingBox(Box({-1.0F, -1.0F, -9.0F}, {1.0F, 1.0F, -4.0F}));
            },
            "onUpdateProjectionMatrix",
            false,
        }
    ),
    [](const testing::TestParamInfo<CameraOperation>& operation) { return operation.param.name; }
);

TEST(View, BothPosesGiveTheViewOfTheCamera)
{
    View alongDirection(true);
    View atTarget(true);
    Camera expected;
    expected.setPose(Point(1.0F, 2.0F, 3.0F), Eigen::Vector3f(1.0F, 1.0F, -1.0F), kUp);

    alongDirection.setCameraPose(Point(1.0F, 2.0F, 3.0F), Eigen::Vector3f(1.0F, 1.0F, -1.0F), kUp);
    atTarget.setCameraPose(Point(1.0F, 2.0F, 3.0F), Point(2.0F, 3.0F, 2.0F), kUp);

    EXPECT_EQ(alongDirection.camera()->viewMatrix(), expected.viewMatrix());
    EXPECT_EQ(atTarget.camera()->viewMatrix(), expected.viewMatrix());
}

TEST(View, AnOrthographicVolumeOfAHeightIsAsWideAsTheViewport)
{
    View view(true);
    view.camera()->setViewport(300, 100);

    view.setOrthographic(2.0F, -1.0F, 1.0F);

    EXPECT_EQ(view.camera()->horizontalExtent(), 6.0F);
    EXPECT_EQ(view.camera()->verticalExtent(), 2.0F);
}

TEST_F(ViewOfScene, WithFittingANewPerspectiveSpansTheSceneExactly)
{
    mView.setAutoAdjustZRange(true);

    mView.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);

    EXPECT_FLOAT_EQ(mView.camera()->zNear(), 100.0F);
    EXPECT_FLOAT_EQ(mView.camera()->zFar(), 120.0F);
}

TEST_F(ViewOfScene, WithoutFittingANewPerspectiveKeepsItsOwnRange)
{
    mView.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);

    EXPECT_EQ(mView.camera()->zNear(), 1.0F);
    EXPECT_EQ(mView.camera()->zFar(), 2.0F);
}

TEST_F(ViewOfScene, FittingRebuildsAnOffCenterPerspectiveWithItsShift)
{
    mView.setAutoAdjustZRange(true);

    mView.setPerspectiveOffCenter(-1.0F, 2.0F, -1.0F, 1.0F, 1.0F, 50.0F, true);

    EXPECT_FLOAT_EQ(mView.camera()->zNear(), 100.0F);
    EXPECT_FLOAT_EQ(mView.camera()->projectionMatrix()(0, 2), 1.0F / 3.0F);
}

TEST_F(ViewOfScene, SwitchingFittingOnLeavesTheRangeUntilTheNextChange)
{
    mView.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);
    settle();

    mView.setAutoAdjustZRange(true);

    EXPECT_EQ(mView.camera()->zNear(), 1.0F);
    EXPECT_EQ(mScene->takeCalls(), (Calls{"onUpdateProjectionMatrix"}));
    EXPECT_TRUE(mView.camera()->needsRedraw());

    mView.setViewMatrix(translation(0.0F, 0.0F, -5.0F));
    EXPECT_FLOAT_EQ(mView.camera()->zNear(), 105.0F);
}

TEST_F(ViewOfScene, SwitchingFittingOnTwiceCountsOnce)
{
    mView.setAutoAdjustZRange(true);
    settle();

    mView.setAutoAdjustZRange(true);

    EXPECT_TRUE(mView.autoAdjustZRangeEnabled());
    EXPECT_EQ(mScene->takeCalls(), Calls{});
    EXPECT_FALSE(mView.camera()->needsRedraw());
}

TEST_F(ViewOfScene, FittingTheRangeRaisesNoFlagItself)
{
    mView.setAutoAdjustZRange(true);
    settle();

    mView.updateZRangeIfNeeded();

    EXPECT_EQ(mScene->takeCalls(), (Calls{"onUpdateZRange"}));
    EXPECT_FALSE(mView.camera()->needsRedraw());
}

TEST_F(ViewOfScene, FittingTheRangeDoesNothingWhileItIsOff)
{
    mView.updateZRangeIfNeeded();

    EXPECT_EQ(mScene->takeCalls(), Calls{});
}

TEST(View, FittingWithoutASceneFitsToTheEmptyBox)
{
    View view(true);
    Camera expected;
    expected.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);
    expected.setZNearAndFarViaBoundingBox(Box());
    view.setAutoAdjustZRange(true);

    view.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);

    EXPECT_EQ(view.camera()->zNear(), expected.zNear());
    EXPECT_EQ(view.camera()->zFar(), expected.zFar());
    EXPECT_NE(view.camera()->zNear(), 1.0F);
}

TEST_F(ViewOfScene, TheFittedRangeIsThatOfTheWorldBox)
{
    mScene->setMatrix(translation(0.0F, 0.0F, -1000.0F));
    mView.setAutoAdjustZRange(true);

    mView.setPerspective(60.0F, 1.0F, 2.0F, 0.0F, 0.0F);

    EXPECT_FLOAT_EQ(mView.camera()->zNear(), 1100.0F);
    EXPECT_FLOAT_EQ(mView.camera()->zFar(), 1120.0F);
    EXPECT_EQ(mView.boundingBox(), Box({-10.0F, -10.0F, -1120.0F}, {10.0F, 10.0F, -1100.0F}));
}

TEST(View, WithoutASceneHasTheEmptyBox)
{
    EXPECT_TRUE(View(true).boundingBox().isEmpty());
}

TEST_F(ViewOfScene, ANewModelMatrixBecomesThatOfTheRoot)
{
    mView.setModelMatrix(translation(1.0F, 2.0F, 3.0F));

    EXPECT_EQ(mScene->matrix(), translation(1.0F, 2.0F, 3.0F));
    EXPECT_EQ(mView.modelMatrix(), translation(1.0F, 2.0F, 3.0F));
    EXPECT_TRUE(mView.camera()->needsRedraw());
}

TEST_F(ViewOfScene, TheSameModelMatrixAgainIsNotGivenToTheRoot)
{
    mView.setModelMatrix(translation(1.0F, 2.0F, 3.0F));
    mScene->setMatrix(translation(9.0F, 9.0F, 9.0F));
    settle();

    mView.setModelMatrix(translation(1.0F, 2.0F, 3.0F));

    EXPECT_EQ(mScene->matrix(), translation(9.0F, 9.0F, 9.0F));
    EXPECT_FALSE(mView.camera()->needsRedraw());
}

TEST_F(ViewOfScene, ALaterSceneKeepsItsOwnMatrix)
{
    mView.setModelMatrix(translation(1.0F, 2.0F, 3.0F));
    const auto later = std::make_shared<RecordingRenderable>();

    mView.setScene(later, 7, nullptr, nullptr);

    EXPECT_EQ(later->matrix(), Eigen::Matrix4f::Identity());
    EXPECT_EQ(mView.modelMatrix(), translation(1.0F, 2.0F, 3.0F));
}

TEST_F(ViewOfScene, ANewRenderModeIsToldToTheScene)
{
    mView.setRenderMode(RenderMode::ColorizeByNormal);

    EXPECT_EQ(mScene->takeCalls(), (Calls{"onUpdateRenderMode 3"}));
    EXPECT_TRUE(mView.camera()->needsRedraw());
}

TEST_F(ViewOfScene, TheSameRenderModeAgainIsNot)
{
    mView.setRenderMode(RenderMode::ColorizeByNormal);
    settle();

    mView.setRenderMode(RenderMode::ColorizeByNormal);

    EXPECT_EQ(mScene->takeCalls(), Calls{});
    EXPECT_FALSE(mView.camera()->needsRedraw());
}

TEST(View, ASceneIsInitialisedThenToldTheRenderMode)
{
    View view(true);
    view.setRenderMode(RenderMode::TomographicDark);
    const auto scene = std::make_shared<RecordingRenderable>();

    view.setScene(scene, 42, nullptr, nullptr);

    EXPECT_EQ(scene->takeCalls(), (Calls{"init", "onUpdateRenderMode 1"}));
    EXPECT_EQ(scene->rendererId, 42U);
    EXPECT_EQ(scene->camera, view.camera());
    EXPECT_EQ(view.scene(), scene);
}

TEST_F(ViewOfScene, ANewSceneReplacesTheOldOneWhichIsDeinitialised)
{
    const auto next = std::make_shared<RecordingRenderable>();
    const std::weak_ptr<RecordingRenderable> old = mScene;

    mView.setScene(next, 7, nullptr, nullptr);

    EXPECT_EQ(mScene->takeCalls(), (Calls{"deinit"}));
    EXPECT_EQ(mView.scene(), next);
    EXPECT_EQ(old.use_count(), 1) << "the view has let it go";
}

TEST_F(ViewOfScene, ANewSceneRaisesNoFlagAndFitsNoRange)
{
    mView.setAutoAdjustZRange(true);
    settle();
    const float zNear = mView.camera()->zNear();
    const auto next = std::make_shared<RecordingRenderable>();
    next->box = Box({0.0F, 0.0F, -5.0F}, {1.0F, 1.0F, -4.0F});

    mView.setScene(next, 7, nullptr, nullptr);

    EXPECT_FALSE(mView.camera()->needsRedraw());
    EXPECT_EQ(mView.camera()->zNear(), zNear);
    EXPECT_TRUE(mView.needsRedraw()) << "the new scene itself asks for it";
}

TEST_F(ViewOfScene, AnEmptySceneLeavesNone)
{
    mView.setScene(nullptr, 7, nullptr, nullptr);

    EXPECT_EQ(mScene->takeCalls(), (Calls{"deinit"}));
    EXPECT_FALSE(mView.scene());
    EXPECT_FALSE(mView.needsRedraw());
}

TEST_F(ViewOfScene, ASceneThatCannotBeInitialisedIsNotKept)
{
    class Failing : public RecordingRenderable
    {
    public:
        void
        init(unsigned long long, std::shared_ptr<Camera>, CComPtr<ID3D11Device>, CComPtr<ID3D11DeviceContext>)
            override
        {
            throw std::runtime_error("no memory");
        }
    };

    const auto group = GroupRenderable::create("group");
    const auto sound = std::make_shared<RecordingRenderable>();
    group->add(sound);
    group->add(std::make_shared<Failing>());

    EXPECT_THROW(mView.setScene(group, 7, nullptr, nullptr), std::runtime_error);

    EXPECT_FALSE(mView.scene());
    EXPECT_EQ(sound->takeCalls(), (Calls{"init", "deinit"})) << "ready for another try";
}

TEST_F(ViewOfScene, ARedrawIsDueWhenTheCameraOrTheSceneSaysSo)
{
    EXPECT_FALSE(mView.needsRedraw());

    mScene->setNeedsRedraw(true);
    EXPECT_TRUE(mView.needsRedraw());

    settle();
    mView.raiseRedraw();
    EXPECT_TRUE(mView.needsRedraw());
}

TEST(View, KeepsTheDepthConventionOfItsConstruction)
{
    EXPECT_TRUE(View(true).camera()->isZBufferReversed());
    EXPECT_FALSE(View(false).camera()->isZBufferReversed());
}
}  // namespace Render
