#pragma once

#include <filesystem>

/// The folder tests/data of the sources.
std::filesystem::path testData();
