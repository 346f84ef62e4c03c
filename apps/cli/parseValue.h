#pragma once

#include <graphics/PictureLimits.h>
#include <math/Color.h>
#include <math/Point.h>
#include <render/renderer/ColorMap.h>
#include <render/scene/RenderMode.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Cli
{
/// Values of options from their text. Each throws CLI::ValidationError naming the option, the text and what
/// was expected.

/// Beyond this, positive or negative, no coordinate makes sense; squares and products of two such numbers
/// still fit into single precision.
inline constexpr double kLargestNumber = 1e15;

/// Numbers of at most kLargestNumber, separated by commas.
/// @param count  how many there must be
std::vector<double> parseNumbers(const std::string& option, std::string_view text, std::size_t count);

/// Whole numbers separated by commas.
/// @param count  how many there must be
/// @param most   the largest of all
std::vector<std::uint64_t> parseWholeNumbers(
    const std::string& option, std::string_view text, std::size_t count, std::uint64_t most
);

/// "x,y,z"
Math::Point<double, 3> parsePoint(const std::string& option, std::string_view text);

/// "r,g,b" or "r,g,b,a" with 0 to 255 each, or "#rrggbb" or "#rrggbbaa"
Math::Color parseColor(const std::string& option, std::string_view text);

/// Of a picture in pixels: that of textures in feature level 11.0.
inline constexpr std::uint64_t kLargestSide = Graphics::PictureLimits::kLargestSide;

/// The deepest level that options may name: that of a renderer without limit, nodes end before.
inline constexpr std::uint64_t kLargestLevel = 23;

/// Width and height of a picture in pixels, 1 to kLargestSide each.
struct Size
{
    std::uint64_t width = 1280;
    std::uint64_t height = 720;
};

/// "WIDTHxHEIGHT"
Size parseSize(const std::string& option, std::string_view text);

/// The name of an enumerator, in any case, or its number.
Render::RenderMode parseRenderMode(const std::string& option, std::string_view text);
Render::ColorMap parseColorMap(const std::string& option, std::string_view text);

/// All names, for help texts.
std::string renderModeNames();
std::string colorMapNames();

/// A path given in UTF-8.
std::filesystem::path toPath(const std::string& utf8);

/// The path in UTF-8, for messages.
std::string toText(const std::filesystem::path& path);
}  // namespace Cli
