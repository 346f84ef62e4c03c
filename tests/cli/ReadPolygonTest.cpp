#include "apps/cli/readPolygon.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

namespace Cli
{
namespace
{
using Corner = Math::Point<float, 2>;

std::string errorOf(const std::filesystem::path& file)
{
    return messageOf<std::runtime_error>([&] { readPolygon(file.string(), {0.0, 0.0, 0.0}); });
}
}  // namespace

TEST(ReadPolygon, CornersCountFromTheOrigin)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("p.txt", "# corners\n11 22\r\n\n 12,\t24 ;\n13 2e1").string();

    EXPECT_THAT(
        readPolygon(file, {10.0, 20.0, 0.0}), testing::ElementsAre(Corner(1, 2), Corner(2, 4), Corner(3, 0))
    );
}

TEST(ReadPolygon, PipesDevicesAndFoldersAreRefused)
{
    const TemporaryFolder folder;
    const std::filesystem::path pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

    for (const std::filesystem::path& file : {pipe, std::filesystem::path("/dev/zero"), folder.path()})
    {
        EXPECT_EQ(errorOf(file), file.string() + ": the polygon is not in a regular file");
    }
}

TEST(ReadPolygon, AMissingFileIsNamed)
{
    EXPECT_EQ(errorOf("none.txt"), "none.txt: the file of the polygon cannot be opened");
}

TEST(ReadPolygon, FilesHaveAtMostSixteenMegabytes)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.write("p.txt", "1 2\n");
    std::filesystem::resize_file(file, (16U << 20U) + 1);

    EXPECT_EQ(errorOf(file), file.string() + ": the file of the polygon has more than 16777216 bytes");
}

TEST(ReadPolygon, LinesAndTheirLengthAreBounded)
{
    const TemporaryFolder folder;
    const auto error = [&](const std::string& text) { return errorOf(folder.write("p.txt", text)); };

    EXPECT_EQ(error("1 2\n#" + std::string(999, 'x') + "\n"), "(nothing was thrown)");
    EXPECT_THAT(
        error("1 2\n#" + std::string(1000, 'x')), testing::HasSubstr("line 2 has more than 1000 characters")
    );
    EXPECT_EQ(error(std::string(100'000, '\n')), "(nothing was thrown)");
    EXPECT_THAT(error(std::string(100'001, '\n')), testing::HasSubstr("there are more than 100000 lines"));
    EXPECT_THAT(
        error("1 2\n3 \x1B[2J" + std::string(500, 'x')),
        testing::AllOf(testing::HasSubstr("line 2 is '3  [2Jxxx"), testing::Not(testing::HasSubstr("\x1B")))
    );
}
}  // namespace Cli
