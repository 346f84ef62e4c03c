#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/PointWriter.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/parseValue.h"
#include <render/gpu/VertexFormats.h>
#include <render/renderer/pointText.h>

#include <memory>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
struct ExportVisibleOptions
{
    std::string output;
    bool isAbsolute = false;
    SceneOptions scene;
};

void run(const ExportVisibleOptions& options)
{
    SceneSession session(options.scene);
    session.load();
    session.renderer().render();
    std::vector<Render::VertexPosColor> points;
    session.renderer().getPoints(points);
    session.noteEmptyPicture();
    if (options.isAbsolute)
    {
        OutputFile file(toPath(options.output));
        TextPointWriter writer([&file](std::string_view text) { file.write(text); }, session.origin());
        writer.write(points);
        writer.finish();
        file.commit();
    }
    else
    {
        Render::writePointText(toPath(options.output), points);
    }
    writeOutput(options.output + "\n");
    session.writeDepth();
    flushOutput();
}
}  // namespace

void addExportVisibleCommand(CLI::App& app)
{
    CLI::App* const verb =
        app.add_subcommand("export-visible", "Writes the points that a picture shows, one per pixel");
    const auto options = std::make_shared<ExportVisibleOptions>();
    verb->add_option("OUTPUT", options->output, "Text file to write")->required();
    verb->add_flag(
        "--absolute",
        options->isAbsolute,
        "Absolute coordinates with all digits instead of seven digits from the first object's place "
        "position"
    );
    addSceneOptions(*verb, options->scene);
    verb->footer(
        "Points come row by row from the top, with their colours in the picture.\n"
        "Examples:\n"
        "  tarnel export-visible points.txt --cloud out/sample --size 640x480"
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
