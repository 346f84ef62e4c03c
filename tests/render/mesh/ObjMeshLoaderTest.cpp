#include "core/toUtf8.h"
#include "render/mesh/ObjMeshLoader.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using Math::Color;
using Render::ObjMeshLoader;
using Render::VertexPosNormalTexCoordColor;
using testing::HasSubstr;
using testing::StartsWith;

using Point3 = Math::Point<float, 3>;
using Part = std::vector<VertexPosNormalTexCoordColor>;

namespace
{
constexpr std::string_view kTriangle = "v 0 0 0\nv 2 0 0\nv 0 3 0\n";

class ObjMeshLoading : public testing::Test
{
public:
    std::vector<Part> load(std::string_view text)
    {
        mFolder.write("mesh.obj", text);
        std::vector<Part> parts;
        ObjMeshLoader(path()).load([&](std::span<const VertexPosNormalTexCoordColor> part)
                                   { parts.emplace_back(part.begin(), part.end()); });
        return parts;
    }

    /// The text of the error that this file gives.
    std::string errorOf(std::string_view text)
    {
        return messageOf<std::runtime_error>([&] { load(text); });
    }

    std::filesystem::path path() const { return mFolder.path() / "mesh.obj"; }

    TemporaryFolder mFolder;
};

void expectPoint(const Point3& actual, const Point3& expected)
{
    EXPECT_FLOAT_EQ(actual.x, expected.x);
    EXPECT_FLOAT_EQ(actual.y, expected.y);
    EXPECT_FLOAT_EQ(actual.z, expected.z);
}
}  // namespace

TEST_F(ObjMeshLoading, HandsOverCornersInTheOrderOfTheFile)
{
    const std::vector<Part> parts = load(
        "v 0 0 0 0.5 0.25 0\nv 2 0 0 0 1 0\nv 0 3 0 1 1 1\nvn 0 0 2\nvn 0 1 0\nvt 0.25 0.75\n"
        "f 2/1/1 3//2 1/1/2\n"
    );

    ASSERT_EQ(parts.size(), 1U);
    ASSERT_EQ(parts[0].size(), 3U);
    expectPoint(parts[0][0].position, {2.0F, 0.0F, 0.0F});
    expectPoint(parts[0][1].position, {0.0F, 3.0F, 0.0F});
    expectPoint(parts[0][2].position, {0.0F, 0.0F, 0.0F});
    expectPoint(parts[0][0].normal, {0.0F, 0.0F, 2.0F});
    expectPoint(parts[0][1].normal, {0.0F, 1.0F, 0.0F});
    EXPECT_EQ(parts[0][0].texCoord.x, 0.25F);
    EXPECT_EQ(parts[0][0].texCoord.y, 0.75F);
    EXPECT_EQ(parts[0][1].texCoord.x, 0.0F);
    EXPECT_EQ(parts[0][1].texCoord.y, 0.0F);
    EXPECT_EQ(parts[0][0].color, Color(0, 255, 0, 255));
    EXPECT_EQ(parts[0][2].color, Color(127, 63, 0, 255));  // 127.5 and 63.75 are cut off
}

TEST_F(ObjMeshLoading, VerticesWithoutColorAreWhite)
{
    const Part part = load(std::string(kTriangle) + "f 1 2 3\n").at(0);

    for (const VertexPosNormalTexCoordColor& corner : part)
    {
        EXPECT_EQ(corner.color, Color(255, 255, 255, 255));
    }
}

TEST_F(ObjMeshLoading, ColorsOutsideTheirRangeAreClamped)
{
    const Part part = load("v 0 0 0 -1 2 0\nv 1 0 0 1e30 -1e30 1\nv 0 1 0 0 0 0\nf 1 2 3\n").at(0);

    EXPECT_EQ(part[0].color, Color(0, 255, 0, 255));
    EXPECT_EQ(part[1].color, Color(255, 0, 255, 255));
}

TEST_F(ObjMeshLoading, FacesWithoutNormalsAreFlat)
{
    const Part part = load(std::string(kTriangle) + "f 1 2 3\nf 1 3 2\n").at(0);

    for (std::size_t i = 0; i < 3; ++i)
    {
        expectPoint(part.at(i).normal, {0.0F, 0.0F, 1.0F});
        expectPoint(part.at(3 + i).normal, {0.0F, 0.0F, -1.0F});
    }
}

