#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Cli
{
/// The program's arguments without its name, in UTF-8 whatever the code page.
/// @param count, words  as main() gets them; on Windows, where they are in the code page, the system is asked
std::vector<std::string> commandLineArguments(int count, const char* const* words);

/// Makes the standard streams pass bytes through unchanged: lines end in a bare line feed, text is UTF-8.
void prepareConsole();

/// True when standard error shows on a terminal.
bool isErrorStreamTerminal();

/// Writes "tarnel: error: " and the text to standard error, as one line whatever characters it has.
void printError(std::string_view text);

/// The same for what is worth knowing and no error: "tarnel: note: ".
void printNote(std::string_view text);

/// Writes to standard output.
/// @throws std::runtime_error  when it cannot be written (a full disk, a closed pipe)
void writeOutput(std::string_view text);

/// Writes out what is buffered of standard output.
/// @throws std::runtime_error  as above
void flushOutput();
}  // namespace Cli
