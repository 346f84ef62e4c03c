#include "apps/cli/Console.h"

#include "apps/cli/ClosedPipe.h"
#include "apps/cli/oneLine.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdexcept>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <fcntl.h>
#include <io.h>
//
#include <shellapi.h>
#else
#include <unistd.h>
#endif

namespace Cli
{
#if defined(_WIN32)
namespace
{
std::string toUtf8(const wchar_t* text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1)
    {
        return {};
    }
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();  // the terminating zero
    return result;
}
}  // namespace

std::vector<std::string> commandLineArguments(int, const char* const*)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (words == nullptr)
    {
        throw std::runtime_error("the command line cannot be read");
    }
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
    {
        arguments.push_back(toUtf8(words[i]));
    }
    LocalFree(static_cast<HLOCAL>(words));
    return arguments;
}

void prepareConsole()
{
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
}

bool isErrorStreamTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}
#else
std::vector<std::string> commandLineArguments(int count, const char* const* words)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
    {
        arguments.emplace_back(words[i]);
    }
    return arguments;
}

void prepareConsole()
{
    // A connection that breaks, of a server or of standard output, is met where it is written to.
    std::signal(SIGPIPE, SIG_IGN);
}

bool isErrorStreamTerminal()
{
    return isatty(STDERR_FILENO) != 0;
}
#endif

void printError(std::string_view text)
{
    std::fprintf(stderr, "tarnel: error: %s\n", oneLine(text).c_str());
    std::fflush(stderr);
}

void printNote(std::string_view text)
{
    std::fprintf(stderr, "tarnel: note: %s\n", oneLine(text).c_str());
    std::fflush(stderr);
}

namespace
{
[[noreturn]] void failOutput(int error)
{
#if defined(_WIN32)
    const bool isClosed =
        error == EPIPE || error == EINVAL;  // the run time has EINVAL for a pipe without reader
#else
    const bool isClosed = error == EPIPE;
#endif
    if (isClosed)
    {
        throw ClosedPipe();
    }
    throw std::runtime_error("standard output cannot be written");
}
}  // namespace

void writeOutput(std::string_view text)
{
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
    {
        failOutput(errno);
    }
}

void flushOutput()
{
    errno = 0;
    if (std::fflush(stdout) != 0)
    {
        failOutput(errno);
    }
}
}  // namespace Cli
