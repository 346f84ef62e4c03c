#include "octree/entwine/Metadata.h"
#include "tests/octree/EptTestSet.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{
using Entwine::Metadata;
using nlohmann::json;
using testing::HasSubstr;

Metadata parsed(const json& document)
{
    return Entwine::parseMetadata(document.dump(), "folder/ept.json");
}

std::string failureOf(const std::function<void(json&)>& damage)
{
    json document = smallEpt("binary");
    damage(document);
    return messageOf<std::runtime_error>([&] { parsed(document); });
}

TEST(EntwineMetadata, DimensionsLieInSchemaOrderWithoutGaps)
{
    json document = smallEpt("binary");
    document["schema"].insert(document["schema"].begin(), dimensionEntry("Intensity", "unsigned", 2));
    document["schema"].push_back(dimensionEntry("Classification", "unsigned", 1));

    const Metadata metadata = parsed(document);

    EXPECT_EQ(metadata.bytesPerPoint, 15U);
    EXPECT_EQ(metadata.dimension("Intensity")->byteOffset, 0U);
    EXPECT_EQ(metadata.dimension("X")->byteOffset, 2U);
    EXPECT_EQ(metadata.dimension("Z")->byteOffset, 10U);
    EXPECT_EQ(metadata.dimension("Classification")->byteOffset, 14U);
    EXPECT_EQ(metadata.dimension("Red"), nullptr);
}

TEST(EntwineMetadata, SpacingIsTheEdgeOverTheSpan)
{
    EXPECT_DOUBLE_EQ(parsed(smallEpt("binary")).spacing, 16.0 / 128.0);
}

TEST(EntwineMetadata, BoundsConformingAreTheBoxAndBoundsWithoutThem)
{
    json document = smallEpt("binary");
    EXPECT_EQ(parsed(document).boundingBox.min().x, 101.0);
    EXPECT_EQ(parsed(document).boundingBox.max().z, 315.0);

    document.erase("boundsConforming");
    EXPECT_EQ(parsed(document).boundingBox.min().x, 100.0);
    EXPECT_EQ(parsed(document).boundingBox.max().z, 316.0);
}

TEST(EntwineMetadata, ReferencePositionIsTheOffsetWhereItLiesInTheCubeElseTheCubesMinimum)
{
    json document = smallEpt("binary");
    document["schema"][0]["offset"] = 108.5;
    document["schema"][1].erase("offset");
    document["schema"][2]["offset"] = 316.5;

    const Math::Point<double, 3> position = parsed(document).referencePosition();

    EXPECT_EQ(position.x, 108.5);
    EXPECT_EQ(position.y, 200.0);
    EXPECT_EQ(position.z, 300.0);
}

TEST(EntwineMetadata, IntensityRangeIsTheDeclaredOneCutToSixteenBits)
{
    json document = smallEpt("binary");
    json intensity = dimensionEntry("Intensity", "unsigned", 4);
    document["schema"].push_back(intensity);
    EXPECT_EQ(parsed(document).intensityRange(), std::make_pair(std::uint16_t{0}, std::uint16_t{65535}));

    document["schema"][3]["minimum"] = 17;
    document["schema"][3]["maximum"] = 1e6;
    EXPECT_EQ(parsed(document).intensityRange(), std::make_pair(std::uint16_t{17}, std::uint16_t{65535}));
}

TEST(EntwineMetadata, NumbersMayBeWrittenWithPointOrExponent)
{
    std::string text = smallEpt("binary").dump();
    text.replace(text.find("\"span\":128"), 10, "\"span\":1.28e2");

    EXPECT_DOUBLE_EQ(Entwine::parseMetadata(text, "ept.json").spacing, 0.125);
}

TEST(EntwineMetadata, EachRequiredFieldIsMissedByName)
{
    for (const char* field : {"bounds", "dataType", "schema", "span"})
    {
        const std::string error = failureOf([&](json& document) { document.erase(field); });
        EXPECT_THAT(error, HasSubstr("ept.json: field \"" + std::string(field) + "\" is missing"));
    }
}

