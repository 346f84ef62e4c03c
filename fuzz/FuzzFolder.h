#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Fuzz
{
/// A folder of this process for the files of its inputs, in memory where the system offers that. It goes away
/// with the object.
class FuzzFolder
{
public:
    FuzzFolder();
    ~FuzzFolder();
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;

    const std::filesystem::path& path() const noexcept { return mPath; }

    /// Replaces the content of a file, not the file: links to it see the same.
    void write(const std::string& name, std::string_view bytes) const;

private:
    std::filesystem::path mPath;
};
}  // namespace Fuzz
