#include "core/LocalFile.h"
#include "octree/NodePointData.h"
#include "octree/potree/Metadata.h"
#include "octree/potree/PointLayout.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using nlohmann::json;
using PoTree::Metadata;
using PoTree::parseMetadata;
using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kFile = "folder/metadata.json";

Metadata parsed(const json& document)
{
    return parseMetadata(document.dump(), kFile);
}

std::string errorOf(const json& document)
{
    return messageOf<std::runtime_error>([&] { parsed(document); });
}

std::string errorOfText(const std::string& text)
{
    return messageOf<std::runtime_error>([&] { parseMetadata(text, kFile); });
}

/// A change that makes good metadata bad, and the field that the message is to name.
struct Damage
{
    std::string field;
    std::function<void(json&)> apply;
};

TEST(Metadata, ReadsEveryFieldThatDecodingNeeds)
{
    json document = smallMetadata("BROTLI");
    document["hierarchy"]["firstChunkSize"] = 638;
    document["scale"] = {0.5, 0.25, 1e-6};

    const Metadata metadata = parsed(document);

    EXPECT_EQ(metadata.name, "small");
    EXPECT_EQ(metadata.encoding, PoTree::Encoding::Brotli);
    EXPECT_EQ(metadata.firstChunkSize, 638U);
    EXPECT_EQ(metadata.offset, (Math::Point<double, 3>(100.0, 200.0, 300.0)));
    EXPECT_EQ(metadata.scale, (Math::Point<double, 3>(0.5, 0.25, 1e-6)));
    EXPECT_EQ(metadata.spacing, 0.125);
    EXPECT_EQ(metadata.boundingBox.min(), (Math::Point<double, 3>(100.0, 200.0, 300.0)));
    EXPECT_EQ(metadata.boundingBox.max(), (Math::Point<double, 3>(116.0, 216.0, 316.0)));
    ASSERT_EQ(metadata.attributes.size(), 1U);
    EXPECT_EQ(metadata.attributes[0].name, "position");
    EXPECT_EQ(metadata.attributes[0].type, "int32");
    EXPECT_EQ(metadata.attributes[0].size, 12U);
}

TEST(Metadata, TakesWholeNumbersAndExponentsForEveryNumber)
{
    json document = smallMetadata("BROTLI");
    document["offset"] = {1, -2, 3};
    std::string text = document.dump();
    text.replace(text.find("0.125"), 5, "1.25e-1");

    const Metadata metadata = parseMetadata(text, kFile);

    EXPECT_EQ(metadata.offset, (Math::Point<double, 3>(1.0, -2.0, 3.0)));
    EXPECT_EQ(metadata.spacing, 0.125);
}

TEST(Metadata, IgnoresUnknownFields)
{
    json document = smallMetadata("BROTLI");
    document["somethingNew"] = {{"deep", {1, 2, 3}}};
    document["attributes"][0]["histogram"] = {1, 2, 3};

    EXPECT_EQ(parsed(document).attributes.size(), 1U);
}

TEST(Metadata, DefaultAndUncompressedMeanPlainRows)
{
    EXPECT_EQ(parsed(smallMetadata("DEFAULT")).encoding, PoTree::Encoding::Plain);
    EXPECT_EQ(parsed(smallMetadata("UNCOMPRESSED")).encoding, PoTree::Encoding::Plain);
}

TEST(Metadata, RefusesAnUnknownEncoding)
{
    const std::string error = errorOf(smallMetadata("GZIP"));

    EXPECT_THAT(
        error, AllOf(HasSubstr("folder/metadata.json"), HasSubstr("encoding"), HasSubstr("\"BROTLI\""))
    );
}

