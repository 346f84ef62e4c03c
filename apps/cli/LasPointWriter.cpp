#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/PointWriter.h"
#include <octree/las/LasSink.h>
#include <octree/las/LasWriter.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace Cli
{
namespace
{
constexpr double kDegreesPerStep = 0.006;
constexpr double kSteepestAngle = 30000.0;  // steps
constexpr unsigned kChannelFactor = 257;    // 8 bits to 16: 255 becomes 65535

class FileSink final : public Las::LasSink
{
public:
    explicit FileSink(OutputFile& file) : mFile(file) {}

    void write(std::string_view bytes) override { mFile.write(bytes); }

    void rewrite(std::uint64_t position, std::string_view bytes) override { mFile.rewrite(position, bytes); }

private:
    OutputFile& mFile;
};

/// The step for coordinates that are no integers: the finest power of ten with which they fit 32 bits, down to a
/// nanometre.
double stepFor(double extent)
{
    double step = 1e-9;
    while (extent / step > std::numeric_limits<std::int32_t>::max() / 2.0)
    {
        step *= 10.0;
    }
    return step;
}

Las::LasFileOptions optionsFor(const PointFacts& facts, bool isCompressed)
{
    Las::LasFileOptions options;
    options.isCompressed = isCompressed;
    options.hasColors = Octree::hasColor(facts.attributes);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        options.scale[axis] = facts.step[axis] > 0.0 ? facts.step[axis] : stepFor(facts.extent);
        options.offset[axis] = facts.storedOrigin[axis];
    }
    if (Las::isWellKnownText(facts.coordinateSystem))
    {
        options.coordinateSystem = facts.coordinateSystem;
    }
    else if (!facts.coordinateSystem.empty())
    {
        printNote(
            "the coordinate system is left out: LAS has it as WKT, the data set says '" +
            facts.coordinateSystem.substr(0, 60) + "'"
        );
    }
    return options;
}

class LasPointWriter final : public PointWriter
{
public:
    LasPointWriter(OutputFile& file, const PointFacts& facts, bool isCompressed)
        : mSink(file),
          mHasColors(Octree::hasColor(facts.attributes)),
          mWriter(mSink, optionsFor(facts, isCompressed))
    {
    }

    void write(const Octree::NodePointColumns& points, const Math::Point<double, 3>& origin) override
    {
        for (std::size_t i = 0; i < points.pointCount; ++i)
        {
            mWriter.add(pointOf(points, i, origin));
        }
    }

    void finish() override
    {
        mWriter.finish();
        if (mCutSources > 0)
        {
            printNote(
                std::to_string(mCutSources) +
                " points have scan indices above 65535, the largest point source of LAS, and got that one"
            );
        }
    }

private:
    Las::LasPoint pointOf(
        const Octree::NodePointColumns& points, std::size_t i, const Math::Point<double, 3>& origin
    )
    {
        const auto take = [i](const auto& column, auto& value)
        {
            if (!column.empty())
            {
                value = column[i];
            }
        };
        Las::LasPoint point;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            point.position[axis] = mWriter.stored(points.positions[i][axis] + origin[axis], axis);
        }
        take(points.intensities, point.intensity);
        take(points.classifications, point.classification);
        take(points.returnNumbers, point.returnNumber);
        take(points.returnCounts, point.returnCount);
        take(points.userData, point.userData);
        take(points.gpsTimes, point.time);
        take(points.pointSources, point.pointSource);
        if (!points.scanIndices.empty())
        {
            point.pointSource = sourceOf(points.scanIndices[i]);
        }
        if (!points.scanAngles.empty())
        {
            const double steps = std::round(points.scanAngles[i] / kDegreesPerStep);
            point.scanAngle = static_cast<std::int16_t>(std::clamp(steps, -kSteepestAngle, kSteepestAngle));
        }
        if (mHasColors)
        {
            const Math::Color color = points.colors[i];
            const auto wide = [](unsigned char channel)
            { return static_cast<std::uint16_t>(channel * kChannelFactor); };
            point.color = {wide(color.r()), wide(color.g()), wide(color.b()), 0};
        }
        return point;
    }

    std::uint16_t sourceOf(std::uint32_t scanIndex)
    {
        constexpr std::uint32_t kLargest = std::numeric_limits<std::uint16_t>::max();
        mCutSources += scanIndex > kLargest ? 1 : 0;
        return static_cast<std::uint16_t>(std::min(scanIndex, kLargest));
    }

    FileSink mSink;
    bool mHasColors;
    Las::LasWriter mWriter;
    std::uint64_t mCutSources = 0;
};
}  // namespace

std::unique_ptr<PointWriter> makeLasWriter(OutputFile& file, const PointFacts& facts, bool isCompressed)
{
    return std::make_unique<LasPointWriter>(file, facts, isCompressed);
}
}  // namespace Cli
