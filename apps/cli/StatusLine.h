#pragma once

#include <string>

namespace Cli
{
/// A line on standard error about work that is going on: on a terminal it is drawn over again and goes when the
/// work is done; elsewhere each is a line of its own.
///
/// Threads  one thread at a time.
class StatusLine
{
public:
    StatusLine();

    /// Takes away what a terminal shows.
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    bool isTerminal() const noexcept { return mIsTerminal; }

    void show(const std::string& text);

private:
    bool mIsTerminal;
    bool mIsOpen = false;
};
}  // namespace Cli
