#include "apps/cli/OutputFile.h"

#include "apps/cli/parseValue.h"

#include <cerrno>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Cli
{
OutputFile::OutputFile(const std::filesystem::path& path) : mPath(path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        fail("it is not a file");  // nor may a device be replaced by one
    }
    std::random_device random;
    const std::uint64_t number = (std::uint64_t{random()} << 32U) | random();
    mTemporaryPath = path.parent_path() / ("." + std::to_string(number) + ".tmp");
    errno = 0;
    mStream.open(mTemporaryPath, std::ios::binary);
    if (!mStream)
    {
        fail(std::generic_category().message(errno));
    }
}

OutputFile::~OutputFile()
{
    mStream.close();
    std::error_code ignored;  // it is gone when it has taken its final name
    std::filesystem::remove(mTemporaryPath, ignored);
}

void OutputFile::write(std::string_view bytes)
{
    errno = 0;
    mStream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    check();
}

void OutputFile::rewrite(std::uint64_t offset, std::string_view bytes)
{
    errno = 0;
    mStream.seekp(static_cast<std::streamoff>(offset));
    mStream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    mStream.seekp(0, std::ios::end);
    check();
}

void OutputFile::commit()
{
    errno = 0;
    mStream.close();
    check();
    std::error_code error;
    std::filesystem::rename(mTemporaryPath, mPath, error);
    if (error)
    {
        fail(error.message());
    }
}

void requireWritable(const std::filesystem::path& path)
{
    const OutputFile file(path);
}

void OutputFile::fail(const std::string& reason) const
{
    throw std::runtime_error("cannot write " + toText(mPath) + ": " + reason);
}

void OutputFile::check() const
{
    if (!mStream)
    {
        // The Windows runtime has "invalid argument" for a disk that takes only a part of the bytes.
        const bool hasReason = errno != 0 && errno != EINVAL;
        fail(
            hasReason ? std::generic_category().message(errno)
                      : "the disk does not take all of it, it may be full"
        );
    }
}
}  // namespace Cli
