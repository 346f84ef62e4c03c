// Panoramas and meshes on the command line: the verbs sample, pano-tile and render.

#include "graphics/ColorImage.h"
#include "graphics/DeepZoomPanoramaLoader.h"
#include "graphics/DepthImage.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using Math::Color;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{
constexpr Color kWhite{255, 255, 255, 255};

/// A folder with a panorama of 64 x 32 pixels, whole and cut, and with meshes.
class CliSceneItems : public testing::Test
{
public:
    std::string path(const std::string& name) const { return text(folder.path() / name); }

    void writeText(const std::string& name, const std::string& content) const
    {
        std::ofstream(folder.path() / name, std::ios::binary) << content;
    }

    /// Green ahead (+x), red to the left (+y), blue elsewhere; everything five metres away.
    void writePictures(std::uint16_t depthCode = 5 * 512) const
    {
        Graphics::ColorImage color(64, 32);
        color.fill(Color(0, 0, 255, 255));
        for (std::uint64_t y = 0; y < 32; ++y)
        {
            for (std::uint64_t x = 12; x < 36; ++x)
            {
                color.setPixel(x, y, x < 28 ? Color(255, 0, 0, 255) : Color(0, 255, 0, 255));
            }
        }
        color.writePng(folder.path() / "color.png");
        const std::vector<std::uint16_t> depth(64 * 32, depthCode);
        Graphics::writeGray16Png(folder.path() / "depth.png", 64, 32, depth);
    }

    /// Cuts the pictures into the folder "pano".
    TarnelRun tile(const std::vector<std::string>& options = {}) const
    {
        std::vector<std::string> words{
            "pano-tile", path("color.png"), path("depth.png"), path("pano"), "--tile", "32"};
        words.insert(words.end(), options.begin(), options.end());
        return runTarnel(words);
    }

    /// A plate of 2 x 2 units across the x axis, in yellow, its middle at the origin.
    void writePlate() const
    {
        writeText("plate.obj", "v 0 -1 -1 1 1 0\nv 0 1 -1 1 1 0\nv 0 1 1 1 1 0\nv 0 -1 1 1 1 0\nf 1 2 3 4\n");
    }

    /// Renders 65 x 65 pixels of 90 degrees, from the origin along x unless the options say otherwise.
    TarnelRun render(std::vector<std::string> options) const
    {
        std::vector<std::string> words{"render", path("picture.png"), "--size", "65x65"};
        const auto isGiven = [&options](const char* option)
        { return std::find(options.begin(), options.end(), option) != options.end(); };
        if (!isGiven("--ortho"))
        {
            words.insert(words.end(), {"--fov", "90"});
        }
        if (!isGiven("--eye"))
        {
            words.insert(words.end(), {"--eye", "0,0,0", "--target", "1,0,0"});
        }
        words.insert(words.end(), options.begin(), options.end());
        return runTarnel(words);
    }

    Color shown(std::uint64_t x, std::uint64_t y) const
    {
        return Graphics::ColorImage::readPng(folder.path() / "picture.png").pixel(x, y);
    }

    TemporaryFolder folder;
};

/// One line on standard error that names what is wrong.
void expectFailure(const TarnelRun& run, int exitCode, const std::string& fragment)
{
    EXPECT_EQ(run.exitCode, exitCode);
    EXPECT_THAT(run.errors, StartsWith("tarnel: error: "));
    EXPECT_THAT(run.errors, HasSubstr(fragment));
    EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
    EXPECT_EQ(run.output, "");
}
}  // namespace

