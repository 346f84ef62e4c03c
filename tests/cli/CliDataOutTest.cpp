// What "query" writes, taken apart without the tool's own readers, and which points it chooses by attributes.
#include "tests/cli/lasRecords.h"
#include "tests/cli/printedPoints.h"
#include "tests/cli/runTarnel.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using testing::HasSubstr;

constexpr const char* kPlain = "autzen_default";
constexpr const char* kCopc = "copc_color12/color12.copc.laz";
constexpr std::size_t kPlainRow = 35;  // bytes of a point of kPlain, whose rows are not compressed

/// The bytes that "query" writes into a file of that name, with these options.
std::string queried(
    const TemporaryFolder& folder,
    const std::string& dataset,
    const std::string& name,
    std::vector<std::string> options
)
{
    const std::filesystem::path file = folder.path() / name;
    std::vector<std::string> arguments{"query", dataSet(dataset), "--output", text(file)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const TarnelRun run = runTarnel(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    return TemporaryFolder::read(file);
}

std::vector<LasRecord> sorted(std::vector<LasRecord> records)
{
    std::ranges::sort(records);
    return records;
}

/// All points of kPlain, read from its file row by row: position, intensity, return number, number of returns,
/// class, scan angle in degrees, user data, source, time, colour.
std::vector<LasRecord> plainRows()
{
    const std::string bytes = TemporaryFolder::read(std::filesystem::path(dataSet(kPlain)) / "octree.bin");
    std::vector<LasRecord> records(bytes.size() / kPlainRow);
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        const std::size_t at = i * kPlainRow;
        LasRecord& record = records[i];
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            record.position[axis] = numberAt<std::int32_t>(bytes, at + 4 * axis);
            const auto channel = numberAt<std::uint16_t>(bytes, at + 29 + 2 * axis);
            EXPECT_LE(channel, 255U);
            record.color[axis] = static_cast<std::uint16_t>(channel * 257U);
        }
        record.intensity = numberAt<std::uint16_t>(bytes, at + 12);
        record.returns = static_cast<std::uint8_t>(
            numberAt<std::uint8_t>(bytes, at + 14) | numberAt<std::uint8_t>(bytes, at + 15) << 4U
        );
        record.classification = numberAt<std::uint8_t>(bytes, at + 16);
        record.scanAngle =
            static_cast<std::int16_t>(std::lround(numberAt<std::int8_t>(bytes, at + 17) / 0.006));
        record.userData = numberAt<std::uint8_t>(bytes, at + 18);
        record.source = numberAt<std::uint16_t>(bytes, at + 19);
        record.time = numberAt<double>(bytes, at + 21);
    }
    return records;
}

/// The rows that satisfy a condition, in order of their values.
std::vector<LasRecord> plainRowsWhere(const std::function<bool(const LasRecord&)>& isWanted)
{
    std::vector<LasRecord> records = plainRows();
    std::erase_if(records, [&](const LasRecord& record) { return !isWanted(record); });
    return sorted(std::move(records));
}

unsigned returnNumber(const LasRecord& record)
{
    return record.returns & 15U;
}

unsigned returnCount(const LasRecord& record)
{
    return record.returns >> 4U;
}

std::vector<std::vector<std::string>> fieldsOf(const std::string& content, char separator)
{
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);)
    {
        std::vector<std::string>& row = rows.emplace_back();
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, separator);)
        {
            row.push_back(field);
        }
    }
    return rows;
}
}  // namespace

TEST(CliDataOut, LasHasEveryFieldOfEveryRowOfAnUncompressedDataSet)
{
    const TemporaryFolder folder;

    const std::string las = queried(folder, kPlain, "all.las", {"--every", "1"});

    EXPECT_EQ(las[104], 7);
    EXPECT_EQ(numberAt<double>(las, 131), 0.01);
    EXPECT_EQ(numberAt<double>(las, 155), 636001.76);
    EXPECT_EQ(sorted(lasRecords(las)), sorted(plainRows()));
}

TEST(CliDataOut, LazHasEveryFieldOfACopcFileAsLaszipReadsBoth)
{
    const TemporaryFolder folder;
    std::vector<LasRecord> expected = lasRecords(TemporaryFolder::read(dataSet(kCopc)));
    for (LasRecord& record : expected)
    {
        for (std::uint16_t& channel : record.color)
        {
            EXPECT_LE(channel, 255U);
            channel = static_cast<std::uint16_t>(channel * 257U);
        }
    }

    const std::string laz = queried(folder, kCopc, "all.laz", {"--every", "1"});

    EXPECT_EQ(static_cast<unsigned char>(laz[104]), 0x87);
    EXPECT_EQ(expected.size(), 1065U);
    EXPECT_EQ(sorted(lasRecords(laz)), sorted(std::move(expected)));
}

