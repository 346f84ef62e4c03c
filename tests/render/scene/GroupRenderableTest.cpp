#include "render/scene/Camera.h"
#include "render/scene/GroupRenderable.h"
#include "tests/render/scene/RecordingRenderable.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Point = Math::Point<float, 3>;
using Render::GroupRenderable;
using testing::ElementsAre;
using testing::IsEmpty;

// Only the factory makes a group, copies aside.
static_assert(!std::is_constructible_v<GroupRenderable, std::string>);
static_assert(!std::is_default_constructible_v<GroupRenderable>);
static_assert(std::is_copy_constructible_v<GroupRenderable> && std::is_copy_assignable_v<GroupRenderable>);
static_assert(std::is_move_constructible_v<GroupRenderable> && std::is_move_assignable_v<GroupRenderable>);

Eigen::Matrix4f translation(float x, float y, float z)
{
    return Eigen::Affine3f(Eigen::Translation3f(x, y, z)).matrix();
}

std::vector<std::string> namesOf(const GroupRenderable& group)
{
    std::vector<std::string> names;
    for (const auto& child : group)
    {
        names.push_back(child->name());
    }
    return names;
}

/// A group of recording children with these names that all write to one log.
struct Family
{
    explicit Family(const std::vector<std::string>& names)
    {
        for (const std::string& name : names)
        {
            children.push_back(std::make_shared<RecordingRenderable>(name, log));
            group->add(children.back());
        }
        clearFlags();
    }

    void clearFlags()
    {
        group->setNeedsRedraw(false);
        for (const auto& child : children)
        {
            child->setNeedsRedraw(false);
        }
    }

    std::shared_ptr<RecordingRenderable::Log> log = std::make_shared<RecordingRenderable::Log>();
    std::shared_ptr<GroupRenderable> group = GroupRenderable::create("group");
    std::vector<std::shared_ptr<RecordingRenderable>> children;
};
}  // namespace

TEST(GroupRenderable, StartsEmpty)
{
    const auto group = GroupRenderable::create("scene");

    EXPECT_EQ(group->name(), "scene");
    EXPECT_TRUE(group->empty());
    EXPECT_EQ(group->size(), 0u);
    EXPECT_EQ(group->begin(), group->end());
    EXPECT_EQ(group->cbegin(), group->cend());
    EXPECT_EQ(group->front(), nullptr);
    EXPECT_EQ(group->back(), nullptr);
    EXPECT_EQ(group->findByName("scene"), nullptr);
    EXPECT_TRUE(group->boundingBox().isEmpty());
    EXPECT_EQ(group->boundingBox(), Box());
    EXPECT_FALSE(group->isTransparent());
    EXPECT_EQ(group->backgroundColor(), std::nullopt);
}

TEST(GroupRenderable, AddAppendsAndBecomesTheParent)
{
    const Family family({"a", "b"});

    EXPECT_THAT(namesOf(*family.group), ElementsAre("a", "b"));
    EXPECT_EQ(family.group->front(), family.children[0]);
    EXPECT_EQ(family.group->back(), family.children[1]);
    EXPECT_EQ(family.children[0]->parent(), family.group);
}

TEST(GroupRenderable, AddAsksForARedrawAndInitialisesNothingBeforeTheGroupIs)
{
    Family family({"a"});

    family.group->add(std::make_shared<RecordingRenderable>("b", family.log));

    EXPECT_TRUE(family.group->needsRedraw());
    EXPECT_THAT(*family.log, IsEmpty());
}

TEST(GroupRenderable, AddByNameRenamesTheChild)
{
    const auto group = GroupRenderable::create("group");
    const auto child = std::make_shared<RecordingRenderable>("old");

    group->add("new", child);

    EXPECT_EQ(child->name(), "new");
    EXPECT_EQ(group->findByName("new"), child);
    EXPECT_EQ(group->findByName("old"), nullptr);
}

TEST(GroupRenderable, TheSameChildMayBeAddedTwice)
{
    Family family({"a"});

    family.group->add(family.children[0]);

    EXPECT_THAT(namesOf(*family.group), ElementsAre("a", "a"));
}

TEST(GroupRenderable, AChildOfAnotherGroupStaysInThatGroupsList)
{
    Family first({"a"});
    const auto second = GroupRenderable::create("second");

    second->add(first.children[0]);

    EXPECT_EQ(first.group->size(), 1u);
    EXPECT_EQ(first.children[0]->parent(), second);
}

TEST(GroupRenderable, AddWithoutASharedOwnerFailsAfterAppending)
{
    const auto owned = GroupRenderable::create("owned");
    GroupRenderable copy(*owned);

    EXPECT_THROW(copy.add(std::make_shared<RecordingRenderable>("child")), std::bad_weak_ptr);
    EXPECT_EQ(copy.size(), 1u);
}

