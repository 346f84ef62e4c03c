#pragma once

#include <string>

namespace Cli
{
/// What a file's name ends in, in lower case: ".png", or nothing.
std::string fileExtension(const std::string& path);

/// @throws CLI::ValidationError  naming the option and the path when it does not end in ".png"
void requirePng(const std::string& option, const std::string& path);
}  // namespace Cli
