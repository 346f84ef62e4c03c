#include "core/LocalFolder.h"

#include "core/LocalFile.h"
#include "core/toUtf8.h"

#include <system_error>
#include <utility>

namespace Core
{
LocalFolder::LocalFolder(std::filesystem::path path) : mPath(std::move(path)) {}

std::filesystem::path LocalFolder::pathOf(std::string_view file) const
{
    std::filesystem::path steps(std::u8string(file.begin(), file.end()));
    return mPath / steps.make_preferred();
}

std::string LocalFolder::name() const
{
    return toUtf8(mPath);
}

std::string LocalFolder::nameOf(std::string_view file) const
{
    return toUtf8(pathOf(file));
}

std::string LocalFolder::title() const
{
    return toUtf8(mPath.filename());
}

std::unique_ptr<const ByteSource> LocalFolder::open(std::string_view file, const std::stop_token& stopToken)
    const
{
    return stopToken.stop_requested() ? nullptr : std::make_unique<const LocalFile>(pathOf(file));
}

bool LocalFolder::contains(std::string_view file) const
{
    const std::filesystem::path path = pathOf(file);
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::status_known(status))
    {
        throw std::filesystem::filesystem_error("exists", path, error);
    }
    return std::filesystem::exists(status);
}

bool LocalFolder::mayHaveFolder(std::string_view folder) const
{
    std::error_code ignored;
    return std::filesystem::is_directory(pathOf(folder), ignored);
}
}  // namespace Core
