#include "octree/entwine/Hierarchy.h"
#include "octree/entwine/HierarchyFile.h"
#include "octree/entwine/nodeKey.h"
#include "tests/octree/EptTestSet.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>

namespace
{
using Entwine::Hierarchy;
using Entwine::HierarchyFile;
using Entwine::nodeKey;
using Entwine::parseNodeKey;
using Octree::OctreeNodeId;
using testing::HasSubstr;

OctreeNodeId node(std::string_view name)
{
    return OctreeNodeId::fromName(name);
}

std::string failureOf(std::string_view text, const OctreeNodeId& first = {})
{
    return messageOf<std::runtime_error>([&] { HierarchyFile(text, first, "ept-hierarchy/f.json"); });
}

TEST(EntwineNodeKey, ChildDigitIsFourTimesXPlusTwoTimesYPlusZ)
{
    EXPECT_EQ(nodeKey({}), "0-0-0-0");
    EXPECT_EQ(nodeKey(node("r4")), "1-1-0-0");
    EXPECT_EQ(nodeKey(node("r2")), "1-0-1-0");
    EXPECT_EQ(nodeKey(node("r1")), "1-0-0-1");
    // 3-5-4-3: x = 101, y = 100, z = 011 in binary
    EXPECT_EQ(nodeKey(node("r615")), "3-5-4-3");
}

TEST(EntwineNodeKey, ParsingIsTheInverse)
{
    for (const char* name : {"r", "r0", "r7", "r615", "r777777777777777777777", "r012345670123456701234"})
    {
        EXPECT_EQ(parseNodeKey(nodeKey(node(name))), node(name)) << name;
    }
}

TEST(EntwineNodeKey, OtherTextsAreNoKeys)
{
    for (const char* key :
         {"",         "0",       "0-0-0",    "0-0-0-0-0",        "0-0-0-0 ",         "1-2-0-0",  "1-0-2-0",
          "1-0-0-2",  "0-1-0-0", "1--1-0-0", "1-0-0-x",          "01-0-0-0",         "1-00-0-0", "+1-0-0-0",
          "22-0-0-0", "1-0-0-",  "-1-0-0-0", "4294967296-0-0-0", "1-4294967296-0-0", "../x"})
    {
        EXPECT_FALSE(parseNodeKey(key).has_value()) << key;
    }
}

TEST(EntwineHierarchyFile, CountsAndChildrenAreThoseListedInAnyOrder)
{
    const HierarchyFile file(
        R"({"2-3-3-3": 4, "1-1-1-1": 3.0, "0-0-0-0": 5, "1-0-0-1": -1, "1-0-1-0": 0})", {}, "f.json"
    );

    EXPECT_EQ(file.count({}), 5);
    EXPECT_EQ(file.count(node("r7")), 3);
    EXPECT_EQ(file.count(node("r77")), 4);
    EXPECT_EQ(file.count(node("r1")), std::int64_t{HierarchyFile::kElsewhere});
    EXPECT_EQ(file.count(node("r2")), 0);
    EXPECT_EQ(file.count(node("r0")), std::nullopt);
    EXPECT_EQ(file.childMask({}), 0b10000110U);
    EXPECT_EQ(file.childMask(node("r7")), 0b10000000U);
    EXPECT_EQ(file.childMask(node("r2")), 0U);
}

TEST(EntwineHierarchyFile, NodesAtTheDeepestLevelHaveNoChildren)
{
    EXPECT_EQ(HierarchyFile(R"({"0-0-0-0": 1})", {}, "f.json").childMask(node("r000000000000000000000")), 0U);
}

TEST(EntwineHierarchyFile, CountsThatAreNoneAreRefused)
{
    for (const char* count : {"-2", "1.5", "4294967296", "1e300", "-1e300"})
    {
        const std::string error = failureOf(std::string(R"({"0-0-0-0": )") + count + "}");
        EXPECT_THAT(error, HasSubstr("f.json: bad number of points of node 0-0-0-0")) << count;
    }
    for (const char* value : {"null", "true", "\"5\"", "[1]", "{}"})
    {
        const std::string error = failureOf(std::string(R"({"0-0-0-0": )") + value + "}");
        EXPECT_THAT(error, HasSubstr("expected a number")) << value;
    }
}

TEST(EntwineHierarchyFile, MalformedKeysAreShownShortened)
{
    EXPECT_THAT(failureOf(R"({"0-0-0-0": 1, "1-2-0-0": 1})"), HasSubstr("bad node key \"1-2-0-0\""));
    EXPECT_LT(failureOf("{\"" + std::string(100000, 'x') + "\": 1}").size(), 400U);
}

TEST(EntwineHierarchyFile, NodesWithoutTheirParentAreRefused)
{
    EXPECT_THAT(failureOf(R"({"0-0-0-0": 1, "2-0-0-0": 1})"), HasSubstr("node 2-0-0-0 without its parent"));
}

TEST(EntwineHierarchyFile, NodesBelowOneDescribedElsewhereAreRefused)
{
    EXPECT_THAT(
        failureOf(R"({"0-0-0-0": 1, "1-0-0-0": -1, "2-0-0-0": 1})"),
        HasSubstr("node 2-0-0-0 without its parent")
    );
}

TEST(EntwineHierarchyFile, NodesOutsideTheFilesSubtreeAreRefused)
{
    EXPECT_THAT(
        failureOf(R"({"1-0-0-0": 1, "0-0-0-0": 1})", node("r0")), HasSubstr("node 0-0-0-0 without its parent")
    );
    EXPECT_THAT(
        failureOf(R"({"1-0-0-0": 1, "1-1-1-1": -1})", node("r0")),
        HasSubstr("node 1-1-1-1 without its parent")
    );
}

TEST(EntwineHierarchyFile, TheFirstNodeNeedsItsOwnCount)
{
    EXPECT_THAT(
        failureOf(R"({"0-0-0-0": -1})"), HasSubstr("node 0-0-0-0, expected its own number of points")
    );
    EXPECT_THAT(failureOf("{}"), HasSubstr("node 0-0-0-0, expected its own number of points"));
}

TEST(EntwineHierarchyFile, RepeatedKeysAreRefused)
{
    EXPECT_THAT(
        failureOf(R"({"0-0-0-0": 1, "1-0-0-0": 1, "1-0-0-0": 2})"), HasSubstr("node 1-0-0-0 is listed twice")
    );
}

TEST(EntwineHierarchyFile, OtherTextsNameTheFile)
{
    for (const char* text : {"", "{", "[]", "5", R"({"0-0-0-0": 1} x)", R"({"0-0-0-0": 1}{})"})
    {
        EXPECT_THAT(failureOf(text), HasSubstr("f.json")) << text;
    }
    EXPECT_THAT(failureOf(std::string(5'000'000, '[')), HasSubstr("expected one object"));
}

class EntwineHierarchy : public testing::Test
{
protected:
    EptTestSet set;

