#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/cloudLook.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/oldSpelling.h"
#include "apps/cli/oneLine.h"
#include "apps/cli/parseValue.h"
#include <math/NPlane.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
constexpr int kExitNothing = 3;
constexpr std::uint64_t kPlaneTolerance = 10;  // pixels: a square of some hundred points
constexpr std::uint64_t kLargestPixel = 1'000'000'000;
constexpr double kLargestThreshold = 1e9;  // data units

struct PickOptions
{
    std::vector<std::string> pixels;
    std::optional<std::uint64_t> tolerance;
    bool wantsPlane = false;
    std::optional<double> threshold;     ///< of a plane, data units
    std::optional<double> oldThreshold;  ///< likewise, by the old spelling
    bool isJson = false;
    SceneOptions scene;
};

struct Pixel
{
    std::uint64_t x;
    std::uint64_t y;
};

Pixel parsePixel(const std::string& text, const Size& size)
{
    const std::vector<std::uint64_t> numbers = parseWholeNumbers("--pixel", text, 2, kLargestPixel);
    if (numbers[0] >= size.width || numbers[1] >= size.height)
    {
        throw CLI::ValidationError(
            "--pixel",
            "'" + text + "' lies outside the picture, whose last pixel is " + std::to_string(size.width - 1) +
                "," + std::to_string(size.height - 1)
        );
    }
    return {numbers[0], numbers[1]};
}

/// What was picked, in absolute coordinates.
struct Hit
{
    Math::Point<double, 3> point;
    double distance = 0.0;  ///< from the eye to the point
    std::optional<Math::NPlane<double, 3>> plane;
    std::optional<SceneSession::Identified> identity;  ///< of a point that is one of a cloud
};

Math::NPlane<double, 3> toAbsolute(const Math::NPlane<float, 3>& plane, const Math::Point<double, 3>& origin)
{
    const double a = plane.a;
    const double b = plane.b;
    const double c = plane.c;
    return {a, b, c, plane.d - (a * origin.x + b * origin.y + c * origin.z)};
}

std::optional<Hit> pick(SceneSession& session, const PickOptions& options, const Pixel& pixel)
{
    Render::Renderer& renderer = session.renderer();
    Math::Point<float, 3> point;
    Math::NPlane<float, 3> plane;
    bool isHit = false;
    if (options.wantsPlane)
    {
        const std::uint64_t tolerance = options.tolerance.value_or(kPlaneTolerance);
        isHit = renderer.pickPlane(pixel.x, pixel.y, tolerance, plane, point, *options.threshold);
    }
    else if (options.tolerance.value_or(0) > 0)
    {
        isHit = renderer.pickClosestPointWithTolerance(pixel.x, pixel.y, *options.tolerance, point);
    }
    else
    {
        isHit = renderer.pickPoint(pixel.x, pixel.y, point);
    }
    if (!isHit)
    {
        return std::nullopt;
    }

    const Math::Point<double, 3>& origin = session.origin();
    const Math::Point<float, 3> eye = renderer.eye();
    Hit hit;
    hit.point = {point.x + origin.x, point.y + origin.y, point.z + origin.z};
    hit.distance = std::hypot(double{point.x} - eye.x, double{point.y} - eye.y, double{point.z} - eye.z);
    if (options.wantsPlane)
    {
        hit.plane = toAbsolute(plane, origin);
    }
    else
    {
        hit.identity = session.identify(point);
    }
    return hit;
}

std::string numbersOf(const Math::Color& color)
{
    return std::to_string(color.r()) + " " + std::to_string(color.g()) + " " + std::to_string(color.b()) +
           " " + std::to_string(color.a());
}

std::string textOf(const Hit& hit, const Render::PointClasses& classes)
{
    std::string text = "point    ";
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        text += " " + formatNumber(hit.point[axis]);
    }
    if (hit.plane)
    {
        text += "\nplane    ";
        for (const double coefficient : {hit.plane->a, hit.plane->b, hit.plane->c, hit.plane->d})
        {
            text += " " + formatNumber(coefficient);
        }
    }
    text += "\ndistance  " + formatNumber(hit.distance) + "\n";
    if (hit.identity)
    {
        const FoundPoint& point = hit.identity->point;
        text += "cloud     " + oneLine(hit.identity->cloud) + "\n";
        if (point.classification)
        {
            text += "class     " + std::to_string(*point.classification) + " " +
                    oneLine(classes[*point.classification].name) + "\n";
        }
        text += "color     " + numbersOf(point.color) + "\n";
        if (point.intensity)
        {
            text += "intensity " + std::to_string(*point.intensity) + "\n";
        }
    }
    return text;
}

