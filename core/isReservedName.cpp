#include "core/isReservedName.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace Core
{
bool isReservedName(std::string_view name)
{
    if (name.ends_with('.') || name.ends_with(' '))
    {
        return true;
    }
    std::string_view stem = name.substr(0, name.find('.'));
    stem = stem.substr(0, stem.find_last_not_of(' ') + 1);  // blanks before the extension do not count either
    std::string upper(stem);
    std::ranges::transform(
        upper,
        upper.begin(),
        [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
    );
    constexpr std::array<std::string_view, 6> kDevices{"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
    if (std::ranges::find(kDevices, upper) != kDevices.end())
    {
        return true;
    }
    constexpr std::size_t kPortNameLength = 3;
    constexpr std::array<std::string_view, 13> kPortNumbers{
        "0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "\u00B9", "\u00B2", "\u00B3"};  // superscripts, too
    return (upper.starts_with("COM") || upper.starts_with("LPT")) &&
           std::ranges::find(kPortNumbers, std::string_view(upper).substr(kPortNameLength)) !=
               kPortNumbers.end();
}
}  // namespace Core
