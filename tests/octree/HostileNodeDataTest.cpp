#include "octree/Octree.h"
#include "octree/potree/FileLoader.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace
{
using Octree::NodePointData;
using testing::AllOf;
using testing::HasSubstr;

std::string readError(const Octree::Octree& octree, std::string_view node = "r")
{
    NodePointData data;
    return messageOf<std::runtime_error>([&] { octree.readNodePointData(nodeNamed(node), data); });
}

std::string openError(const Octree::Location& location)
{
    return messageOf<std::runtime_error>([&] { Octree::Octree(location, 1.0); });
}

/// A Brotli data set whose root announces so many points and has these compressed bytes.
std::unique_ptr<Octree::Octree> openedBrotli(
    TestDataSet& set, std::uint32_t pointCount, const std::string& stream
)
{
    set.setRoot(pointCount, stream);
    return std::make_unique<Octree::Octree>(set.write(), 1.0);
}

TEST(HostileNodeData, FolderThatDoesNotExist)
{
    const std::filesystem::path folder = testData() / "no such folder";

    EXPECT_THAT(
        openError(Octree::Location::fromPath(folder)),
        AllOf(HasSubstr("no such folder"), HasSubstr("metadata.json"))
    );
}

TEST(HostileNodeData, EachOfTheThreeFilesMissing)
{
    for (const char* name : {"metadata.json", "hierarchy.bin", "octree.bin"})
    {
        TestDataSet set;
        set.setRoot(1, plainPosition(0, 0, 0));
        const Octree::Location location = set.write();
        std::filesystem::remove(set.file(name));

        EXPECT_THAT(openError(location), HasSubstr(name));
    }
}

TEST(HostileNodeData, FolderInPlaceOfAFile)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Location location = set.write();
    std::filesystem::remove(set.file("octree.bin"));
    std::filesystem::create_directory(set.file("octree.bin"));

    EXPECT_THAT(openError(location), HasSubstr("octree.bin"));
}

TEST(HostileNodeData, DataSetWithoutPositions)
{
    TestDataSet set;
    set.metadata["attributes"] = nlohmann::json::array({attributeEntry("intensity", "uint16", 2)});
    set.setRoot(1, "ab");

    EXPECT_THAT(
        openError(set.write()), AllOf(HasSubstr("metadata.json"), HasSubstr("\"position\" is missing"))
    );
}

TEST(HostileNodeData, RangesBeyondOctreeBin)
{
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges{
        {1, 12},
        {12, 12},
        {1000, 12},
        {0, 24},
        {18446744073709551615U, 12},
        {18446744073709551604U, 24},
    };
    for (const auto& [offset, size] : ranges)
    {
        TestDataSet set;
        set.addPoints(plainPosition(0, 0, 0));
        set.hierarchy = hierarchyRecord(1, 0, 2, offset, size);
        const Octree::Octree octree(set.write(), 1.0);

        EXPECT_THAT(
            readError(octree),
            AllOf(HasSubstr("octree.bin: node r takes"), HasSubstr("expected it within the file's 12 bytes"))
        ) << offset;
    }
}

TEST(HostileNodeData, SizeFarBeyondWhatThePointsCanTakeIsNotAllocated)
{
    TestDataSet set;
    set.addPoints(plainPosition(0, 0, 0));
    set.hierarchy = hierarchyRecord(1, 0, 1, 0, std::uint64_t{1} << 60U);
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_THAT(
        readError(octree), AllOf(HasSubstr("octree.bin: node r takes"), HasSubstr("expected at most 65548"))
    );
}

TEST(HostileNodeData, MorePointsThanACacheShouldHold)
{
    for (const std::uint32_t count : {1'000'001U, 4294967295U})
    {
        TestDataSet set;
        set.addPoints(plainPosition(0, 0, 0));
        set.hierarchy = hierarchyRecord(1, 0, count, 0, 12);
        const Octree::Octree octree(set.write(), 1.0);

        EXPECT_THAT(
            readError(octree),
            AllOf(
                HasSubstr("hierarchy.bin: node r has " + std::to_string(count) + " points"),
                HasSubstr("expected at most 1000000")
            )
        );
    }
}

