#include "render/gpu/shaderRegistry.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <system_error>

namespace Render
{
namespace
{
/// Full path from the root to the bytes of a file, or to none for a directory.
using Table = std::map<std::string, std::optional<std::string_view>, std::less<>>;

const Table& table()
{
    static const Table entries = []
    {
        Table result;
        result.emplace("", std::nullopt);
        result.emplace("shaders", std::nullopt);
        for (const EmbeddedFile& file : embeddedShaderFiles())
        {
            result.emplace(file.path, file.bytes);
        }
        return result;
    }();
    return entries;
}

std::string normalized(std::string_view path)
{
    while (path.starts_with('/'))
    {
        path.remove_prefix(1);
    }
    while (path.ends_with('/'))
    {
        path.remove_suffix(1);
    }
    std::string result(path);
    for (auto doubled = result.find("//"); doubled != std::string::npos; doubled = result.find("//", doubled))
    {
        result.erase(doubled, 1);
    }
    return result;
}
}  // namespace

bool ShaderRegistry::exists(std::string_view path)
{
    return table().contains(normalized(path));
}

std::string_view ShaderRegistry::open(std::string_view path)
{
    const auto entry = table().find(normalized(path));
    if (entry == table().end() || !entry->second)
    {
        throw std::system_error(
            std::make_error_code(std::errc::no_such_file_or_directory), std::string(path)
        );
    }
    return *entry->second;
}

std::string_view ShaderRegistry::bytecode(std::string_view path, const ShaderProfile& profile)
{
    constexpr std::string_view kSourceEnding = ".hlsl";
    std::string name = normalized(path);
    if (!name.ends_with(kSourceEnding))
    {
        return {};
    }
    const std::string_view stage(profile.target, 2);  // "vs" of "vs_5_0"
    name.replace(name.size() - kSourceEnding.size(), std::string::npos, "." + std::string(stage) + ".cso");
    const auto files = embeddedShaderBytecode();
    const auto file = std::ranges::find(files, name, &EmbeddedFile::path);
    return file == files.end() ? std::string_view{} : file->bytes;
}
}  // namespace Render
