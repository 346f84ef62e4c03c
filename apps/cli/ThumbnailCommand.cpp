#include "apps/cli/CoarsePoints.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/SceneSession.h"
#include "apps/cli/adapterOption.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parseValue.h"
#include <octree/OctreeNodeId.h>
#include <render/thumbnail/thumbnailEye.h>

#include <cstdint>
#include <memory>
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
    std::uint64_t width = 640;
    std::uint64_t height = 480;
    std::uint64_t level = Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL;
    SceneOptions scene;
};

/// Of data sets whose points would all look alike, or like the background.
void chooseColoring(ThumbnailOptions& options)
{
    const Octree::Octree octree(datasetLocation(options.dataset), 1.0);
    const Math::Color background = options.scene.background.empty()
                                       ? Math::Color::white(255)
                                       : parseColor("--background", options.scene.background);
    switch (usefulColoring(readCoarsePoints(octree), background))
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

void run(ThumbnailOptions& options)
{
    if (!options.output.empty())
    {
        requirePng("--output", options.output);
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
    options.scene.maxLevel = options.level;
    options.scene.size = std::to_string(options.width) + "x" + std::to_string(options.height);
    options.scene.clouds = {options.dataset};
    if (options.scene.colorBy.empty())
    {
        chooseColoring(options);
    }
    SceneSession session(options.scene);
    session.load();
    session.renderer().writePngImage(output);
    session.noteEmptyPicture();
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
    const CLI::Validator side = wholeNumber(1, kLargestSide);
    verb->add_option("--width", options->width, "Pixels (default: 640)")->transform(side);
    verb->add_option("--height", options->height, "Pixels (default: 480)")->transform(side);
    verb->add_option("--level", options->level, "Deepest octree level to load (default: all)")
        ->transform(wholeNumber(0, kLargestLevel));
    addColoringOptions(*verb, options->scene);
    addBackgroundOptions(*verb, options->scene);
    addShadingOptions(*verb, options->scene);
    addAdapterOption(*verb);
    verb->footer(
        "Examples:\n  tarnel thumbnail out/sample\n"
        "  tarnel thumbnail out/sample --output small.png --width 160 --height 120 --level 2"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