TEST(HostileNodeData, AsManyPointsAsANodeMayHaveAreRead)
{
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 1'000'000, brotliEncoded(std::string(16'000'000, '\0')));
    NodePointData data;

    EXPECT_TRUE(octree->readNodePointData(octree->root(), data));

    EXPECT_EQ(data.size(), 1'000'000U);
}

TEST(HostileNodeData, MorePointsThanMemoryShouldHold)
{
    TestDataSet set;
    set.metadata["attributes"].push_back(attributeEntry("huge", "uint8", 4084));  // 4096 bytes a point
    set.addPoints(plainPosition(0, 0, 0));
    set.hierarchy = hierarchyRecord(1, 0, 1'000'000, 0, 12);
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_THAT(
        readError(octree),
        AllOf(
            HasSubstr("hierarchy.bin: node r has 1000000 points of 4096 bytes"),
            HasSubstr("expected at most 268435456 bytes")
        )
    );
}

TEST(HostileNodeData, ManyAnnouncedPointsWithFewBytesGiveTheFewPoints)
{
    TestDataSet set("BROTLI");
    const auto octree =
        openedBrotli(set, 1'000'000, brotliEncoded(std::string(16, '\0')));  // 16 MB announced
    NodePointData data;

    EXPECT_TRUE(octree->readNodePointData(octree->root(), data));

    EXPECT_EQ(data.size(), 1U);
}

TEST(HostileNodeData, BrotliBomb)
{
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 10, brotliEncoded(std::string(64U << 20U, '\0')));

    EXPECT_THAT(readError(*octree), AllOf(HasSubstr("octree.bin: node r: "), HasSubstr("65696")));
}

TEST(HostileNodeData, BrotliBombOfAsManyBytesAsTheRecordAnnounces)
{
    TestDataSet set("BROTLI");
    set.metadata["attributes"].push_back(attributeEntry("huge", "uint8", 64));  // 80 bytes a point
    const std::string bomb = brotliEncoded(std::string(80'000'000, '\0'));
    ASSERT_LT(bomb.size(), 1000U);
    const auto octree = openedBrotli(set, 1'000'000, bomb);

    EXPECT_THAT(
        readError(*octree),
        AllOf(
            HasSubstr("octree.bin: node r: Brotli stream unpacks to more than the expected 67108864"),
            testing::Not(HasSubstr(": Error"))
        )
    );
}

TEST(HostileNodeData, BytesBeyondTheRecordsCountMakeNoMoreThanAMillionPoints)
{
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 1'000'000, brotliEncoded(std::string(16'000'016, '\0')));

    EXPECT_THAT(readError(*octree), HasSubstr("unpacks to more than the expected 16000000 bytes"));
}

TEST(HostileNodeData, AStreamMayBeLongerThanThePointsInIt)
{
    std::mt19937 random(7);
    std::string bytes(1'600'000, '\0');
    for (char& byte : bytes)
    {
        byte = static_cast<char>(random() & 0xFFU);
    }
    const std::string stream = brotliEncoded(bytes);
    ASSERT_GT(stream.size(), bytes.size());
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 100'000, stream);
    NodePointData data;

    EXPECT_TRUE(octree->readNodePointData(octree->root(), data));

    EXPECT_EQ(data.size(), 100'000U);
}

TEST(HostileNodeData, TruncatedStream)
{
    std::string bytes(1600, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = static_cast<char>(i * i % 251);
    }
    const std::string stream = brotliEncoded(bytes);
    for (const std::size_t length : {std::size_t{1}, stream.size() / 2, stream.size() - 1})
    {
        TestDataSet set("BROTLI");
        const auto octree = openedBrotli(set, 100, stream.substr(0, length));

        EXPECT_THAT(readError(*octree), HasSubstr("octree.bin: node r: ")) << length;
    }
}

TEST(HostileNodeData, BytesThatAreNoStream)
{
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 100, std::string(100, '\xFF'));

    EXPECT_THAT(readError(*octree), HasSubstr("octree.bin: node r: "));
}

