#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/parseValue.h"

#include <memory>
#include <string>

namespace Cli
{
namespace
{
struct RenderOptions
{
    std::string output;
    SceneOptions scene;
};

void run(const RenderOptions& options)
{
    requirePng("OUTPUT", options.output);
    SceneSession session(options.scene);
    session.load();
    session.renderer().writePngImage(toPath(options.output));
    session.noteEmptyPicture();
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
    addShadingOptions(*verb, options->scene);
    verb->footer(
        "Examples:\n"
        "  tarnel render picture.png --cloud out/sample\n"
        "  tarnel render all.png --cloud out/sample --pano out/pano --mesh shed.obj --transform 0,0,3,45,1\n"
        "  tarnel render height.png --cloud out/sample --mode ColorizeByPlaneDistance --color-map Viridis\n"
        "  tarnel render top.png --cloud out/sample --ortho 200 --eye 637100,5651100,900 --target "
        "637100,5651100,0 "
        "--up 0,1,0"
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