    Hierarchy hierarchy() const { return Hierarchy(set.write().files()); }
};

TEST_F(EntwineHierarchy, EntriesOfMinusOneLeadToFilesOfTheirOwn)
{
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 7, "1-1-1-1": -1})");
    set.setHierarchy("1-1-1-1", R"({"1-1-1-1": 8, "2-3-3-2": -1})");
    set.setHierarchy("2-3-3-2", R"({"2-3-3-2": 9, "3-6-6-4": 10})");
    const Hierarchy tree = hierarchy();

    EXPECT_EQ(tree.find({}, {})->pointCount, 7U);
    EXPECT_EQ(tree.find(node("r7"), {})->pointCount, 8U);
    EXPECT_EQ(tree.find(node("r7"), {})->childMask, 1U << 6U);
    EXPECT_EQ(tree.find(node("r76"), {})->pointCount, 9U);
    EXPECT_EQ(tree.find(node("r760"), {})->pointCount, 10U);
    EXPECT_FALSE(tree.find(node("r0"), {}).has_value());
    EXPECT_FALSE(tree.find(node("r761"), {}).has_value());
}

TEST_F(EntwineHierarchy, FilesAreReadWhenALookupReachesThem)
{
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 7, "1-0-0-0": 1, "1-1-1-1": -1})");
    const Hierarchy tree = hierarchy();

    EXPECT_EQ(tree.find(node("r0"), {})->pointCount, 1U);
    EXPECT_THAT(messageOf<std::runtime_error>([&] { tree.find(node("r7"), {}); }), HasSubstr("1-1-1-1.json"));
    EXPECT_EQ(tree.find(node("r0"), {})->pointCount, 1U);
}

TEST_F(EntwineHierarchy, AFileThatSendsBackToItselfIsRefused)
{
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 7, "1-1-1-1": -1})");
    set.setHierarchy("1-1-1-1", R"({"1-1-1-1": -1})");

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { hierarchy().find(node("r70"), {}); }),
        HasSubstr("1-1-1-1.json: node 1-1-1-1, expected its own number of points here")
    );
}

TEST_F(EntwineHierarchy, AStopRequestFindsNothingAndLeavesTheNextLookupAlone)
{
    const Hierarchy tree = hierarchy();
    std::stop_source stop;
    stop.request_stop();

    EXPECT_FALSE(tree.find({}, stop.get_token()).has_value());
    EXPECT_EQ(tree.find({}, {})->pointCount, 1U);
}
}  // namespace