TEST(HostileNodeData, UncompressedRowsInADataSetThatSaysBrotli)
{
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 3, plainPosition(1, 2, 3) + plainPosition(4, 5, 6));

    EXPECT_THAT(readError(*octree), HasSubstr("octree.bin: node r"));
}

TEST(HostileNodeData, DecodedLengthThatIsNoWholeNumberOfPoints)
{
    TestDataSet set("BROTLI");
    const auto octree = openedBrotli(set, 2, brotliEncoded(std::string(31, '\0')));

    EXPECT_THAT(
        readError(*octree),
        AllOf(
            HasSubstr("octree.bin: node r has 31 bytes"), HasSubstr("expected a multiple of 16 bytes a point")
        )
    );
}

TEST(HostileNodeData, RowsThatAreNoWholeNumberOfPoints)
{
    TestDataSet set;
    set.setRoot(2, std::string(25, '\0'));
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_THAT(
        readError(octree),
        AllOf(
            HasSubstr("octree.bin: node r has 25 bytes"), HasSubstr("expected a multiple of 12 bytes a point")
        )
    );
}

TEST(HostileNodeData, OctreeBinThatShrinksWhileItIsOpen)
{
    TestDataSet set;
    set.setRoot(2, plainPosition(1, 2, 3) + plainPosition(4, 5, 6));
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;
    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

    std::filesystem::resize_file(set.file("octree.bin"), 20);

    EXPECT_THAT(
        readError(octree),
        AllOf(
            HasSubstr("octree.bin: the file was changed while it was open"),
            HasSubstr("it had 24 bytes and now has 20")
        )
    );
}

TEST(HostileNodeData, FilesThatVanishAfterOpeningDoNoHarm)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(1, 2, 3));
    const Octree::Octree octree(set.write(), 1.0);

    for (const char* name : {"metadata.json", "hierarchy.bin", "octree.bin"})
    {
        std::filesystem::remove(set.file(name));
    }

    NodePointData data;
    EXPECT_TRUE(octree.readNodePointData(octree.root(), data));  // the files stay open
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(1.0, 2.0, 3.0)));
}

TEST(HostileNodeData, ABrokenNodeDoesNotHarmTheOthers)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(0, 0b11, 1, 0, 12) + hierarchyRecord(1, 0, 1, 999, 12) +
                    hierarchyRecord(1, 0, 1, 12, 12);
    set.addPoints(plainPosition(1, 1, 1) + plainPosition(2, 2, 2));
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;
    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

    EXPECT_FALSE(octree.getNodePointData(nodeNamed("r0"), data));
    EXPECT_EQ(data.size(), 0U);
    EXPECT_TRUE(data.columns().positions.empty());

    EXPECT_TRUE(octree.readNodePointData(nodeNamed("r1"), data));
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(2.0, 2.0, 2.0)));
}

TEST(HostileNodeData, PointsOfAMissingNode)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(1, 2, 3));
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;

    EXPECT_THAT(readError(octree, "r4"), HasSubstr("there is no node r4"));
    EXPECT_FALSE(octree.getNodePointData(nodeNamed("r4"), data));
}

