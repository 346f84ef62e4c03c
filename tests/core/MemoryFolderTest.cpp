#include "core/MemoryFolder.h"
#include "core/readAll.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace
{
using Core::MemoryFolder;
using testing::HasSubstr;

class MemoryFolderTest : public testing::Test
{
protected:
    MemoryFolderTest()
    {
        files.set("a.bin", "abcdef");
        files.set("inner/b.bin", "xyz");
    }

    MemoryFolder files{"memory"};
};

TEST_F(MemoryFolderTest, FilesHoldTheBytesThatWerePutIn)
{
    EXPECT_EQ(Core::readAll(*files.open("a.bin")), "abcdef");
    EXPECT_EQ(Core::readAll(*files.open("inner/b.bin")), "xyz");
    EXPECT_EQ(files.open("a.bin")->size(), 6U);
    EXPECT_EQ(files.open("inner/b.bin")->name(), "memory/inner/b.bin");
}

TEST_F(MemoryFolderTest, OpenedSourcesKeepTheirBytes)
{
    const auto before = files.open("a.bin");

    files.set("a.bin", "new");

    EXPECT_EQ(Core::readAll(*before), "abcdef");
    EXPECT_EQ(Core::readAll(*files.open("a.bin")), "new");
    EXPECT_NE(before->identity(), files.open("a.bin")->identity());
}

TEST_F(MemoryFolderTest, KnowsWhatIsThere)
{
    EXPECT_TRUE(files.contains("inner/b.bin"));
    EXPECT_FALSE(files.contains("b.bin"));
    EXPECT_TRUE(files.mayHaveFolder("inner"));
    EXPECT_FALSE(files.mayHaveFolder("inn"));
    EXPECT_FALSE(files.mayHaveFolder("a.bin"));
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { files.open("b.bin"); }),
        "Error: cannot open memory/b.bin: there is no such file"
    );
}

TEST_F(MemoryFolderTest, SourcesReadSeveralRangesInOneCall)
{
    std::string first(2, '?');
    std::string second(1, '?');
    const std::array<Core::ByteRange, 2> ranges{
        {{4, std::as_writable_bytes(std::span(first))}, {1, std::as_writable_bytes(std::span(second))}}};

    EXPECT_TRUE(files.open("a.bin")->read(ranges, {}));

    EXPECT_EQ(first, "ef");
    EXPECT_EQ(second, "b");
}

TEST_F(MemoryFolderTest, RangesBeyondTheEndAreErrorsThatNameTheSource)
{
    const auto source = files.open("a.bin");
    std::array<std::byte, 3> out{};

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { static_cast<void>(source->readAt(4, out)); }),
        "Error: cannot read 3 bytes at 4 of memory/a.bin: the file ends after 6 bytes"
    );
    EXPECT_THROW(
        static_cast<void>(source->readAt(std::numeric_limits<std::uint64_t>::max() - 1, out)),
        std::runtime_error
    );
    EXPECT_TRUE(source->readAt(6, {}));
}

TEST_F(MemoryFolderTest, AStopRequestEndsOpeningAndReading)
{
    std::stop_source stop;
    stop.request_stop();
    std::array<std::byte, 3> out{};

    EXPECT_EQ(files.open("a.bin", stop.get_token()), nullptr);
    EXPECT_FALSE(files.open("a.bin")->readAt(0, out, stop.get_token()));
    EXPECT_EQ(Core::readAll(*files.open("a.bin"), 100, stop.get_token()), std::nullopt);
}

TEST_F(MemoryFolderTest, WhatIsLargerThanExpectedIsNotRead)
{
    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { static_cast<void>(Core::readAll(*files.open("a.bin"), 5)); }),
        "Error: memory/a.bin is too large: 6 bytes, at most 5 expected"
    );
}
}  // namespace
