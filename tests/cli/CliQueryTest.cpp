// pick, export-visible and query, run as programs; what they find is compared with a dump of all points.
#include "tests/cli/printedPoints.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <Eigen/Eigenvalues>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

Eigen::Vector3d vectorOf(const json& numbers)
{
    const auto values = numbers.get<std::vector<double>>();
    return {values.at(0), values.at(1), values.at(2)};
}

using Point = PrintedPoint;

// Of the attributes of autzen in PLY, see kMoreColumns.
constexpr std::size_t kMoreBytes = 2 + 1 + 1 + 1 + 8 + 2 + 1 + 4;

template <class T>
std::vector<Point> parsePlyBody(const std::string& bytes)
{
    constexpr std::size_t kSize = 3 * sizeof(T) + 4 + kMoreBytes;
    EXPECT_EQ(bytes.size() % kSize, 0U);
    std::vector<Point> points(bytes.size() / kSize);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        std::array<T, 3> position;
        std::memcpy(position.data(), bytes.data() + i * kSize, sizeof position);
        points[i].position = {position[0], position[1], position[2]};
        for (std::size_t k = 0; k < 4; ++k)
        {
            points[i].color[k] = static_cast<unsigned char>(bytes[i * kSize + sizeof position + k]);
        }
    }
    return points;
}

// Regions have borders between the data set's steps of 0.01, so that rounding decides nothing.
constexpr double kRounding = 0.0;  // none

// What the points of autzen have beside places and colours.
constexpr const char* kMoreColumns =
    " Intensity Classification ReturnNumber NumberOfReturns GpsTime PointSourceId UserData ScanAngle";

TarnelRun queryAutzen(std::vector<std::string> options)
{
    std::vector<std::string> arguments{"query", dataSet("autzen_brotli")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runTarnel(arguments);
}

bool isInBox(const Point& point, const Eigen::Vector3d& min, const Eigen::Vector3d& max)
{
    return (point.position.array() >= min.array()).all() && (point.position.array() <= max.array()).all();
}
}  // namespace

TEST(CliQuery, ABoxYieldsThePointsThatADumpHasThereAtEveryLevel)
{
    const std::vector<Point> all = dumpAll("autzen_brotli");
    for (const std::string level : {"0", "2", "21"})
    {
        const TarnelRun run = queryAutzen(
            {"--box", "636200.003,849000.003,0,636700.003,849300.003,430.003", "--max-level", level}
        );

        ASSERT_EQ(run.exitCode, 0) << run.errors;
        const auto expected = pointsWhere(
            all,
            [&](const Point& point)
            {
                return point.level <= std::stoul(level) &&
                       isInBox(point, {636200.003, 849000.003, 0}, {636700.003, 849300.003, 430.003});
            }
        );
        EXPECT_GT(expected.size(), 300U);
        expectSamePoints(parsePointText(run.output), expected, kRounding);
        EXPECT_THAT(run.errors, HasSubstr(std::to_string(expected.size()) + " points in "));
        EXPECT_THAT(run.errors, HasSubstr(" points per second\n"));
    }
}

TEST(CliQuery, ASphereAPrismAndPlanesYieldThePointsThatADumpHasThere)
{
    const std::vector<Point> all = dumpAll("autzen_brotli");
    const TemporaryFolder folder;
    const std::string polygon =
        text(folder.write("polygon.txt", "# a triangle\n636300 849000\n\n636900,849100\r\n 636500\t849400 \n")
        );
    const auto isLeftOf = [](const Point& p, double ax, double ay, double bx, double by)
    { return (bx - ax) * (p.position.y() - ay) - (by - ay) * (p.position.x() - ax) >= 0; };

    const TarnelRun sphere = queryAutzen({"--sphere", "636500.003,849200.003,430.003,100.0037"});
    const TarnelRun prism = queryAutzen({"--polygon", polygon, "--z", "415.003,440.003"});
    const TarnelRun planes =
        queryAutzen({"--planes", "1,1,0,-1485700.0031", "--planes", "0,0,-1,420.003,-1,0,0,636800.0013"});

    ASSERT_EQ(sphere.exitCode, 0) << sphere.errors;
    const auto inSphere = [](const Point& p)
    { return (p.position - Eigen::Vector3d(636500.003, 849200.003, 430.003)).norm() <= 100.0037; };
    expectSamePoints(parsePointText(sphere.output), pointsWhere(all, inSphere), kRounding);

    ASSERT_EQ(prism.exitCode, 0) << prism.errors;
    const auto inPrism = [&](const Point& p)
    {
        return p.position.z() >= 415.003 && p.position.z() <= 440.003 &&
               isLeftOf(p, 636300, 849000, 636900, 849100) && isLeftOf(p, 636900, 849100, 636500, 849400) &&
               isLeftOf(p, 636500, 849400, 636300, 849000);
    };
    const std::vector<Point> prismPoints = parsePointText(prism.output);
    const std::vector<Point> expected = pointsWhere(all, inPrism);
    EXPECT_GT(expected.size(), 1000U);
    expectSamePoints(prismPoints, expected, kRounding);

    ASSERT_EQ(planes.exitCode, 0) << planes.errors;
    const auto behindPlanes = [](const Point& p)
    {
        return p.position.x() + p.position.y() >= 1485700.0031 && p.position.z() <= 420.003 &&
               p.position.x() <= 636800.0013;
    };
    expectSamePoints(parsePointText(planes.output), pointsWhere(all, behindPlanes), kRounding);
}

