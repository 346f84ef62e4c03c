#pragma once

#include <filesystem>

/// Uses what has to cross the borders of the DLLs: classes derived from theirs, casts to their types, their
/// exceptions caught by type, interfaces implemented outside, COM objects of this program.
/// @throws std::logic_error  naming what did not work
void checkLibraryBorders(const std::filesystem::path& dataset);