TEST(CliDataOut, LasAndLazHoldTheSamePointsInTheSameOrder)
{
    const TemporaryFolder folder;
    const std::vector<std::string> box{"--box", "636200.003,849000.003,0,636700.003,849300.003,430.003"};

    const std::vector<LasRecord> las = lasRecords(queried(folder, "autzen_brotli", "box.las", box));
    const std::vector<LasRecord> laz = lasRecords(queried(folder, "autzen_brotli", "box.laz", box));

    EXPECT_GT(las.size(), 300U);
    EXPECT_EQ(las, laz);
}

TEST(CliDataOut, TheHeaderHasBoundsAndCountsOfThePointsAndTheCoordinateSystemOfTheSource)
{
    const TemporaryFolder folder;
    const std::string source = TemporaryFolder::read(dataSet(kCopc));

    const std::string las = queried(folder, kCopc, "some.las", {"--intensity", "0,60"});

    const std::vector<LasRecord> records = lasRecords(las);
    ASSERT_GT(records.size(), 10U);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const auto lies = [axis](const LasRecord& a, const LasRecord& b)
        { return a.position[axis] < b.position[axis]; };
        const auto scale = numberAt<double>(las, 131 + 8 * axis);
        const auto offset = numberAt<double>(las, 155 + 8 * axis);
        EXPECT_EQ(scale, numberAt<double>(source, 131 + 8 * axis));
        EXPECT_EQ(offset, numberAt<double>(source, 155 + 8 * axis));
        EXPECT_EQ(
            numberAt<double>(las, 179 + 16 * axis),
            std::ranges::max_element(records, lies)->position[axis] * scale + offset
        );
        EXPECT_EQ(
            numberAt<double>(las, 187 + 16 * axis),
            std::ranges::min_element(records, lies)->position[axis] * scale + offset
        );
    }
    for (unsigned number = 1; number <= 15; ++number)
    {
        const auto isIt = [number](const LasRecord& record) { return returnNumber(record) == number; };
        EXPECT_EQ(
            numberAt<std::uint64_t>(las, 255 + 8 * (number - 1)),
            static_cast<std::uint64_t>(std::ranges::count_if(records, isIt))
        );
    }
    EXPECT_EQ(numberAt<std::uint16_t>(las, 6) & 16, 16);  // the coordinate system is WKT
    const std::string system = lasVariableRecord(las, "LASF_Projection", 2112);
    EXPECT_THAT(system, HasSubstr("NAD83 / Oregon"));
    EXPECT_STREQ(system.c_str(), lasVariableRecord(source, "LASF_Projection", 2112).c_str());
}

TEST(CliDataOut, TablesHaveTheDigitsOfADumpAndItsAttributes)
{
    const TemporaryFolder folder;
    for (const std::string name :
         {"autzen_brotli", "ept_ellipsoid_zstandard", "copc_color12/color12.copc.laz"})
    {
        const auto dump = fieldsOf(runTarnel({"dump", dataSet(name), "--all"}).output, ' ');

        const auto text = fieldsOf(queried(folder, name, "all.txt", {"--every", "1"}), ' ');
        const auto csv = fieldsOf(queried(folder, name, "all.csv", {"--every", "1"}), ',');

        EXPECT_EQ(text, csv);
        ASSERT_EQ(text.size(), dump.size() + 1) << name;
        const std::vector<std::string> names(text[0].begin(), text[0].begin() + 9);
        const std::vector<std::string> expected{
            "X", "Y", "Z", "Red", "Green", "Blue", "Alpha", "Intensity", "Classification"};
        EXPECT_EQ(names, expected);
        for (std::size_t i = 0; i < dump.size(); ++i)
        {
            ASSERT_TRUE(std::equal(dump[i].begin() + 1, dump[i].begin() + 10, text[i + 1].begin()))
                << name << ' ' << i;
        }
    }
}

TEST(CliDataOut, TablesNameWhatWasRecordedWithPoints)
{
    const TemporaryFolder folder;

    const auto rows = fieldsOf(queried(folder, kPlain, "all.csv", {"--every", "1000"}), ',');

    const std::vector<std::string> expected{
        "X",
        "Y",
        "Z",
        "Red",
        "Green",
        "Blue",
        "Alpha",
        "Intensity",
        "Classification",
        "ReturnNumber",
        "NumberOfReturns",
        "GpsTime",
        "PointSourceId",
        "UserData",
        "ScanAngle"};
    EXPECT_EQ(rows[0], expected);
    EXPECT_EQ(rows.size(), 111U);
    EXPECT_EQ(rows[1].size(), expected.size());
}

