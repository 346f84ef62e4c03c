#include "core/toUtf8.h"
#include "render/mesh/ObjMeshLoader.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#if defined(__linux__)
#include <sys/stat.h>
#endif

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

#if defined(__linux__)
/// Bytes that this process has read by system calls so far.
std::uint64_t bytesReadByProcess()
{
    const std::string counters = TemporaryFolder::read("/proc/self/io");
    return std::stoull(counters.substr(counters.find("rchar: ") + 7));
}

TEST_F(ObjMeshLoading, MaterialFilesAreNeverRead)
{
    mFolder.write("m.mtl", "newmtl red\n" + std::string(4U << 20U, '#'));
    std::string text(kTriangle);
    for (int i = 0; i < 100; ++i)
    {
        text += "mtllib " + std::to_string(i) + "/m.mtl\n";
    }
    const std::uint64_t before = bytesReadByProcess();

    load(text + "usemtl red\nf 1 2 3\n");

    EXPECT_LT(bytesReadByProcess() - before, 1U << 20U);
}

TEST_F(ObjMeshLoading, PipesAndDevicesAreRefused)
{
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    for (const std::filesystem::path& file : {path(), std::filesystem::path("/dev/zero"), mFolder.path()})
    {
        EXPECT_EQ(
            messageOf<std::runtime_error>([&] { ObjMeshLoader(file).load([](auto) {}); }),
            "TinyObjReader: Cannot open file [" + Core::toUtf8(file) + "]: it is no regular file\n"
        );
    }
}

TEST_F(ObjMeshLoading, APipeAsMaterialFileIsNotWaitedFor)
{
    ASSERT_EQ(::mkfifo((mFolder.path() / "pipe.mtl").c_str(), 0600), 0);
    testing::internal::CaptureStdout();

    load(std::string(kTriangle) + "mtllib pipe.mtl\nf 1 2 3\n");

    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("pipe.mtl"));
}
#endif

TEST_F(ObjMeshLoading, WhatIsPrintedIsBoundedAndFreeOfControlCharacters)
{
    std::string text(kTriangle);
    for (int i = 0; i < 1000; ++i)
    {
        text += "mtllib \x1B[2J" + std::string(1000, 'm') + std::to_string(i) + "\ng \nf 1 2\n";
    }
    testing::internal::CaptureStdout();
    load(text);
    const std::string output = testing::internal::GetCapturedStdout();

    EXPECT_THAT(output, StartsWith("TinyObjReader: Material file [ ?[2Jmmm"));
    EXPECT_LT(output.size(), 5000U);
    EXPECT_TRUE(std::ranges::all_of(output, [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
}

TEST_F(ObjMeshLoading, NamesInErrorsAreBoundedAndFreeOfControlCharacters)
{
    const std::string error =
        errorOf(std::string(kTriangle) + "o \x1B[2J" + std::string(100'000, 'n') + "\nf 1 2 4\n");

    EXPECT_THAT(error, HasSubstr("shape \"?[2Jnnn"));
    EXPECT_LT(error.size(), 400U);
}

TEST_F(ObjMeshLoading, WeightsOfVerticesAndSmoothingGroupsHaveNoEffect)
{
    const std::string text = std::string(kTriangle) + "vw 0 1e30 0.5\n  vw 0 -1 1\nvw 99999999999 nan\n" +
                             "s 99999999999\ns off\nf 1 2 3\n";

    EXPECT_EQ(load(text).at(0).size(), 3U);
}

TEST_F(ObjMeshLoading, ExponentsBeyondAnyNumberAreInfiniteOrZero)
{
    for (const char* const huge : {"1e2147483649", "1e99999999999999999999", "1.5E+0000002147483649"})
    {
        EXPECT_THAT(
            errorOf("v 0 0 0\nv " + std::string(huge) + " 0 0\nv 0 1 0\nf 1 2 3\n"),
            HasSubstr("vertex 2, which is not finite")
        ) << huge;
    }
    const Part part = load("v 1e-2147483649 2e0000000000001 3e1\nv 1 0 0\nv 0 1 0\nf 1 2 3\n").at(0);
    expectPoint(part[0].position, {0.0F, 20.0F, 30.0F});
}

TEST_F(ObjMeshLoading, IndicesBeyondTheirTypeAreErrors)
{
    const std::string start = "TinyObjReader: [" + Core::toUtf8(path()) + "] ";
    for (const char* const index : {"4294967297", "2147483648", "-99999999999999999999", "1/2147483648"})
    {
        EXPECT_EQ(
            errorOf(std::string(kTriangle) + "f 1 2 " + index + "\n"),
            start + "has an index above 2147483647 in line 4\n"
        ) << index;
    }
}

TEST_F(ObjMeshLoading, LinesHaveAtMostAMegabyte)
{
    const std::string comment(std::size_t{1} << 20U, '#');

    EXPECT_EQ(load(comment + "\n" + std::string(kTriangle) + "f 1 2 3\n").size(), 1U);
    EXPECT_EQ(
        errorOf("\n\r\n\r" + comment + "#"),
        "TinyObjReader: [" + Core::toUtf8(path()) + "] has a line of more than 1048576 bytes in line 4\n"
    );
}

TEST_F(ObjMeshLoading, LinesMayEndInAnyWayAndCrossTheBorderOfWhatIsReadAtOnce)
{
    for (const std::string end : {"\n", "\r", "\r\n"})
    {
        std::string text;
        for (int i = 0; i < 300'000; ++i)  // some megabytes
        {
            text += "v " + std::to_string(i) + " 0 0" + end;
        }
        for (const int vertex : {1, 150'000, 300'000})
        {
            text += "f 1 2 " + std::to_string(vertex) + (vertex < 300'000 ? end : "");
        }

        const Part part = load(text).at(0);

        ASSERT_EQ(part.size(), 9U);
        EXPECT_EQ(part[2].position.x, 0.0F);
        EXPECT_EQ(part[5].position.x, 149'999.0F);
        EXPECT_EQ(part[8].position.x, 299'999.0F);
    }
}

TEST_F(ObjMeshLoading, FlatShadingSurvivesTheLargestCoordinates)
{
    const Part flat = load("v -3e38 -3e38 0\nv 3e38 -3e38 0\nv 0 3e38 0\nf 1 2 3\n").at(0);
    const Part steep = load("v 0 0 0\nv 3e38 0 3e38\nv 0 3e38 0\nf 1 2 3\n").at(0);
    const Part line = load("v 0 0 0\nv 1e38 0 0\nv 3e38 0 0\nf 1 2 3\n").at(0);

    expectPoint(flat[0].normal, {0.0F, 0.0F, 1.0F});
    const float half = std::sqrt(0.5F);
    expectPoint(steep[1].normal, {-half, 0.0F, half});
    expectPoint(line[2].normal, {0.0F, 0.0F, 0.0F});
}

TEST_F(ObjMeshLoading, ErrorsOfTheReaderNameTheFile)
{
    EXPECT_THAT(errorOf(std::string(kTriangle) + "f 0 1 2\n"), HasSubstr("[" + Core::toUtf8(path()) + "]"));
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