TEST_F(ObjMeshLoading, AFaceThatLacksOneNormalIsFlatAtAllCorners)
{
    const Part part = load(std::string(kTriangle) + "vn 1 0 0\nf 1//1 2//1 3\n").at(0);

    for (const VertexPosNormalTexCoordColor& corner : part)
    {
        expectPoint(corner.normal, {0.0F, 0.0F, 1.0F});
    }
}

TEST_F(ObjMeshLoading, ADegenerateFaceHasZeroNormals)
{
    const Part part = load("v 0 0 0\nv 1 1 1\nv 2 2 2\nf 1 2 3\n").at(0);

    for (const VertexPosNormalTexCoordColor& corner : part)
    {
        expectPoint(corner.normal, {0.0F, 0.0F, 0.0F});
    }
}

TEST_F(ObjMeshLoading, EveryShapeIsAPart)
{
    const std::vector<Part> parts =
        load(std::string(kTriangle) + "v 5 5 5\no first\nf 1 2 3\nf 1 2 4\no second\nf 2 3 4\n");

    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].size(), 6U);
    EXPECT_EQ(parts[1].size(), 3U);
    expectPoint(parts[1][2].position, {5.0F, 5.0F, 5.0F});
}

TEST_F(ObjMeshLoading, FacesOfMoreCornersAreCutIntoTriangles)
{
    const Part part = load("v 0 0 0\nv 2 0 0\nv 2 1 0\nv 0 1 0\nv 3 0.5 0\nf 1 2 3 4\nf 1 2 5 3 4\n").at(0);

    ASSERT_EQ(part.size(), 3U * (2 + 3));
    float area = 0.0F;
    for (std::size_t i = 0; i < part.size(); i += 3)
    {
        const Point3 &a = part[i].position, &b = part[i + 1].position, &c = part[i + 2].position;
        area += 0.5F * ((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
        expectPoint(part[i].normal, {0.0F, 0.0F, 1.0F});
    }
    EXPECT_FLOAT_EQ(area, 2.0F + 2.5F);
}

TEST_F(ObjMeshLoading, AFaceMayHaveAThousandCornersButNotMore)
{
    const auto faceOf = [](int corners)
    {
        std::string text = " f";
        for (int i = 0; i < corners; ++i)
        {
            text += " \t" + std::to_string(i % 3 + 1);
        }
        return text + "\r\n";
    };
    const std::string small(kTriangle);

    EXPECT_NO_THROW(load(small + faceOf(1000) + faceOf(3)));
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { load(small + faceOf(3) + faceOf(1001)); }),
        testing::HasSubstr("has a face of more than 1000 corners in line 5")
    );
}

TEST_F(ObjMeshLoading, NegativeIndicesCountFromTheEnd)
{
    const Part part = load(std::string(kTriangle) + "f -3 -2 -1\n").at(0);

    expectPoint(part[0].position, {0.0F, 0.0F, 0.0F});
    expectPoint(part[2].position, {0.0F, 3.0F, 0.0F});
}

TEST_F(ObjMeshLoading, AFileWithoutFacesHasNoTriangles)
{
    for (const std::string_view text : {std::string_view(), kTriangle, std::string_view("# nothing\n")})
    {
        for (const Part& part : load(text))
        {
            EXPECT_TRUE(part.empty());
        }
    }
}

TEST_F(ObjMeshLoading, AMissingFileIsNamed)
{
    const ObjMeshLoader loader(mFolder.path() / "none.obj");

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { loader.load([](auto) {}); }),
        "TinyObjReader: Cannot open file [" + Core::toUtf8(mFolder.path() / "none.obj") + "]\n"
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { ObjMeshLoader(mFolder.path()).load([](auto) {}); }),
        StartsWith("TinyObjReader: Cannot open file [")
    );
}

TEST_F(ObjMeshLoading, PathsNeedNotBeAscii)
{
    const std::filesystem::path path = mFolder.path() / u8"Häuser \u6751.obj";
    mFolder.write(path.filename(), std::string(kTriangle) + "f 1 2 3\n");
    std::size_t partCount = 0;

    ObjMeshLoader(path).load([&](auto) { ++partCount; });

    EXPECT_EQ(partCount, 1U);
}

