#pragma once

#include <optional>
#include <string_view>

namespace Render
{
/// Finds what the include lines of HLSL name.
///
/// Threads  called on the one that compiles.
class IHlslInclude
{
public:
    virtual ~IHlslInclude() = default;

    /// Called once for each include line.
    /// @param name     as it stands in the line
    /// @param isLocal  in quotes, not in angle brackets
    /// @param parent   where the bytes of the file that has the line begin; null for the source itself
    /// @returns the bytes, which stay where they are until close; none when there is no such file
    virtual std::optional<std::string_view> open(const char* name, bool isLocal, const void* parent) = 0;

    /// Called once for each open that found a file.
    /// @param data  where its bytes begin
    virtual void close(const void* data) = 0;
};
}  // namespace Render
