#include "core/replaceFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <stdexcept>
#include <string>

#if !defined(_WIN32)
#include "tests/support/FileSizeLimit.h"
#endif

namespace
{
using testing::AllOf;
using testing::HasSubstr;

void replace(const std::filesystem::path& path, const std::string& bytes)
{
    Core::replaceFile(path, std::as_bytes(std::span(bytes)));
}

TEST(ReplaceFile, WritesANewFileAndNothingElse)
{
    const TemporaryFolder folder;
    const std::string bytes("a\r\nb\n\0c", 7);

    replace(folder.path() / "file.txt", bytes);

    EXPECT_EQ(TemporaryFolder::read(folder.path() / "file.txt"), bytes);
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(ReplaceFile, TakesThePlaceOfAnOlderFile)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.txt", "a longer old text");

    replace(path, "new");

    EXPECT_EQ(TemporaryFolder::read(path), "new");
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(ReplaceFile, WritesAnEmptyFile)
{
    const TemporaryFolder folder;

    replace(folder.path() / "file.txt", "");

    EXPECT_EQ(std::filesystem::file_size(folder.path() / "file.txt"), 0U);
}

TEST(ReplaceFile, WritesANameInAnyScript)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / std::filesystem::path(u8"größe-点-🌲.txt");

    replace(path, "abc");

    EXPECT_EQ(TemporaryFolder::read(path), "abc");
}

TEST(ReplaceFile, NamesAPathInAFolderThatDoesNotExist)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { replace(folder.path() / "none" / "file.txt", "abc"); }),
        AllOf(HasSubstr("cannot write"), HasSubstr("file.txt"), HasSubstr("No such file or directory"))
    );
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(ReplaceFile, DoesNotReplaceAFolder)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "name");

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { replace(folder.path() / "name", "abc"); }),
        HasSubstr("it is a folder")
    );
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "name"));
    EXPECT_EQ(folder.entryCount(), 1U);
}

#if !defined(_WIN32)
TEST(ReplaceFile, DoesNotReplaceADevice)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>([] { replace("/dev/null", "abc"); }), HasSubstr("it is not a file")
    );
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(ReplaceFile, AFullDiskIsAnErrorThatLeavesTheOlderFileAndNothingElse)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.txt", "old");
    for (const std::size_t size :
         {std::size_t{1'000'000}, std::size_t{1500}})  // fails at once, and when closed
    {
        const std::string message = messageOf<std::runtime_error>(
            [&]
            {
                const FileSizeLimit limit(1000);
                replace(path, std::string(size, 'x'));
            }
        );

        EXPECT_THAT(message, AllOf(HasSubstr("cannot write "), HasSubstr("file.txt: ")));
        EXPECT_EQ(TemporaryFolder::read(path), "old");
        EXPECT_EQ(folder.entryCount(), 1U);
    }
}
#endif
}  // namespace