TEST_F(ObjMeshLoading, ErrorsOfTheReaderArePassedOn)
{
    EXPECT_THAT(
        errorOf(std::string(kTriangle) + "f 0 1 2\n"),
        testing::AllOf(StartsWith("TinyObjReader: "), HasSubstr("line 4"))
    );
    EXPECT_THAT(errorOf(std::string(kTriangle) + "f a b c\n"), StartsWith("TinyObjReader: "));
}

TEST_F(ObjMeshLoading, WarningsGoToTheStandardOutput)
{
    testing::internal::CaptureStdout();
    load(std::string(kTriangle) + "mtllib none.mtl\nf 1 2 3\n");
    const std::string output = testing::internal::GetCapturedStdout();

    EXPECT_THAT(output, StartsWith("TinyObjReader: "));
    EXPECT_THAT(output, HasSubstr("none.mtl"));
}

TEST_F(ObjMeshLoading, MaterialFilesOutsideTheFolderAreNotRead)
{
    const TemporaryFolder other;
    const std::filesystem::path path = other.write("other.mtl", "newmtl red\nKd 1 0 0\n");
    testing::internal::CaptureStdout();
    load(std::string(kTriangle) + "mtllib " + path.string() + "\nusemtl red\nf 1 2 3\n");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("not found in the folder of the mesh"));

    mFolder.write("own.mtl", "newmtl red\nKd 1 0 0\n");
    testing::internal::CaptureStdout();
    load(std::string(kTriangle) + "mtllib own.mtl\nusemtl red\nf 1 2 3\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ObjMeshLoading, IndicesOutOfRangeAreErrors)
{
    const std::string start =
        "Error: cannot read " + Core::toUtf8(path()) + " as a mesh: shape \"\" refers to ";
    EXPECT_EQ(errorOf(std::string(kTriangle) + "f 1 2 4\n"), start + "vertex 4, but the file has 3");
    EXPECT_EQ(
        errorOf(std::string(kTriangle) + "f 1 2 2147483647\n"),
        start + "vertex 2147483647, but the file has 3"
    );
    EXPECT_EQ(errorOf(std::string(kTriangle) + "f 1 2 -4\n"), start + "vertex 0, but the file has 3");
    EXPECT_EQ(
        errorOf(std::string(kTriangle) + "vn 0 0 1\nf 1//1 2//1 3//2\n"),
        start + "normal 2, but the file has 1"
    );
    EXPECT_EQ(
        errorOf(std::string(kTriangle) + "f 1/1 2/1 3/1\n"),
        start + "texture coordinate 1, but the file has 0"
    );
}

TEST_F(ObjMeshLoading, InfinitePositionsAreErrors)
{
    EXPECT_EQ(
        errorOf("v 0 0 0\nv 1e999 0 0\nv 0 1 0\nf 1 2 3\n"),
        "Error: cannot read " + Core::toUtf8(path()) +
            " as a mesh: shape \"\" uses vertex 2, which is not finite"
    );
}

TEST_F(ObjMeshLoading, WhatIsNotANumberIsReadAsZero)
{
    expectPoint(load("v nan 1 2\nv 1 0 0\nv 0 1 0\nf 1 2 3\n").at(0).at(0).position, {0.0F, 1.0F, 2.0F});
}

TEST_F(ObjMeshLoading, TagsTakeNoMemory)
{
    const std::string huge = "t huge 2000000000/0/0 1\n";
    const std::string indented = "  \tt huge 2000000000/2000000000/2000000000 1\r";

    const std::vector<Part> parts = load(huge + std::string(kTriangle) + indented + "\nf 1 2 3\n" + huge);

    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].size(), 3U);
}

TEST_F(ObjMeshLoading, AReceiverMayEndTheLoadingByThrowing)
{
    mFolder.write("mesh.obj", std::string(kTriangle) + "o a\nf 1 2 3\no b\nf 1 2 3\n");
    int calls = 0;
    const auto receive = [&](auto)
    {
        ++calls;
        throw std::runtime_error("enough");
    };

    EXPECT_EQ(messageOf<std::runtime_error>([&] { ObjMeshLoader(path()).load(receive); }), "enough");
    EXPECT_EQ(calls, 1);
}
