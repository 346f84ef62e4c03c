#include "graphics/PanoramaDescription.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <stdexcept>
#include <string>

using Graphics::PanoramaDescription;
using Graphics::parsePanoramaDescription;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{
/// A description with further members.
std::string json(const std::string& more = "")
{
    return R"({"version": 1, "projection": "equirectangular", "color": "c.dzi", "depth": "in/d.dzi")" + more +
           "}";
}

std::string errorOf(const std::string& text)
{
    return messageOf<std::runtime_error>([&] { parsePanoramaDescription(text); });
}
}  // namespace

TEST(PanoramaDescription, HasDefaultsForWhatMayBeMissing)
{
    const PanoramaDescription description = parsePanoramaDescription(json());

    EXPECT_EQ(description.color, "c.dzi");
    EXPECT_EQ(description.depth, "in/d.dzi");
    EXPECT_EQ(description.depthScale, 1.0 / 512.0);
    EXPECT_THAT(description.noDepth, ElementsAre(0, 65535));
    EXPECT_EQ(description.pose, Eigen::Matrix4d::Identity());
}

TEST(PanoramaDescription, IsReadWhole)
{
    const PanoramaDescription description = parsePanoramaDescription(
        json(R"(, "depthScale": 0.001, "noDepth": [7], "pose": [1,0,0,2.5, 0,1,0,3, 0,0,1,4, 0,0,0,1])")
    );

    EXPECT_EQ(description.depthScale, 0.001);
    EXPECT_THAT(description.noDepth, ElementsAre(7));
    EXPECT_EQ(description.pose(0, 3), 2.5F);
    EXPECT_EQ(description.pose(2, 3), 4.0F);
    EXPECT_EQ(description.pose(3, 0), 0.0F);
}

TEST(PanoramaDescription, WhatIsWrittenCanBeRead)
{
    PanoramaDescription description;
    description.color = "tiles/c.dzi";
    description.depthScale = 1.0 / 300.0;
    description.noDepth = {1, 2, 65535};
    description.pose(1, 3) = -7.25F;

    const PanoramaDescription read = parsePanoramaDescription(panoramaDescriptionText(description));

    EXPECT_EQ(read.color, description.color);
    EXPECT_EQ(read.depth, description.depth);
    EXPECT_EQ(read.depthScale, description.depthScale);
    EXPECT_EQ(read.noDepth, description.noDepth);
    EXPECT_EQ(read.pose, description.pose);
}

TEST(PanoramaDescription, PathsThatLeaveTheFolderAreErrors)
{
    for (const std::string path : {"../c.dzi",   "/c.dzi",       "a/../c.dzi",   "C:/c.dzi", "c:c.dzi",
                                   "a\\\\c.dzi", "./c.dzi",      "a//c.dzi",     "",         "c.txt",
                                   "a/",         "..",           "c\\u0000.dzi", "c\\n.dzi",
                                   "CON.dzi",  // devices of Windows, and names that it shortens
                                   "nul/c.dzi",  "a/com1.x.dzi", "a./c.dzi",     "a /c.dzi", "c\\u202E.dzi"})
    {
        EXPECT_THAT(
            errorOf(
                R"({"version":1,"projection":"equirectangular","color":")" + path + R"(","depth":"d.dzi"})"
            ),
            HasSubstr("not the relative path of a .dzi file inside the folder")
        ) << path;
    }
}

