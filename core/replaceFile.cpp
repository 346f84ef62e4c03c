#include "core/replaceFile.h"

#include "core/NonCopyable.h"
#include "core/toUtf8.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace Core
{
namespace
{
struct CloseFile
{
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

OpenFile openForWriting(const std::filesystem::path& path)
{
#if defined(_WIN32)
    return OpenFile(_wfopen(path.c_str(), L"wb"));
#else
    return OpenFile(std::fopen(path.c_str(), "wb"));
#endif
}

/// A name beside the given one that nobody uses: 64 random bits do not meet twice.
std::filesystem::path temporaryName(const std::filesystem::path& path)
{
    std::random_device random;
    const std::uint64_t number = (std::uint64_t{random()} << 32U) | random();
    return path.parent_path() / ("." + std::to_string(number) + ".tmp");
}

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& reason)
{
    throw std::runtime_error("Error: cannot write " + toUtf8(path) + ": " + reason);
}

[[noreturn]] void failWithErrno(const std::filesystem::path& path)
{
    // The Windows runtime has "invalid argument" for a disk that takes only a part of the bytes.
    const bool hasReason = errno != 0 && errno != EINVAL;
    fail(
        path,
        hasReason ? std::generic_category().message(errno)
                  : "the disk does not take all of it, it may be full"
    );
}

/// Removes the file at the end of the scope.
class TemporaryFile : private NonCopyable
{
public:
    explicit TemporaryFile(std::filesystem::path path) : mPath(std::move(path)) {}

    ~TemporaryFile()
    {
        std::error_code ignored;  // also when it has taken its final name
        std::filesystem::remove(mPath, ignored);
    }

private:
    const std::filesystem::path mPath;
};
}  // namespace

void replaceFile(const std::filesystem::path& path, std::span<const std::byte> bytes)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::is_directory(status))
    {
        fail(path, "it is a folder");
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        fail(path, "it is not a file");  // a device must not be replaced by a file
    }

    const std::filesystem::path temporary = temporaryName(path);
    const TemporaryFile removedAtTheEnd(temporary);
    OpenFile file = openForWriting(temporary);
    if (!file)
    {
        fail(path, std::generic_category().message(errno));
    }
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
    {
        failWithErrno(path);
    }
    if (std::fclose(file.release()) != 0)
    {
        failWithErrno(path);
    }
    std::filesystem::rename(temporary, path, error);
    if (error)
    {
        fail(path, error.message());
    }
}
}  // namespace Core
