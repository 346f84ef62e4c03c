#pragma once

#include <stdexcept>

namespace Cli
{
/// Nobody reads standard output any more, as when "head" has seen enough: no error, but the end.
class ClosedPipe : public std::runtime_error
{
public:
    /// What a shell tells of programs that the system ends for it.
    static constexpr int kExitCode = 141;

    ClosedPipe() : std::runtime_error("standard output is closed") {}
};
}  // namespace Cli
