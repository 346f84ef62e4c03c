#include "render/gpu/Adapter.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace Render
{
namespace
{
struct Choice
{
    std::mutex mutex;
    std::string text;
};

Choice& choice()
{
    static Choice instance;
    return instance;
}

char lowerCase(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool containsInAnyCase(std::string_view text, std::string_view part)
{
    const auto isSame = [](char left, char right) { return lowerCase(left) == lowerCase(right); };
    return !part.empty() &&
           std::search(text.begin(), text.end(), part.begin(), part.end(), isSame) != text.end();
}

std::optional<std::size_t> asNumber(std::string_view text)
{
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}
}  // namespace

void setAdapter(std::string text)
{
    const std::scoped_lock lock(choice().mutex);
    choice().text = std::move(text);
}

std::string adapterChoice()
{
    {
        const std::scoped_lock lock(choice().mutex);
        if (!choice().text.empty())
        {
            return choice().text;
        }
    }
    const char* const wanted = std::getenv("TARNEL_ADAPTER");
    return wanted == nullptr ? "" : wanted;
}

std::optional<std::size_t> findAdapter(std::span<const Adapter> adapters, std::string_view choice)
{
    if (const std::optional<std::size_t> number = asNumber(choice))
    {
        return *number < adapters.size() ? number : std::nullopt;
    }
    const auto found = std::ranges::find_if(
        adapters, [&](const Adapter& adapter) { return containsInAnyCase(adapter.name, choice); }
    );
    return found == adapters.end() ? std::nullopt
                                   : std::optional(static_cast<std::size_t>(found - adapters.begin()));
}
}  // namespace Render
