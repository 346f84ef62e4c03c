#include "apps/cli/OutputFile.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace Cli
{
TEST(OutputFile, TakesItsNameOnlyWhenItIsComplete)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("points.txt", "old");

    OutputFile file(path);
    file.write("header ?\nbody");
    file.rewrite(7, "2");
    EXPECT_EQ(TemporaryFolder::read(path), "old");
    file.commit();

    EXPECT_EQ(TemporaryFolder::read(path), "header 2\nbody");
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(OutputFile, WithoutCommitNothingIsLeft)
{
    const TemporaryFolder folder;

    {
        OutputFile file(folder.path() / "points.txt");
        file.write("something");
    }

    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(OutputFile, AFullDiskIsAnErrorThatLeavesTheOlderFileAndNothingElse)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("points.txt", "old");
    const std::string bytes(100'000, 'x');

    const std::string message = messageOf<std::runtime_error>(
        [&]
        {
            const FileSizeLimit limit(150'000);
            OutputFile file(path);
            file.write(bytes);
            file.write(bytes);
            file.commit();
        }
    );

    EXPECT_THAT(message, testing::HasSubstr("points.txt"));
    EXPECT_EQ(TemporaryFolder::read(path), "old");
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(OutputFile, ADiskThatIsFullAtTheLastBytesIsAnErrorToo)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / "points.txt";

    const std::string message = messageOf<std::runtime_error>(
        [&]
        {
            const FileSizeLimit limit(10);
            OutputFile file(path);
            file.write("twelve bytes");  // buffered until the end
            file.commit();
        }
    );

    EXPECT_THAT(message, testing::HasSubstr("points.txt"));
    EXPECT_EQ(folder.entryCount(), 0U);
}
}  // namespace Cli
