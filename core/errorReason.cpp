#include "core/errorReason.h"

#include "core/shownText.h"

#include <cstddef>

namespace Core
{
namespace
{
constexpr std::size_t kLongestReason = 300;  // bytes; the longest of our own without quotes have 200
}  // namespace

std::string errorReason(std::string_view what)
{
    constexpr std::string_view kPrefix = "Error: ";
    while (what.starts_with(kPrefix))
    {
        what.remove_prefix(kPrefix.size());
    }
    return shownText(what, kLongestReason);
}
}  // namespace Core
