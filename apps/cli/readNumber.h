#pragma once

#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace Cli
{
/// Reads the number that a whole text is. Whole numbers are digits of the base, with "-" before those of a
/// signed type only; floating ones are decimal and finite. Nothing may stand around them.
/// @return false for any other text, and for a number that the type cannot hold
template <class T>
bool readNumber(std::string_view text, T& value, int base = 10)
{
    const char* const end = text.data() + text.size();
    if constexpr (std::is_floating_point_v<T>)
    {
        const auto [stop, error] = std::from_chars(text.data(), end, value);
        return error == std::errc{} && stop == end && std::isfinite(value);
    }
    else
    {
        const auto [stop, error] = std::from_chars(text.data(), end, value, base);
        return error == std::errc{} && stop == end;
    }
}
}  // namespace Cli
