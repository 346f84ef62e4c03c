#pragma once

#include "core/ByteFolder.h"
#include "core/Export.h"

#include <filesystem>

namespace Core
{
/// A folder of this machine or of what is mounted on it.
class CORE_API LocalFolder final : public ByteFolder
{
public:
    /// It need not exist.
    explicit LocalFolder(std::filesystem::path path);

    std::string name() const override;
    std::string nameOf(std::string_view file) const override;
    std::string title() const override;
    std::unique_ptr<const ByteSource> open(std::string_view file, const std::stop_token& stopToken = {})
        const override;

    /// @throws std::filesystem::filesystem_error  ("exists") when the file system cannot tell
    bool contains(std::string_view file) const override;

    bool mayHaveFolder(std::string_view folder) const override;

    /// As it was given.
    const std::filesystem::path& path() const noexcept { return mPath; }

private:
    std::filesystem::path pathOf(std::string_view file) const;

    std::filesystem::path mPath;
};
}  // namespace Core
