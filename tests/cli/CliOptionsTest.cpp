// Values of options that make no sense, and what is said about them.
#include "graphics/DepthImage.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::size_t lineCount(const std::string& output)
{
    return static_cast<std::size_t>(std::count(output.begin(), output.end(), '\n'));
}

/// One line without control characters that begins as errors do.
void expectOneLine(const std::string& errors)
{
    EXPECT_THAT(errors, StartsWith("tarnel: error: "));
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.back(), '\n');
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20U; };
    EXPECT_EQ(std::count_if(errors.begin(), errors.end() - 1, isControl), 0) << errors;
    EXPECT_LT(errors.size(), 400U) << errors;
}

struct BadValue
{
    const char* name;
    std::vector<std::string> arguments;
    const char* message;
};

void PrintTo(const BadValue& value, std::ostream* stream)
{
    *stream << value.name;
}

BadValue badValue(
    const char* name, std::vector<std::string> verb, std::vector<std::string> options, const char* message
)
{
    verb.insert(verb.end(), options.begin(), options.end());
    return {name, verb, message};
}

BadValue badRender(const char* name, std::vector<std::string> options, const char* message)
{
    return badValue(
        name,
        {"render", "not-written.png", "--cloud", dataSet("test14_brotli"), "--size", "8x8"},
        std::move(options),
        message
    );
}

BadValue badQuery(const char* name, std::vector<std::string> options, const char* message)
{
    return badValue(name, {"query", dataSet("test14_brotli")}, std::move(options), message);
}

BadValue badDump(const char* name, const char* limit, const char* message)
{
    return badValue(name, {"dump", dataSet("test14_brotli"), "--limit"}, {limit}, message);
}

BadValue badThumbnail(const char* name, std::vector<std::string> options, const char* message)
{
    return badValue(
        name,
        {"thumbnail", dataSet("test14_brotli"), "--output", "no/such/x.png"},
        std::move(options),
        message
    );
}

BadValue badSample(const char* name, std::vector<std::string> options, const char* message)
{
    return badValue(name, {"sample", "no-such-folder"}, std::move(options), message);
}

BadValue badPanoTile(const char* name, std::vector<std::string> options, const char* message)
{
    return badValue(name, {"pano-tile", "no.jpg", "no.png", "no-such-folder"}, std::move(options), message);
}

class CliBadValue : public testing::TestWithParam<BadValue>
{
};
}  // namespace

TEST_P(CliBadValue, IsRefusedInOneLineThatNamesOptionValueAndRange)
{
    const TarnelRun run = runTarnel(GetParam().arguments);

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr(GetParam().message));
    expectOneLine(run.errors);
}

INSTANTIATE_TEST_SUITE_P(
    Floating,
    CliBadValue,
    testing::Values(
        badRender("NanFov", {"--fov", "nan"}, "--fov: 'nan' is not a number from 0.1 to 179"),
        badRender("WideFov", {"--fov", "180"}, "--fov: '180' is not a number from 0.1 to 179"),
        badRender("NanOrtho", {"--ortho", "nan"}, "--ortho: 'nan' is not a number from 1e-06 to 1e+09"),
        badRender("ZeroOrtho", {"--ortho", "0"}, "--ortho: '0' is not a number from 1e-06 to 1e+09"),
        badRender(
            "NanBrightness", {"--brightness", "nan"}, "--brightness: 'nan' is not a number from -100 to 100"
        ),
        badRender(
            "InfiniteContrast", {"--contrast", "inf"}, "--contrast: 'inf' is not a number from 0 to 1000"
        ),
        badRender("NegativeContrast", {"--contrast", "-1"}, "--contrast: '-1' is not a number"),
        badRender(
            "NanAutoContrast",
            {"--auto-contrast", "nan"},
            "--auto-contrast: 'nan' is not a number from 0 to 0.49"
        ),
        badRender("Opacity2", {"--opacity", "2"}, "--opacity: '2' is not a number from 0 to 1"),
        badRender("NanOpacity", {"--opacity", "NaN"}, "--opacity: 'NaN' is not a number from 0 to 1"),
        badRender(
            "InfiniteThreshold", {"--threshold", "inf"}, "--threshold: 'inf' is not a number from 0 to 1e+09"
        ),
        badRender("HugePointSize", {"--point-size", "1e300"}, "--point-size: '1e300' is not a number"),
        badRender(
            "ZeroMaxPointSize",
            {"--max-point-size", "0"},
            "--max-point-size: '0' is not a number from 1e-06 to 16384"
        ),
        badRender("NanMaxPointSize", {"--max-point-size", "nan"}, "--max-point-size: 'nan' is not a number"),
        badRender("HexadecimalFov", {"--fov", "0x20"}, "--fov: '0x20' is not a number"),
        badQuery(
            "InfiniteSpacing",
            {"--box", "0,0,0,1,1,1", "--min-spacing", "inf"},
            "--min-spacing: 'inf' is not a number from 0 to 1e+09"
        ),
        badPanoTile(
            "NanDepthScale",
            {"--depth-scale", "nan"},
            "--depth-scale: 'nan' is not a number from 1e-09 to 1000"
        ),
        badPanoTile(
            "ZeroDepthScale", {"--depth-scale", "0"}, "--depth-scale: '0' is not a number from 1e-09 to 1000"
        )
    ),
    [](const auto& value) { return std::string(value.param.name); }
);

