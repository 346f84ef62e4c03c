#include "apps/cli/fileExtension.h"

#include "apps/cli/parseValue.h"

#include <CLI/CLI.hpp>

namespace Cli
{
std::string fileExtension(const std::string& path)
{
    std::string extension = toText(toPath(path).extension());
    for (char& c : extension)
    {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension;
}

void requirePng(const std::string& option, const std::string& path)
{
    if (fileExtension(path) != ".png")
    {
        throw CLI::ValidationError(option, "'" + path + "' does not end in .png");
    }
}
}  // namespace Cli