TEST(PanoramaDescription, LongPathsAreErrorsOfBoundedLength)
{
    const auto errorOfPath = [](std::size_t size)
    {
        return errorOf(
            R"({"version":1,"projection":"equirectangular","depth":"d.dzi","color":")" +
            std::string(size - 4, 'x') + ".dzi\"}"
        );
    };

    EXPECT_EQ(errorOfPath(200), "(nothing was thrown)");
    EXPECT_LT(errorOfPath(201).size(), 150U);
    EXPECT_LT(errorOfPath(500'000).size(), 150U);
}

TEST(PanoramaDescription, ManySiblingsTakeNoLongerThanTheirLength)
{
    std::string siblings = "{}";
    for (int i = 0; i < 200'000; ++i)
    {
        siblings += ",{}";
    }
    const std::clock_t begin = std::clock();

    EXPECT_EQ(parsePanoramaDescription(json(", \"x\": [" + siblings + "]")).color, "c.dzi");

    // Tenths of a second of processor time; minutes when each sibling looks at all others.
    EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 20.0);
}

TEST(PanoramaDescription, WrongMembersAreErrors)
{
    EXPECT_EQ(
        errorOf(R"({"version": 2, "projection": "equirectangular", "color": "c.dzi", "depth": "d.dzi"})"),
        "\"version\" is 2, only 1 is supported"
    );
    EXPECT_EQ(
        errorOf(R"({"version": 1, "projection": "cube", "color": "c.dzi", "depth": "d.dzi"})"),
        "\"projection\" is \"cube\", only \"equirectangular\" is supported"
    );
    EXPECT_EQ(
        errorOf(R"({"version": 1, "projection": "equirectangular", "depth": "d.dzi"})"),
        "\"color\" is missing"
    );
    EXPECT_EQ(
        errorOf(R"({"version": 1, "projection": "equirectangular", "color": 3, "depth": "d.dzi"})"),
        "\"color\" is not a text"
    );
    for (const char* const scale : {"0", "-1", "\"1\"", "null", "[1]", "true"})
    {
        EXPECT_EQ(
            errorOf(json(", \"depthScale\": " + std::string(scale))), "\"depthScale\" is not a number above 0"
        );
    }
    EXPECT_EQ(errorOf(json(R"(, "noDepth": 0)")), "\"noDepth\" is not a list");
    for (const char* const code : {"-1", "65536", "1.5", "\"0\""})
    {
        EXPECT_THAT(
            errorOf(json(", \"noDepth\": [" + std::string(code) + "]")), HasSubstr("from 0 to 65535")
        );
    }
    EXPECT_EQ(errorOf(json(R"(, "pose": [1, 2, 3])")), "\"pose\" is not a list of 16 numbers");
    EXPECT_EQ(
        errorOf(json(R"(, "pose": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,"1"])")),
        "\"pose\" is not a list of 16 numbers"
    );
    for (const char* const pose :
         {"0,0,0,0, 0,0,0,0, 0,0,0,0, 0,0,0,0",       // nothing is left
          "1,0,0,0, 0,1,0,0, 1,1,0,0, 0,0,0,1",       // flat
          "1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,1,1",       // with a perspective
          "1,0,0,1e300, 0,1,0,0, 0,0,1,0, 0,0,0,1"})  // infinite as a float
    {
        EXPECT_THAT(
            errorOf(json(", \"pose\": [" + std::string(pose) + "]")),
            HasSubstr("\"pose\" is not an affine matrix that can be inverted")
        ) << pose;
    }
}

TEST(PanoramaDescription, BrokenJsonIsAnError)
{
    const std::string whole = json();
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        EXPECT_NE(errorOf(whole.substr(0, size)), "(nothing was thrown)") << size;
    }
    EXPECT_EQ(errorOf("[]"), "an object is expected");
    EXPECT_NE(errorOf(std::string(100000, '[')), "(nothing was thrown)");
    EXPECT_EQ(
        errorOf("{\"version\": " + std::string(100000, '[') + std::string(100000, ']') + "}"),
        "it is nested more than 16 deep"
    );
    EXPECT_EQ(
        errorOf(R"({"version": [1], "projection": "equirectangular", "color": "c.dzi", "depth": "d.dzi"})"),
        "\"version\" is of type array, only 1 is supported"
    );
    EXPECT_LT(errorOf("{\"version\": \"" + std::string(100000, 'x') + "\"}").size(), 100U);
    EXPECT_NE(errorOf(json(", \"depthScale\": 1e999")), "(nothing was thrown)");
}

TEST(PanoramaDescription, ErrorsNameTheFile)
{
    const TemporaryFolder folder;
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Graphics::readPanoramaDescription(folder.path()); }),
        HasSubstr("panorama.json")
    );

    folder.write("panorama.json", "[]");

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Graphics::readPanoramaDescription(folder.path()); }),
        HasSubstr("panorama.json as a panorama: an object is expected")
    );
}
