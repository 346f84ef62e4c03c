#include "apps/cli/StatusLine.h"

#include "apps/cli/Console.h"

#include <cstdio>

namespace Cli
{
StatusLine::StatusLine() : mIsTerminal(isErrorStreamTerminal()) {}

StatusLine::~StatusLine()
{
    if (mIsOpen)
    {
        std::fputs("\r\x1b[K", stderr);  // it has done its duty
        std::fflush(stderr);
    }
}

void StatusLine::show(const std::string& text)
{
    std::fprintf(stderr, mIsTerminal ? "\r\x1b[K%s" : "%s\n", text.c_str());
    std::fflush(stderr);
    mIsOpen = mIsTerminal;
}
}  // namespace Cli