TEST_F(CliSceneItems, PanoTileWritesAFolderThatIsReadAsItWasGiven)
{
    writePictures();

    const TarnelRun run = tile({"--depth-scale", "0.001", "--no-depth", "7,9"});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(run.output, path("pano") + "\n");
    Graphics::DeepZoomPanoramaLoader loader(folder.path() / "pano");
    const std::uint64_t finest = loader.numColorLevels() - 1;
    EXPECT_EQ(loader.width(finest), 64U);
    EXPECT_EQ(loader.tileWidth(finest), 32U);
    const auto tile = loader.tileIndices(finest).front();
    EXPECT_EQ(loader.colorImageTile(tile).pixel(13, 3), Color(255, 0, 0, 255));
    EXPECT_FLOAT_EQ(loader.depthImageTile(tile).pixel(13, 3), 2.56F);
    EXPECT_TRUE(loader.pose().isIdentity());
}

TEST_F(CliSceneItems, PanoTileKeepsThePoseInAllItsDigits)
{
    writePictures();

    ASSERT_EQ(tile({"--pose", "1,0,0,637000.123,0,1,0,5651000.456,0,0,1,250.789,0,0,0,1"}).exitCode, 0);

    const Graphics::DeepZoomPanoramaLoader loader(folder.path() / "pano");
    EXPECT_EQ(loader.pose()(0, 3), 637000.123);
    EXPECT_EQ(loader.pose()(1, 3), 5651000.456);
    EXPECT_EQ(loader.pose()(2, 3), 250.789);
}

TEST_F(CliSceneItems, PanoTileTakesDepthOfAnotherSize)
{
    writePictures();
    const std::vector<std::uint16_t> depth(48 * 24, 1024);
    Graphics::writeGray16Png(folder.path() / "depth.png", 48, 24, depth);

    ASSERT_EQ(tile().exitCode, 0);

    Graphics::DeepZoomPanoramaLoader loader(folder.path() / "pano");
    EXPECT_FLOAT_EQ(loader.depthImageTile(loader.tileIndices(0).front()).pixel(31, 15), 2.0F);
}

TEST_F(CliSceneItems, PanoTileNamesWhatIsWrongWithItsPictures)
{
    writePictures();
    writeText("broken.png", "no picture");

    expectFailure(
        runTarnel({"pano-tile", path("nowhere.png"), path("depth.png"), path("pano")}), 1, "nowhere.png"
    );
    expectFailure(
        runTarnel({"pano-tile", path("broken.png"), path("depth.png"), path("pano")}), 1, "broken.png"
    );
    expectFailure(
        runTarnel({"pano-tile", path("color.png"), path("color.png"), path("pano")}), 1, "color.png"
    );
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "pano" / "panorama.json"));
}

TEST_F(CliSceneItems, PanoTileRefusesBadOptions)
{
    writePictures();
    expectFailure(tile({"--tile", "0"}), 2, "--tile");
    expectFailure(tile({"--depth-scale", "0"}), 2, "--depth-scale");
    expectFailure(tile({"--depth-scale=-1"}), 2, "--depth-scale");
    expectFailure(tile({"--no-depth", "65536"}), 2, "--no-depth");
    expectFailure(tile({"--pose", "1,2,3"}), 2, "--pose");
    expectFailure(runTarnel({"pano-tile", path("color.png"), path("depth.png")}), 2, "FOLDER is required");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "pano"));
}

TEST_F(CliSceneItems, APanoramaAloneIsSeenFromItsCentreWhereItStands)
{
    writePictures();
    ASSERT_EQ(tile({"--pose", "1,0,0,637000,0,1,0,5651000,0,0,1,250,0,0,0,1"}).exitCode, 0);

    const TarnelRun run =
        runTarnel({"render", path("picture.png"), "--size", "65x65", "--fov", "90", "--pano", path("pano")});

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(shown(32, 32), Color(0, 255, 0, 255));
    EXPECT_EQ(shown(0, 32), Color(255, 0, 0, 255));
    EXPECT_EQ(shown(64, 32), Color(0, 0, 255, 255));
}

