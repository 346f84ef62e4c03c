#include "core/PositionalFile.h"

#include "core/toUtf8.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
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
/// What the system can read in one go; larger reads are split.
constexpr std::size_t kLargestPiece = std::size_t{1} << 30U;

#if defined(_WIN32)
using NativeFile = HANDLE;

std::error_code lastError()
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

NativeFile openForReading(const std::filesystem::path& path)
{
    // Others may write, rename and delete the file meanwhile, as they may on other systems.
    const NativeFile file = CreateFileW(
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

void close(NativeFile file) noexcept
{
    CloseHandle(file);
}

bool isFile(NativeFile file)
{
    return GetFileType(file) == FILE_TYPE_DISK;
}

std::uint64_t sizeOf(NativeFile file)
{
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file, &size) == 0)
    {
        throw std::system_error(lastError());
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

/// The system serves one read of such a handle at a time anyway. Moving its cursor and reading there costs
/// Wine a microsecond, a read that carries its own position seventy.
/// @return number of bytes read, 0 at the end of the file
std::size_t readSome(NativeFile file, std::mutex& cursorMutex, std::uint64_t offset, std::span<std::byte> out)
{
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(offset);
    DWORD count = 0;
    const std::scoped_lock lock(cursorMutex);
    if (SetFilePointerEx(file, position, nullptr, FILE_BEGIN) == 0 ||
        ReadFile(file, out.data(), static_cast<DWORD>(out.size()), &count, nullptr) == 0)
    {
        throw std::system_error(lastError());
    }
    return count;
}
#else
using NativeFile = int;

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

NativeFile openForReading(const std::filesystem::path& path)
{
    NativeFile file = -1;
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

void close(NativeFile file) noexcept
{
    ::close(file);
}

bool isFile(NativeFile file)
{
    struct stat status = {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

std::uint64_t sizeOf(NativeFile file)
{
    struct stat status = {};
    if (::fstat(file, &status) != 0)
    {
        throw std::system_error(lastError());
    }
    return static_cast<std::uint64_t>(status.st_size);
}

/// @return number of bytes read, 0 at the end of the file
std::size_t readSome(
    NativeFile file,
    [[maybe_unused]] std::mutex& cursorMutex,  // no cursor moves here
    std::uint64_t offset,
    std::span<std::byte> out
)
{
    ssize_t count = -1;
    do
    {
        count = ::pread(file, out.data(), out.size(), static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    if (count < 0)
    {
        throw std::system_error(lastError());
    }
    return static_cast<std::size_t>(count);
}
#endif

std::string place(const std::filesystem::path& path, std::uint64_t offset, std::size_t length)
{
    return std::to_string(length) + " bytes at " + std::to_string(offset) + " of " + toUtf8(path);
}
}  // namespace

struct PositionalFile::Handle
{
    Handle(std::filesystem::path pathToOpen, NativeFile openFile)
        : path(std::move(pathToOpen)), file(openFile)
    {
    }

    ~Handle() { close(file); }

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    const std::filesystem::path path;
    const NativeFile file;
    std::mutex cursorMutex;  // guards the file's cursor
};

PositionalFile::PositionalFile(std::filesystem::path path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
    {
        throw std::runtime_error("Error: cannot open " + toUtf8(path) + ": it is a folder");
    }
    NativeFile file{};
    try
    {
        file = openForReading(path);
    }
    catch (const std::system_error& error)
    {
        throw std::runtime_error("Error: cannot open " + toUtf8(path) + ": " + error.code().message());
    }
    mHandle = std::make_unique<Handle>(std::move(path), file);
    if (!isFile(mHandle->file))
    {
        throw std::runtime_error("Error: cannot open " + toUtf8(mHandle->path) + ": it is not a file");
    }
}

PositionalFile::~PositionalFile() = default;
PositionalFile::PositionalFile(PositionalFile&&) noexcept = default;
PositionalFile& PositionalFile::operator=(PositionalFile&&) noexcept = default;

std::uint64_t PositionalFile::size() const
{
    try
    {
        return sizeOf(mHandle->file);
    }
    catch (const std::system_error& error)
    {
        throw std::runtime_error(
            "Error: cannot get the size of " + toUtf8(path()) + ": " + error.code().message()
        );
    }
}

void PositionalFile::readAt(std::uint64_t offset, std::span<std::byte> out) const
{
    constexpr auto kLargestOffset = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (offset > kLargestOffset || out.size() > kLargestOffset - offset)
    {
        throw std::runtime_error(
            "Error: cannot read " + place(path(), offset, out.size()) + ": no file is that long"
        );
    }
    try
    {
        std::size_t done = 0;
        while (done < out.size())
        {
            const std::size_t piece = std::min(out.size() - done, kLargestPiece);
            const std::size_t count =
                readSome(mHandle->file, mHandle->cursorMutex, offset + done, out.subspan(done, piece));
            if (count == 0)
            {
                throw std::runtime_error(
                    "Error: cannot read " + place(path(), offset, out.size()) + ": the file ends after " +
                    std::to_string(offset + done) + " bytes"
                );
            }
            done += count;
        }
    }
    catch (const std::system_error& error)
    {
        throw std::runtime_error(
            "Error: cannot read " + place(path(), offset, out.size()) + ": " + error.code().message()
        );
    }
}

const std::filesystem::path& PositionalFile::path() const noexcept
{
    return mHandle->path;
}
}  // namespace Core