TEST(CliQuery, SeveralRegionsMeanWhatLiesInAll)
{
    const std::vector<Point> all = dumpAll("autzen_brotli");

    const TarnelRun run = queryAutzen(
        {"--box",
         "636400.003,849100.003,0,636600.003,849300.003,900",
         "--sphere",
         "636600.003,849200.003,430,100.0037"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const auto expected = pointsWhere(
        all,
        [](const Point& p)
        {
            return isInBox(p, {636400.003, 849100.003, 0}, {636600.003, 849300.003, 900}) &&
                   (p.position - Eigen::Vector3d(636600.003, 849200.003, 430)).norm() <= 100.0037;
        }
    );
    EXPECT_GT(expected.size(), 100U);
    expectSamePoints(parsePointText(run.output), expected, kRounding);
}

TEST(CliQuery, PlyHoldsTheSamePointsAsTextInDoublePrecision)
{
    const TemporaryFolder folder;
    const std::filesystem::path ply = folder.path() / "points.PLY";
    const std::filesystem::path txt = folder.path() / "points.txt";
    const std::vector<std::string> box{"--box", "636200.003,849000.003,0,636700.003,849300.003,430.003"};

    const TarnelRun plyRun = queryAutzen({box[0], box[1], "--output", text(ply)});
    const TarnelRun txtRun = queryAutzen({box[0], box[1], "--output", text(txt)});

    ASSERT_EQ(plyRun.exitCode, 0) << plyRun.errors;
    ASSERT_EQ(txtRun.exitCode, 0) << txtRun.errors;
    EXPECT_EQ(plyRun.output, text(ply) + "\n");
    const std::vector<Point> expected = parsePointText(TemporaryFolder::read(txt));
    const std::string content = TemporaryFolder::read(ply);
    const std::size_t body = content.find("end_header\n") + 11;
    const std::string header = content.substr(0, body);
    EXPECT_THAT(header, StartsWith("ply\nformat binary_little_endian 1.0\ncomment tarnel"));
    EXPECT_THAT(
        header,
        HasSubstr(
            "\nelement vertex " + std::to_string(expected.size()) +
            "\nproperty double x\nproperty double y\nproperty double z\nproperty uchar red\n"
            "property uchar green\nproperty uchar blue\nproperty uchar alpha\nproperty ushort intensity\n"
        )
    );
    expectSamePoints(parsePlyBody<double>(content.substr(body)), expected, 0.0);
    EXPECT_EQ(folder.entryCount(), 2U);
}

TEST(CliQuery, LocalCoordinatesAreRelativeToTheReferencePosition)
{
    const TemporaryFolder folder;
    const std::filesystem::path ply = folder.path() / "points.ply";
    const std::vector<std::string> box{
        "--box", "636200.003,849000.003,0,636700.003,849300.003,430.003", "--local"};
    const json info = json::parse(runTarnel({"info", dataSet("autzen_brotli"), "--json"}).output);
    const Eigen::Vector3d reference = vectorOf(info.at("referencePosition"));

    const TarnelRun absolute = queryAutzen({box[0], box[1]});
    const TarnelRun local = queryAutzen(box);
    const TarnelRun localPly = queryAutzen({box[0], box[1], box[2], "--output", text(ply)});

    ASSERT_EQ(local.exitCode, 0) << local.errors;
    std::vector<Point> expected = parsePointText(absolute.output);
    for (Point& point : expected)
    {
        point.position -= reference;
    }
    expectSamePoints(parsePointText(local.output), expected, 5e-4);  // seven digits
    ASSERT_EQ(localPly.exitCode, 0) << localPly.errors;
    const std::string content = TemporaryFolder::read(ply);
    EXPECT_THAT(content, HasSubstr("property float x\n"));
    expectSamePoints(
        parsePlyBody<float>(content.substr(content.find("end_header\n") + 11)), expected, 1e-4
    );  // single precision
}

TEST(CliQuery, AMinimumSpacingLeavesFineLevelsOut)
{
    const std::vector<std::string> box{"--box", "0,0,0,1e9,1e9,1e9"};

    const TarnelRun none = queryAutzen({box[0], box[1], "--min-spacing", "9.2"});  // the root's is 9.1989
    const TarnelRun root = queryAutzen({box[0], box[1], "--min-spacing", "4.6"});

    EXPECT_EQ(none.exitCode, 0) << none.errors;
    EXPECT_EQ(none.output, std::string(kPointTextHeader) + kMoreColumns + "\n");
    EXPECT_EQ(parsePointText(root.output).size(), 4661U);
}

TEST(CliQuery, ATimeoutWritesWhatThereIsAndSaysSo)
{
    const TemporaryFolder folder;
    const std::filesystem::path output = folder.path() / "points.txt";

    const TarnelRun run =
        queryAutzen({"--box", "0,0,0,1e9,1e9,1e9", "--timeout", "0", "--output", text(output)});

    EXPECT_EQ(run.exitCode, 4);
    EXPECT_EQ(parsePointText(TemporaryFolder::read(output)).size(), 4661U);  // the root
    EXPECT_THAT(run.errors, HasSubstr("the time of 0 ms was over before all points were found\n"));
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(CliQuery, EmptyAndInvertedRegionsYieldTheHeaderAlone)
{
    const TarnelRun empty = queryAutzen({"--box", "0,0,0,1,1,1"});
    const TarnelRun inverted = queryAutzen({"--box", "636700,849300,430,636200,849000,0"});

    EXPECT_EQ(empty.exitCode, 0) << empty.errors;
    EXPECT_EQ(empty.output, std::string(kPointTextHeader) + kMoreColumns + "\n");
    EXPECT_EQ(inverted.exitCode, 0) << inverted.errors;
    EXPECT_EQ(inverted.output, std::string(kPointTextHeader) + kMoreColumns + "\n");
}

TEST(CliQuery, AFailureLeavesTheOlderFileAndNothingElse)
{
    const TemporaryFolder folder;
    std::filesystem::copy(dataSet("test14_brotli"), folder.path() / "cloud");
    std::filesystem::resize_file(folder.path() / "cloud" / "octree.bin", 20);
    const std::filesystem::path output = folder.write("points.txt", "old");

    const TarnelRun run = runTarnel(
        {"query", text(folder.path() / "cloud"), "--box", "0,0,0,1e9,1e9,1e9", "--output", text(output)}
    );

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.errors, HasSubstr("Querying node data failed"));
    EXPECT_THAT(run.errors, HasSubstr("octree.bin"));
    EXPECT_EQ(TemporaryFolder::read(output), "old");
    EXPECT_EQ(folder.entryCount(), 2U);
}

TEST(CliQuery, BadPolygonFilesAreNamedWithWhatIsWrong)
{
    const TemporaryFolder folder;
    const auto errorsFor = [&](const std::string& content)
    {
        const std::string file = text(folder.write("polygon.txt", content));
        const TarnelRun run = queryAutzen({"--polygon", file, "--z", "0,1"});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.output, "");
        EXPECT_THAT(run.errors, HasSubstr("polygon.txt: "));
        return run.errors;
    };

    EXPECT_THAT(errorsFor("1 2\n3 4\n"), HasSubstr("there are 2 corners, expected at least three"));
    EXPECT_THAT(errorsFor(""), HasSubstr("there are 0 corners"));
    EXPECT_THAT(errorsFor("1 2\n1 2\n1 2\n"), HasSubstr("expected at least three different ones"));
    EXPECT_THAT(errorsFor("1 2\n3 north\n"), HasSubstr("line 2 is '3 north', expected two finite numbers"));
    EXPECT_THAT(errorsFor("1 2\n3 4 5\n"), HasSubstr("line 2"));
    EXPECT_THAT(errorsFor("1 nan\n"), HasSubstr("line 1"));
}

namespace
{
/// Straight down on autzen: a pixel is a square of 5 units, north is up.
std::vector<std::string> fromAbove(std::vector<std::string> arguments)
{
    const std::vector<std::string> camera{
        "--size",
        "160x120",
        "--ortho",
        "600",
        "--eye",
        "636590,849216,2000",
        "--target",
        "636590,849216,0",
        "--up",
        "0,1,0",
        "--point-size",
        "1"};
    arguments.insert(arguments.end(), camera.begin(), camera.end());
    return arguments;
}

std::vector<Point> nearest(std::vector<Point> points, const Eigen::Vector3d& place, std::size_t count)
{
    const auto distance = [&](const Point& point) { return (point.position - place).squaredNorm(); };
    std::partial_sort(
        points.begin(),
        points.begin() + static_cast<std::ptrdiff_t>(count),
        points.end(),
        [&](const Point& a, const Point& b) { return distance(a) < distance(b); }
    );
    points.resize(count);
    return points;
}
}  // namespace

TEST(CliPick, PickedPointsArePointsOfTheDataSetUnderThePixel)
{
    const std::vector<Point> all = dumpAll("autzen_brotli");
    std::size_t hits = 0;
    for (const auto& [x, y] : {std::pair(80, 60), {40, 70}, {100, 30}, {120, 80}, {20, 90}, {60, 50}})
    {
        const TarnelRun run = runTarnel(fromAbove(
            {"pick",
             dataSet("autzen_brotli"),
             "--pixel",
             std::to_string(x) + "," + std::to_string(y),
             "--tolerance",
             "3",
             "--json"}
        ));

        if (run.exitCode == 3)
        {
            continue;
        }
        ASSERT_EQ(run.exitCode, 0) << run.errors;
        ++hits;
        const json picked = json::parse(run.output);
        const Eigen::Vector3d place = vectorOf(picked.at("point"));
        const Point point = nearest(all, place, 1).front();
        EXPECT_LE((point.position - place).cwiseAbs().maxCoeff(), 1e-4);  // of single precision
        EXPECT_NEAR(
            picked.at("distance").get<double>(), (place - Eigen::Vector3d(636590, 849216, 2000)).norm(), 1e-3
        );
        // three pixels of the square and half the largest point
        EXPECT_NEAR(place.x(), 636590 + (x + 0.5 - 80) * 5, 3.5 * 5 + 2.5 * 5);
        EXPECT_NEAR(place.y(), 849216 - (y + 0.5 - 60) * 5, 3.5 * 5 + 2.5 * 5);
    }
    EXPECT_GE(hits, 4U);
}

TEST(CliPick, ThePlaneOfAGroundPatchIsTheLeastSquaresPlaneOfThePointsThere)
{
    const std::vector<Point> all = dumpAll("autzen_brotli");
    const std::vector<std::string> camera{
        "--size",
        "200x200",
        "--ortho",
        "40",
        "--eye",
        "636320,849000,1000",
        "--target",
        "636320,849000,0",
        "--up",
        "0,1,0"};
    std::vector<std::string> arguments{
        "pick",
        dataSet("autzen_brotli"),
        "--pixel",
        "100,100",
        "--tolerance",
        "100",
        "--plane",
        "--plane-threshold",
        "0.5",
        "--json"};
    arguments.insert(arguments.end(), camera.begin(), camera.end());

    const TarnelRun run = runTarnel(arguments);

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_THAT(run.errors, testing::Not(HasSubstr("is now")));
    const json picked = json::parse(run.output);
    const Eigen::Vector3d normal = vectorOf(picked.at("plane"));
    const double d = picked.at("plane")[3];
    const std::vector<Point> patch = pointsWhere(
        all,
        [&](const Point& p)
        {
            return isInBox(p, {636300, 848980, 0}, {636340, 849020, 1000}) &&
                   std::abs(normal.dot(p.position) + d) < 0.5;
        }
    );
    ASSERT_GT(patch.size(), 300U);
    Eigen::Vector3d center = Eigen::Vector3d::Zero();
    for (const Point& point : patch)
    {
        center += point.position / static_cast<double>(patch.size());
    }
    Eigen::Matrix3d scatter = Eigen::Matrix3d::Zero();
    for (const Point& point : patch)
    {
        scatter += (point.position - center) * (point.position - center).transpose();
    }
    const Eigen::Vector3d expected =
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(scatter).eigenvectors().col(0);
    constexpr double kDegree = 3.14159265358979 / 180.0;
    EXPECT_LT(std::acos(std::min(1.0, std::abs(expected.dot(normal)))), 0.1 * kDegree);
    EXPECT_LT(std::abs(normal.dot(center) + d), 0.1);  // far less than the points' spacing of about 2
    EXPECT_GT(normal.z(), 0.99);                       // towards the eye
    const Eigen::Vector3d place = vectorOf(picked.at("point"));
    EXPECT_NEAR(normal.dot(place) + d, 0.0, 1e-2);
}

TEST(CliPick, EmptySkyIsNothingThere)
{
    const TarnelRun run = runTarnel(fromAbove({"pick", dataSet("autzen_brotli"), "--pixel", "0,0"}));

    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.output, "nothing there\n");
    const TarnelRun plane = runTarnel(fromAbove(
        {"pick", dataSet("autzen_brotli"), "--pixel", "80,60", "--plane", "--threshold", "0", "--json"}
    ));
    EXPECT_EQ(plane.exitCode, 3);
    EXPECT_EQ(json::parse(plane.output).at("hit"), false);
}