TEST_F(CliSceneItems, AMeshHidesAPanoramaAndIsHiddenByItByDistance)
{
    writePictures();
    writePlate();
    ASSERT_EQ(tile().exitCode, 0);
    const auto middleWithPlateAt = [&](const std::string& place)
    {
        const TarnelRun run =
            render({"--pano", path("pano"), "--mesh", path("plate.obj"), "--transform", place});
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return shown(32, 32);
    };

    const Color before = middleWithPlateAt("4,0,0,0,1");
    EXPECT_EQ(before.b(), 0);
    EXPECT_NEAR(before.r(), 255, 1);  // yellow, lit from the eye
    EXPECT_NEAR(before.g(), 255, 1);
    EXPECT_EQ(middleWithPlateAt("6,0,0,0,1"), Color(0, 255, 0, 255));
}

TEST_F(CliSceneItems, APanoramaThatIsFarHidesNothingOfAMesh)
{
    writePictures(0);  // nothing was measured
    writePlate();
    ASSERT_EQ(tile().exitCode, 0);

    ASSERT_EQ(
        render({"--pano", path("pano"), "--mesh", path("plate.obj"), "--transform", "3000,0,0,0,1000"})
            .exitCode,
        0
    );

    EXPECT_EQ(shown(32, 32).b(), 0);
    EXPECT_EQ(shown(32, 10), Color(0, 255, 0, 255));
}

TEST_F(CliSceneItems, UnitScaleAndTransformSizeTurnAndPlaceAMesh)
{
    writePlate();
    const auto draw = [&](const std::vector<std::string>& options)
    {
        std::vector<std::string> words{"--mesh", path("plate.obj")};
        words.insert(words.end(), options.begin(), options.end());
        const TarnelRun run = render(words);
        ASSERT_EQ(run.exitCode, 0) << run.errors;
    };

    // at x = 4 a unit is 8 pixels: the plate's half is 8 wide, at half the scale 4, at twice the scale 16
    draw({"--transform", "4,0,0,0,1"});
    EXPECT_EQ(shown(32 + 7, 32).b(), 0);
    EXPECT_EQ(shown(32 + 10, 32), kWhite);
    draw({"--unit-scale", "0.5", "--transform", "4,0,0,0,1"});
    EXPECT_EQ(shown(32 + 3, 32).b(), 0);
    EXPECT_EQ(shown(32 + 6, 32), kWhite);
    draw({"--transform", "4,0,0,0,2", "--unit-scale", "0.5"});
    EXPECT_EQ(shown(32 + 7, 32).b(), 0);
    EXPECT_EQ(shown(32 + 10, 32), kWhite);
    draw({"--transform", "4,2,0,0,1"});  // y is to the left
    EXPECT_EQ(shown(32 - 16, 32).b(), 0);
    EXPECT_EQ(shown(32, 32), kWhite);
    draw({"--transform", "4,0,0,60,1"});  // turned by 60 degrees it looks half as wide, and not less high
    EXPECT_EQ(shown(32, 32 - 7).b(), 0);
    EXPECT_EQ(shown(32 + 7, 32), kWhite);
    draw({"--transform", "1,0,0,4,0,1,0,2,0,0,1,0,0,0,0,1"});  // the matrix of 4,2,0,0,1
    EXPECT_EQ(shown(32 - 16, 32).b(), 0);
    EXPECT_EQ(shown(32, 32), kWhite);
}

