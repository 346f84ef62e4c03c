// Polygons in WKT and GeoJSON: what is read, and what is refused.
#include "apps/cli/CornerReader.h"
#include "apps/cli/parseGeoJson.h"
#include "apps/cli/parseWkt.h"
#include "apps/cli/readRegionFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using Corner = Math::Point<float, 2>;

const Math::Point<double, 3> kOrigin{100.0, 200.0, 0.0};

std::string wktError(const std::string& text)
{
    return messageOf<std::runtime_error>([&] { parseWkt(text, kOrigin); });
}

std::string geoJsonError(const std::string& text)
{
    return messageOf<std::runtime_error>([&] { parseGeoJson(text, kOrigin); });
}

std::string manyCorners(std::size_t count, const char* before, const char* corner, const char* after)
{
    std::string text = before;
    for (std::size_t i = 0; i < count; ++i)
    {
        text += (i == 0 ? "" : ",") + std::string(corner);
    }
    return text + after;
}
}  // namespace

TEST(Wkt, APolygonHasAnOutlineAndHoles)
{
    const auto polygons =
        parseWkt(" polygon ((100 200, 110 200,110 210) , (101 201,1.02e2 201,102 202.5))\n", kOrigin);

    ASSERT_EQ(polygons.size(), 1U);
    EXPECT_THAT(polygons[0].outline, ElementsAre(Corner(0, 0), Corner(10, 0), Corner(10, 10)));
    ASSERT_EQ(polygons[0].holes.size(), 1U);
    EXPECT_THAT(polygons[0].holes[0], ElementsAre(Corner(1, 1), Corner(2, 1), Corner(2, 2.5)));
}

TEST(Wkt, SeveralPolygonsMayHaveHeightsAndMeasures)
{
    const auto polygons = parseWkt(
        "MULTIPOLYGON ZM (((100 200 1 2,101 200 1 2,101 201 1 2)),((103 200 0 0,104 200 0 0,104 201 0 0)))",
        kOrigin
    );

    ASSERT_EQ(polygons.size(), 2U);
    EXPECT_THAT(polygons[1].outline, ElementsAre(Corner(3, 0), Corner(4, 0), Corner(4, 1)));
    EXPECT_EQ(parseWkt("POLYGON((0 0 5,1 0 5,1 1 5))", kOrigin)[0].outline.size(), 3U);
    EXPECT_EQ(parseWkt("POLYGON Z((0 0 5,1 0 5,1 1 5))", kOrigin)[0].outline.size(), 3U);
}

TEST(Wkt, MessagesTellThePlaceAndWhatWasExpected)
{
    EXPECT_EQ(wktError("POLYGON((0 0,1 x"), "bad well-known text at character 16, expected a number");
    EXPECT_EQ(wktError("POLYGON((0 0,1 1"), "bad well-known text at character 17, expected ',' or ')'");
    EXPECT_EQ(
        wktError("POLYGON EMPTY"), "bad well-known text at character 14, expected at least one polygon"
    );
    EXPECT_EQ(
        wktError("POLYGON((0 0,1 1,2 0)) x"),
        "bad well-known text at character 24, expected the end of the text"
    );
    EXPECT_THAT(wktError("POINT(1 2)"), HasSubstr("expected POLYGON or MULTIPOLYGON"));
    EXPECT_THAT(wktError("POLYGON"), HasSubstr("expected '('"));
}

TEST(Wkt, NumbersThatAreNoCoordinatesAndTooManyCornersAreRefused)
{
    EXPECT_THAT(wktError("POLYGON((nan 0,1 1,2 0))"), HasSubstr("bad corner nan 0"));
    EXPECT_THAT(wktError("POLYGON((0 inf,1 1,2 0))"), HasSubstr("bad corner 0 inf"));
    EXPECT_THAT(wktError("POLYGON((0 1e16,1 1,2 0))"), HasSubstr("expected two numbers within 1e+15"));
    EXPECT_THAT(
        wktError(manyCorners(CornerReader::kMostCorners + 1, "POLYGON((", "0 0", "))")),
        HasSubstr("there are more than 100000 corners")
    );
}

