#pragma once

#include <CLI/CLI.hpp>

namespace Cli
{
/// Adds "--adapter" to a verb that draws: what it draws with, as Render::setAdapter takes it.
void addAdapterOption(CLI::App& verb);
}  // namespace Cli
