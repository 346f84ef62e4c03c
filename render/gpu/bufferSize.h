#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Render
{
/// Bytes of the largest buffer that a device of feature level 11.0 may have; many allow less.
constexpr std::uint64_t kLargestBuffer = std::uint64_t{2048} << 20U;

/// The bytes of a buffer of elements.
/// @param count   0 counts as 1, since Direct3D has no empty buffers
/// @param stride  bytes of one element
/// @param what    names the buffer in the exception, such as "a budget of 500000000 points"
/// @throws std::invalid_argument  when no device can have the buffer, naming it, its size and what is allowed
std::uint32_t bufferSize(std::size_t count, std::size_t stride, const std::string& what);
}  // namespace Render