TEST(Metadata, NamesTheFieldThatIsMissing)
{
    const std::vector<std::pair<std::string, std::string>> fields{
        {"/encoding", "encoding"},
        {"/offset", "offset"},
        {"/scale", "scale"},
        {"/spacing", "spacing"},
        {"/boundingBox", "boundingBox"},
        {"/boundingBox/min", "boundingBox.min"},
        {"/boundingBox/max", "boundingBox.max"},
        {"/hierarchy", "hierarchy"},
        {"/hierarchy/firstChunkSize", "hierarchy.firstChunkSize"},
        {"/attributes", "attributes"},
        {"/attributes/0/name", "attributes[0].name"},
        {"/attributes/0/type", "attributes[0].type"},
        {"/attributes/0/size", "attributes[0].size"},
    };
    for (const auto& [pointer, name] : fields)
    {
        const json::json_pointer place(pointer);
        json document = smallMetadata("BROTLI");
        document[place.parent_pointer()].erase(place.back());

        EXPECT_EQ(errorOf(document), "Error: folder/metadata.json: field \"" + name + "\" is missing");
    }
}

TEST(Metadata, NamesTheFieldThatHasTheWrongType)
{
    const std::vector<std::pair<std::string, std::string>> fields{
        {"/version", "version"},
        {"/name", "name"},
        {"/encoding", "encoding"},
        {"/offset", "offset"},
        {"/offset/1", "offset[1]"},
        {"/scale", "scale"},
        {"/spacing", "spacing"},
        {"/boundingBox", "boundingBox"},
        {"/boundingBox/max", "boundingBox.max"},
        {"/hierarchy", "hierarchy"},
        {"/hierarchy/firstChunkSize", "hierarchy.firstChunkSize"},
        {"/attributes", "attributes"},
        {"/attributes/0", "attributes[0]"},
        {"/attributes/0/name", "attributes[0].name"},
        {"/attributes/0/type", "attributes[0].type"},
        {"/attributes/0/size", "attributes[0].size"},
    };
    for (const auto& [pointer, name] : fields)
    {
        json document = smallMetadata("BROTLI");
        document[json::json_pointer(pointer)] = nullptr;

        EXPECT_THAT(
            errorOf(document),
            AllOf(HasSubstr("folder/metadata.json: bad field \"" + name + "\""), HasSubstr("expected"))
        );
    }
}

TEST(Metadata, RefusesValuesOutOfRange)
{
    const std::vector<Damage> damages{
        {"scale", [](json& d) { d["scale"][0] = 0.0; }},
        {"scale", [](json& d) { d["scale"][2] = -0.01; }},
        {"scale", [](json& d) { d["scale"][1] = 1e21; }},
        {"scale",
         [](json& d) {
             d["scale"] = {1.0, 1.0};
         }},
        {"offset",
         [](json& d) {
             d["offset"] = {1.0, 2.0, 3.0, 4.0};
         }},
        {"offset", [](json& d) { d["offset"][0] = 1e31; }},
        {"spacing", [](json& d) { d["spacing"] = -1.0; }},
        {"boundingBox", [](json& d) { d["boundingBox"]["max"][1] = 199.0; }},
        {"hierarchy.firstChunkSize", [](json& d) { d["hierarchy"]["firstChunkSize"] = -22; }},
        {"hierarchy.firstChunkSize", [](json& d) { d["hierarchy"]["firstChunkSize"] = 22.5; }},
        {"hierarchy.firstChunkSize", [](json& d) { d["hierarchy"]["firstChunkSize"] = 1e300; }},
        {"attributes", [](json& d) { d["attributes"] = json::array(); }},
        {"attributes[0].size", [](json& d) { d["attributes"][0]["size"] = 0; }},
        {"attributes[0].size", [](json& d) { d["attributes"][0]["size"] = -12; }},
        {"attributes[0].size", [](json& d) { d["attributes"][0]["size"] = 4294967296.0; }},
        {"attributes[0].size", [](json& d) { d["attributes"][0]["size"] = 18446744073709551615ULL; }},
        {"attributes[0].size", [](json& d) { d["attributes"][0]["size"] = 13; }},
        {"attributes[0].type", [](json& d) { d["attributes"][0]["type"] = "int128"; }},
        {"attributes[0].min", [](json& d) { d["attributes"][0]["min"] = "low"; }},
        {"attributes[0]",
         [](json& d) {
             d["attributes"][0]["min"] = {1.0, 2.0, 3.0};
         }},
        {"attributes[1].name", [](json& d) { d["attributes"].push_back(d["attributes"][0]); }},
        {"version", [](json& d) { d["version"] = "1.8"; }},
    };
    for (const Damage& damage : damages)
    {
        json document = smallMetadata("BROTLI");
        damage.apply(document);

        EXPECT_THAT(errorOf(document), HasSubstr("bad field \"" + damage.field + "\", expected")) << document;
    }
}

