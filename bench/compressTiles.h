#pragma once

#include "tests/support/lazEncoded.h"

#include <filesystem>

/// How compressTiles() writes: point format 7, coordinates in millimetres.
inline const LazOptions kLaszipTileOptions{
    .pointFormat = 7, .scale = {0.001, 0.001, 0.001}, .offset = {0, 0, 0}};

/// Adds laszip tiles to an EPT data set of binary tiles, and names them in its ept.json.
/// @throws std::runtime_error if a file cannot be read or written
void compressTiles(const std::filesystem::path& folder);