INSTANTIATE_TEST_SUITE_P(
    Whole,
    CliBadValue,
    testing::Values(
        badDump("NegativeLimit", "-1", "--limit: '-1' is not a whole number from 0 to 18446744073709551615"),
        badDump(
            "LimitTooLarge", "18446744073709551616", "--limit: '18446744073709551616' is not a whole number"
        ),
        badDump("HexadecimalLimit", "0x10", "--limit: '0x10' is not a whole number"),
        badDump("FractionalLimit", "1.5", "--limit: '1.5' is not a whole number"),
        badDump("EmptyLimit", "", "--limit: '' is not a whole number"),
        badSample("NegativeSeed", {"--seed", "-1"}, "--seed: '-1' is not a whole number"),
        badSample("NoPoints", {"--points", "0"}, "--points: '0' is not a whole number from 1 to 100000000"),
        badSample("NegativePoints", {"--points", "-5"}, "--points: '-5' is not a whole number"),
        badThumbnail("NegativeLevel", {"--level", "-1"}, "--level: '-1' is not a whole number from 0 to 23"),
        badThumbnail(
            "NegativeWidth", {"--width", "-640"}, "--width: '-640' is not a whole number from 1 to 16384"
        ),
        badThumbnail(
            "HeightTooLarge",
            {"--height", "4294967776"},
            "--height: '4294967776' is not a whole number from 1 to 16384"
        ),
        badRender("NegativeMinLevel", {"--min-level", "-1"}, "--min-level: '-1' is not a whole number"),
        badRender("NegativeMaxLevel", {"--max-level", "-1"}, "--max-level: '-1' is not a whole number"),
        badRender(
            "NegativeBudget", {"--budget", "-1"}, "--budget: '-1' is not a whole number from 1 to 200000000"
        ),
        badQuery(
            "NegativeTimeout",
            {"--box", "0,0,0,1,1,1", "--timeout", "-1"},
            "--timeout: '-1' is not a whole number from 0 to 1000000000000"
        ),
        badQuery(
            "QueryNegativeMaxLevel",
            {"--box", "0,0,0,1,1,1", "--max-level", "-1"},
            "--max-level: '-1' is not a whole number"
        ),
        badPanoTile("NegativeTile", {"--tile", "-16"}, "--tile: '-16' is not a whole number from"),
        badPanoTile(
            "NoDepthCodeTooLarge",
            {"--no-depth", "0,65536"},
            "--no-depth: '65536' is not a whole number from 0 to 65535"
        ),
        badValue(
            "PixelWithExponent",
            {"pick", dataSet("test14_brotli"), "--size", "8x8"},
            {"--pixel", "1e0,2"},
            "--pixel: '1e0,2' is not 2 whole numbers"
        )
    ),
    [](const auto& value) { return std::string(value.param.name); }
);

