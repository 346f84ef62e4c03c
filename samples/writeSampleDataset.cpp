#include "samples/writeSampleDataset.h"

#include "samples/SampleScene.h"

namespace Samples
{
namespace
{
constexpr Cube kCube{SampleScene::kOrigin, SampleScene::kSize};
}

OctreeSummary writeSampleDataset(const std::filesystem::path& folder, const SampleDatasetOptions& options)
{
    const SampleScene scene(options.seed);
    const OctreeWriterOptions octree{
        .encoding = options.encoding,
        .attributes =
            {Attribute::Position,
             Attribute::Rgb,
             Attribute::Intensity,
             Attribute::Classification,
             Attribute::ScanIndex,
             Attribute::NormalOct16},
        .cube = kCube,
        .stepSize = 3,  // so that a million points are enough for a hierarchy of several chunks
        .recordTypes = RecordTypes::Misleading,
        .threadCount = options.threadCount,
        .name = "sample village",
    };
    return writeOctree(folder, scene.scan(options.points, options.threadCount), octree);
}

EptSummary writeSampleEpt(const std::filesystem::path& folder, const SampleEptOptions& options)
{
    const SampleScene scene(options.seed);
    const EptWriterOptions tiles{
        .dataType = options.dataType,
        .cube = kCube,
        .hierarchyStep = 3,
        .threadCount = options.threadCount,
    };
    return writeEpt(folder, scene.scan(options.points, options.threadCount), tiles);
}

CopcSummary writeSampleCopc(const std::filesystem::path& file, const SampleCopcOptions& options)
{
    const SampleScene scene(options.seed);
    const CopcWriterOptions chunks{
        .cube = kCube,
        .hierarchyStep = 3,
        .threadCount = options.threadCount,
    };
    return writeCopc(file, scene.scan(options.points, options.threadCount), chunks);
}
}  // namespace Samples
