#include "apps/cli/cloudLook.h"

#include "apps/cli/parseValue.h"
#include "apps/cli/readNumber.h"
#include <math/Spectrum.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Cli
{
namespace
{
constexpr std::uint64_t kLargestClass = 255;
constexpr std::uint64_t kLargestScan = 65535;
constexpr std::uint64_t kLargestIntensity = 65535;

std::vector<std::uint64_t> parseList(const std::string& option, const std::string& text, std::uint64_t most)
{
    const auto commas = static_cast<std::size_t>(std::count(text.begin(), text.end(), ','));
    return parseWholeNumbers(option, text, commas + 1, most);
}

/// "N=TEXT" with the number of a class.
std::pair<std::size_t, std::string> parseClassSetting(const std::string& option, const std::string& text)
{
    const std::size_t equals = text.find('=');
    std::uint64_t number = 0;
    if (equals == std::string::npos || equals + 1 == text.size() ||
        !readNumber(std::string_view(text).substr(0, equals), number) || number > kLargestClass)
    {
        throw CLI::ValidationError(option, "'" + text + "' is not CLASS=VALUE with a class from 0 to 255");
    }
    return {static_cast<std::size_t>(number), text.substr(equals + 1)};
}

std::pair<std::int32_t, std::int32_t> parseIntensities(const std::string& option, const std::string& text)
{
    const std::vector<std::uint64_t> limits = parseWholeNumbers(option, text, 2, kLargestIntensity);
    if (limits[0] > limits[1])
    {
        throw CLI::ValidationError(option, "'" + text + "' has its lower limit above its upper one");
    }
    return {static_cast<std::int32_t>(limits[0]), static_cast<std::int32_t>(limits[1])};
}

void color(Render::PointLook& look, const SceneOptions& options)
{
    if (options.colorBy == "class")
    {
        look.coloring = Render::PointColoring::Classification;
        look.colors = colorsOf(pointClasses(options));
    }
    else if (options.colorBy == "scan")
    {
        look.coloring = Render::PointColoring::ScanIndex;
        look.colors = Render::distinctColors();
    }
    else if (options.colorBy == "intensity")
    {
        look.coloring = Render::PointColoring::Intensity;
        const Render::ColorMap map = parseColorMap("--color-map", options.colorMap.value_or("Gray"));
        for (std::size_t i = 0; i < look.colors.size(); ++i)
        {
            look.colors[i] = colorOf(map, static_cast<float>(i) / 255.0F);
        }
    }
}

void hide(Render::PointLook& look, const SceneOptions& options)
{
    if (!options.classes.empty())
    {
        look.shownClasses.reset();
        for (const std::uint64_t number : parseList("--classes", options.classes, kLargestClass))
        {
            look.shownClasses.set(static_cast<std::size_t>(number));
        }
    }
    if (!options.hiddenClasses.empty())
    {
        for (const std::uint64_t number : parseList("--hide-classes", options.hiddenClasses, kLargestClass))
        {
            look.shownClasses.reset(static_cast<std::size_t>(number));
        }
    }
    look.showsListedScans = !options.scans.empty();
    const std::string& scans = look.showsListedScans ? options.scans : options.hiddenScans;
    if (!scans.empty())
    {
        const char* const option = look.showsListedScans ? "--scans" : "--hide-scans";
        for (const std::uint64_t number : parseList(option, scans, kLargestScan))
        {
            look.listedScans.push_back(static_cast<std::uint16_t>(number));
        }
    }
}
}  // namespace

Math::Color colorOf(Render::ColorMap map, float x)
{
    switch (map)
    {
        case Render::ColorMap::Turbo:
            return Math::Spectrum::Turbo::color(x);
        case Render::ColorMap::Inferno:
            return Math::Spectrum::Inferno::color(x);
        case Render::ColorMap::Magma:
            return Math::Spectrum::Magma::color(x);
        case Render::ColorMap::Viridis:
            return Math::Spectrum::Viridis::color(x);
        case Render::ColorMap::Plasma:
            return Math::Spectrum::Plasma::color(x);
        case Render::ColorMap::Gray:
            return Math::Spectrum::Gray::color(x);
        case Render::ColorMap::Bone:
            return Math::Spectrum::Bone::color(x);
        case Render::ColorMap::BlueWhiteRed:
            return Math::Spectrum::BlueWhiteRed::color(x);
        case Render::ColorMap::LevelOfAccuracy:
            return Math::Spectrum::LevelOfAccuracy::color(x);
    }
    return Math::Spectrum::Turbo::color(x);
}

Render::PointClasses pointClasses(const SceneOptions& options)
{
    Render::PointClasses classes = Render::asprsClasses();
    for (const std::string& text : options.classColors)
    {
        const auto [number, value] = parseClassSetting("--class-color", text);
        classes[number].color = parseColor("--class-color", value);
    }
    for (const std::string& text : options.classNames)
    {
        const auto [number, value] = parseClassSetting("--class-name", text);
        classes[number].name = value;
    }
    return classes;
}

Render::PointLook pointLook(const SceneOptions& options, const std::optional<Octree::IntensityRange>& range)
{
    Render::PointLook look;
    color(look, options);
    hide(look, options);
    if (!options.intensities.empty())
    {
        const auto [least, greatest] = parseIntensities("--intensity", options.intensities);
        look.leastIntensity = range->toByte(static_cast<std::uint16_t>(least));
        look.greatestIntensity = range->toByte(static_cast<std::uint16_t>(greatest));
    }
    return look;
}

std::optional<Octree::IntensityRange> shownIntensities(
    const SceneOptions& options, const CoarsePoints& points, bool isByIntensity
)
{
    if (!options.intensityRange.empty())
    {
        const auto [darkest, brightest] = parseIntensities("--intensity-range", options.intensityRange);
        if (darkest == brightest)
        {
            throw CLI::ValidationError("--intensity-range", "'" + options.intensityRange + "' is no range");
        }
        return Octree::IntensityRange{darkest, brightest};
    }
    if (!options.intensities.empty())
    {
        const auto [least, greatest] = parseIntensities("--intensity", options.intensities);
        return Octree::IntensityRange{least - 1, greatest + 1};
    }
    return isByIntensity ? usualIntensities(points) : std::nullopt;
}
}  // namespace Cli