TEST(GeoJson, GeometriesFeaturesAndCollectionsGiveTheirPolygons)
{
    const std::string ring = "[[100,200],[110,200,7],[110,210],[100,200]]";
    const std::string polygon = R"({"type":"Polygon","coordinates":[)" + ring + "," + ring + "]}";
    const std::string several = R"({"type":"MultiPolygon","coordinates":[[)" + ring + "],[" + ring + "]]}";
    const std::string feature = R"({"type":"Feature","properties":null,"geometry":)" + several + "}";

    const auto one = parseGeoJson(polygon, kOrigin);
    ASSERT_EQ(one.size(), 1U);
    EXPECT_THAT(one[0].outline, ElementsAre(Corner(0, 0), Corner(10, 0), Corner(10, 10), Corner(0, 0)));
    EXPECT_EQ(one[0].holes.size(), 1U);
    EXPECT_EQ(parseGeoJson(feature, kOrigin).size(), 2U);
    EXPECT_EQ(
        parseGeoJson(R"({"type":"FeatureCollection","features":[)" + feature + "," + polygon + "]}", kOrigin)
            .size(),
        3U
    );
}

TEST(GeoJson, WhatHasNoPolygonsIsNamed)
{
    EXPECT_THAT(geoJsonError("{"), HasSubstr("JSON"));
    EXPECT_EQ(geoJsonError("[]"), "GeoJSON begins with an object");
    EXPECT_THAT(geoJsonError(R"({"type":"Point","coordinates":[1,2]})"), HasSubstr("bad field \"type\""));
    EXPECT_THAT(
        geoJsonError(R"({"type":"FeatureCollection","features":[{"type":"Feature","geometry":null}]})"),
        HasSubstr("features[0].geometry")
    );
    EXPECT_THAT(geoJsonError(R"({"type":"Polygon","coordinates":[]})"), HasSubstr("at least one ring"));
    EXPECT_THAT(geoJsonError(R"({"type":"Polygon","coordinates":[[[1]]]})"), HasSubstr("coordinates[0][0]"));
    EXPECT_EQ(
        geoJsonError(R"({"type":"FeatureCollection","features":[]})"), "there is no polygon in this GeoJSON"
    );
}

TEST(GeoJson, DeepOrLargeTextsAndNumbersThatAreNoCoordinatesAreRefused)
{
    EXPECT_THAT(
        geoJsonError(
            R"({"type":"Polygon","coordinates":)" + std::string(100, '[') + std::string(100, ']') + "}"
        ),
        HasSubstr("16")
    );
    EXPECT_THAT(
        geoJsonError(R"({"type":"Polygon","coordinates":[[[1e300,0],[1,1],[2,0]]]})"),
        HasSubstr("bad corner 1e+300 0")
    );
    EXPECT_THAT(
        geoJsonError(manyCorners(
            CornerReader::kMostCorners + 1, R"({"type":"Polygon","coordinates":[[)", "[0,0]", "]]}"
        )),
        HasSubstr("there are more than 100000 corners")
    );
}

TEST(RegionFile, WhatTheTextBeginsWithDecides)
{
    const TemporaryFolder folder;
    const auto cornersOf = [&](const std::string& content)
    { return readRegionFile(folder.write("region", content).string(), kOrigin).at(0).outline.size(); };

    EXPECT_EQ(cornersOf("1 2\n3 4\n5 7\n"), 3U);
    EXPECT_EQ(cornersOf("\n POLYGON((0 0,1 0,1 1,0 1))"), 4U);
    EXPECT_EQ(cornersOf("\xef\xbb\xbf{\"type\":\"Polygon\",\"coordinates\":[[[0,0],[1,0]]]}"), 2U);
    EXPECT_EQ(readRegionFile("POLYGON((0 0,1 0,1 1,0 1,0 2))", kOrigin).at(0).outline.size(), 5U);
}

TEST(RegionFile, MessagesNameTheFile)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("region.wkt", "POLYGON((0 0)").string();

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readRegionFile(file, kOrigin); }),
        HasSubstr("region.wkt: bad well-known text at character 14")
    );
}
}  // namespace Cli
