#include "core/LocalFolder.h"
#include "core/readAll.h"
#include "core/toUtf8.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace
{
using Core::LocalFolder;

TEST(LocalFolder, OpensFilesByTheirStepsFromTheFolder)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "inner");
    folder.write("inner/file.bin", "abc");

    const auto file = LocalFolder(folder.path()).open("inner/file.bin");

    EXPECT_EQ(Core::readAll(*file), "abc");
    EXPECT_EQ(file->name(), Core::toUtf8(folder.path() / "inner" / "file.bin"));
}

TEST(LocalFolder, NamesAreThoseOfTheSystem)
{
    const LocalFolder folder(std::filesystem::path("a") / "b");

    EXPECT_EQ(folder.name(), Core::toUtf8(std::filesystem::path("a") / "b"));
    EXPECT_EQ(folder.title(), "b");
    EXPECT_EQ(folder.nameOf("c/d.bin"), Core::toUtf8(std::filesystem::path("a") / "b" / "c" / "d.bin"));
}

TEST(LocalFolder, FilesHaveNamesInAnyScript)
{
    const TemporaryFolder folder;
    folder.write(std::filesystem::path(u8"größe-点.bin"), "abc");

    EXPECT_TRUE(LocalFolder(folder.path())
                    .contains("gr\xC3\xB6\xC3\x9F"
                              "e-\xE7\x82\xB9.bin"));
}

TEST(LocalFolder, KnowsWhatIsThere)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "inner");
    folder.write("file.bin", "abc");
    const LocalFolder files(folder.path());

    EXPECT_TRUE(files.contains("file.bin"));
    EXPECT_FALSE(files.contains("other.bin"));
    EXPECT_TRUE(files.mayHaveFolder("inner"));
    EXPECT_FALSE(files.mayHaveFolder("file.bin"));
    EXPECT_FALSE(files.mayHaveFolder("other"));
}

TEST(LocalFolder, AMissingFileIsAnErrorThatNamesIt)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { LocalFolder(folder.path()).open("other.bin"); }),
        testing::AllOf(testing::HasSubstr("Error: cannot open "), testing::HasSubstr("other.bin"))
    );
}

TEST(LocalFolder, NothingIsOpenedAfterAStopRequest)
{
    const TemporaryFolder folder;
    std::stop_source stop;
    stop.request_stop();

    EXPECT_EQ(LocalFolder(folder.path()).open("other.bin", stop.get_token()), nullptr);
}
}  // namespace
