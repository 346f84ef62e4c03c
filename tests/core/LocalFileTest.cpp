#include "core/LocalFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <limits>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{
using testing::AllOf;
using testing::HasSubstr;

std::string readAt(const Core::LocalFile& file, std::uint64_t offset, std::size_t length)
{
    std::string result(length, '?');
    EXPECT_TRUE(file.readAt(offset, std::as_writable_bytes(std::span(result))));
    return result;
}

std::string openError(const std::filesystem::path& path)
{
    return messageOf<std::runtime_error>([&] { const Core::LocalFile file(path); });
}

TEST(LocalFile, ReadsAtAnyPosition)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", std::string("ab\r\ncd\0ef\x1Agh", 12)));

    EXPECT_EQ(readAt(file, 4, 2), "cd");
    EXPECT_EQ(readAt(file, 0, 4), "ab\r\n");
    EXPECT_EQ(readAt(file, 6, 6), std::string("\0ef\x1Agh", 6));
    EXPECT_EQ(file.size(), 12U);
}

TEST(LocalFile, KnowsItsPath)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.bin", "x");

    EXPECT_EQ(Core::LocalFile(path).path(), path);
}

TEST(LocalFile, ReadsNothingAtTheEnd)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", "abc"));

    EXPECT_TRUE(file.readAt(3, {}));
}

TEST(LocalFile, SaysWhatItCouldNotReadPastTheEnd)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", "abcdef"));

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readAt(file, 4, 3); }),
        AllOf(HasSubstr("3 bytes at 4 of "), HasSubstr("file.bin"), HasSubstr("the file ends after 6 bytes"))
    );
    EXPECT_THROW(readAt(file, 6, 1), std::runtime_error);
    EXPECT_THROW(readAt(file, 1000, 1), std::runtime_error);
}

TEST(LocalFile, RefusesPositionsThatNoFileHas)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", "abcdef"));
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

    for (const std::uint64_t offset : {kLargest, kLargest - 1, kLargest / 2, kLargest / 2 + 1})
    {
        EXPECT_THROW(readAt(file, offset, 2), std::runtime_error) << offset;
    }
}

TEST(LocalFile, ReadsBeyondFourGigabytes)
{
    constexpr std::uint64_t kFar = 5ULL << 30U;
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("sparse.bin", "near");
    std::filesystem::resize_file(path, kFar);
    {
        std::ofstream stream(path, std::ios::binary | std::ios::app);
        stream << "far";
    }
    const Core::LocalFile file(path);

    EXPECT_EQ(file.size(), kFar + 3);
    EXPECT_EQ(readAt(file, kFar, 3), "far");
    EXPECT_EQ(readAt(file, kFar - 2, 4), std::string("\0\0fa", 4));
}

TEST(LocalFile, NamesAMissingFile)
{
    const TemporaryFolder folder;

    EXPECT_THAT(
        openError(folder.path() / "missing.bin"), AllOf(HasSubstr("cannot open"), HasSubstr("missing.bin"))
    );
}

TEST(LocalFile, GivesTheSystemsReason)
{
    const TemporaryFolder folder;
    const std::string message = openError(folder.path() / "missing.bin");

    const std::string reason =
        message.substr(message.find("missing.bin") + std::string(": missing.bin").size() - 1);
    EXPECT_THAT(reason, AllOf(testing::Not(testing::IsEmpty()), testing::Not(HasSubstr("Unknown"))));
}

TEST(LocalFile, RefusesAFolder)
{
    const TemporaryFolder folder;

    EXPECT_THAT(openError(folder.path()), HasSubstr("it is a folder"));
}

#if !defined(_WIN32)
TEST(LocalFile, RefusesAPipeWithoutWaitingForItsWriter)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);

    EXPECT_THAT(openError(path), HasSubstr("it is not a file"));
}
#endif

TEST(LocalFile, OpensANameInAnyScript)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write(std::filesystem::path(u8"größe-点-🌲.bin"), "abc"));

    EXPECT_EQ(readAt(file, 1, 2), "bc");
}

