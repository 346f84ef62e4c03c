#include "core/readLocalFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace
{
using testing::AllOf;
using testing::HasSubstr;

TEST(ReadLocalFile, GivesAllBytesUnchanged)
{
    const TemporaryFolder folder;
    const std::string bytes("line\r\nline\n\0\x1A\xFF tail", 20);

    EXPECT_EQ(Core::readLocalFile(folder.write("file.txt", bytes)), bytes);
}

TEST(ReadLocalFile, GivesNothingForAnEmptyFile)
{
    const TemporaryFolder folder;

    EXPECT_EQ(Core::readLocalFile(folder.write("file.txt", "")), "");
}

TEST(ReadLocalFile, NamesAMissingFile)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Core::readLocalFile(folder.path() / "missing.txt"); }),
        HasSubstr("missing.txt")
    );
}

TEST(ReadLocalFile, RefusesAFolder)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Core::readLocalFile(folder.path()); }),
        HasSubstr("it is a folder")
    );
}

TEST(ReadLocalFile, ReadsAFileOfTheLargestSizeAllowedAndNoneAbove)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.txt", "12345");

    EXPECT_EQ(Core::readLocalFile(path, 5), "12345");
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Core::readLocalFile(path, 4); }),
        AllOf(HasSubstr("file.txt"), HasSubstr("is too large: 5 bytes, at most 4 expected"))
    );
}

TEST(ReadLocalFile, TakesNoMemoryForAFileAboveTheLimit)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("sparse.txt", "");
    std::filesystem::resize_file(path, 1ULL << 30U);

    EXPECT_THROW(Core::readLocalFile(path, 1U << 20U), std::runtime_error);
}
}  // namespace
