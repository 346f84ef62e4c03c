#include "samples/SampleMesh.h"
#include "samples/SamplePanorama.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using Samples::SampleMesh;
using Samples::SampleScene;
using Samples::Vector;

namespace
{
const SampleScene& scene()
{
    static const SampleScene instance(1);
    return instance;
}

const SampleMesh& mesh()
{
    static const SampleMesh instance = Samples::makeSampleMesh(scene());
    return instance;
}

template <class Visit>
void forEachTriangle(const Visit& visit)
{
    for (const SampleMesh::Part& part : mesh().parts)
    {
        for (const auto& triangle : part.triangles)
        {
            visit(
                part.vertices.at(triangle[0]).position,
                part.vertices.at(triangle[1]).position,
                part.vertices.at(triangle[2]).position
            );
        }
    }
}
}  // namespace

TEST(SampleMesh, StandsOnTheGroundOfItsSite)
{
    const Vector foot = mesh().foot;
    EXPECT_EQ(foot.z, scene().terrain().height(foot.x, foot.y));
    double lowest = std::numeric_limits<double>::max();
    double highest = 0;
    forEachTriangle(
        [&](Vector a, Vector b, Vector c)
        {
            for (const Vector& corner : {a, b, c})
            {
                lowest = std::min(lowest, corner.z);
                highest = std::max(highest, corner.z);
            }
        }
    );
    EXPECT_NEAR(lowest, foot.z - 1.0, 0.2);  // the base and the step go into the ground
    EXPECT_GT(highest, foot.z + 13.0);
    EXPECT_LT(highest, foot.z + 20.0);
}

TEST(SampleMesh, TheSiteIsFreeWhateverTheSeed)
{
    for (const std::uint64_t seed : {1U, 2U, 3U, 77U})
    {
        const SampleScene other(seed);
        const SampleMesh model = Samples::makeSampleMesh(other);
        for (double x = -5.0; x <= 5.0; x += 0.5)
        {
            for (double y = -5.0; y <= 5.0; y += 0.5)
            {
                const Vector above = model.foot + Vector{x, y, 40.0};
                const auto hit = other.raycast({above, {0, 0, -1}}, 100.0);
                ASSERT_TRUE(hit.has_value());
                const double ground = other.terrain().height(above.x, above.y);
                ASSERT_NEAR(hit->place.point.position.z, ground, 1e-6) << seed << ": " << x << ", " << y;
                ASSERT_NEAR(ground, model.foot.z, 0.9) << "the base reaches down to it";
            }
        }
    }
}

TEST(SampleMesh, ThePanoramaSeesItsSiteAndNothingStandsBetween)
{
    const Vector center = Samples::panoramaCenter(scene());
    for (const double height : {1.0, 5.0, 11.0, 15.0})
    {
        const Vector towards = mesh().foot + Vector{0, 0, height} - center;
        EXPECT_FALSE(scene().raycast({center, normalized(towards)}, length(towards) - 5.5)) << height;
    }
}

TEST(SampleMesh, TrianglesOfTheTowerLookOutwards)
{
    const SampleMesh::Part& base = mesh().parts.at(0);
    const Vector foot = mesh().foot;
    int outwards = 0;
    int walls = 0;
    for (const auto& triangle : base.triangles)
    {
        const Vector a = base.vertices[triangle[0]].position;
        const Vector normal =
            cross(base.vertices[triangle[1]].position - a, base.vertices[triangle[2]].position - a);
        const Vector out{a.x - foot.x, a.y - foot.y, 0};
        const bool isWall = std::abs(normal.z) < 1e-9;
        walls += isWall;
        outwards += isWall && dot(normal, out) > 0;
    }
    EXPECT_GT(walls, 3000);
    EXPECT_GT(outwards, walls * 98 / 100);  // but for the sides of the step
}

TEST(SampleMesh, NoTriangleIsFlat)
{
    forEachTriangle([](Vector a, Vector b, Vector c) { ASSERT_GT(length(cross(b - a, c - a)), 1e-9); });
}

TEST(SampleMesh, IsTheSameOnAnyNumberOfThreads)
{
    const SampleMesh other = Samples::makeSampleMesh(scene(), 3);
    ASSERT_EQ(other.parts.size(), mesh().parts.size());
    for (std::size_t i = 0; i < other.parts.size(); ++i)
    {
        ASSERT_EQ(other.parts[i].triangles, mesh().parts[i].triangles);
        for (std::size_t k = 0; k < other.parts[i].vertices.size(); ++k)
        {
            ASSERT_EQ(other.parts[i].vertices[k].position, mesh().parts[i].vertices[k].position);
            ASSERT_EQ(other.parts[i].vertices[k].color.g, mesh().parts[i].vertices[k].color.g);
        }
    }
}

TEST(SampleMesh, TheSunnySideIsBrighterThanTheShade)
{
    const SampleMesh::Part& tower = mesh().parts.at(2);
    ASSERT_EQ(tower.name, "tower");
    const Vector sun = Samples::Daylight::sunDirection();
    double lit = 0;
    double shaded = 0;
    int litCount = 0;
    int shadedCount = 0;
    for (const SampleMesh::Vertex& vertex : tower.vertices)
    {
        const Vector out = vertex.position - mesh().foot;
        const double facing = (out.x * sun.x + out.y * sun.y) / std::hypot(out.x, out.y);
        lit += facing > 0.6 ? vertex.color.g : 0;
        litCount += facing > 0.6;
        shaded += facing < -0.6 ? vertex.color.g : 0;
        shadedCount += facing < -0.6;
    }
    EXPECT_GT(lit / litCount, 1.2 * (shaded / shadedCount));
}

TEST(SampleMesh, ObjFilesHoldVerticesWithColorsAndFacesOfOneNumbering)
{
    SampleMesh small;
    small.parts = {
        {"one", {{{0, 0, 0}, {1, 0, 0}}, {{1, 0, 0}, {0, 1, 0}}, {{0, 1, 0}, {0, 0, 1}}}, {{0, 1, 2}}},
        {"two",
         {{{5, 6, 7.25}, {0.5, 0.5, 0.5}}, {{6, 6, 7}, {1, 1, 1}}, {{5, 7, -7}, {0, 0, 0}}},
         {{2, 1, 0}}}};
    const TemporaryFolder folder;

    writeObj(folder.path() / "small.obj", small);

    std::string expected =
        "o one\n"
        "v 0.0000 0.0000 0.0000 1.000 0.000 0.000\n"
        "v 1.0000 0.0000 0.0000 0.000 1.000 0.000\n"
        "v 0.0000 1.0000 0.0000 0.000 0.000 1.000\n"
        "f 1 2 3\n"
        "o two\n"
        "v 5.0000 6.0000 7.2500 0.500 0.500 0.500\n"
        "v 6.0000 6.0000 7.0000 1.000 1.000 1.000\n"
        "v 5.0000 7.0000 -7.0000 0.000 0.000 0.000\n"
        "f 6 5 4\n";
    std::istringstream lines(TemporaryFolder::read(folder.path() / "small.obj"));
    std::string written;
    for (std::string line; std::getline(lines, line);)
    {
        written += line.starts_with('#') ? "" : line + '\n';
    }
    EXPECT_EQ(written, expected);
}

TEST(SampleMesh, AFileThatCannotBeWrittenIsNamed)
{
    const TemporaryFolder folder;
    EXPECT_THROW(writeObj(folder.path() / "nowhere" / "a.obj", mesh()), std::runtime_error);
}