TEST(CliPick, TheTextForPeopleNamesPointPlaneAndDistance)
{
    const TarnelRun run = runTarnel(
        fromAbove({"pick", dataSet("autzen_brotli"), "--pixel", "80,60", "--plane", "--threshold", "1"})
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_THAT(run.output, StartsWith("point     636"));
    EXPECT_THAT(run.errors, HasSubstr("--threshold is now --plane-threshold"));
    EXPECT_THAT(run.output, HasSubstr("\nplane     "));
    EXPECT_THAT(run.output, HasSubstr("\ndistance  15"));  // from 2000 down to 430
}

TEST(CliExportVisible, EveryExportedPointLiesOnTheSplatOfAPointOfTheDataSet)
{
    const std::vector<Point> all = dumpAll("test14_brotli");
    const TemporaryFolder folder;
    const std::filesystem::path output = folder.path() / "points.txt";
    const std::filesystem::path absolute = folder.path() / "absolute.txt";
    const auto arguments = [&](const std::filesystem::path& path)
    {
        return std::vector<std::string>{
            "export-visible",
            text(path),
            "--cloud",
            dataSet("test14_brotli"),
            "--size",
            "640x480",
            "--ortho",
            "600",
            "--max-point-size",
            "1"};
    };
    std::vector<std::string> withFlag = arguments(absolute);
    withFlag.emplace_back("--absolute");

    const TarnelRun run = runTarnel(arguments(output));
    const TarnelRun absoluteRun = runTarnel(withFlag);

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    ASSERT_EQ(absoluteRun.exitCode, 0) << absoluteRun.errors;
    const std::vector<Point> relative = parsePointText(TemporaryFolder::read(output));
    const std::vector<Point> points = parsePointText(TemporaryFolder::read(absolute));
    ASSERT_GT(points.size(), 100U);
    ASSERT_EQ(relative.size(), points.size());
    const json info = json::parse(runTarnel({"info", dataSet("test14_brotli"), "--json"}).output);
    const Eigen::Vector3d reference = vectorOf(info.at("referencePosition"));
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const Point point = nearest(all, points[i].position, 1).front();
        ASSERT_LE((point.position - points[i].position).norm(), 2.5);  // two pixels of 1.25
        // seven digits of numbers up to 500
        ASSERT_LE((relative[i].position + reference - points[i].position).cwiseAbs().maxCoeff(), 1e-4);
    }
    EXPECT_EQ(folder.entryCount(), 2U);
}

