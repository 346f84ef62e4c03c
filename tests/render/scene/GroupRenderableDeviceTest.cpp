#include "render/scene/Camera.h"
#include "render/scene/GroupRenderable.h"
#include "render/scene/RenderMode.h"
#include "tests/render/scene/RecordingRenderable.h"
#include "tests/support/DeviceFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using Render::GroupRenderable;
using testing::ElementsAre;
using testing::IsEmpty;

/// A group that a renderer with id 7 has initialised, and the log of what its children were told.
class GroupRenderableDeviceTest : public DeviceFixture
{
protected:
    std::shared_ptr<RecordingRenderable> child(const std::string& name) const
    {
        return std::make_shared<RecordingRenderable>(name, mLog);
    }

    void initGroup() { mGroup->init(7, mCamera, device(), context()); }

    std::shared_ptr<RecordingRenderable::Log> mLog = std::make_shared<RecordingRenderable::Log>();
    std::shared_ptr<Render::Camera> mCamera = std::make_shared<Render::Camera>();
    std::shared_ptr<GroupRenderable> mGroup = GroupRenderable::create("group");
};
}  // namespace

TEST_F(GroupRenderableDeviceTest, InitReachesAllChildrenInOrder)
{
    const auto first = child("a");
    mGroup->add(first);
    mGroup->add(child("b"));

    initGroup();

    EXPECT_THAT(*mLog, ElementsAre("a init 7", "b init 7"));
    EXPECT_EQ(first->camera, mCamera);
}

TEST_F(GroupRenderableDeviceTest, AChildThatJoinsALiveGroupIsBroughtUpToDate)
{
    initGroup();
    mGroup->onUpdateRenderMode(Render::RenderMode::UniformColor);

    mGroup->add(child("late"));

    EXPECT_THAT(*mLog, ElementsAre("late init 7", "late renderMode 6"));
}

TEST_F(GroupRenderableDeviceTest, AddingTwiceToALiveGroupInitialisesTwice)
{
    initGroup();
    const auto twice = child("a");

    mGroup->add(twice);
    mGroup->add(twice);

    EXPECT_THAT(*mLog, ElementsAre("a init 7", "a renderMode 0", "a init 7", "a renderMode 0"));
}

TEST_F(GroupRenderableDeviceTest, ASubgroupThatJoinsALiveGroupPassesEverythingOn)
{
    const auto inner = GroupRenderable::create("inner");
    inner->add(child("leaf"));
    initGroup();

    mGroup->add(inner);

    EXPECT_THAT(*mLog, ElementsAre("leaf init 7", "leaf renderMode 0"));
}

TEST_F(GroupRenderableDeviceTest, ChildrenThatLeaveALiveGroupAreDeinitialised)
{
    for (const char* const name : {"x", "a", "x", "b"})
    {
        mGroup->add(child(name));
    }
    initGroup();
    mLog->clear();

    mGroup->removeByName("x");
    EXPECT_THAT(*mLog, ElementsAre("x deinit", "x deinit"));

    mLog->clear();
    mGroup->remove(mGroup->cbegin());
    EXPECT_THAT(*mLog, ElementsAre("b deinit"));

    mLog->clear();
    mGroup->removeAll();
    EXPECT_THAT(*mLog, ElementsAre("a deinit"));
}

TEST_F(GroupRenderableDeviceTest, DeinitReachesAllChildrenAndEndsTheLiveState)
{
    mGroup->add(child("a"));
    initGroup();
    mLog->clear();

    mGroup->deinit();
    EXPECT_THAT(*mLog, ElementsAre("a deinit"));

    mLog->clear();
    mGroup->add(child("late"));
    mGroup->removeAll();
    EXPECT_THAT(*mLog, IsEmpty());
}

TEST_F(GroupRenderableDeviceTest, DeinitGivesDeviceAndContextBack)
{
    const auto references = [](IUnknown* object)
    {
        object->AddRef();
        return object->Release();
    };
    const auto deviceBefore = references(device().get());
    const auto contextBefore = references(context().get());

    initGroup();
    EXPECT_EQ(references(device().get()), deviceBefore + 1);

    mGroup->deinit();
    EXPECT_EQ(references(device().get()), deviceBefore);
    EXPECT_EQ(references(context().get()), contextBefore);
    EXPECT_EQ(mCamera.use_count(), 1);
}