INSTANTIATE_TEST_SUITE_P(
    Coordinates,
    CliBadValue,
    testing::Values(
        badQuery("HugeBox", {"--box", "0,0,0,1,1,1e300"}, "--box: 1e+300 is too large, at most 1e+15"),
        badQuery("HugeSphere", {"--sphere", "-1e300,0,0,1"}, "--sphere: -1e+300 is too large"),
        badQuery("HugeRadius", {"--sphere", "0,0,0,1e300"}, "--sphere: 1e+300 is too large"),
        badQuery("HugePlane", {"--planes", "0,0,1,1e300"}, "--planes: 1e+300 is too large"),
        badQuery("HugeHeight", {"--polygon", "no.txt", "--z", "0,1e300"}, "--z: 1e+300 is too large"),
        badQuery("FlatPlane", {"--planes", "0,0,0,1"}, "--planes: '0,0,0,1' has a normal of length 0"),
        badQuery(
            "ShortOrientedBox",
            {"--oriented-box", "0,0,0,1,1,1"},
            "--oriented-box: '0,0,0,1,1,1' is not 7 finite numbers"
        ),
        badQuery(
            "InvertedOrientedBox",
            {"--oriented-box", "0,0,0,1,-1,1,0"},
            "--oriented-box: a size of '0,0,0,1,-1,1,0' is below 0"
        ),
        badQuery("NanOrientedBox", {"--oriented-box", "0,0,0,1,1,1,nan"}, "--oriented-box"),
        badRender("FlatClip", {"--clip", "0,0,0,1"}, "--clip: '0,0,0,1' has a normal of length 0"),
        badRender("HugeEye", {"--eye", "1e300,0,0"}, "--eye: 1e+300 is too large"),
        badRender(
            "EyeAtTarget",
            {"--eye", "1694290,1816400,5600", "--target", "1694290,1816400,5600"},
            "--eye: '1694290,1816400,5600' is where --target is"
        ),
        badRender(
            "UpAlongView",
            {"--eye", "1694290,1816400,9000", "--target", "1694290,1816400,5600"},
            "--up: '0,0,1' is zero or along the direction of view"
        )
    ),
    [](const auto& value) { return std::string(value.param.name); }
);

INSTANTIATE_TEST_SUITE_P(
    FileNames,
    CliBadValue,
    testing::Values(
        badValue(
            "RenderedJpeg",
            {"render", "x.jpg"},
            {"--cloud", dataSet("test14_brotli")},
            "OUTPUT: 'x.jpg' does not end in .png"
        ),
        badValue(
            "RenderedWithoutExtension",
            {"render", "picture"},
            {"--cloud", dataSet("test14_brotli")},
            "'picture' does not end in .png"
        ),
        badRender("DepthJpeg", {"--depth", "depth.jpg"}, "--depth: 'depth.jpg' does not end in .png, .tif"),
        badValue(
            "ThumbnailJpeg",
            {"thumbnail", dataSet("test14_brotli")},
            {"--output", "x.jpg"},
            "--output: 'x.jpg' does not end in .png"
        ),
        badValue("NothingToExport", {"export-visible"}, {"no/such/x.txt"}, "--cloud, --pano and --mesh")
    ),
    [](const auto& value) { return std::string(value.param.name); }
);