TEST(CliExportVisible, AFileThatCannotBeOpenedIsAnError)
{
    const TarnelRun run = runTarnel(
        {"export-visible", "no/such/folder/x.txt", "--cloud", dataSet("test14_brotli"), "--size", "8x8"}
    );

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.errors, HasSubstr("no/such/folder/x.txt"));
}

namespace
{
struct BadCall
{
    const char* name;
    std::vector<std::string> arguments;
    int exitCode;
    const char* message;
};

void PrintTo(const BadCall& call, std::ostream* stream)
{
    *stream << call.name;
}

BadCall badQuery(const char* name, std::vector<std::string> options, const char* message, int exitCode = 2)
{
    std::vector<std::string> arguments{"query", dataSet("test14_brotli")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return {name, arguments, exitCode, message};
}

BadCall badPick(const char* name, std::vector<std::string> options, const char* message)
{
    std::vector<std::string> arguments{"pick", dataSet("test14_brotli"), "--size", "8x8"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return {name, arguments, 2, message};
}

class CliQueryBadCall : public testing::TestWithParam<BadCall>
{
};
}  // namespace

TEST_P(CliQueryBadCall, EndsWithOneClearLineAndItsExitCode)
{
    const TarnelRun run = runTarnel(GetParam().arguments);

    EXPECT_EQ(run.exitCode, GetParam().exitCode);
    EXPECT_THAT(run.errors, StartsWith("tarnel: error: "));
    EXPECT_THAT(run.errors, HasSubstr(GetParam().message));
    EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
    EXPECT_EQ(run.output, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cli,
    CliQueryBadCall,
    testing::Values(
        badQuery("NoRegion", {}, "A region"),
        badQuery("ShortBox", {"--box", "1,2,3"}, "--box"),
        badQuery("NanBox", {"--box", "nan,0,0,1,1,1"}, "--box"),
        badQuery("NegativeRadius", {"--sphere", "1,2,3,-4"}, "below 0"),
        badQuery("PolygonWithoutHeights", {"--polygon", "p.txt"}, "--z"),
        badQuery("HeightsWithoutPolygon", {"--z", "0,1"}, "--polygon"),
        badQuery("MissingPolygon", {"--polygon", "no/p.txt", "--z", "0,1"}, "no/p.txt", 1),
        badQuery("ShortPlane", {"--clip", "1,2,3"}, "--clip"),
        badQuery("FlatPlane", {"--planes", "0,0,0,1"}, "length 0"),
        badQuery("NegativeSpacing", {"--box", "0,0,0,1,1,1", "--min-spacing", "-1"}, "--min-spacing"),
        badQuery("NanSpacing", {"--box", "0,0,0,1,1,1", "--min-spacing", "nan"}, "--min-spacing"),
        badQuery("NegativeTimeout", {"--box", "0,0,0,1,1,1", "--timeout", "-1"}, "--timeout"),
        badQuery("UnknownFormat", {"--box", "0,0,0,1,1,1", "--output", "x.xyz"}, "x.xyz"),
        badQuery(
            "UnwritableOutput", {"--box", "0,0,0,1,1,1", "--output", "no/such/x.ply"}, "no/such/x.ply", 1
        ),
        badPick("NoPixel", {}, "--pixel"),
        badPick("HalfPixel", {"--pixel", "1.5,2"}, "whole numbers"),
        badPick("NegativePixel", {"--pixel", "-1,2"}, "whole numbers"),
        badPick("NegativeTolerance", {"--pixel", "1,2", "--tolerance", "-1"}, "--tolerance"),
        badPick("PlaneWithoutThreshold", {"--pixel", "1,2", "--plane"}, "--plane-threshold"),
        badPick(
            "TwoThresholds",
            {"--pixel", "1,2", "--plane", "--threshold", "1", "--plane-threshold", "1"},
            "excludes"
        ),
        badPick("ThresholdWithoutPlane", {"--pixel", "1,2", "--threshold", "1"}, "--plane"),
        badPick(
            "NegativeThreshold",
            {"--pixel", "1,2", "--plane", "--threshold", "-1"},
            "'-1' is not a number from 0 to"
        ),
        badPick(
            "NanThreshold", {"--pixel", "1,2", "--plane", "--plane-threshold", "nan"}, "--plane-threshold"
        )
    ),
    [](const auto& call) { return std::string(call.param.name); }
);

TEST(CliQuery, HelpOfTheVerbsShowsExamples)
{
    for (const std::string verb : {"pick", "export-visible", "query"})
    {
        const TarnelRun run = runTarnel({verb, "--help"});

        EXPECT_EQ(run.exitCode, 0) << verb;
        EXPECT_THAT(run.output, HasSubstr("Examples:")) << verb;
        EXPECT_THAT(run.output, HasSubstr("tarnel " + verb)) << verb;
    }
}
