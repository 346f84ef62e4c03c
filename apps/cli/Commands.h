#pragma once

#include <CLI/CLI.hpp>

namespace Cli
{
/// Each adds one verb with its options, help and action to the program. The action runs while the command
/// line is parsed; a bad value ends in CLI::ParseError, a failure of the work in std::exception.
void addSampleCommand(CLI::App& app);
void addPanoTileCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
void addDumpCommand(CLI::App& app);
void addThumbnailCommand(CLI::App& app);
void addRenderCommand(CLI::App& app);
}  // namespace Cli