TEST(CliOptions, WholeNumbersAreDecimalWhateverZerosStandBefore)
{
    const TarnelRun run = runTarnel({"dump", dataSet("test14_brotli"), "--limit", "010"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(lineCount(run.output), 10U);
}

TEST(CliOptions, ErrorsOfTheCommandLineAreOneLineWhateverItHolds)
{
    const TarnelRun verb = runTarnel({"pa\nint\x1b[31m"});
    const TarnelRun option = runTarnel({"info", dataSet("test14_brotli"), "--sp\r\need\xC2\x9B"});
    const TarnelRun value = runTarnel({"dump", dataSet("test14_brotli"), "--node", "r\n9"});

    for (const TarnelRun& run : {verb, option, value})
    {
        EXPECT_EQ(run.exitCode, 2);
        expectOneLine(run.errors);
        EXPECT_THAT(run.errors, Not(HasSubstr("\xC2\x9B")));
    }
    EXPECT_THAT(verb.errors, HasSubstr("pa int [31m"));
    EXPECT_THAT(option.errors, HasSubstr("--sp  eed"));
    EXPECT_THAT(value.errors, HasSubstr("'r 9'"));
}

TEST(CliOptions, ASizeThatTheDeviceRefusesIsNamedWithTheReason)
{
    const TemporaryFolder folder;
    const std::string output = text(folder.path() / "x.png");
    const TarnelRun picture =
        runTarnel({"render", output, "--cloud", dataSet("test14_brotli"), "--size", "16384x16384"});
    if (picture.exitCode == 0)  // a device that takes the largest size has to draw it
    {
        EXPECT_EQ(picture.output, output + "\n");
        EXPECT_GT(std::filesystem::file_size(folder.path() / "x.png"), 0U);
        return;
    }
    const TarnelRun thumbnail =
        runTarnel({"thumbnail", dataSet("test14_brotli"), "--output", output, "--size", "16384x16384"});

    for (const TarnelRun& run : {picture, thumbnail})
    {
        EXPECT_EQ(run.exitCode, 1);
        expectOneLine(run.errors);
        EXPECT_THAT(run.errors, HasSubstr("the graphics device refuses a picture of 16384 x 16384 pixels: "));
    }
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(CliDump, StopsReadingTheHierarchyAtTheLimit)
{
    // Without the files of its subtrees a hierarchy cannot be walked to its end; the root has 5 points and
    // more.
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder.path() / "cloud";
    std::filesystem::copy(
        dataSet("ept_lonestar_thin_binary"), copy, std::filesystem::copy_options::recursive
    );
    for (const auto& entry : std::filesystem::directory_iterator(copy / "ept-hierarchy"))
    {
        if (entry.path().filename() != "0-0-0-0.json")
        {
            std::filesystem::remove(entry.path());
        }
    }

    const TarnelRun all = runTarnel({"dump", text(copy), "--all"});
    const TarnelRun some = runTarnel({"dump", text(copy), "--all", "--limit", "5"});

    EXPECT_EQ(all.exitCode, 1);
    EXPECT_EQ(some.exitCode, 0) << some.errors;
    EXPECT_EQ(lineCount(some.output), 5U);
}

TEST(CliInfo, SpacingsHaveTheSameShortDigitsInTextAndJson)
{
    const std::string data = dataSet("test14_brotli");
    const TarnelRun people = runTarnel({"info", data});
    const TarnelRun json = runTarnel({"info", data, "--json"});

    ASSERT_EQ(people.exitCode, 0) << people.errors;
    ASSERT_EQ(json.exitCode, 0) << json.errors;
    const auto wordAfter = [](const std::string& output, const std::string& label)
    {
        const std::size_t found = output.find(label);
        EXPECT_NE(found, std::string::npos);
        std::istringstream stream(output.substr(found + label.size()));
        std::string word;
        stream >> word;
        return word.substr(0, word.find(','));
    };
    const std::string digits = wordAfter(people.output, "\nspacing ");
    EXPECT_LE(digits.size(), 10U);  // nine digits and the point identify a float
    EXPECT_EQ(wordAfter(json.output, "\"spacing\":"), digits);
}

TEST(CliExportVisible, TakesMeshesAndDepthAsRenderDoes)
{
    // A square of 10 units at the height of 5 with a triangle below it, seen from above by a picture of 20
    // units.
    const TemporaryFolder folder;
    const std::string mesh = text(folder.write(
        "square.obj",
        "v -5 -5 0\nv 5 -5 0\nv 5 5 0\nv -5 5 0\nv 1 1 -3\nv 2 1 -3\nv 2 2 -3\nf 1 2 3\nf 1 3 4\nf 5 6 7\n"
    ));
    const std::filesystem::path output = folder.path() / "points.txt";
    const std::filesystem::path depth = folder.path() / "depth.png";

    const TarnelRun run = runTarnel(
        {"export-visible",
         text(output),
         "--mesh",
         mesh,
         "--transform",
         "100,200,5,0,1",
         "--absolute",
         "--depth",
         text(depth),
         "--eye",
         "100,200,50",
         "--target",
         "100,200,0",
         "--up",
         "0,1,0",
         "--ortho",
         "20",
         "--size",
         "40x40"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    std::istringstream lines(TemporaryFolder::read(output));
    std::string line;
    std::getline(lines, line);
    std::size_t points = 0;
    while (std::getline(lines, line))
    {
        ++points;
        std::istringstream fields(line);
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        fields >> x >> y >> z;
        EXPECT_GE(x, 94.9);
        EXPECT_LE(x, 105.1);
        EXPECT_GE(y, 194.9);
        EXPECT_LE(y, 205.1);
        EXPECT_NEAR(z, 5.0, 0.01);
    }
    EXPECT_EQ(points, 400U);  // a quarter of the picture
    const Graphics::Gray16Image depths = Graphics::readGray16Png(depth);
    EXPECT_EQ(depths.values.size(), 1600U);
}
