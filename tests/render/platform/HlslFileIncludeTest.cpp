#include "render/platform/linux/HlslFileInclude.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>

namespace
{
using Render::HlslFileInclude;
using testing::AllOf;
using testing::HasSubstr;

TEST(HlslFileInclude, NamesAreRelativeToTheSource)
{
    const TemporaryFolder folder;
    folder.write("part.hlsl", "content");
    HlslFileInclude include(folder.path() / "main.hlsl");

    EXPECT_EQ(include.open("part.hlsl", true, nullptr), "content");
}

TEST(HlslFileInclude, NamesInAnIncludedFileAreRelativeToThatFile)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "parts");
    folder.write("parts/one.hlsl", "one");
    folder.write("parts/two.hlsl", "two");
    HlslFileInclude include(folder.path() / "main.hlsl");
    const auto one = include.open("parts/one.hlsl", true, nullptr);

    ASSERT_TRUE(one.has_value());
    EXPECT_EQ(include.open("two.hlsl", true, one->data()), "two");
    EXPECT_EQ(include.open("two.hlsl", true, nullptr), std::nullopt);
}

TEST(HlslFileInclude, BackslashesSeparateFoldersToo)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "parts");
    folder.write("parts/one.hlsl", "one");
    HlslFileInclude include(folder.path() / "main.hlsl");

    EXPECT_EQ(include.open("parts\\one.hlsl", false, nullptr), "one");
}

TEST(HlslFileInclude, EmptyFilesAreFound)
{
    const TemporaryFolder folder;
    folder.write("empty.hlsl", "");
    HlslFileInclude include(folder.path() / "main.hlsl");

    EXPECT_EQ(include.open("empty.hlsl", true, nullptr), "");
}

TEST(HlslFileInclude, FilesOpenTwiceAreIndependent)
{
    const TemporaryFolder folder;
    folder.write("part.hlsl", "a content that is too long to be kept inside of a string");
    HlslFileInclude include(folder.path() / "main.hlsl");
    const auto first = include.open("part.hlsl", true, nullptr);
    const auto second = include.open("part.hlsl", true, nullptr);
    ASSERT_TRUE(first.has_value());

    include.close(first->data());

    EXPECT_EQ(second, "a content that is too long to be kept inside of a string");
}

TEST(HlslFileInclude, FoldersAndPipesAreErrorsThatNameThem)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "parts");
    ASSERT_EQ(mkfifo((folder.path() / "pipe.hlsl").c_str(), 0600), 0);
    HlslFileInclude include(folder.path() / "main.hlsl");

    for (const char* const name : {"parts", "pipe.hlsl"})
    {
        EXPECT_THAT(
            messageOf<std::runtime_error>([&] { (void)include.open(name, true, nullptr); }), HasSubstr(name)
        );
    }
}

TEST(HlslFileInclude, AFileOfMoreThan64MebibytesIsAnErrorThatNamesIt)
{
    const TemporaryFolder folder;
    const std::uintmax_t limit = 64U << 20U;
    std::filesystem::resize_file(folder.write("large.hlsl", ""), limit + 1);
    HlslFileInclude include(folder.path() / "main.hlsl");

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { (void)include.open("large.hlsl", true, nullptr); }),
        AllOf(HasSubstr("large.hlsl"), HasSubstr("too large"))
    );
}
}  // namespace
