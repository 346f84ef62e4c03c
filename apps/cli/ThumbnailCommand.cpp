#include "apps/cli/CoarsePoints.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/adapterOption.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/oldSpelling.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parseValue.h"
#include <render/thumbnail/thumbnailEye.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Cli
{
namespace
{
constexpr std::uint64_t kBudget = 10'000'000;  // points

struct ThumbnailOptions
{
    std::string dataset;
    std::string output;
    std::uint64_t width = 0;             ///< by the old spelling, 0 where not given
    std::uint64_t height = 0;            ///< likewise
    std::optional<std::uint64_t> level;  ///< likewise
    SceneOptions scene;
};

/// Of data sets whose points would all look alike, or like the background, or lie far apart.
void chooseLook(ThumbnailOptions& options)
{
    const Octree::Octree octree(datasetLocation(options.dataset), 1.0);
    const CoarsePoints points = readCoarsePoints(octree);
    options.scene.pointSize = sizeOfSparsePoints(points, octree.boundingBox(), octree.spacing());
    if (!options.scene.colorBy.empty())
    {
        return;
    }
    const Math::Color background = options.scene.background.empty()
                                       ? Math::Color::white(255)
                                       : parseColor("--background", options.scene.background);
    switch (usefulColoring(points, background))
    {
        case UsefulColoring::Stored:
            break;
        case UsefulColoring::Intensity:
            options.scene.colorBy = "intensity";
            break;
        case UsefulColoring::Height:
            options.scene.colorBy = "height";
            break;
    }
}

void takeOldSpellings(ThumbnailOptions& options)
{
    if (options.width != 0 || options.height != 0)
    {
        noteOldSpelling("--width and --height", "--size");
        const Size given = parseSize("--size", options.scene.size);
        options.scene.size = std::to_string(options.width != 0 ? options.width : given.width) + "x" +
                             std::to_string(options.height != 0 ? options.height : given.height);
    }
    if (options.level)
    {
        noteOldSpelling("--level", "--max-level");
        options.scene.maxLevel = options.level;
    }
}

void run(ThumbnailOptions& options)
{
    if (!options.output.empty())
    {
        requirePng("--output", options.output);
        requireWritable(toPath(options.output));
    }
    const Octree::Location location = datasetLocation(options.dataset);
    if (options.output.empty() && location.folder().empty())
    {
        throw CLI::RequiredError("--output (a web address takes no picture)");
    }
    const std::filesystem::path output =
        options.output.empty() ? location.folder() / "thumbnail.png" : toPath(options.output);
    options.scene.isThumbnail = true;
    options.scene.budget = kBudget;
    options.scene.fovDeg = Render::kThumbnailFovYDeg;
    takeOldSpellings(options);
    options.scene.clouds = {options.dataset};
    chooseLook(options);
    SceneSession session(options.scene);
    session.load();
    session.writePicture(output);
    writeOutput(toText(output) + "\n");
    flushOutput();
}
}  // namespace

void addThumbnailCommand(CLI::App& app)
{
    CLI::App* const verb =
        app.add_subcommand("thumbnail", "Draws a data set once, from a fixed oblique view");
    const auto options = std::make_shared<ThumbnailOptions>();
    verb->add_option("DATASET", options->dataset, "Folder or web address of the data set, or a COPC file")
        ->required();
    verb->add_option("--output", options->output, "PNG file (default: thumbnail.png in the folder)");
    options->scene.size = "640x480";
    verb->add_option("--size", options->scene.size, "Picture size in pixels (default: 640x480)");
    const CLI::Validator side = wholeNumber(1, kLargestSide);
    const CLI::Validator level = wholeNumber(0, kLargestLevel);
    CLI::Option* const width = verb->add_option("--width", options->width, "Of --size, in pixels")
                                   ->transform(side)
                                   ->group(kOldSpelling);
    CLI::Option* const height = verb->add_option("--height", options->height, "Of --size, in pixels")
                                    ->transform(side)
                                    ->group(kOldSpelling);
    verb->get_option("--size")->excludes(width)->excludes(height);
    verb->add_option("--max-level", options->scene.maxLevel, "Deepest octree level to load (default: all)")
        ->transform(level)
        ->excludes(verb->add_option("--level", options->level, "Now --max-level")
                       ->transform(level)
                       ->group(kOldSpelling));
    addColoringOptions(*verb, options->scene);
    addBackgroundOptions(*verb, options->scene);
    addShadingOptions(*verb, options->scene);
    addClassNameOption(*verb, options->scene);
    verb->get_option("--class-name")->needs(verb->get_option("--legend"));
    addAdapterOption(*verb);
    verb->footer(
        "Examples:\n  tarnel thumbnail out/sample\n"
        "  tarnel thumbnail out/sample --output small.png --size 160x120 --max-level 2"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