TEST(GroupRenderable, DoesNotKeepItselfAlive)
{
    std::weak_ptr<GroupRenderable> watched;
    const auto child = std::make_shared<RecordingRenderable>("child");
    {
        const auto group = GroupRenderable::create("group");
        group->add(child);
        watched = group;
    }

    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(child->parent(), nullptr);
}

TEST(GroupRenderable, FindByNameTakesTheFirstDirectChildOnly)
{
    Family family({"a", "x", "x"});
    const auto nested = GroupRenderable::create("nested");
    nested->add(std::make_shared<RecordingRenderable>("deep"));
    family.group->add(nested);

    EXPECT_EQ(family.group->findByName("x"), family.children[1]);
    EXPECT_EQ(family.group->findByName("deep"), nullptr);
    EXPECT_EQ(family.group->findByName("X"), nullptr);
}

TEST(GroupRenderable, RemoveByNameMovesTheLastChildrenToTheGaps)
{
    struct Row
    {
        std::vector<std::string> before;
        std::vector<std::string> after;
    };

    const std::vector<Row> rows{
        {{"x", "a", "x", "b"}, {"b", "a"}},
        {{"x", "a", "b", "c"}, {"c", "a", "b"}},
        {{"a", "x", "b", "x", "c"}, {"a", "c", "b"}},
        {{"a", "b", "x"}, {"a", "b"}},
        {{"x", "x", "a", "b"}, {"b", "a"}},
        {{"x"}, {}},
        {{"x", "x", "x"}, {}},
        {{"a", "b"}, {"a", "b"}},
        {{}, {}},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::PrintToString(row.before));
        Family family(row.before);

        family.group->removeByName("x");

        EXPECT_EQ(namesOf(*family.group), row.after);
        EXPECT_TRUE(family.group->needsRedraw());
        EXPECT_THAT(*family.log, IsEmpty())
            << "nothing is deinitialised in a group that was never initialised";
    }
}

TEST(GroupRenderable, RemoveKeepsTheOrderAndTheChildsParent)
{
    Family family({"a", "b", "c"});

    family.group->remove(family.group->cbegin() + 1);

    EXPECT_THAT(namesOf(*family.group), ElementsAre("a", "c"));
    EXPECT_EQ(family.children[1]->parent(), family.group);
    EXPECT_TRUE(family.group->needsRedraw());
}

TEST(GroupRenderable, RemoveAllEmptiesTheGroup)
{
    Family family({"a", "b"});

    family.group->removeAll();

    EXPECT_TRUE(family.group->empty());
    EXPECT_TRUE(family.group->needsRedraw());
}

TEST(GroupRenderable, CallbacksReachAllChildrenInOrderAlsoInvisibleOnes)
{
    Family family({"a", "b"});
    family.children[0]->setVisible(false);
    const auto camera = std::make_shared<Render::Camera>();

    family.group->onUpdateProjectionMatrix(camera);
    family.group->onUpdateViewMatrix(camera);
    family.group->onUpdateZRange(camera);
    family.group->onUpdateViewport(camera);
    family.group->onUpdateRenderMode(Render::RenderMode::ColorizeByNormal);

    EXPECT_THAT(
        *family.log,
        ElementsAre(
            "a projection",
            "b projection",
            "a view",
            "b view",
            "a zRange",
            "b zRange",
            "a viewport",
            "b viewport",
            "a renderMode 3",
            "b renderMode 3"
        )
    );
}

TEST(GroupRenderable, DrawsTheVisibleChildrenInOrderAndClearsItsFlag)
{
    Family family({"a", "b", "c"});
    family.children[1]->setVisible(false);
    family.group->setNeedsRedraw(true);
    family.children[1]->setNeedsRedraw(false);

    family.group->render();

    EXPECT_THAT(*family.log, ElementsAre("a render", "c render"));
    EXPECT_FALSE(family.group->needsRedraw());
}

TEST(GroupRenderable, NeedsARedrawWhenAChildDoes)
{
    Family family({"a", "b"});
    EXPECT_FALSE(family.group->needsRedraw());

    family.children[1]->setNeedsRedraw(true);
    EXPECT_TRUE(family.group->needsRedraw());

    family.children[1]->setNeedsRedraw(false);
    family.group->setNeedsRedraw(true);
    EXPECT_TRUE(family.group->needsRedraw());
}

TEST(GroupRenderable, BackgroundIsThatOfTheFirstChildThatHasOne)
{
    Family family({"a", "b", "c"});
    family.children[1]->background = Math::Color(1, 2, 3, 4);
    family.children[2]->background = Math::Color(9, 9, 9, 9);

    EXPECT_EQ(family.group->backgroundColor(), Math::Color(1, 2, 3, 4));
}