TEST_F(CliSceneItems, MeshesFarFromTheOriginKeepTheirMillimetres)
{
    writePlate();

    const TarnelRun run = render(
        {"--eye",
         "637000,5651000,250",
         "--target",
         "637001,5651000,250",
         "--mesh",
         path("plate.obj"),
         "--unit-scale",
         "0.01",
         "--transform",
         "637000.04,5651000,250,0,1"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;  // a plate of 2 cm at 4 cm looks like one of 2 m at 4 m
    EXPECT_EQ(shown(32 + 7, 32).b(), 0);
    EXPECT_EQ(shown(32 + 10, 32), kWhite);
    EXPECT_EQ(shown(32 - 7, 32).b(), 0);
    EXPECT_EQ(shown(32 - 10, 32), kWhite);
}

TEST_F(CliSceneItems, AFlatSceneIsSeenStraightOn)
{
    writePlate();
    const std::vector<std::string> plate{"--mesh", path("plate.obj"), "--transform", "4,0,0,0,1"};
    for (const std::vector<std::string>& projection :
         {std::vector<std::string>{},
          {"--ortho", "8"},
          {"--ortho", "8", "--eye", "9,0,0", "--target", "10,0,0"}})
    {
        std::vector<std::string> options = plate;
        options.insert(options.end(), projection.begin(), projection.end());

        ASSERT_EQ(render(options).exitCode, 0);

        EXPECT_EQ(shown(32, 32).b(), 0) << projection.size();  // in a parallel view also from behind
        EXPECT_EQ(shown(5, 32), kWhite) << projection.size();
    }
}

TEST_F(CliSceneItems, AParallelViewShowsAMeshInAPanorama)
{
    writePictures();
    writePlate();
    ASSERT_EQ(tile().exitCode, 0);

    const TarnelRun run = render(
        {"--ortho", "8", "--pano", path("pano"), "--mesh", path("plate.obj"), "--transform", "4,0,0,0,1"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(shown(32, 32).b(), 0);
    EXPECT_NEAR(shown(32, 32).r(), 255, 1);
}

TEST_F(CliSceneItems, CloudsKeepTheirPrecisionWhateverComesFirst)
{
    writePlate();
    const std::vector<std::string> camera{
        "--eye", "636590,849216,1500", "--target", "636600,849220,400", "--up", "0,1,0"};
    const std::vector<std::string> cloud{"--cloud", dataSet("autzen_brotli")};
    const std::vector<std::string> mesh{"--mesh", path("plate.obj"), "--transform", "5,6,7,0,1"};
    const auto picture = [&](const std::vector<std::string>& first, const std::vector<std::string>& second)
    {
        std::vector<std::string> options = camera;
        options.insert(options.end(), first.begin(), first.end());
        options.insert(options.end(), second.begin(), second.end());
        const TarnelRun run = render(options);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return TemporaryFolder::read(folder.path() / "picture.png");
    };

    EXPECT_TRUE(picture(cloud, mesh) == picture(mesh, cloud));
}

TEST_F(CliSceneItems, ClippingCutsMeshesToo)
{
    writePlate();

    ASSERT_EQ(
        render({"--clip", "0,1,0,0", "--mesh", path("plate.obj"), "--transform", "4,0,0,0,1"}).exitCode, 0
    );

    EXPECT_EQ(shown(32 - 5, 32).b(), 0);  // y > 0 stays
    EXPECT_EQ(shown(32 + 5, 32), kWhite);
}

TEST_F(CliSceneItems, CloudPanoramaAndMeshesShareAPicture)
{
    writePictures();
    writePlate();
    ASSERT_EQ(tile().exitCode, 0);

    const TarnelRun run = render(
        {"--cloud",
         dataSet("test14_brotli"),
         "--pano",
         path("pano"),
         "--transform",
         "0,0,0,90,1",
         "--mesh",
         path("plate.obj"),
         "--transform",
         "4,0,0,0,1",
         "--mesh",
         path("plate.obj"),
         "--transform",
         "4,3,0,0,1"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(shown(32, 32).b(), 0);
    EXPECT_EQ(shown(32 - 24, 32).b(), 0);
    EXPECT_EQ(shown(60, 32), Color(0, 0, 255, 255));  // turned by 90 degrees: ahead is what was to the right
}

TEST_F(CliSceneItems, WrongItemsAreNamed)
{
    writePictures();
    writePlate();
    writeText("broken.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n");
    ASSERT_EQ(tile().exitCode, 0);
    writeText("pano/depth_files/6/0_0.png", "no picture");

    expectFailure(render({"--pano", path("nowhere")}), 1, "nowhere");
    expectFailure(render({"--pano", path("pano")}), 1, "0_0.png");
    expectFailure(render({"--mesh", path("nowhere.obj")}), 1, "nowhere.obj");
    const TarnelRun broken = render({"--mesh", path("broken.obj")});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.errors, HasSubstr("broken.obj"));
    EXPECT_THAT(broken.errors, HasSubstr("refers to vertex 9, but the file has 3"));
    EXPECT_THAT(broken.output, StartsWith("TinyObjReader: "));  // the reader's own warning
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "picture.png"));
}

TEST_F(CliSceneItems, WrongOptionsOfItemsAreNamed)
{
    writePlate();
    const std::string plate = path("plate.obj");
    expectFailure(render({}), 2, "One of --cloud, --pano and --mesh is required");
    expectFailure(render({"--transform", "0,0,0,0,1", "--mesh", plate}), 2, "there is no object before it");
    expectFailure(render({"--unit-scale", "2", "--mesh", plate}), 2, "there is no object before it");
    expectFailure(render({"--pano", "x", "--unit-scale", "2"}), 2, "only a mesh has one");
    expectFailure(render({"--mesh", plate, "--unit-scale", "0"}), 2, "'0' is not above 0");
    expectFailure(render({"--mesh", plate, "--unit-scale", "two"}), 2, "--unit-scale");
    expectFailure(
        render({"--mesh", plate, "--transform", "1,2,3"}), 2, "has 3 numbers, 5 or 16 are expected"
    );
    expectFailure(render({"--mesh", plate, "--transform", "1,2,3,x,1"}), 2, "--transform");
    expectFailure(render({"--mesh", plate, "--transform", "0,0,0,0,0"}), 2, "makes everything flat");
    expectFailure(render({"--mesh", plate, "--transform", "nan,0,0,0,1"}), 2, "--transform");
}

TEST_F(CliSceneItems, SampleWritesAPanoramaAndAMeshWithTheOptionsToShowThem)
{
    const TarnelRun run = runTarnel(
        {"sample", path("sample"), "--points", "20000", "--pano-width", "256", "--format", "ept-binary"}
    );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(
        run.output,
        path("sample") + "\n" + path("sample/panorama") + " --eye 637137,5651153,261.02\n" +
            path("sample/windmill.obj") + " --transform 637000,5651000,250,0,1\n"
    );
    const TarnelRun picture = runTarnel(
        {"render",
         path("picture.png"),
         "--size",
         "160x90",
         "--eye",
         "637137,5651153,261.02",
         "--target",
         "637113,5651141,262",
         "--cloud",
         path("sample"),
         "--pano",
         path("sample/panorama"),
         "--mesh",
         path("sample/windmill.obj"),
         "--transform",
         "637000,5651000,250,0,1"}
    );
    ASSERT_EQ(picture.exitCode, 0) << picture.errors;
    const Color above = shown(10, 1);  // the panorama's sky
    EXPECT_GT(above.b(), above.r() + 20);
    const Color tower = shown(80, 50);  // the mesh's boards, grey, before the green of the trees
    EXPECT_LT(std::abs(tower.g() - tower.r()), 25);
}

TEST_F(CliSceneItems, SampleLeavesBothOutWhenOnlyTheCloudIsWanted)
{
    const TarnelRun run = runTarnel({"sample", path("sample"), "--points", "1000", "--cloud-only"});

    EXPECT_EQ(run.output, path("sample") + "\n");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "sample" / "panorama"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "sample" / "windmill.obj"));
}

TEST_F(CliSceneItems, SampleRefusesPanoramasOfOddWidth)
{
    expectFailure(runTarnel({"sample", path("sample"), "--pano-width", "101"}), 2, "101 is odd");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "sample"));
}
