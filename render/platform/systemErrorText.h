#pragma once

#include <cstdint>
#include <string>

namespace Render
{
/// What the system calls the result of a Direct3D call, without a line end; empty when it has no text.
///
/// Threads  any.
/// @param result  an HRESULT
std::string systemErrorText(std::int32_t result);
}  // namespace Render