nlohmann::ordered_json jsonOf(const std::optional<Hit>& hit, const Render::PointClasses& classes)
{
    nlohmann::ordered_json json;
    json["hit"] = hit.has_value();
    if (!hit)
    {
        return json;
    }
    json["point"] = {hit->point.x, hit->point.y, hit->point.z};
    if (hit->plane)
    {
        json["plane"] = {hit->plane->a, hit->plane->b, hit->plane->c, hit->plane->d};
    }
    json["distance"] = hit->distance;
    if (hit->identity)
    {
        const FoundPoint& point = hit->identity->point;
        json["cloud"] = hit->identity->cloud;
        if (point.classification)
        {
            json["class"] = *point.classification;
            json["className"] = classes[*point.classification].name;
        }
        json["color"] = {point.color.r(), point.color.g(), point.color.b(), point.color.a()};
        if (point.intensity)
        {
            json["intensity"] = *point.intensity;
        }
        if (point.scanIndex)
        {
            json["scanIndex"] = *point.scanIndex;
        }
    }
    return json;
}

void takeOldSpelling(PickOptions& options)
{
    if (options.oldThreshold)
    {
        noteOldSpelling("--threshold", "--plane-threshold");
        options.threshold = options.oldThreshold;
    }
    if (options.wantsPlane && !options.threshold)
    {
        throw CLI::RequiresError("--plane", "--plane-threshold");
    }
}

void run(const PickOptions& options)
{
    const Size size = parseSize("--size", options.scene.size);
    const Render::PointClasses classes = pointClasses(options.scene);
    std::vector<Pixel> pixels;
    for (const std::string& text : options.pixels)
    {
        pixels.push_back(parsePixel(text, size));
    }
    SceneSession session(options.scene);
    session.load();
    session.renderer().render();

    const bool areSeveral = pixels.size() > 1;
    bool isAnyHit = false;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Pixel& pixel : pixels)
    {
        const std::optional<Hit> hit = pick(session, options, pixel);
        isAnyHit |= hit.has_value();
        if (options.isJson)
        {
            nlohmann::ordered_json json;
            if (areSeveral)
            {
                json["pixel"] = {pixel.x, pixel.y};
            }
            json.update(jsonOf(hit, classes));
            list.push_back(json);
            continue;
        }
        if (areSeveral)
        {
            writeOutput("pixel     " + std::to_string(pixel.x) + " " + std::to_string(pixel.y) + "\n");
        }
        writeOutput(hit ? textOf(*hit, classes) : "nothing there\n");
    }
    if (options.isJson)
    {
        writeOutput((areSeveral ? list : list.front()).dump(2) + "\n");
    }
    flushOutput();
    if (!isAnyHit)
    {
        throw CLI::RuntimeError(kExitNothing);
    }
}
}  // namespace

void addPickCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand("pick", "Tells which point or plane a pixel shows");
    const auto options = std::make_shared<PickOptions>();
    verb->add_option("DATASET", options->scene.clouds, "Folders or web addresses of the point clouds")
        ->required();
    verb->add_option("--pixel", options->pixels, "Column and row from the upper left: x,y; repeatable")
        ->allow_extra_args(false)
        ->required();
    verb->add_option(
            "--tolerance",
            options->tolerance,
            "Search the square of so many pixels to each side and take the point nearest to the eye\n"
            "(default: 0, the pixel itself; 10 with --plane)"
    )
        ->transform(wholeNumber(0, 1'000'000));
    CLI::Option* const plane = verb->add_flag(
        "--plane", options->wantsPlane, "Fit a plane to the square's points and tell where the pixel meets it"
    );
    verb->add_option("--threshold", options->oldThreshold, "Now --plane-threshold")
        ->check(numberFrom(0.0, kLargestThreshold))
        ->needs(plane)
        ->excludes(verb->add_option(
                           "--plane-threshold",
                           options->threshold,
                           "Points farther from the plane do not count, in data units; goes with --plane"
        )
                       ->check(numberFrom(0.0, kLargestThreshold))
                       ->needs(plane))
        ->group(kOldSpelling);
    verb->add_flag("--json", options->isJson, "Print JSON");
    addCameraOptions(*verb, options->scene);
    addCloudOptions(*verb, options->scene);
    addClassNameOption(*verb, options->scene);
    verb->footer(
        "Coordinates are absolute; a plane is a, b, c, d with a x + b y + c z + d = 0 and its normal towards "
        "the eye.\n"
        "Exit code 3 when nothing is there.\n"
        "Examples:\n"
        "  tarnel pick out/sample --pixel 640,360\n"
        "  tarnel pick out/sample --pixel 640,360 --plane --plane-threshold 0.05 --json"
    );
    verb->callback(
        [options]
        {
            takeOldSpelling(*options);
            run(*options);
        }
    );
}
}  // namespace Cli
