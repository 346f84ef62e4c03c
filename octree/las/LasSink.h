#pragma once

#include <cstdint>
#include <string_view>

namespace Las
{
/// Where a file goes while it is written.
///
/// Threads  the writer's.
class LasSink
{
public:
    virtual ~LasSink() = default;

    /// Adds bytes at the end. What it throws ends the writing.
    virtual void write(std::string_view bytes) = 0;

    /// Replaces bytes that have been written.
    /// @param position  from the beginning of the file
    virtual void rewrite(std::uint64_t position, std::string_view bytes) = 0;
};
}  // namespace Las
