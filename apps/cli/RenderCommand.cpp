#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/Progress.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/parseValue.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Cli
{
namespace
{
struct RenderOptions
{
    std::string output;
    std::uint64_t frames = 1;
    bool isOrbit = false;
    SceneOptions scene;
};

constexpr std::uint64_t kMostFrames = 100'000;
constexpr double kFullTurnDeg = 360.0;
constexpr double kStartDeg = 50.0;  // where a camera without options stands

/// "picture.png" becomes "picture-007.png", with as many digits as the last number has.
std::string numberedName(const std::string& path, std::uint64_t number, std::uint64_t count)
{
    const std::size_t digits = std::max<std::size_t>(3, std::to_string(count - 1).size());
    std::string text = std::to_string(number);
    text.insert(0, digits - std::min(digits, text.size()), '0');
    return path.substr(0, path.size() - std::string_view(".png").size()) + "-" + text + ".png";
}

void drawOrbit(SceneSession& session, const RenderOptions& options)
{
    SceneOptions scene = options.scene;
    const double start = scene.azimuthDeg.value_or(kStartDeg);
    Progress progress("drawing", options.frames, "pictures");
    for (std::uint64_t i = 0; i < options.frames; ++i)
    {
        progress.update(i);
        scene.azimuthDeg =
            start + kFullTurnDeg * static_cast<double>(i) / static_cast<double>(options.frames);
        session.applyCamera(scene);
        session.load();
        const std::string name = numberedName(options.output, i, options.frames);
        session.writePicture(toPath(name));
        writeOutput(name + "\n");
    }
}

void run(const RenderOptions& options)
{
    requirePng("OUTPUT", options.output);
    requireWritable(toPath(options.output));
    SceneSession session(options.scene);
    if (options.isOrbit)
    {
        drawOrbit(session, options);
        flushOutput();
        return;
    }
    session.load();
    session.writePicture(toPath(options.output));
    writeOutput(options.output + "\n");
    session.writeDepth();
    flushOutput();
}
}  // namespace

void addRenderCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand("render", "Draws data sets into a PNG picture");
    const auto options = std::make_shared<RenderOptions>();
    verb->add_option("OUTPUT", options->output, "PNG file to write")->required();
    addSceneOptions(*verb, options->scene);
    CLI::Option* const orbit = verb->add_flag(
        "--orbit",
        options->isOrbit,
        "Go round the target once, clockwise, in as many pictures as --frames says"
    );
    CLI::Option* const frames =
        verb->add_option("--frames", options->frames, "Number of pictures: OUTPUT-000.png and so on")
            ->transform(wholeNumber(1, kMostFrames));
    orbit->needs(frames);
    frames->needs(orbit);
    for (const char* const other : {"--eye", "--view", "--section", "--depth"})
    {
        orbit->excludes(verb->get_option(other));
    }
    addShadingOptions(*verb, options->scene);
    addClassNameOption(*verb, options->scene);
    verb->get_option("--class-name")->needs(verb->get_option("--legend"));
    verb->footer(
        "Examples:\n"
        "  tarnel render picture.png --cloud out/sample\n"
        "  tarnel render all.png --cloud out/sample --pano out/pano --mesh shed.obj --transform 0,0,3,45,1\n"
        "  tarnel render height.png --cloud out/sample --mode ColorizeByPlaneDistance --color-map Viridis\n"
        "  tarnel render top.png --cloud out/sample --view top --ortho\n"
        "  tarnel render south.png --cloud out/sample --azimuth 180 --elevation 30\n"
        "  tarnel render round.png --cloud out/sample --orbit --frames 36\n"
        "  tarnel render map.png out/sample --view top --ortho --color-by class --legend --unit m"
    );
    verb->callback(
        [verb, options]
        {
            finishSceneOptions(*verb, options->scene);
            run(*options);
        }
    );
}
}  // namespace Cli
