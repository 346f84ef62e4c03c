#pragma once

#include "render/platform/linux/IHlslInclude.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace Render
{
/// Reads included files from the folder of the file that includes them.
///
/// Names may have slashes of both kinds. Regular files only, of 64 MiB at most.
/// Threads  one object for each compilation.
class HlslFileInclude final : public IHlslInclude
{
public:
    /// @param source  path of the file that is compiled
    explicit HlslFileInclude(const std::filesystem::path& source);

    /// @throws std::runtime_error  naming the file, when it exists but cannot be read
    std::optional<std::string_view> open(const char* name, bool isLocal, const void* parent) override;

    void close(const void* data) override;

private:
    struct File
    {
        std::filesystem::path folder;
        std::string bytes;
    };

    std::filesystem::path mFolder;
    std::map<const void*, std::unique_ptr<File>> mFiles;  // the open ones by where their bytes begin
};
}  // namespace Render
