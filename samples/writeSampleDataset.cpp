#include "samples/writeSampleDataset.h"

#include "samples/SampleScene.h"

namespace Samples
{
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
        .cube = Cube{SampleScene::kOrigin, SampleScene::kSize},
        .stepSize = 3,  // so that a million points are enough for a hierarchy of several chunks
        .recordTypes = RecordTypes::Misleading,
        .threadCount = options.threadCount,
        .name = "sample village",
    };
    return writeOctree(folder, scene.scan(options.points, options.threadCount), octree);
}
}  // namespace Samples