TEST(Metadata, RefusesMoreAttributesThanAnyFileHas)
{
    json document = smallMetadata("BROTLI");
    for (int i = 0; i < 2000; ++i)
    {
        document["attributes"].push_back(attributeEntry("extra" + std::to_string(i), "uint8", 1));
    }

    EXPECT_THAT(errorOf(document), HasSubstr("bad field \"attributes\", expected 1 to 1024 attributes"));
}

TEST(Metadata, RefusesNumbersThatAreNotFinite)
{
    for (const std::string& number :
         {std::string("1e999"), std::string("-1e999"), std::string("NaN"), std::string("Infinity")})
    {
        std::string text = smallMetadata("BROTLI").dump();
        text.replace(text.find("0.125"), 5, number);

        EXPECT_THAT(errorOfText(text), HasSubstr("folder/metadata.json")) << number;
    }
}

TEST(Metadata, RefusesTextThatIsNoJsonObject)
{
    EXPECT_THAT(errorOfText(""), HasSubstr("not readable as JSON"));
    EXPECT_THAT(errorOfText("{\"version\": "), HasSubstr("not readable as JSON"));
    EXPECT_THAT(errorOfText(std::string("\0\x89PNG", 5)), HasSubstr("not readable as JSON"));
    EXPECT_THAT(errorOfText("[1, 2, 3]"), HasSubstr("expected an object"));
}

TEST(Metadata, RefusesEndlessNesting)
{
    EXPECT_THAT(errorOfText(std::string(1000000, '[')), HasSubstr("nested more than 16 deep"));
}

TEST(Metadata, RefusesAFileFarLargerThanRealOnes)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.write("metadata.json", std::string((4U << 20U) + 1, ' '));

    const std::string error =
        messageOf<std::runtime_error>([&] { PoTree::readMetadata(Core::LocalFile(file)); });

    EXPECT_THAT(error, AllOf(HasSubstr("metadata.json"), HasSubstr("4194304")));
}

TEST(Metadata, TheReferencePositionIsTheOffsetWithinTheCubeElseTheCubesMinimum)
{
    json document = smallMetadata("BROTLI");  // the cube from (100, 200, 300) to (116, 216, 316)
    EXPECT_EQ(parsed(document).referencePosition(), (Math::Point<double, 3>(100.0, 200.0, 300.0)));

    document["offset"] = {0.0, 208.5, 317.0};
    EXPECT_EQ(parsed(document).referencePosition(), (Math::Point<double, 3>(100.0, 208.5, 300.0)));

    document["offset"] = {99.99999999, 216.00000001, 315.0};  // rounded apart
    EXPECT_EQ(
        parsed(document).referencePosition(), (Math::Point<double, 3>(99.99999999, 216.00000001, 315.0))
    );
}

TEST(Metadata, TightBoundsAreThoseOfThePositions)
{
    json document = smallMetadata("BROTLI");
    document["attributes"][0]["min"] = {101.0, 202.0, 303.0};
    document["attributes"][0]["max"] = {110.0, 211.0, 312.0};

    const Math::NBoundingBox<double, 3> bounds = parsed(document).tightBoundingBox();

    EXPECT_EQ(bounds.min(), (Math::Point<double, 3>(101.0, 202.0, 303.0)));
    EXPECT_EQ(bounds.max(), (Math::Point<double, 3>(110.0, 211.0, 312.0)));
}

TEST(Metadata, TightBoundsWithoutDeclaredRangeAreTheCube)
{
    const Metadata metadata = parsed(smallMetadata("BROTLI"));

    EXPECT_EQ(metadata.tightBoundingBox(), metadata.boundingBox);
}

