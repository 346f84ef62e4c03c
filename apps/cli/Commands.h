#pragma once

#include <CLI/CLI.hpp>

namespace Cli
{
/// Each adds one verb with its options, help and action to the program. The action runs while the command
/// line is parsed; a bad value ends in CLI::ParseError, a failure of the work in std::exception. A result
/// that has an exit code of its own has been printed and ends in CLI::RuntimeError with that code.
void addSampleCommand(CLI::App& app);
void addPanoTileCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
void addStatsCommand(CLI::App& app);
void addDumpCommand(CLI::App& app);
void addThumbnailCommand(CLI::App& app);
void addRenderCommand(CLI::App& app);
void addPickCommand(CLI::App& app);
void addExportVisibleCommand(CLI::App& app);
void addQueryCommand(CLI::App& app);
void addDevicesCommand(CLI::App& app);
}  // namespace Cli
