#include "render/platform/linux/HlslFileInclude.h"

#include "core/readLocalFile.h"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

namespace Render
{
namespace
{
/// In bytes; no shader comes near it.
constexpr std::uint64_t kLargestFile = 64ULL << 20U;
}  // namespace

HlslFileInclude::HlslFileInclude(const std::filesystem::path& source) : mFolder(source.parent_path()) {}

std::optional<std::string_view> HlslFileInclude::open(const char* name, bool, const void* parent)
{
    std::string portable = name;
    std::ranges::replace(portable, '\\', '/');
    const auto includer = mFiles.find(parent);
    const std::filesystem::path path =
        (includer == mFiles.end() ? mFolder : includer->second->folder) / portable;

    std::error_code error;
    if (!std::filesystem::exists(path, error))
    {
        return std::nullopt;
    }
    auto file = std::make_unique<File>(File{path.parent_path(), Core::readLocalFile(path, kLargestFile)});
    const std::string_view bytes = file->bytes;
    mFiles.emplace(bytes.data(), std::move(file));
    return bytes;
}

void HlslFileInclude::close(const void* data)
{
    mFiles.erase(data);
}
}  // namespace Render
