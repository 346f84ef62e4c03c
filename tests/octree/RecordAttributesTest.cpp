// What was recorded with points beside what drawing knows, and what data sets say of their coordinates.
#include "octree/Octree.h"
#include "octree/las/LasSink.h"
#include "octree/las/LasWriter.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Octree::NodePointData;

constexpr unsigned kAll = Octree::kAllAttributes | Octree::kRecordAttributes;

/// What a point has: its place in steps of a hundredth, and what was recorded.
std::vector<std::vector<double>> rowsOf(const std::string& name)
{
    const Octree::Octree octree(Octree::Location::fromPath(testData() / name), 1.0);
    std::vector<std::vector<double>> rows;
    std::vector<Octree::OctreeNodeId> ids{octree.root()};
    for (std::size_t n = 0; n < ids.size(); ++n)
    {
        const Octree::OctreeNodeId id = ids[n];
        NodePointData data(kAll);
        octree.readNodePointData(id, data);
        const Octree::NodePointColumns& points = data.columns();
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            std::vector<double> row;
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                row.push_back(std::round((points.positions[i][axis] + octree.position()[axis]) * 100.0));
            }
            row.insert(
                row.end(),
                {double(points.returnNumbers[i]),
                 double(points.returnCounts[i]),
                 points.gpsTimes[i],
                 double(points.userData[i]),
                 std::round(points.scanAngles[i])}
            );
            rows.push_back(std::move(row));
        }
        for (const Octree::OctreeNodeId& child : octree.children(id))
        {
            ids.push_back(child);
        }
    }
    std::ranges::sort(rows);
    return rows;
}

class MemorySink final : public Las::LasSink
{
public:
    void write(std::string_view more) override { bytes += more; }

    void rewrite(std::uint64_t position, std::string_view others) override
    {
        bytes.replace(position, others.size(), others);
    }

    std::string bytes;
};
}  // namespace

TEST(RecordAttributes, OldAndLayeredPointsOfTheSameCloudHaveTheSame)
{
    const auto layered = rowsOf("copc_color12/color12.copc.laz");

    EXPECT_EQ(layered.size(), 1065U);
    EXPECT_EQ(layered, rowsOf("ept_color12_laszip"));
}

TEST(RecordAttributes, BrotliAndPlainDataSetsOfTheSameCloudHaveTheSame)
{
    auto stepHigher = rowsOf("autzen_default");  // as whoever made the other has rounded
    for (std::vector<double>& row : stepHigher)
    {
        std::for_each_n(row.begin(), 3, [](double& hundredths) { hundredths += 1.0; });
    }

    EXPECT_EQ(rowsOf("autzen_brotli"), stepHigher);
}

TEST(RecordAttributes, OnlyWhoAsksGetsThem)
{
    const Octree::Octree octree(Octree::Location::fromPath(testData() / "autzen_brotli"), 1.0);
    NodePointData data;

    octree.readNodePointData(octree.root(), data);

    EXPECT_TRUE(data.columns().returnNumbers.empty());
    EXPECT_TRUE(data.columns().gpsTimes.empty());
    EXPECT_EQ(
        octree.recordMask(),
        unsigned{
            Octree::kReturnNumberAttribute | Octree::kReturnCountAttribute | Octree::kGpsTimeAttribute |
            Octree::kPointSourceAttribute | Octree::kUserDataAttribute | Octree::kScanAngleAttribute}
    );
    EXPECT_EQ(octree.attributeMask() & Octree::kRecordAttributes, 0U);
}

TEST(RecordAttributes, DataSetsSayTheirCoordinateSystemAndWhatStoredCoordinatesCountFrom)
{
    const auto open = [](const char* name)
    { return std::make_unique<Octree::Octree>(Octree::Location::fromPath(testData() / name), 1.0); };

    EXPECT_TRUE(
        open("copc_color12/color12.copc.laz")->coordinateSystem().starts_with("COMPD_CS[\"NAD83 / Oregon")
    );
    EXPECT_TRUE(
        open("ept_ellipsoid_zstandard")->coordinateSystem().starts_with("PROJCS[\"WGS 84 / Pseudo-Mer")
    );
    EXPECT_EQ(open("autzen_brotli")->coordinateSystem(), "");
    EXPECT_EQ(open("autzen_brotli")->storedOrigin().x, 636001.76);
    EXPECT_EQ(open("copc_color12/color12.copc.laz")->storedOrigin().z, 496.48);
    EXPECT_EQ(open("ept_ellipsoid_zstandard")->storedOrigin().y, 4966606.0);
}

TEST(LasWriter, AFileWithoutPointsIsComplete)
{
    for (const bool isCompressed : {false, true})
    {
        MemorySink sink;
        Las::LasFileOptions options;
        options.isCompressed = isCompressed;
        Las::LasWriter writer(sink, options);

        writer.finish();

        std::uint64_t count = 1;
        std::memcpy(&count, sink.bytes.data() + 247, sizeof count);
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(sink.bytes.size() == 375, !isCompressed);
    }
}

TEST(LasWriter, CoordinatesBeyond32BitsAreRefused)
{
    MemorySink sink;
    Las::LasFileOptions options;
    options.offset = {1000.0, 0.0, 0.0};
    const Las::LasWriter writer(sink, options);

    EXPECT_EQ(writer.stored(1000.0016, 0), 2);
    EXPECT_EQ(writer.stored(999.9, 0), -100);
    EXPECT_THROW(writer.stored(2147483.6476, 1), std::out_of_range);
    EXPECT_THROW(writer.stored(std::numeric_limits<double>::quiet_NaN(), 1), std::out_of_range);
    EXPECT_THROW(writer.stored(std::numeric_limits<double>::infinity(), 2), std::out_of_range);
}

TEST(LasWriter, BadScalesAndLongCoordinateSystemsAreRefused)
{
    MemorySink sink;
    Las::LasFileOptions flat;
    flat.scale = {1.0, 0.0, 1.0};
    Las::LasFileOptions longText;
    longText.coordinateSystem.assign(65535, 'x');

    EXPECT_THROW(Las::LasWriter(sink, flat), std::invalid_argument);
    EXPECT_THROW(Las::LasWriter(sink, longText), std::invalid_argument);
    EXPECT_TRUE(sink.bytes.empty());
}

TEST(LasWriter, WellKnownTextIsToldFromOtherNamesOfCoordinateSystems)
{
    EXPECT_TRUE(Las::isWellKnownText("PROJCS[\"x\"]"));
    EXPECT_TRUE(Las::isWellKnownText("COMPOUNDCRS[\"x\"]"));
    EXPECT_FALSE(Las::isWellKnownText("EPSG:3857"));
    EXPECT_FALSE(Las::isWellKnownText("+proj=utm +zone=32"));
    EXPECT_FALSE(Las::isWellKnownText(""));
}
