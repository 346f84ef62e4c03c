#include "apps/cli/sceneLegend.h"

#include "apps/cli/cloudLook.h"
#include "apps/cli/parseValue.h"
#include <graphics/ColorImage.h>
#include <octree/IntensityRange.h>
#include <render/scene/RenderMode.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

namespace Cli
{
namespace
{
constexpr std::size_t kValues = 256;
constexpr Octree::IntensityRange kUpperBytes{0, 65535};

using Colors = std::array<Math::Color, kValues>;

/// A colour as brightness and contrast of the picture change it.
Math::Color adjusted(const Math::Color& color, const Render::Renderer& renderer)
{
    if (renderer.renderMode() != Render::RenderMode::Default)
    {
        return color;
    }
    const auto channel = [&](unsigned char code)
    {
        const float value =
            renderer.contrast() * (static_cast<float>(code) / 255.0F + renderer.brightness() - 0.5F) + 0.5F;
        return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
    };
    return Math::Color(channel(color.r()), channel(color.g()), channel(color.b()), color.a());
}

Colors mapColors(Render::ColorMap map)
{
    Colors colors;
    for (std::size_t i = 0; i < kValues; ++i)
    {
        colors[i] = colorOf(map, static_cast<float>(i) / 255.0F);
    }
    return colors;
}

/// The last part of a path or an address, which names a cloud well enough.
std::string shortName(const std::string& name)
{
    const std::size_t last = name.find_last_not_of("/\\");
    if (last == std::string::npos)
    {
        return name;
    }
    const std::size_t slash = name.find_last_of("/\\", last);
    const std::size_t first = slash == std::string::npos ? 0 : slash + 1;
    return name.substr(first, last + 1 - first);
}

/// Classes or scan indices, modulo 256, of the points that the picture shows.
std::bitset<kValues> seenValues(const LegendScene& scene, Render::PointColoring coloring)
{
    Render::Renderer& renderer = scene.renderer;
    const Math::Color background = renderer.backgroundColor();
    const bool isTransparent = renderer.hasTransparentBackground();
    const Render::EyeDomeLighting lighting = renderer.eyeDomeLighting();
    const float brightness = renderer.brightness();
    const float contrast = renderer.contrast();
    const float opacity = renderer.opacity();
    renderer.setBackgroundColor(Math::Color(0, 0, 0, 0));
    renderer.setTransparentBackground(true);
    renderer.setEyeDomeLighting({});
    renderer.setBrightness(0.0F);
    renderer.setContrast(1.0F);
    renderer.setOpacity(1.0F);
    for (const auto& other : scene.others)
    {
        other->setVisible(false);
    }
    std::vector<Render::PointLook> looks;
    std::vector<bool> boxes;
    for (const LegendScene::Cloud& cloud : scene.clouds)
    {
        Render::PointLook look = cloud.renderable->look();
        looks.push_back(look);
        boxes.push_back(cloud.renderable->showBoundingBoxes());
        look.coloring = coloring;
        for (std::size_t i = 0; i < kValues; ++i)
        {
            look.colors[i].set(static_cast<unsigned char>(i), 0, 0, 255);
        }
        cloud.renderable->setLook(look);
        cloud.renderable->setShowBoundingBoxes(false);
    }

    renderer.render();
    Graphics::ColorImage image;
    renderer.getColorImage(image);
    std::bitset<kValues> values;
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            const Math::Color pixel = image.pixel(x, y);
            if (pixel.a() != 0)
            {
                values.set(pixel.r());
            }
        }
    }

    for (std::size_t i = 0; i < scene.clouds.size(); ++i)
    {
        scene.clouds[i].renderable->setLook(looks[i]);
        scene.clouds[i].renderable->setShowBoundingBoxes(boxes[i]);
    }
    for (const auto& other : scene.others)
    {
        other->setVisible(true);
    }
    renderer.setOpacity(opacity);
    renderer.setContrast(contrast);
    renderer.setBrightness(brightness);
    renderer.setEyeDomeLighting(lighting);
    renderer.setTransparentBackground(isTransparent);
    renderer.setBackgroundColor(background);
    return values;
}

Legend::List seenClasses(const LegendScene& scene, const SceneOptions& options)
{
    const Render::PointClasses classes = pointClasses(options);
    const std::bitset<kValues> seen = seenValues(scene, Render::PointColoring::Classification);
    Legend::List list{"Class", {}};
    for (std::size_t i = 0; i < kValues; ++i)
    {
        if (seen.test(i))
        {
            list.swatches.push_back(
                {adjusted(classes[i].color, scene.renderer), std::to_string(i) + " " + classes[i].name}
            );
        }
    }
    return list;
}

Legend::List seenScans(const LegendScene& scene)
{
    const Colors colors = Render::distinctColors();
    const std::bitset<kValues> seen = seenValues(scene, Render::PointColoring::ScanIndex);
    Legend::List list{"Scan", {}};
    for (std::size_t i = 0; i < kValues; ++i)
    {
        if (seen.test(i))
        {
            list.swatches.push_back({adjusted(colors[i], scene.renderer), std::to_string(i)});
        }
    }
    return list;
}