TEST(CliDataOut, PlyHasAttributesAsProperties)
{
    const TemporaryFolder folder;

    const std::string ply = queried(folder, kPlain, "all.ply", {"--every", "1"});

    const std::size_t body = ply.find("end_header\n") + 11;
    EXPECT_THAT(
        ply.substr(0, body),
        HasSubstr(
            "\nelement vertex 110000\nproperty double x\nproperty double y\nproperty double z\nproperty "
            "uchar red\n"
            "property uchar green\nproperty uchar blue\nproperty uchar alpha\nproperty ushort intensity\n"
            "property uchar classification\nproperty uchar return_number\nproperty uchar number_of_returns\n"
            "property double gps_time\nproperty ushort point_source_id\nproperty uchar user_data\n"
            "property float scan_angle\nend_header\n"
        )
    );
    constexpr std::size_t kSize = 24 + 4 + 2 + 1 + 1 + 1 + 8 + 2 + 1 + 4;
    ASSERT_EQ(ply.size() - body, 110000 * kSize);
    std::vector<std::vector<double>> actual;
    for (std::size_t at = body; at < ply.size(); at += kSize)
    {
        actual.push_back(
            {double(numberAt<std::uint16_t>(ply, at + 28)),
             double(numberAt<std::uint8_t>(ply, at + 30)),
             double(numberAt<std::uint8_t>(ply, at + 31)),
             double(numberAt<std::uint8_t>(ply, at + 32)),
             numberAt<double>(ply, at + 33),
             double(numberAt<std::uint16_t>(ply, at + 41)),
             double(numberAt<float>(ply, at + 44))}
        );
    }
    std::vector<std::vector<double>> expected;
    for (const LasRecord& row : plainRows())
    {
        expected.push_back(
            {double(row.intensity),
             double(row.classification),
             double(returnNumber(row)),
             double(returnCount(row)),
             row.time,
             double(row.source),
             std::round(row.scanAngle * 0.006)}
        );
    }
    std::ranges::sort(actual);
    std::ranges::sort(expected);
    EXPECT_EQ(actual, expected);
}

TEST(CliDataOut, AttributesChooseThePointsThatHaveThem)
{
    const TemporaryFolder folder;
    const auto found = [&](const std::vector<std::string>& options)
    { return sorted(lasRecords(queried(folder, kPlain, "found.las", options))); };

    const auto classes = found({"--classification", "2,5"});
    const auto intensities = found({"--intensity", "20,60"});
    const auto both = found({"--classes", "2", "--intensity", "20,60"});

    EXPECT_GT(classes.size(), 1000U);
    EXPECT_EQ(
        classes,
        plainRowsWhere([](const LasRecord& p) { return p.classification == 2 || p.classification == 5; })
    );
    EXPECT_GT(intensities.size(), 1000U);
    EXPECT_EQ(
        intensities, plainRowsWhere([](const LasRecord& p) { return p.intensity >= 20 && p.intensity <= 60; })
    );
    EXPECT_GT(both.size(), 1000U);
    EXPECT_EQ(
        both,
        plainRowsWhere([](const LasRecord& p)
                       { return p.classification == 2 && p.intensity >= 20 && p.intensity <= 60; })
    );
}

TEST(CliDataOut, ReturnsAreChosenByNumberAndByTheirPlaceAmongThoseOfTheirPulse)
{
    const TemporaryFolder folder;
    const auto found = [&](const std::string& returns) {
        return sorted(lasRecords(queried(folder, kPlain, "found.las", {"--returns", returns})));
    };

    EXPECT_EQ(
        found("2,3"),
        plainRowsWhere([](const auto& p) { return returnNumber(p) == 2 || returnNumber(p) == 3; })
    );
    EXPECT_EQ(found("last"), plainRowsWhere([](const auto& p) { return returnNumber(p) == returnCount(p); }));
    const auto inner = found("intermediate,single");
    EXPECT_GT(inner.size(), 100U);
    EXPECT_EQ(
        inner,
        plainRowsWhere(
            [](const auto& p)
            { return returnCount(p) == 1 || (returnNumber(p) > 1 && returnNumber(p) < returnCount(p)); }
        )
    );
}

TEST(CliDataOut, EveryNthCountsThePointsThatAreFound)
{
    const TemporaryFolder folder;

    const auto all = lasRecords(queried(folder, kPlain, "all.las", {"--classification", "2"}));
    const auto some =
        lasRecords(queried(folder, kPlain, "some.las", {"--classification", "2", "--every", "7"}));

    std::vector<LasRecord> expected;
    for (std::size_t i = 0; i < all.size(); i += 7)
    {
        expected.push_back(all[i]);
    }
    EXPECT_EQ(some, expected);
}

TEST(CliDataOut, ReturnsOfADataSetWithoutThemAreRefused)
{
    const TarnelRun run = runTarnel({"query", dataSet("ept_lonestar_thin_binary"), "--returns", "first"});

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr("its points have no return numbers, which --returns asks for"));
}

TEST(CliDataOut, SeveralDataSetsFollowOneAnotherInOneFile)
{
    const TemporaryFolder folder;
    const std::vector<std::string> box{"--box", "636200.003,849000.003,0,636700.003,849300.003,430.003"};
    const std::filesystem::path file = folder.path() / "both.las";

    const TarnelRun run =
        runTarnel({"query", dataSet("autzen_brotli"), dataSet(kPlain), box[0], box[1], "--output", text(file)}
        );

    ASSERT_EQ(run.exitCode, 0) << run.errors;
    std::vector<LasRecord> expected = lasRecords(queried(folder, "autzen_brotli", "a.las", box));
    const std::vector<LasRecord> second = lasRecords(queried(folder, kPlain, "b.las", box));
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(lasRecords(TemporaryFolder::read(file)), expected);
}
