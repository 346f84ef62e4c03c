#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/HierarchyStatistics.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/openDataset.h"
#include <math/Color.h>
#include <octree/Octree.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

namespace Cli
{
namespace
{
constexpr std::size_t kFlushSize = std::size_t{1} << 18U;  // text is handed over in blocks of this many bytes

struct DumpOptions
{
    std::string dataset;
    std::string node = "r";
    bool all = false;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
};

/// Writes points as text lines until the limit is reached.
class PointPrinter
{
public:
    PointPrinter(const Octree::Octree& octree, std::uint64_t limit) : mOctree(octree), mRemaining(limit) {}

    bool isDone() const noexcept { return mRemaining == 0; }

    void print(const Octree::OctreeNodeId& id)
    {
        mOctree.readNodePointData(id, mPoints);
        const Octree::NodePointColumns& columns = mPoints.columns();
        const std::string name = id.name();
        const Math::Point<double, 3> origin = mOctree.position();
        for (std::size_t i = 0; i < mPoints.size() && mRemaining > 0; ++i, --mRemaining)
        {
            const Math::Point<double, 3>& position = mPoints.position(i);
            const Math::Color color(mPoints.color(i));
            mText += name;
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                mText += ' ';
                appendNumber(mText, position[axis] + origin[axis]);
            }
            append(color.r());
            append(color.g());
            append(color.b());
            append(color.a());
            append(columns.intensities.empty() ? 0U : columns.intensities[i]);
            append(columns.classifications.empty() ? 0U : columns.classifications[i]);
            append(columns.scanIndices.empty() ? 0U : columns.scanIndices[i]);
            mText += '\n';
            if (mText.size() >= kFlushSize)
            {
                flush();
            }
        }
    }

    void flush()
    {
        writeOutput(mText);
        mText.clear();
    }

private:
    void append(unsigned value)
    {
        mText += ' ';
        mText += std::to_string(value);
    }

    const Octree::Octree& mOctree;
    std::uint64_t mRemaining;
    Octree::NodePointData mPoints;
    std::string mText;
};

void run(const DumpOptions& options)
{
    Octree::OctreeNodeId node;
    try
    {
        node = Octree::OctreeNodeId::fromName(options.node);
    }
    catch (const std::invalid_argument&)
    {
        throw CLI::ValidationError(
            "--node", "'" + options.node + "' is not \"r\" and one digit 0 to 7 a level"
        );
    }
    const Octree::Octree octree(datasetLocation(options.dataset), 1.0);
    PointPrinter printer(octree, options.limit);
    if (options.all)
    {
        visitNodes(
            octree,
            [&](const Octree::NodeInfo& info)
            {
                if (info.pointCount > 0)
                {
                    printer.print(info.id);
                }
                return !printer.isDone();
            }
        );
    }
    else
    {
        printer.print(octree.nodeInfo(node).id);
    }
    printer.flush();
    flushOutput();
}
}  // namespace

void addDumpCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand(
        "dump", "Prints decoded points: node x y z r g b a intensity classification scanIndex"
    );
    const auto options = std::make_shared<DumpOptions>();
    verb->add_option("DATASET", options->dataset, "Folder or web address of the data set, or a COPC file")
        ->required();
    CLI::Option* const node = verb->add_option(
        "--node", options->node, "Node to print: \"r\" and one digit a level (default: the root)"
    );
    verb->add_flag("--all", options->all, "Print every node, coarse levels first")->excludes(node);
    verb->add_option("--limit", options->limit, "Print at most so many points")
        ->transform(wholeNumber(0, std::numeric_limits<std::uint64_t>::max()));
    verb->footer(
        "Coordinates are absolute, with as many digits as the numbers have; intensity has 16 bits.\n"
        "Attributes that the data set lacks print as 0, a missing colour as the grey of the intensity.\n"
        "Examples:\n  tarnel dump out/sample --limit 10\n  tarnel dump out/sample --node r04\n"
        "  tarnel dump out/sample --all"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
