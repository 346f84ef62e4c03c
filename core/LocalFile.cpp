#include "core/LocalFile.h"

#include "core/toUtf8.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Core
{
namespace
{
/// Larger reads are split, so that a stop request ends them.
constexpr std::size_t kLargestPiece = std::size_t{1} << 26U;

[[noreturn]] void failOpen(const std::filesystem::path& path, const std::string& reason)
{
    throw std::runtime_error("Error: cannot open " + toUtf8(path) + ": " + reason);
}

#if defined(_WIN32)
std::error_code lastError()
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

void closeFile(HANDLE file) noexcept
{
    CloseHandle(file);
}
#else
std::error_code lastError()
{
    return {errno, std::generic_category()};
}

void closeFile(int file) noexcept
{
    ::close(file);
}

struct stat statusOf(int file)
{
    struct stat status = {};
    if (::fstat(file, &status) != 0)
    {
        throw std::system_error(lastError());
    }
    return status;
}
#endif
}  // namespace

#if defined(_WIN32)
LocalFile::NativeFile LocalFile::openForReading(const std::filesystem::path& path)
{
    // Others may write, rename and delete the file meanwhile, as they may on other systems.
    const HANDLE file = CreateFileW(
        path.c_str(),
        GENERIC_READ,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr,
        OPEN_EXISTING,
        FILE_ATTRIBUTE_NORMAL,
        nullptr
    );
    if (file == INVALID_HANDLE_VALUE)
    {
        throw std::system_error(lastError());
    }
    return file;
}

LocalFile::State LocalFile::stateOf(NativeFile file)
{
    LARGE_INTEGER size{};
    FILETIME written{};
    if (GetFileSizeEx(file, &size) == 0 || GetFileTime(file, nullptr, nullptr, &written) == 0)
    {
        throw std::system_error(lastError());
    }
    return {
        static_cast<std::uint64_t>(size.QuadPart),
        std::uint64_t{written.dwHighDateTime} << 32U | written.dwLowDateTime};
}

bool LocalFile::isRegular(NativeFile file)
{
    return GetFileType(file) == FILE_TYPE_DISK;
}

/// The system serves one read of such a handle at a time anyway. Moving its cursor and reading there costs
/// Wine a microsecond, a read that carries its own position seventy.
/// @return number of bytes read, 0 at the end of the file
std::size_t LocalFile::readSome(std::uint64_t offset, std::span<std::byte> out) const
{
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(offset);
    DWORD count = 0;
    const std::scoped_lock lock(mCursorMutex);
    if (SetFilePointerEx(mFile, position, nullptr, FILE_BEGIN) == 0 ||
        ReadFile(mFile, out.data(), static_cast<DWORD>(out.size()), &count, nullptr) == 0)
    {
        throw std::system_error(lastError());
    }
    return count;
}
#else
LocalFile::NativeFile LocalFile::openForReading(const std::filesystem::path& path)
{
    int file = -1;
    do
    {
        file =
            ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // a pipe without a writer must not hang
    } while (file < 0 && errno == EINTR);
    if (file < 0)
    {
        throw std::system_error(lastError());
    }
    return file;
}

LocalFile::State LocalFile::stateOf(NativeFile file)
{
    constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
    const struct stat status = statusOf(file);
    return {
        static_cast<std::uint64_t>(status.st_size),
        static_cast<std::uint64_t>(status.st_mtim.tv_sec) * kNanosecondsPerSecond +
            static_cast<std::uint64_t>(status.st_mtim.tv_nsec)};
}

bool LocalFile::isRegular(NativeFile file)
{
    return S_ISREG(statusOf(file).st_mode);
}

/// @return number of bytes read, 0 at the end of the file
std::size_t LocalFile::readSome(std::uint64_t offset, std::span<std::byte> out) const
{
    ssize_t count = -1;
    do
    {
        count = ::pread(mFile, out.data(), out.size(), static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    if (count < 0)
    {
        throw std::system_error(lastError());
    }
    return static_cast<std::size_t>(count);
}
#endif

LocalFile::LocalFile(std::filesystem::path path) : mPath(std::move(path)), mFile()
{
    // Whether it is a folder is asked only where something is wrong: tiles are opened one by one.
    const auto failAsFolderOr = [this](const std::string& reason)
    {
        std::error_code ignored;
        failOpen(mPath, std::filesystem::is_directory(mPath, ignored) ? "it is a folder" : reason);
    };
    try
    {
        mFile = openForReading(mPath);
    }
    catch (const std::system_error& error)
    {
        failAsFolderOr(error.code().message());
    }
    try
    {
        if (!isRegular(mFile))
        {
            failAsFolderOr("it is not a file");
        }
        mState = stateOf(mFile);
    }
    catch (const std::system_error& error)
    {
        closeFile(mFile);
        throw std::runtime_error(
            "Error: cannot get the size of " + toUtf8(mPath) + ": " + error.code().message()
        );
    }
    catch (...)
    {
        closeFile(mFile);
        throw;
    }
}

LocalFile::~LocalFile()
{
    closeFile(mFile);
}

std::string LocalFile::name() const
{
    return toUtf8(mPath);
}

SourceIdentity LocalFile::identity() const
{
    return {name(), std::to_string(mState.size) + "-" + std::to_string(mState.writtenAt)};
}

bool LocalFile::read(std::span<const ByteRange> ranges, const std::stop_token& stopToken) const
{
    for (const ByteRange& range : ranges)
    {
        checkPossible(range.offset, range.out.size());
        try
        {
            if (!readRange(range, stopToken))
            {
                return false;
            }
        }
        catch (const std::system_error& error)
        {
            failRead(range.offset, range.out.size(), error.code().message());
        }
    }
    if (!ranges.empty())
    {
        checkUnchanged(ranges.back());
    }
    return true;
}

bool LocalFile::readRange(const ByteRange& range, const std::stop_token& stopToken) const
{
    const auto& [offset, out] = range;
    std::size_t done = 0;
    do
    {
        if (stopToken.stop_requested())
        {
            return false;
        }
        const std::size_t piece = std::min(out.size() - done, kLargestPiece);
        const std::size_t count = piece > 0 ? readSome(offset + done, out.subspan(done, piece)) : 0;
        if (count == 0 && piece > 0)
        {
            checkUnchanged(range);
            failRead(offset, out.size(), "the file ends after " + std::to_string(offset + done) + " bytes");
        }
        done += count;
    } while (done < out.size());
    return true;
}

/// Looked at when the bytes have been read, so that they are those of the file as it was opened.
void LocalFile::checkUnchanged(const ByteRange& range) const
{
    State now;
    try
    {
        now = stateOf(mFile);
    }
    catch (const std::system_error& error)
    {
        failRead(range.offset, range.out.size(), error.code().message());
    }
    if (now != mState)
    {
        failRead(
            range.offset,
            range.out.size(),
            "the file was changed while it was open, " +
                (now.size != mState.size ? "it had " + std::to_string(mState.size) + " bytes and now has " +
                                               std::to_string(now.size)
                                         : std::string("it has another time of writing"))
        );
    }
}
}  // namespace Core
