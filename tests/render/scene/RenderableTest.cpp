#include "render/scene/GroupRenderable.h"
#include "render/scene/Renderable.h"
#include "tests/render/scene/RecordingRenderable.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;

Eigen::Matrix4f translation(float x, float y, float z)
{
    return Eigen::Affine3f(Eigen::Translation3f(x, y, z)).matrix();
}

std::shared_ptr<RecordingRenderable> drawn(const std::string& name)
{
    auto renderable = std::make_shared<RecordingRenderable>(name);
    renderable->setNeedsRedraw(false);
    return renderable;
}
}  // namespace

TEST(Renderable, StartsVisibleAtTheOriginInNeedOfARedraw)
{
    RecordingRenderable renderable("a cloud");

    EXPECT_EQ(renderable.name(), "a cloud");
    EXPECT_TRUE(renderable.visible());
    EXPECT_TRUE(renderable.needsRedraw());
    EXPECT_EQ(renderable.matrix(), Eigen::Matrix4f(Eigen::Matrix4f::Identity()));
    EXPECT_EQ(renderable.worldMatrix(), Eigen::Matrix4f(Eigen::Matrix4f::Identity()));
    EXPECT_EQ(renderable.parent(), nullptr);
}

TEST(Renderable, IdsCountUpAndCopiesKeepTheirs)
{
    const RecordingRenderable first("first");
    const RecordingRenderable second("second");
    const RecordingRenderable copy(first);

    EXPECT_EQ(second.id(), first.id() + 1);
    EXPECT_EQ(copy.id(), first.id());
}

TEST(Renderable, ACopyHasTheSameNameParentMatricesAndFlags)
{
    const auto group = Render::GroupRenderable::create("group");
    const auto original = drawn("original");
    group->add(original);
    group->setMatrix(translation(1, 0, 0));
    original->setMatrix(translation(0, 2, 0));
    original->setVisible(false);
    original->setNeedsRedraw(false);

    RecordingRenderable copy(*original);
    RecordingRenderable assigned("other");
    assigned = *original;

    for (RecordingRenderable* const renderable : {&copy, &assigned})
    {
        EXPECT_EQ(renderable->id(), original->id());
        EXPECT_EQ(renderable->name(), "original");
        EXPECT_EQ(renderable->parent(), group);
        EXPECT_EQ(renderable->matrix(), translation(0, 2, 0));
        EXPECT_EQ(renderable->worldMatrix(), translation(1, 2, 0));
        EXPECT_FALSE(renderable->visible());
        EXPECT_FALSE(renderable->needsRedraw());
    }
}

TEST(Renderable, AnEqualMatrixAsksForNoRedraw)
{
    const auto renderable = drawn("r");

    renderable->setMatrix(Eigen::Matrix4f::Identity());
    EXPECT_FALSE(renderable->needsRedraw());

    renderable->setMatrix(translation(1, 2, 3));
    EXPECT_TRUE(renderable->needsRedraw());
    EXPECT_EQ(renderable->worldMatrix(), translation(1, 2, 3));
    EXPECT_EQ(renderable->invWorldMatrix(), translation(-1, -2, -3));
}

TEST(Renderable, AnEqualVisibilityAsksForNoRedraw)
{
    const auto renderable = drawn("r");

    renderable->setVisible(true);
    EXPECT_FALSE(renderable->needsRedraw());

    renderable->setVisible(false);
    EXPECT_TRUE(renderable->needsRedraw());
    EXPECT_FALSE(renderable->visible());
}

TEST(Renderable, RenderingClearsTheRedrawFlag)
{
    RecordingRenderable renderable("r");

    renderable.render();

    EXPECT_FALSE(renderable.needsRedraw());
}

TEST(Renderable, BaseAnswersAreNeutral)
{
    class Plain : public Render::Renderable
    {
    public:
        using Renderable::Renderable;

        Box boundingBox() override { return {}; }
    };

    Plain plain("plain");
    float brightness = 7.0f;
    float contrast = 7.0f;

    plain.brightnessAndContrast(0.1f, 0.9f, brightness, contrast);

    EXPECT_EQ(plain.backgroundColor(), std::nullopt);
    EXPECT_FALSE(plain.isTransparent());
    EXPECT_EQ(brightness, 0.0f);
    EXPECT_EQ(contrast, 1.0f);
}