TEST(LocalFile, AFileThatShrankIsAnErrorThatSaysSo)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.bin", std::string(10000, 'x'));
    const Core::LocalFile file(path);

    std::filesystem::resize_file(path, 100);

    for (const std::uint64_t offset : {0U, 50U, 500U})
    {
        EXPECT_THAT(
            messageOf<std::runtime_error>([&] { readAt(file, offset, 100); }),
            AllOf(
                HasSubstr("file.bin: the file was changed while it was open"),
                HasSubstr("it had 10000 bytes and now has 100")
            )
        ) << offset;
    }
}

TEST(LocalFile, AFileThatGrewIsAnErrorThatSaysSo)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.bin", "abc");
    const Core::LocalFile file(path);

    std::ofstream(path, std::ios::binary | std::ios::app) << "def";

    EXPECT_EQ(file.size(), 3U);
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readAt(file, 0, 3); }),
        HasSubstr("the file was changed while it was open, it had 3 bytes and now has 6")
    );
}

TEST(LocalFile, AFileThatWasWrittenAnewIsAnErrorThatSaysSo)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.bin", "abc");
    const Core::LocalFile file(path);
    ASSERT_EQ(readAt(file, 0, 3), "abc");

    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(2));

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readAt(file, 0, 3); }),
        HasSubstr("the file was changed while it was open, it has another time of writing")
    );
}

TEST(LocalFile, ReadsSeveralRangesInOneCall)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", "abcdef"));
    std::string first(2, '?');
    std::string second(3, '?');
    const std::array<Core::ByteRange, 2> ranges{
        {{4, std::as_writable_bytes(std::span(first))}, {0, std::as_writable_bytes(std::span(second))}}};

    EXPECT_TRUE(file.read(ranges, {}));

    EXPECT_EQ(first, "ef");
    EXPECT_EQ(second, "abc");
}

TEST(LocalFile, AStopRequestEndsARead)
{
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", "abcdef"));
    std::stop_source stop;
    stop.request_stop();
    std::string bytes(2, '?');

    EXPECT_FALSE(file.readAt(0, std::as_writable_bytes(std::span(bytes)), stop.get_token()));
}

TEST(LocalFile, IdentityTellsVersionsApart)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.bin", "abc");
    const Core::SourceIdentity before = Core::LocalFile(path).identity();
    EXPECT_EQ(Core::LocalFile(path).identity(), before);

    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(2));

    const Core::SourceIdentity after = Core::LocalFile(path).identity();
    EXPECT_EQ(after.name, before.name);
    EXPECT_NE(after.version, before.version);
}

TEST(LocalFile, StillReadsAFileThatWasDeleted)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("file.bin", "abc");
    const Core::LocalFile file(path);

    ASSERT_TRUE(std::filesystem::remove(path));

    EXPECT_EQ(readAt(file, 0, 3), "abc");
}

TEST(LocalFile, ServesSeveralThreadsAtOnce)
{
    constexpr std::size_t kBlockSize = 1000;
    constexpr std::size_t kBlockCount = 64;
    constexpr std::size_t kThreadCount = 4;
    std::string bytes;
    for (std::size_t block = 0; block < kBlockCount; ++block)
    {
        bytes.append(kBlockSize, static_cast<char>('0' + block));
    }
    const TemporaryFolder folder;
    const Core::LocalFile file(folder.write("file.bin", bytes));
    std::atomic<bool> allRight{true};
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreadCount; ++thread)
    {
        threads.emplace_back(
            [&, thread]
            {
                for (std::size_t i = 0; i < 20 * kBlockCount; ++i)
                {
                    const std::size_t block = (i * (2 * thread + 1)) % kBlockCount;
                    const std::string expected(kBlockSize, static_cast<char>('0' + block));
                    if (readAt(file, block * kBlockSize, kBlockSize) != expected)
                    {
                        allRight = false;
                    }
                }
            }
        );
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_TRUE(allRight);
}
}  // namespace