/// One for each range that a cloud's intensities are spread over.
void explainIntensities(Legend& legend, const LegendScene& scene, const Colors& colors, bool isOfAll)
{
    std::vector<std::pair<Octree::IntensityRange, std::string>> ranges;
    for (const LegendScene::Cloud& cloud : scene.clouds)
    {
        if (isOfAll || !cloud.hasColors)
        {
            ranges.emplace_back(
                cloud.renderable->intensityRange().value_or(kUpperBytes), shortName(cloud.renderable->name())
            );
        }
    }
    const bool isOne =
        std::ranges::all_of(ranges, [&](const auto& range) { return range.first == ranges.front().first; });
    if (isOne && !ranges.empty())
    {
        ranges.resize(1);
    }
    for (const auto& [range, name] : ranges)
    {
        Legend::Ramp ramp;
        ramp.title = isOne ? "Intensity" : "Intensity of " + name;
        for (const Math::Color& color : colors)
        {
            ramp.colors.push_back(adjusted(color, scene.renderer));
        }
        ramp.least = std::to_string(std::max(range.darkest, 0));
        ramp.greatest = std::to_string(std::min(range.brightest, 65535));
        legend.ramps.push_back(std::move(ramp));
    }
}

void explainHeights(Legend& legend, const LegendScene& scene, const SceneOptions& options)
{
    const Math::Point<double, 3>& from = scene.colorizeFrom;
    const Math::Point<double, 3>& to = scene.colorizeTo;
    const Colors colors = mapColors(parseColorMap("--color-map", options.colorMap.value_or("Turbo")));
    const double length = std::hypot(to.x - from.x, to.y - from.y, to.z - from.z);
    const bool isHeight = from.x == to.x && from.y == to.y;
    Legend::Ramp ramp;
    ramp.title = (isHeight ? "Height, " : "Distance, ") + options.unit;
    ramp.colors.assign(colors.begin(), colors.end());
    ramp.least = isHeight ? roundedText(from.z, length) : "0";
    ramp.greatest = roundedText(isHeight ? to.z : length, length);
    legend.ramps.push_back(std::move(ramp));
}

void explainUniformColors(Legend& legend, const LegendScene& scene)
{
    Legend::List list{"Cloud", {}};
    for (const LegendScene::Cloud& cloud : scene.clouds)
    {
        list.swatches.push_back({cloud.renderable->uniformColor(), shortName(cloud.renderable->name())});
    }
    legend.lists.push_back(std::move(list));
}

void explainColors(Legend& legend, const LegendScene& scene, const SceneOptions& options)
{
    const Render::RenderMode mode = scene.renderer.renderMode();
    if (mode == Render::RenderMode::ColorizeByPlaneDistance)
    {
        explainHeights(legend, scene, options);
    }
    else if (mode == Render::RenderMode::UniformColor)
    {
        explainUniformColors(legend, scene);
    }
    else if (options.colorBy == "class")
    {
        legend.lists.push_back(seenClasses(scene, options));
    }
    else if (options.colorBy == "scan")
    {
        legend.lists.push_back(seenScans(scene));
    }
    else if (mode == Render::RenderMode::Default || mode == Render::RenderMode::ColorizeByIntensity)
    {
        const bool isOfAll =
            options.colorBy == "intensity" || mode == Render::RenderMode::ColorizeByIntensity;
        const std::string map =
            options.colorBy == "intensity" ? options.colorMap.value_or("Gray") : std::string("Gray");
        explainIntensities(legend, scene, mapColors(parseColorMap("--color-map", map)), isOfAll);
    }
}

/// In a perspective picture the scale is that of what the camera looks at.
void explainScale(Legend& legend, const LegendScene& scene, const std::string& unit)
{
    const Render::Camera& camera = *scene.renderer.camera();
    const bool isPerspective = camera.isPerspective();
    const double seen = isPerspective ? 2.0 * scene.targetDepth * std::tan(double{camera.fovYRad()} / 2.0)
                                      : double{camera.verticalExtent()};
    if (!(seen > 0.0) || scene.renderer.boundingBox().isEmpty())
    {
        return;
    }
    const LegendMeasures measures(scene.pictureHeight);
    Legend::ScaleBar bar =
        chooseScaleBar(seen / static_cast<double>(scene.pictureHeight), measures.inner(), unit);
    if (isPerspective)
    {
        bar.note = roundedText(scene.targetDepth, scene.targetDepth) + " " + unit + " away";
    }
    legend.scaleBar = std::move(bar);
}
}  // namespace

Legend sceneLegend(const LegendScene& scene, const SceneOptions& options)
{
    Legend legend;
    explainColors(legend, scene, options);
    explainScale(legend, scene, options.unit);
    legend.north = northInPicture(scene.renderer.rightDirection(), scene.renderer.upDirection());
    return legend;
}

Math::Color emptyColor(const Render::Renderer& renderer)
{
    const Math::Color color = renderer.backgroundColor();
    const auto invert = [](unsigned char code) { return static_cast<unsigned char>(255 - code); };
    const Math::Color seen =
        renderer.renderMode() == Render::RenderMode::TomographicDark
            ? Math::Color(invert(color.r()), invert(color.g()), invert(color.b()), color.a())
            : color;
    const float alpha =
        static_cast<float>(renderer.hasTransparentBackground() ? color.a() : 255) * renderer.opacity();
    return Math::Color(seen.r(), seen.g(), seen.b(), static_cast<unsigned char>(std::lround(alpha)));
}
}  // namespace Cli