TEST(HostileNodeData, RandomDamageIsReportedOrHarmless)
{
    constexpr unsigned kSeed = 20240229;
    constexpr std::size_t kMostNodes = 1606 / 22;  // records in the file; a walk must not find more nodes
    const std::filesystem::path original = testData() / "test14_brotli";
    std::mt19937 random(kSeed);
    std::size_t failures = 0;
    for (int round = 0; round < 300; ++round)
    {
        const TemporaryFolder folder;
        for (const char* name : {"metadata.json", "hierarchy.bin", "octree.bin"})
        {
            std::string bytes = TemporaryFolder::read(original / name);
            const std::size_t damages = name == std::string("metadata.json") ? random() % 2 : random() % 4;
            for (std::size_t damage = 0; damage < damages; ++damage)
            {
                bytes[random() % bytes.size()] = static_cast<char>(random() & 0xFFU);
            }
            folder.write(name, bytes);
        }
        try
        {
            const Octree::Octree octree(PoTree::FileSystemLocation(folder.path()), 1.0);
            std::vector<Octree::OctreeNodeId> nodes{octree.root()};
            for (std::size_t i = 0; i < nodes.size(); ++i)
            {
                NodePointData data;
                failures += octree.getNodePointData(nodes[i], data) ? 0 : 1;
                const Octree::OctreeChildNodeIdRange children = octree.children(nodes[i]);
                nodes.insert(nodes.end(), children.begin(), children.end());
                ASSERT_LE(i, kMostNodes) << "round " << round << " of seed " << kSeed;
            }
        }
        catch (const std::runtime_error&)
        {
            ++failures;
        }
    }

    EXPECT_GT(failures, 0U);  // otherwise nothing was damaged
}

TEST(NodeData, StopRequestReturnsFalseAndLeavesThePointsAsTheyAre)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(1, 2, 3));
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;
    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));
    std::stop_source stop;
    stop.request_stop();

    EXPECT_FALSE(octree.readNodePointData(octree.root(), data, stop.get_token()));

    EXPECT_EQ(data.size(), 1U);
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(1.0, 2.0, 3.0)));
}

TEST(FileLoader, StoppedFetchesReturnFalse)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(1, 2, 3));
    const PoTree::FileLoader loader(PoTree::FileSystemLocation(set.write().folder()));
    PoTree::Node node({}, {});
    node.byteSize = 12;
    std::stop_source stop;
    stop.request_stop();
    std::vector<std::byte> bytes;

    EXPECT_FALSE(loader.fetchHierarchyChunk(0, 22, bytes, stop.get_token()));
    EXPECT_FALSE(loader.fetchOctreeChunk(node, 12, bytes, stop.get_token()));
}

TEST(FileLoader, FetchesReturnFalseWhereReadsThrow)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(1, 2, 3));
    const PoTree::FileLoader loader(PoTree::FileSystemLocation(set.write().folder()));
    PoTree::Node node({}, {});
    node.byteOffset = 4;
    node.byteSize = 12;  // 4 more than there are
    std::vector<std::byte> bytes;

    EXPECT_FALSE(loader.fetchHierarchyChunk(1, 22, bytes, {}));
    EXPECT_FALSE(loader.fetchHierarchyChunk(0, PoTree::FileLoader::kMaxHierarchyChunkSize + 1, bytes, {}));
    EXPECT_FALSE(loader.fetchOctreeChunk(node, 12, bytes, {}));
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { loader.readHierarchyChunk(1, 22, bytes, {}); }),
        AllOf(HasSubstr("hierarchy.bin: a hierarchy chunk takes"), HasSubstr("within the file's 22 bytes"))
    );
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { loader.readOctreeChunk(node, 12, bytes, {}); }),
        AllOf(HasSubstr("octree.bin: node r takes"), HasSubstr("within the file's 12 bytes"))
    );
}

TEST(FileLoader, FetchesExactlyTheAnnouncedBytes)
{
    TestDataSet set;
    set.hierarchy = "0123456789";
    set.points = "abcdefghij";
    const PoTree::FileLoader loader(PoTree::FileSystemLocation(set.write().folder()));
    PoTree::Node node({}, {});
    node.byteOffset = 7;
    node.byteSize = 3;
    std::vector<std::byte> bytes(100);

    ASSERT_TRUE(loader.fetchHierarchyChunk(2, 4, bytes, {}));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), "2345");
    ASSERT_TRUE(loader.fetchOctreeChunk(node, 3, bytes, {}));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), "hij");
}
}  // namespace