TEST(Renderable, ANewParentChangesTheWorldMatrix)
{
    const auto group = Render::GroupRenderable::create("group");
    group->setMatrix(translation(5, 0, 0));
    const auto renderable = drawn("r");
    renderable->setMatrix(translation(0, 1, 0));
    ASSERT_EQ(renderable->worldMatrix(), translation(0, 1, 0));
    renderable->setNeedsRedraw(false);

    renderable->setParent(group);

    EXPECT_TRUE(renderable->needsRedraw());
    EXPECT_EQ(renderable->worldMatrix(), translation(5, 1, 0));
}

TEST(Renderable, AParentThatIsGoneLeavesTheLocalMatrix)
{
    const auto renderable = drawn("r");
    renderable->setMatrix(translation(0, 1, 0));
    {
        const auto group = Render::GroupRenderable::create("group");
        group->setMatrix(translation(5, 0, 0));
        renderable->setParent(group);
    }

    EXPECT_EQ(renderable->parent(), nullptr);
    EXPECT_EQ(renderable->worldMatrix(), translation(0, 1, 0));
}

TEST(Renderable, BoxesAreTransformedByTheirCorners)
{
    const auto group = Render::GroupRenderable::create("group");
    group->setMatrix(translation(10, 0, 0));
    const auto renderable = drawn("r");
    group->add(renderable);
    renderable->box = Box(Point(0, 0, 0), Point(1, 2, 3));
    // x goes to y, y to -x
    Eigen::Matrix4f turned = Eigen::Matrix4f::Identity();
    turned.topLeftCorner<2, 2>() << 0, -1, 1, 0;

    renderable->setMatrix(turned);

    EXPECT_EQ(renderable->boundingBoxParent(), Box(Point(-2, 0, 0), Point(0, 1, 3)));
    EXPECT_EQ(renderable->boundingBoxWorld(), Box(Point(8, 0, 0), Point(10, 1, 3)));
}

TEST(Renderable, AnEmptyBoxStaysAsItIs)
{
    RecordingRenderable renderable("r");
    renderable.box = Box(Point(1, 0, 0), Point(0, 5, 5));
    renderable.setMatrix(translation(1, 1, 1));

    EXPECT_EQ(renderable.boundingBoxWorld(), renderable.box);
    EXPECT_EQ(renderable.boundingBoxParent(), renderable.box);
}

TEST(Renderable, CorrespondencesMoveTheObjectInItsParent)
{
    RecordingRenderable renderable("r");
    renderable.setTranslationByCorrespondences(Point(1, 1, 1), Point(2, 4, 8));
    EXPECT_TRUE(renderable.matrix().isApprox(translation(1, 3, 7), 1e-6f));

    // the bearing of (2, 1, 5) from (1, 1, 0) is 0 degrees, that of (1, 3, -1) is 90
    renderable.setMatrix(Eigen::Matrix4f::Identity());
    renderable.setZRotationByCorrespondences(Point(1, 1, 0), Point(2, 1, 5), Point(1, 3, -1));
    const Eigen::Vector4f carried = renderable.matrix() * Eigen::Vector4f(2, 1, 5, 1);
    EXPECT_TRUE(carried.isApprox(Eigen::Vector4f(1, 2, 5, 1), 1e-5f)) << carried.transpose();

    renderable.setMatrix(Eigen::Matrix4f::Identity());
    renderable.setTranslationAndZRotationByCorrespondences(
        Point(1, 0, 0), Point(0, 0, 4), Eigen::Vector3f::UnitX(), -Eigen::Vector3f::UnitX()
    );
    const Eigen::Vector4f turned = renderable.matrix() * Eigen::Vector4f(3, 1, 0, 1);
    EXPECT_TRUE(turned.isApprox(Eigen::Vector4f(-2, -1, 4, 1), 1e-5f)) << turned.transpose();
}
