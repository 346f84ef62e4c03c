#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/adapterOption.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parseValue.h"
#include "apps/cli/refuseSizeClearly.h"
#include <octree/OctreeNodeId.h>
#include <render/thumbnail/createThumbnail.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Cli
{
namespace
{
struct ThumbnailOptions
{
    std::string dataset;
    std::string output;
    std::uint64_t width = 640;
    std::uint64_t height = 480;
    std::string background = "255,255,255,255";
    std::uint64_t level = Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL;
};

void run(const ThumbnailOptions& options)
{
    if (!options.output.empty())
    {
        requirePng("--output", options.output);
    }
    const Math::Color background = parseColor("--background", options.background);
    const Octree::Location location = datasetLocation(options.dataset);
    const std::filesystem::path output =
        options.output.empty() ? location.folder() / "thumbnail.png" : toPath(options.output);
    refuseSizeClearly(
        {options.width, options.height},
        [&] {
            Render::createThumbnail(
                location, output, options.width, options.height, background, options.level
            );
        }
    );
    writeOutput(toText(output) + "\n");
    flushOutput();
}
}  // namespace

void addThumbnailCommand(CLI::App& app)
{
    CLI::App* const verb =
        app.add_subcommand("thumbnail", "Draws a data set once, from a fixed oblique view");
    const auto options = std::make_shared<ThumbnailOptions>();
    verb->add_option("DATASET", options->dataset, "Folder of the data set, or a COPC file")->required();
    verb->add_option("--output", options->output, "PNG file (default: thumbnail.png in the folder)");
    const CLI::Validator side = wholeNumber(1, kLargestSide);
    verb->add_option("--width", options->width, "Pixels (default: 640)")->transform(side);
    verb->add_option("--height", options->height, "Pixels (default: 480)")->transform(side);
    verb->add_option("--background", options->background, "r,g,b[,a] or #rrggbb[aa] (default: white)");
    verb->add_option("--level", options->level, "Deepest octree level to load (default: all)")
        ->transform(wholeNumber(0, kLargestLevel));
    addAdapterOption(*verb);
    verb->footer(
        "Examples:\n  tarnel thumbnail out/sample\n"
        "  tarnel thumbnail out/sample --output small.png --width 160 --height 120 --level 2"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
