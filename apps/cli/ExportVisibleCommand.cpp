#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/PointWriter.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/parseValue.h"
#include <render/gpu/VertexFormats.h>
#include <render/renderer/pointText.h>

#include <cmath>
#include <cstddef>
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

/// Writes pixels as points: coordinates are those of the picture, in single precision until the origin is added.
void write(
    const std::vector<Render::VertexPosColor>& pixels,
    const Math::Point<double, 3>& origin,
    PointFormat format,
    OutputFile& file
)
{
    constexpr double kStep = 0.001;
    Octree::NodePointColumns points;
    points.pointCount = pixels.size();
    PointFacts facts;
    facts.attributes = Octree::kPositionAttribute | Octree::kColorAttribute;
    facts.isSinglePrecision = origin == Math::Point<double, 3>{};
    facts.step = {kStep, kStep, kStep};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        facts.storedOrigin[axis] = std::floor(origin[axis]);
    }
    for (const Render::VertexPosColor& pixel : pixels)
    {
        points.positions.emplace_back(pixel.position.x, pixel.position.y, pixel.position.z);
        points.colors.push_back(pixel.color);
    }
    const std::unique_ptr<PointWriter> writer = makePointWriter(format, file, facts);
    writer->write(points, origin);
    writer->finish();
}

void run(const ExportVisibleOptions& options)
{
    const PointFormat format = pointFormatOf("OUTPUT", options.output);
    requireWritable(toPath(options.output));
    SceneSession session(options.scene);
    session.load();
    session.renderer().render();
    std::vector<Render::VertexPosColor> points;
    session.renderer().getPoints(points);
    session.noteEmptyPicture();
    if (format == PointFormat::Text && !options.isAbsolute)
    {
        Render::writePointText(toPath(options.output), points);
    }
    else
    {
        OutputFile file(toPath(options.output));
        write(points, options.isAbsolute ? session.origin() : Math::Point<double, 3>{}, format, file);
        file.commit();
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
    verb->add_option("OUTPUT", options->output, "File to write, .txt, .csv, .ply, .las or .laz")->required();
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
