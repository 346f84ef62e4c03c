#include "apps/cli/SceneOptions.h"

#include "apps/cli/OutputFile.h"
#include "apps/cli/adapterOption.h"
#include "apps/cli/depthFile.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/parseValue.h"

namespace Cli
{
namespace
{
constexpr const char* kPoints = "Point clouds";

constexpr double kSmallest = 1e-6;  // of what must be above 0
constexpr double kLargestPointInPixels = kLargestSide;
constexpr double kEyeDomeStrength = 1.0;
constexpr double kStrongestEyeDome = 1000.0;
constexpr double kBroadestEyeDome = 100.0;  // pixels
constexpr double kLargest = 1e9;  // of lengths in data units: far more than the earth measures in metres
}  // namespace

namespace
{
/// Ways to say from where to look without knowing coordinates.
void addDirectionOptions(CLI::App& verb, SceneOptions& options, const std::string& group)
{
    CLI::Option* const eye = verb.get_option("--eye");
    CLI::Option* const view =
        verb.add_option("--view", options.view, "From where to look at the whole scene")
            ->check(CLI::IsMember({"top", "bottom", "north", "south", "east", "west", "iso"}))
            ->excludes(eye)
            ->group(group);
    verb.add_option(
            "--azimuth",
            options.azimuthDeg,
            "From where to look, in degrees clockwise from the north, which is y (default: 50)"
    )
        ->check(numberFrom(-360.0, 360.0))
        ->excludes(eye)
        ->excludes(view)
        ->group(group);
    verb.add_option(
            "--elevation", options.elevationDeg, "From how far above the horizon, in degrees (default: 38)"
    )
        ->check(numberFrom(-90.0, 90.0))
        ->excludes(eye)
        ->excludes(view)
        ->group(group);
    verb.add_option(
            "--distance", options.distance, "How far from the target, in data units (default: what shows all)"
    )
        ->check(numberFrom(kSmallest, kLargest))
        ->excludes(eye)
        ->group(group);
    verb.add_option(
            "--fit",
            options.fit,
            "What is to fill the picture: a data set, or a box xmin,ymin,zmin,xmax,ymax,zmax (default: the "
            "scene)"
    )
        ->excludes(eye)
        ->group(group);
    CLI::Option* const section =
        verb.add_option(
                "--section",
                options.section,
                "A vertical slice seen at right angles and to scale, from left to right: x1,y1,x2,y2,width"
        )
            ->excludes(eye)
            ->excludes(view)
            ->group(group);
    for (const char* const other : {"--azimuth", "--elevation", "--distance", "--fit", "--target"})
    {
        section->excludes(verb.get_option(other));
    }
}
}  // namespace

void addSceneOptions(CLI::App& verb, SceneOptions& options)
{
    addItemOptions(verb);
    verb.add_option(
        "--depth",
        options.depth,
        "Also write the depth buffer: a PNG of 16-bit grey, 65535 near and 0 far, or distances, a .tif or "
        ".pfm"
    );
    addCameraOptions(verb, options);
    addLookOptions(verb, options);
}

void finishSceneOptions(const CLI::App& verb, SceneOptions& options)
{
    options.items = sceneItems(verb);
    if (!options.depth.empty())
    {
        requireDepthFile("--depth", options.depth);
        requireWritable(toPath(options.depth));
    }
}

void addCameraOptions(CLI::App& verb, SceneOptions& options)
{
    const std::string group = "Camera (absolute coordinates; fitted to the scene where not given)";
    verb.add_option("--eye", options.eye, "Where the camera stands: x,y,z")->group(group);
    verb.add_option("--target", options.target, "What it looks at: x,y,z (default: the scene's centre)")
        ->group(group);
    verb.add_option("--up", options.up, "What is up: x,y,z (default: 0,0,1; 0,1,0 in --view top)")
        ->group(group);
    addDirectionOptions(verb, options, group);
    CLI::Option* const fov =
        verb.add_option("--fov", options.fovDeg, "Vertical field of view in degrees (default: 40)")
            ->check(numberFrom(0.1, 179.0))
            ->group(group);
    verb.add_option_function<std::string>(
            "--ortho",
            [&options](const std::string& text)
            {
                options.isOrthographic = true;
                if (!text.empty())
                {
                    options.orthographicHeight = parseNumbers("--ortho", text, 1).front();
                }
            },
            "Parallel projection of this height in data units, or of one that fits"
    )
        ->expected(0, 1)
        ->check(numberFrom(kSmallest, kLargest))
        ->type_name("[HEIGHT]")
        ->excludes(fov)
        ->group(group);
    verb.add_option("--size", options.size, "Picture size in pixels (default: 1280x720)")->group(group);
    addAdapterOption(verb);
}

void addLookOptions(CLI::App& verb, SceneOptions& options)
{
    const std::string color = "Colours";
    CLI::Option* const mode =
        verb.add_option("--mode", options.mode, "One of " + renderModeNames() + " (default: Default)")
            ->group(color);
    addColoringOptions(verb, options)->excludes(mode);
    verb.add_option(
            "--colorize-from",
            options.colorizeFrom,
            "Where the colour map of ColorizeByPlaneDistance begins: x,y,z (default: the lowest point)"
    )
        ->group(color);
    verb.add_option("--colorize-to", options.colorizeTo, "Where it ends: x,y,z (default: the highest point)")
        ->group(color);
    CLI::Option* const brightness =
        verb.add_option("--brightness", options.brightness, "Added to colours of 0 to 1 (default: 0)")
            ->check(numberFrom(-100.0, 100.0))
            ->group(color);
    CLI::Option* const contrast =
        verb.add_option("--contrast", options.contrast, "Factor around the middle grey (default: 1)")
            ->check(numberFrom(0.0, 1000.0))
            ->group(color);
    verb.add_option(
            "--auto-contrast",
            options.autoContrast,
            "Choose brightness and contrast so that this fraction of points falls off each end, such as 0.02"
    )
        ->check(numberFrom(0.0, 0.49))
        ->excludes(brightness)
        ->excludes(contrast)
        ->group(color);
    addBackgroundOptions(verb, options);
    verb.add_option("--uniform-color", options.uniformColor, "Colour of mode UniformColor")->group(color);

    verb.add_option("--threshold", options.threshold, "Smallest node to draw, in pixels (default: 15)")
        ->check(numberFrom(0.0, kLargest))
        ->group(kPoints);
    addCloudOptions(verb, options);
}

CLI::Option* addColoringOptions(CLI::App& verb, SceneOptions& options)
{
    const std::string color = "Colours";
    CLI::Option* const colorBy =
        verb.add_option("--color-by", options.colorBy, "What colours points instead of a mode")
            ->check(CLI::IsMember({"rgb", "intensity", "class", "scan", "height"}))
            ->group(color);
    verb.add_option(
            "--color-map",
            options.colorMap,
            "One of " + colorMapNames() + " (default: Turbo, for --color-by intensity Gray)"
    )
        ->group(color);
    verb.add_option(
            "--intensity-range",
            options.intensityRange,
            "Intensities that become the darkest and the brightest: a,b (default: those that one point in a\n"
            "hundred lies beyond)"
    )
        ->group(color);
    verb.add_option(
            "--class-color",
            options.classColors,
            "Colour of a class for --color-by class: N=COLOR; repeatable"
    )
        ->allow_extra_args(false)
        ->group(color);
    return colorBy;
}

void addClassNameOption(CLI::App& verb, SceneOptions& options)
{
    verb.add_option(
            "--class-name", options.classNames, "Name of a class instead of the ASPRS one: N=NAME; repeatable"
    )
        ->allow_extra_args(false);
}

void addBackgroundOptions(CLI::App& verb, SceneOptions& options)
{
    const std::string group = "Colours";
    verb.add_option("--opacity", options.opacity, "Factor on the picture's alpha (default: 1)")
        ->check(numberFrom(0.0, 1.0))
        ->group(group);
    verb.add_option(
            "--background",
            options.background,
            "r,g,b[,a] or #rrggbb[aa], transparent with an a below 255 (default: white; black behind\n"
            "TomographicBright, which TomographicDark inverts)"
    )
        ->group(group);
}

void addShadingOptions(CLI::App& verb, SceneOptions& options)
{
    const std::string group = "Shading";
    CLI::Option* const legend =
        verb.add_flag(
                "--legend",
                options.hasLegend,
                "Explain colours, scale and north in a margin of the picture, at its right"
        )
            ->group(group);
    verb.add_option("--unit", options.unit, "What a data unit is called in the legend (default: units)")
        ->needs(legend)
        ->group(group);
    verb.add_option(
            "--samples",
            options.samples,
            "Draw 2 x 2 or 4 x 4 pixels for each one, for smooth rims (default: 1)"
    )
        ->check(CLI::IsMember({1, 2, 4}))
        ->group(group);
    CLI::Option* const strength =
        verb.add_option_function<std::string>(
                "--edl",
                [&options](const std::string& text) {
                    options.eyeDomeStrength =
                        text.empty() ? kEyeDomeStrength : parseNumbers("--edl", text, 1).front();
                },
                "Shade by depth (eye-dome lighting), with this strength or 1; on where a cloud has no "
                "colours\n"
                "and in thumbnails"
        )
            ->expected(0, 1)
            ->check(numberFrom(0.0, kStrongestEyeDome))
            ->type_name("[STRENGTH]")
            ->group(group);
    verb.add_flag_callback(
            "--no-edl", [&options] { options.eyeDomeStrength = 0.0; }, "Do not shade by depth"
    )
        ->excludes(strength)
        ->group(group);
    verb.add_option(
            "--edl-radius",
            options.eyeDomeRadius,
            "How far apart depths are compared, in pixels (default: 1.4, more for pictures above 720 rows)"
    )
        ->check(numberFrom(0.0, kBroadestEyeDome))
        ->group(group);
}

void addCloudOptions(CLI::App& verb, SceneOptions& options)
{
    const CLI::Validator level = wholeNumber(0, kLargestLevel);
    verb.add_option("--budget", options.budget, "Most points of all clouds together (default: 5000000)")
        ->transform(wholeNumber(1, 200'000'000))
        ->group(kPoints);
    verb.add_option("--min-level", options.minLevel, "Levels below this one are always kept")
        ->transform(level)
        ->group(kPoints);
    verb.add_option("--max-level", options.maxLevel, "Deepest level to draw")
        ->transform(level)
        ->group(kPoints);
    verb.add_option(
            "--point-size",
            options.pointSize,
            "Point size at level 0 in data units (default: from the spacing)"
    )
        ->check(numberFrom(kSmallest, kLargest))
        ->group(kPoints);
    CLI::Option* const maxSize =
        verb.add_option("--max-point-size", options.maxPointSize, "Largest point in pixels")
            ->check(numberFrom(kSmallest, kLargestPointInPixels))
            ->group(kPoints);
    verb.add_option(
            "--max-point-share",
            options.maxPointShare,
            "Largest point as a share of the picture's height (default: 5 pixels of 720, and never fewer)"
    )
        ->check(numberFrom(kSmallest, 1.0))
        ->excludes(maxSize)
        ->group(kPoints);
    verb.add_option(
            "--clip",
            options.clipPlanes,
            "Keep what satisfies a x + b y + c z + d >= 0: a,b,c,d; repeatable, up to 8"
    )
        ->allow_extra_args(false)
        ->group(kPoints);
    CLI::Option* const classes =
        verb.add_option("--classes", options.classes, "Show these classes only: 2,6,...")->group(kPoints);
    verb.add_option("--hide-classes", options.hiddenClasses, "Hide these classes: 7,18,...")
        ->excludes(classes)
        ->group(kPoints);
    verb.add_option("--intensity", options.intensities, "Show intensities from a to b only: a,b")
        ->group(kPoints);
    CLI::Option* const scans =
        verb.add_option("--scans", options.scans, "Show points of these scan indices only: 0,3,...")
            ->group(kPoints);
    verb.add_option("--hide-scans", options.hiddenScans, "Hide points of these scan indices: 1,2,...")
        ->excludes(scans)
        ->group(kPoints);
    verb.add_flag("--boxes", options.showBoxes, "Draw the boxes of the octree nodes")->group(kPoints);
}
}  // namespace Cli