TEST(EntwineMetadata, CoordinatesAreRequired)
{
    EXPECT_THAT(
        failureOf([](json& document) { document["schema"][1]["name"] = "Q"; }),
        HasSubstr("bad field \"schema\", expected a dimension \"Y\"")
    );
}

TEST(EntwineMetadata, BoundsMustBeACube)
{
    const std::string expected = "bad field \"bounds\"";
    EXPECT_THAT(failureOf([](json& document) { document["bounds"] = {0, 0, 0, 1, 1}; }), HasSubstr(expected));
    EXPECT_THAT(
        failureOf(
            [](json& document) {
                document["bounds"] = {0, 0, 0, 1, 1, 2};
            }
        ),
        HasSubstr(expected)
    );
    EXPECT_THAT(
        failureOf(
            [](json& document) {
                document["bounds"] = {0, 0, 0, 0, 0, 0};
            }
        ),
        HasSubstr(expected)
    );
    EXPECT_THAT(
        failureOf(
            [](json& document) {
                document["bounds"] = {1, 1, 1, 0, 0, 0};
            }
        ),
        HasSubstr(expected)
    );
    EXPECT_THAT(
        failureOf(
            [](json& document) {
                document["bounds"] = {-1e300, -1e300, -1e300, 0, 0, 0};
            }
        ),
        HasSubstr(expected)
    );
}

TEST(EntwineMetadata, AbsurdDimensionsAreRefused)
{
    const auto failure = [](const char* key, const json& value)
    { return failureOf([&](json& document) { document["schema"][0][key] = value; }); };

    EXPECT_THAT(failure("size", 0), HasSubstr("schema[0].size"));
    EXPECT_THAT(failure("size", 9), HasSubstr("schema[0].size"));
    EXPECT_THAT(failure("size", 1.5), HasSubstr("schema[0].size"));
    EXPECT_THAT(failure("type", "text"), HasSubstr("schema[0].type"));
    EXPECT_THAT(failure("scale", 0), HasSubstr("schema[0].scale"));
    EXPECT_THAT(failure("scale", "1"), HasSubstr("schema[0].scale"));
    EXPECT_THAT(failure("offset", 1e40), HasSubstr("schema[0].offset"));
    EXPECT_THAT(failure("name", "Y"), HasSubstr("expected a name that no dimension before has"));
}

TEST(EntwineMetadata, FloatingPointNumbersHaveFourOrEightBytes)
{
    EXPECT_THAT(
        failureOf(
            [](json& document)
            {
                document["schema"][0]["type"] = "float";
                document["schema"][0]["size"] = 2;
            }
        ),
        HasSubstr("expected 4 or 8 bytes for floating-point numbers")
    );
}

TEST(EntwineMetadata, UnknownKindsAndVersionsAreRefused)
{
    EXPECT_THAT(
        failureOf([](json& document) { document["dataType"] = "zip"; }),
        HasSubstr("bad field \"dataType\", expected \"binary\", \"zstandard\" or \"laszip\"")
    );
    EXPECT_THAT(
        failureOf([](json& document) { document["hierarchyType"] = "gzip"; }), HasSubstr("\"hierarchyType\"")
    );
    EXPECT_THAT(failureOf([](json& document) { document["version"] = "2.0.0"; }), HasSubstr("\"version\""));
    EXPECT_THAT(failureOf([](json& document) { document["span"] = 0; }), HasSubstr("\"span\""));
    EXPECT_THAT(failureOf([](json& document) { document["span"] = -128; }), HasSubstr("\"span\""));
}

TEST(EntwineMetadata, TextThatIsNoJsonNamesTheFile)
{
    EXPECT_THAT(
        messageOf<std::runtime_error>([] { Entwine::parseMetadata("{\"bounds\": [", "folder/ept.json"); }),
        HasSubstr("ept.json: not readable as JSON")
    );
}
}  // namespace