TEST(GroupRenderable, IsTransparentAsSoonAsOneChildIs)
{
    Family family({"a", "b"});
    EXPECT_FALSE(family.group->isTransparent());

    family.children[1]->transparent = true;
    EXPECT_TRUE(family.group->isTransparent());
}

TEST(GroupRenderable, BrightnessAndContrastAreTheMeansOfTheChildren)
{
    Family family({"a", "b"});
    family.children[0]->answeredBrightness = 0.2f;
    family.children[0]->answeredContrast = 1.0f;
    family.children[1]->answeredBrightness = 0.4f;
    family.children[1]->answeredContrast = 3.0f;
    float brightness = 9.0f;
    float contrast = 9.0f;

    family.group->brightnessAndContrast(0.25f, 0.5f, brightness, contrast);

    EXPECT_FLOAT_EQ(brightness, 0.3f);
    EXPECT_FLOAT_EQ(contrast, 2.0f);
    EXPECT_THAT(*family.log, ElementsAre("a brightness 0.250000 0.500000", "b brightness 0.250000 0.500000"));
    EXPECT_EQ(family.children[1]->startBrightness, 0.0f);
    EXPECT_EQ(family.children[1]->startContrast, 0.0f);
}

TEST(GroupRenderable, BrightnessAndContrastOfAnEmptyGroupAreNeutral)
{
    float brightness = 9.0f;
    float contrast = 9.0f;

    GroupRenderable::create("group")->brightnessAndContrast(0.1f, 1.0f, brightness, contrast);

    EXPECT_EQ(brightness, 0.0f);
    EXPECT_EQ(contrast, 1.0f);
}

TEST(GroupRenderable, BoundingBoxHoldsTheChildrenInItsOwnCoordinates)
{
    Family family({"a", "b", "empty"});
    family.children[0]->box = Box(Point(0, 0, 0), Point(1, 1, 1));
    family.children[1]->box = Box(Point(0, 0, 0), Point(2, 1, 1));
    family.children[1]->setMatrix(translation(0, 0, 5));
    family.group->setMatrix(translation(100, 0, 0));

    EXPECT_EQ(family.group->boundingBox(), Box(Point(0, 0, 0), Point(2, 1, 6)));
    EXPECT_EQ(family.group->boundingBoxWorld(), Box(Point(100, 0, 0), Point(102, 1, 6)));
}

TEST(GroupRenderable, AnInvisibleChildCountsForEverythingButDrawing)
{
    Family family({"a"});
    RecordingRenderable& child = *family.children[0];
    child.setVisible(false);
    child.box = Box(Point(0, 0, 0), Point(1, 1, 1));
    child.background = Math::Color(1, 1, 1, 1);
    child.transparent = true;
    child.answeredBrightness = 0.5f;
    child.answeredContrast = 4.0f;
    float brightness = 0.0f;
    float contrast = 0.0f;

    family.group->brightnessAndContrast(0.0f, 1.0f, brightness, contrast);

    EXPECT_EQ(brightness, 0.5f);
    EXPECT_EQ(contrast, 4.0f);
    EXPECT_EQ(family.group->boundingBox(), child.box);
    EXPECT_EQ(family.group->backgroundColor(), Math::Color(1, 1, 1, 1));
    EXPECT_TRUE(family.group->isTransparent());
    EXPECT_TRUE(family.group->needsRedraw());
    family.log->clear();
    family.group->render();
    EXPECT_THAT(*family.log, IsEmpty());
}

TEST(GroupRenderable, AMoveReachesAllDescendants)
{
    const auto root = GroupRenderable::create("root");
    const auto inner = GroupRenderable::create("inner");
    const auto leaf = std::make_shared<RecordingRenderable>("leaf");
    root->add(inner);
    inner->add(leaf);
    leaf->setMatrix(translation(0, 0, 1));
    ASSERT_EQ(leaf->worldMatrix(), translation(0, 0, 1));
    leaf->setNeedsRedraw(false);

    root->setMatrix(translation(1, 0, 0));
    inner->setMatrix(translation(0, 1, 0));

    EXPECT_EQ(leaf->worldMatrix(), translation(1, 1, 1));
    EXPECT_TRUE(leaf->needsRedraw());
}

TEST(GroupRenderable, ACopyHoldsTheSameChildren)
{
    Family family({"a", "b"});

    const GroupRenderable copy(*family.group);
    GroupRenderable moved(std::move(*std::make_unique<GroupRenderable>(copy)));

    EXPECT_THAT(namesOf(copy), ElementsAre("a", "b"));
    EXPECT_THAT(namesOf(moved), ElementsAre("a", "b"));
    EXPECT_EQ(family.children[0]->parent(), family.group);
}
