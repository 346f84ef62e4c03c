#pragma once

#include <filesystem>
#include <system_error>

namespace Octree
{
/// True when there is something at the path.
/// @throws std::filesystem::filesystem_error  ("exists") when the file system cannot tell
inline bool fileExists(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::status_known(status))
    {
        throw std::filesystem::filesystem_error("exists", path, error);
    }
    return std::filesystem::exists(status);
}
}  // namespace Octree