TEST(Metadata, IntensityRangeIsDeclaredOrAllSixteenBits)
{
    json document = smallMetadata("BROTLI");
    EXPECT_EQ(parsed(document).intensityRange(), std::pair(std::uint16_t{0}, std::uint16_t{65535}));

    document["attributes"].push_back(attributeEntry("intensity", "uint16", 2));
    EXPECT_EQ(parsed(document).intensityRange(), std::pair(std::uint16_t{0}, std::uint16_t{65535}));

    document["attributes"][1]["min"] = {17};
    document["attributes"][1]["max"] = {1e9};
    EXPECT_EQ(parsed(document).intensityRange(), std::pair(std::uint16_t{17}, std::uint16_t{65535}));
}

TEST(Metadata, ColorsAreWideWhenAnyMaximumExceedsEightBits)
{
    json document = smallMetadata("BROTLI");
    document["attributes"].push_back(attributeEntry("rgb", "uint16", 6));
    EXPECT_FALSE(parsed(document).hasWideColors());

    document["attributes"][1]["min"] = {0, 0, 0};
    document["attributes"][1]["max"] = {255, 255, 255};
    EXPECT_FALSE(parsed(document).hasWideColors());

    document["attributes"][1]["max"] = {255, 255, 256};
    EXPECT_TRUE(parsed(document).hasWideColors());
}

TEST(PointLayout, BrotliColumnsCountSixteenBytesForPositionsAndEightForColors)
{
    json document = smallMetadata("BROTLI");
    document["attributes"] = {
        attributeEntry("intensity", "uint16", 2),
        attributeEntry("position", "int32", 12),
        attributeEntry("gps-time", "double", 8),
        attributeEntry("rgb", "uint16", 6),
        attributeEntry("classification", "uint8", 1),
    };

    const PoTree::PointLayout layout = PoTree::makePointLayout(parsed(document), kFile);

    EXPECT_EQ(layout.intensity, 0U);
    EXPECT_EQ(layout.position, 2U);
    EXPECT_EQ(layout.rgb, 26U);
    EXPECT_EQ(layout.classification, 34U);
    EXPECT_EQ(layout.bytesPerPoint, 35U);
}

TEST(PointLayout, PlainRowsCountTheSizesAsDeclared)
{
    json document = smallMetadata("DEFAULT");
    document["attributes"].push_back(attributeEntry("rgb", "uint16", 6));
    document["attributes"].push_back(attributeEntry("ScanIndex", "uint32", 4));

    const PoTree::PointLayout layout = PoTree::makePointLayout(parsed(document), kFile);

    EXPECT_EQ(layout.position, 0U);
    EXPECT_EQ(layout.rgb, 12U);
    EXPECT_EQ(layout.scanIndex, 18U);
    EXPECT_EQ(layout.bytesPerPoint, 22U);
}

TEST(PointLayout, RefusesPlainPositionsThatAreNotThreeIntegers)
{
    json document = smallMetadata("DEFAULT");
    document["attributes"][0]["size"] = 24;
    const Metadata metadata = parsed(document);

    const std::string error =
        messageOf<std::runtime_error>([&] { PoTree::makePointLayout(metadata, kFile); });

    EXPECT_THAT(error, AllOf(HasSubstr("\"position\""), HasSubstr("24 bytes"), HasSubstr("expected 12")));
}

TEST(PointLayout, AttributeOfUnusualSizeOrOtherSpellingIsNotRead)
{
    json document = smallMetadata("BROTLI");
    document["attributes"].push_back(attributeEntry("intensity", "uint32", 4));
    document["attributes"].push_back(attributeEntry("Classification", "uint8", 1));
    document["attributes"].push_back(attributeEntry("NormalX", "float", 4));
    document["attributes"].push_back(attributeEntry("NormalY", "float", 4));
    document["attributes"].push_back(attributeEntry("NormalZ", "float", 4));

    const PoTree::PointLayout layout = PoTree::makePointLayout(parsed(document), kFile);

    EXPECT_EQ(layout.attributeMask(), unsigned{Octree::kPositionAttribute});
    EXPECT_EQ(layout.bytesPerPoint, 16U + 4U + 1U + 12U);
}
}  // namespace
