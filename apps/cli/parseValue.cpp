#include "apps/cli/parseValue.h"

#include "apps/cli/formatNumber.h"
#include "apps/cli/readNumber.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <span>

namespace Cli
{
namespace
{
[[noreturn]] void fail(const std::string& option, std::string_view text, const std::string& expected)
{
    throw CLI::ValidationError(option, "'" + std::string(text) + "' is not " + expected);
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    for (std::size_t begin = 0;;)
    {
        const std::size_t end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end == std::string_view::npos ? end : end - begin));
        if (end == std::string_view::npos)
        {
            return parts;
        }
        begin = end + 1;
    }
}

struct NamedValue
{
    std::string_view name;
    int value;
};

constexpr NamedValue kRenderModes[] = {
    {"Default", 0},
    {"TomographicDark", 1},
    {"TomographicBright", 2},
    {"ColorizeByNormal", 3},
    {"ColorizeByPlaneDistance", 4},
    {"ColorizeByIntensity", 5},
    {"UniformColor", 6},
};

constexpr NamedValue kColorMaps[] = {
    {"Turbo", 0},
    {"Inferno", 1},
    {"Magma", 2},
    {"Viridis", 3},
    {"Plasma", 4},
    {"Gray", 5},
    {"Bone", 6},
    {"BlueWhiteRed", 7},
    {"LevelOfAccuracy", 8},
};

std::string names(std::span<const NamedValue> values)
{
    std::string result;
    for (const NamedValue& value : values)
    {
        result += (result.empty() ? "" : ", ") + std::string(value.name);
    }
    return result;
}

int parseNamed(const std::string& option, std::string_view text, std::span<const NamedValue> values)
{
    const auto sameLetter = [](char a, char b)
    { return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b)); };
    int number = -1;
    const bool isNumber = readNumber(text, number);
    for (const NamedValue& value : values)
    {
        if (std::equal(text.begin(), text.end(), value.name.begin(), value.name.end(), sameLetter) ||
            (isNumber && number == value.value))
        {
            return value.value;
        }
    }
    fail(option, text, "one of " + names(values));
}
}  // namespace

std::vector<double> parseNumbers(const std::string& option, std::string_view text, std::size_t count)
{
    const std::vector<std::string_view> parts = split(text, ',');
    std::vector<double> numbers(parts.size());
    bool isGood = parts.size() == count;
    for (std::size_t i = 0; isGood && i < parts.size(); ++i)
    {
        isGood = readNumber(parts[i], numbers[i]);
    }
    if (!isGood)
    {
        fail(
            option,
            text,
            count == 1 ? "a finite number" : std::to_string(count) + " finite numbers separated by commas"
        );
    }
    for (const double number : numbers)
    {
        if (std::abs(number) > kLargestNumber)
        {
            throw CLI::ValidationError(
                option,
                formatNumber(number) + " is too large, at most " + formatNumber(kLargestNumber) +
                    " is possible"
            );
        }
    }
    return numbers;
}

std::vector<std::uint64_t> parseWholeNumbers(
    const std::string& option, std::string_view text, std::size_t count, std::uint64_t most
)
{
    const std::vector<std::string_view> parts = split(text, ',');
    std::vector<std::uint64_t> numbers(parts.size());
    bool isGood = parts.size() == count;
    for (std::size_t i = 0; isGood && i < parts.size(); ++i)
    {
        isGood = readNumber(parts[i], numbers[i]) && numbers[i] <= most;
    }
    if (!isGood)
    {
        fail(option, text, std::to_string(count) + " whole numbers from 0 to " + std::to_string(most));
    }
    return numbers;
}

Math::Point<double, 3> parsePoint(const std::string& option, std::string_view text)
{
    const std::vector<double> numbers = parseNumbers(option, text, 3);
    return {numbers[0], numbers[1], numbers[2]};
}

Math::Color parseColor(const std::string& option, std::string_view text)
{
    std::vector<unsigned char> channels;
    bool isGood = true;
    if (!text.empty() && text.front() == '#')
    {
        isGood = text.size() == 7 || text.size() == 9;
        for (std::size_t i = 1; isGood && i < text.size(); i += 2)
        {
            channels.emplace_back();
            isGood = readNumber(text.substr(i, 2), channels.back(), 16);
        }
    }
    else
    {
        for (const std::string_view part : split(text, ','))
        {
            channels.emplace_back();
            isGood = isGood && readNumber(part, channels.back());
        }
    }
    if (!isGood || (channels.size() != 3 && channels.size() != 4))
    {
        fail(option, text, "a colour: r,g,b or r,g,b,a with 0 to 255 each, #rrggbb or #rrggbbaa");
    }
    return Math::Color(
        channels[0],
        channels[1],
        channels[2],
        channels.size() == 4 ? channels[3] : static_cast<unsigned char>(255)
    );
}

Size parseSize(const std::string& option, std::string_view text)
{
    Size size;
    const std::vector<std::string_view> parts = split(text, 'x');
    if (parts.size() != 2 || !readNumber(parts[0], size.width) || !readNumber(parts[1], size.height) ||
        size.width < 1 || size.height < 1 || size.width > kLargestSide || size.height > kLargestSide)
    {
        fail(option, text, "WIDTHxHEIGHT with 1 to " + std::to_string(kLargestSide) + " pixels each");
    }
    return size;
}

Render::RenderMode parseRenderMode(const std::string& option, std::string_view text)
{
    return static_cast<Render::RenderMode>(parseNamed(option, text, kRenderModes));
}

Render::ColorMap parseColorMap(const std::string& option, std::string_view text)
{
    return static_cast<Render::ColorMap>(parseNamed(option, text, kColorMaps));
}

std::string renderModeNames()
{
    return names(kRenderModes);
}

std::string colorMapNames()
{
    return names(kColorMaps);
}

std::filesystem::path toPath(const std::string& utf8)
{
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string toText(const std::filesystem::path& path)
{
    const std::u8string text = path.generic_u8string();
    return std::string(text.begin(), text.end());
}
}  // namespace Cli
