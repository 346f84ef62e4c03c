#include "octree/Octree.h"
#include "tests/octree/CopcTestFile.h"
#include "tests/support/lazEncoded.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// What is wrong with a COPC file is told with its name, and what was expected in its place.
namespace
{
using Octree::OctreeNodeId;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr const char* kName = "Error: set/x.copc.laz: ";

class CopcHostile : public testing::Test
{
protected:
    CopcTestFile file;

    std::string openingError() const
    {
        return messageOf<std::runtime_error>([&] { Octree::Octree(file.write(), 1.0); });
    }

    /// The innermost of the nested messages of a look-up.
    std::string lookupError(const std::string& node) const
    {
        const Octree::Octree octree(file.write(), 1.0);
        try
        {
            static_cast<void>(octree.nodeInfo(OctreeNodeId::fromName(node)));
        }
        catch (const std::exception& error)
        {
            try
            {
                std::rethrow_if_nested(error);
            }
            catch (const std::exception& nested)
            {
                return nested.what();
            }
        }
        return "";
    }

    std::string readingError(const std::string& node) const
    {
        const Octree::Octree octree(file.write(), 1.0);
        Octree::NodePointData data;
        return messageOf<std::runtime_error>(
            [&] { static_cast<void>(octree.readNodePointData(OctreeNodeId::fromName(node), data)); }
        );
    }

    /// Of the entries of a root, whose chunk is the real one, and of another node.
    std::string pageWith(const std::string& others) const
    {
        return file.bytes.substr(file.entry({0, 0, 0, 0}), CopcTestFile::kEntry) + others;
    }
};

TEST_F(CopcHostile, TheFileItselfIsGood)
{
    EXPECT_NO_THROW(Octree::Octree(file.write(), 1.0));
}

TEST_F(CopcHostile, AFileThatIsNoLasFile)
{
    for (const std::size_t size : {0U, 3U, 100U})
    {
        file.bytes.resize(size);
        EXPECT_THAT(openingError(), AllOf(StartsWith(kName), HasSubstr("not a LAS file, expected")));
    }
    file.bytes = std::string(1000, 'x');
    EXPECT_THAT(openingError(), AllOf(StartsWith(kName), HasSubstr("not a LAS file, expected")));
}

TEST_F(CopcHostile, AFileThatEndsBeforeItsPoints)
{
    file.bytes.resize(500);

    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("points from byte "), HasSubstr(" to 500"))
    );
}

TEST_F(CopcHostile, WithoutTheInfoRecordItIsToldHowToGetAnOctree)
{
    file.put(CopcTestFile::kInfoHead + 2, 'x');

    EXPECT_EQ(
        openingError(),
        "Error: set/x.copc.laz: a LAS file without octree, expected Cloud Optimized Point Cloud; \"pdal "
        "translate "
        "in.laz out.copc.laz\" makes that of LAS and LAZ files"
    );
}

TEST_F(CopcHostile, AnInfoRecordOfAnotherNumberDoesNotCount)
{
    file.put(CopcTestFile::kInfoHead + 18, std::uint16_t{2});

    EXPECT_THAT(openingError(), HasSubstr("a LAS file without octree"));
}

TEST_F(CopcHostile, AnInfoRecordThatIsTooShort)
{
    file.put(CopcTestFile::kInfoHead + 20, std::uint16_t{100});

    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("a record \"copc\" of 100 bytes, expected 160"))
    );
}

TEST_F(CopcHostile, AnInfoRecordThatIsNotTheFirst)
{
    file.bytes.insert(CopcTestFile::kInfoHead, std::string(54, '\0'));  // an empty record
    file.put(96, file.get<std::uint32_t>(96) + 54);
    file.put(100, file.get<std::uint32_t>(100) + 1);

    EXPECT_THAT(
        openingError(),
        AllOf(
            StartsWith(kName),
            HasSubstr("the record \"copc\" at byte 429, expected the first of all, at byte 375")
        )
    );
}

TEST_F(CopcHostile, RecordsThatReachBeyondTheirPlace)
{
    file.put(CopcTestFile::kInfoHead + 2, 'x');
    file.put(CopcTestFile::kInfoHead + 20, std::uint16_t{65535});

    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("a variable length record of 65535 bytes"))
    );
}

TEST_F(CopcHostile, AnotherVersionOrSizeOfTheHeader)
{
    CopcTestFile other = file;
    other.put(25, std::uint8_t{3});
    std::swap(file, other);
    EXPECT_THAT(openingError(), HasSubstr("LAS version 1.3, expected 1.4"));

    std::swap(file, other);
    file.bytes.insert(CopcTestFile::kInfoHead, 2, '\0');
    file.put(94, std::uint16_t{377});
    file.put(96, file.get<std::uint32_t>(96) + 2);
    EXPECT_THAT(openingError(), HasSubstr("a LAS header of 377 bytes, expected 375"));
}

TEST_F(CopcHostile, BadNumbersOfTheInfoRecord)
{
    const auto errorWith = [this](std::size_t position, double value)
    {
        CopcTestFile other;
        other.put(position, value);
        std::swap(file, other);
        return openingError();
    };
    for (const double bad : {0.0, -1.0, kInfinity, -kInfinity, kNotANumber, 1e31})
    {
        EXPECT_THAT(
            errorWith(CopcTestFile::kHalfSize, bad),
            AllOf(
                StartsWith(kName),
                HasSubstr("bad half size of the cube, expected a number above 0 up to 1e30")
            )
        ) << bad;
        EXPECT_THAT(
            errorWith(CopcTestFile::kSpacing, bad),
            AllOf(
                StartsWith(kName), HasSubstr("bad spacing of the root, expected a number above 0 up to 1e30")
            )
        ) << bad;
    }
    for (const double bad : {kInfinity, kNotANumber, -1e31, 1e25})  // half the cube vanishes beside the last
    {
        EXPECT_THAT(
            errorWith(CopcTestFile::kInfo + 8, bad),
            AllOf(StartsWith(kName), HasSubstr("bad center of the cube in Y, expected a number within 1e30"))
        ) << bad;
    }
}

TEST_F(CopcHostile, BadBoundsOfTheHeader)
{
    for (const double bad : {kInfinity, kNotANumber, 1e9})  // the last is above the maximum
    {
        CopcTestFile other;
        other.put(187, bad);  // the smallest x
        std::swap(file, other);
        EXPECT_THAT(
            openingError(), AllOf(StartsWith(kName), HasSubstr("bad bounds of X in the LAS header, expected"))
        ) << bad;
    }
}

TEST_F(CopcHostile, AnotherPointFormat)
{
    for (const unsigned format : {0U, 3U, 5U, 9U, 10U})
    {
        file.put(104, static_cast<std::uint8_t>(format | 0x80U));
        EXPECT_THAT(
            openingError(),
            AllOf(
                StartsWith(kName),
                HasSubstr("point format " + std::to_string(format) + ", expected 6, 7 or 8 in a COPC")
            )
        );
    }
}

TEST_F(CopcHostile, AFirstPageThatIsNotWithinTheFile)
{
    const std::uint64_t size = file.get<std::uint64_t>(CopcTestFile::kPageSize);
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> bad{
        {file.bytes.size(), size}, {file.bytes.size() - size + 1, size}, {most - 15, 32}, {most, size}};
    for (const auto& [offset, bytes] : bad)
    {
        file.put(CopcTestFile::kPageOffset, offset);
        file.put(CopcTestFile::kPageSize, bytes);
        EXPECT_THAT(
            openingError(),
            AllOf(
                StartsWith(kName),
                HasSubstr(
                    "a hierarchy page of " + std::to_string(bytes) + " bytes at byte " +
                    std::to_string(offset)
                ),
                HasSubstr("expected one within the file of " + std::to_string(file.bytes.size()))
            )
        );
    }
}

TEST_F(CopcHostile, AFirstPageOfABadSize)
{
    for (const std::uint64_t size :
         {std::uint64_t{0}, std::uint64_t{31}, std::uint64_t{2081}, std::uint64_t{1} << 30U})
    {
        file.put(CopcTestFile::kPageSize, size);
        EXPECT_THAT(
            openingError(),
            AllOf(
                StartsWith(kName),
                HasSubstr("a hierarchy page of " + std::to_string(size) + " bytes"),
                HasSubstr("expected entries of 32 bytes, at most 33554432 bytes together")
            )
        );
    }
}

TEST_F(CopcHostile, APageThatPointsToItself)
{
    const std::size_t entry = file.entry({1, 0, 0, 0});
    file.put(entry + CopcTestFile::kEntryPlace, file.get<std::uint64_t>(CopcTestFile::kPageOffset));
    file.put(
        entry + CopcTestFile::kEntrySize,
        static_cast<std::int32_t>(file.get<std::uint64_t>(CopcTestFile::kPageSize))
    );
    file.put(entry + CopcTestFile::kEntryCount, std::int32_t{-1});

    // Below the link the page lists nodes itself, which no page may do.
    EXPECT_THAT(
        openingError(),
        AllOf(
            StartsWith(kName),
            HasSubstr("hierarchy page at byte 31604: node 2-0-"),
            HasSubstr(" without its parent, expected only nodes of the subtree of 0-0-0-0")
        )
    );
}

TEST_F(CopcHostile, APageThatLeadsToItsOwnBeginning)
{
    const std::uint64_t place = file.bytes.size();
    file.setFirstPage(pageWith(CopcTestFile::entryBytes({1, 0, 0, 0}, place, 64, -1)));

    EXPECT_THAT(
        lookupError("r0"),
        AllOf(
            StartsWith(kName),
            HasSubstr("hierarchy page at byte " + std::to_string(place)),
            HasSubstr("node 1-0-0-0, expected its own number of points here")
        )
    );
}

TEST_F(CopcHostile, PagesThatPointToEachOther)
{
    const std::uint64_t first = file.bytes.size();
    const std::uint64_t second = first + 64;
    file.setFirstPage(pageWith(CopcTestFile::entryBytes({1, 0, 0, 0}, second, 64, -1)));
    file.append(
        CopcTestFile::entryBytes({1, 0, 0, 0}, 0, 0, 0) +
        CopcTestFile::entryBytes({2, 0, 0, 0}, first, 64, -1)
    );

    EXPECT_EQ(lookupError("r0"), "");
    EXPECT_THAT(
        lookupError("r00"),
        AllOf(
            StartsWith(kName),
            HasSubstr("hierarchy page at byte " + std::to_string(first)),
            HasSubstr("node 2-0-0-0, expected its own number of points here")
        )
    );
}

TEST_F(CopcHostile, APageBelowThatIsNotWithinTheFile)
{
    file.setFirstPage(pageWith(CopcTestFile::entryBytes({1, 0, 0, 0}, 1U << 30U, 64, -1)));

    EXPECT_THAT(
        lookupError("r0"),
        AllOf(
            StartsWith(kName),
            HasSubstr("a hierarchy page of 64 bytes at byte 1073741824, expected one within")
        )
    );
}

TEST_F(CopcHostile, NodesWithoutTheirParent)
{
    file.setFirstPage(pageWith(CopcTestFile::entryBytes({2, 0, 0, 0}, 0, 0, 0)));

    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("node 2-0-0-0 without its parent, expected"))
    );
}

TEST_F(CopcHostile, NodesOutsideTheCubeOrTooDeep)
{
    const std::vector<std::pair<CopcTestFile::Key, std::string>> bad{
        {{1, 2, 0, 0}, "node 1-2-0-0"},
        {{1, 0, -1, 0}, "node 1-0--1-0"},
        {{-1, 0, 0, 0}, "node -1-0-0-0"},
        {{22, 0, 0, 0}, "node 22-0-0-0"},
    };
    for (const auto& [key, name] : bad)
    {
        file.setFirstPage(pageWith(CopcTestFile::entryBytes(key, 0, 0, 0)));
        EXPECT_THAT(
            openingError(),
            AllOf(
                StartsWith(kName),
                HasSubstr(name + ", expected a level from 0 to 21 and x, y, z from 0 to below 2^level")
            )
        );
    }
}

TEST_F(CopcHostile, NodesThatAreListedTwice)
{
    const std::string entry = CopcTestFile::entryBytes({1, 0, 0, 1}, 0, 0, 0);
    file.setFirstPage(pageWith(entry + entry));

    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("node 1-0-0-1 is listed twice, expected once"))
    );
}

TEST_F(CopcHostile, AFirstPageWithoutTheRoot)
{
    file.setFirstPage(CopcTestFile::entryBytes({1, 0, 0, 0}, 0, 0, 0));

    EXPECT_THAT(
        openingError(),
        AllOf(StartsWith(kName), HasSubstr("node 0-0-0-0, expected its own number of points here"))
    );
}

TEST_F(CopcHostile, NegativeCountsAndSizes)
{
    file.setFirstPage(pageWith(CopcTestFile::entryBytes({1, 0, 0, 0}, 0, 0, -2)));
    EXPECT_THAT(
        openingError(),
        AllOf(StartsWith(kName), HasSubstr("node 1-0-0-0 of -2 points, expected 0 or more, or -1"))
    );

    file.setFirstPage(pageWith(CopcTestFile::entryBytes({1, 0, 0, 0}, 0, -32, 1)));
    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("node 1-0-0-0 of -32 bytes, expected 0 or more"))
    );
}

TEST_F(CopcHostile, ChunksThatAreNotAmongThePoints)
{
    const std::size_t entry = file.entry({1, 0, 0, 0});
    const auto size = file.get<std::int32_t>(entry + CopcTestFile::kEntrySize);
    for (const std::uint64_t place :
         {std::uint64_t{0},
          std::uint64_t{file.bytes.size()},
          file.bytes.size() - static_cast<std::uint64_t>(size) + 1,
          std::numeric_limits<std::uint64_t>::max() - 4})
    {
        file.put(entry + CopcTestFile::kEntryPlace, place);
        EXPECT_THAT(
            readingError("r0"),
            AllOf(
                StartsWith(kName),
                HasSubstr("node 1-0-0-0: a chunk of " + std::to_string(size) + " bytes at byte "),
                HasSubstr("expected one within bytes ")
            )
        );
    }
}

TEST_F(CopcHostile, ChunksOfAnotherNumberOfPointsThanTheHierarchySays)
{
    const std::size_t count = file.entry({1, 0, 0, 0}) + CopcTestFile::kEntryCount;
    file.put(count, std::int32_t{20});

    EXPECT_THAT(
        readingError("r0"),
        AllOf(StartsWith(kName), HasSubstr("node 1-0-0-0: a chunk of 19 points, expected 20"))
    );
}

TEST_F(CopcHostile, ChunksOfMorePointsThanANodeMayHave)
{
    file.put(file.entry({1, 0, 0, 0}) + CopcTestFile::kEntryCount, std::numeric_limits<std::int32_t>::max());

    EXPECT_THAT(
        readingError("r0"),
        AllOf(StartsWith(kName), HasSubstr("announces 2147483647 points, expected at most 1000000"))
    );
}

TEST_F(CopcHostile, ChunksOfMoreBytesThanTheirPointsCanTake)
{
    const std::size_t entry = file.entry({1, 0, 0, 0});
    file.bytes.resize(file.bytes.size() + 200'000);
    file.put(entry + CopcTestFile::kEntrySize, std::int32_t{200'000});

    EXPECT_THAT(
        readingError("r0"),
        AllOf(StartsWith(kName), HasSubstr("a chunk of 200000 bytes, expected at most 104448 for 19 points"))
    );
}

TEST_F(CopcHostile, ChunksThatAreCutOffOrReachIntoTheNext)
{
    const std::size_t size = file.entry({1, 0, 0, 0}) + CopcTestFile::kEntrySize;
    const auto stored = file.get<std::int32_t>(size);
    for (const std::int32_t bad : {0, 10, 33, stored - 1})
    {
        file.put(size, bad);
        EXPECT_THAT(
            readingError("r0"), AllOf(StartsWith(kName), HasSubstr("node 1-0-0-0: broken compressed points"))
        );
    }
    file.put(size, stored + 1);
    EXPECT_THAT(
        readingError("r0"),
        AllOf(
            StartsWith(kName), HasSubstr("end 1 bytes before the end of the chunk, expected them to fill it")
        )
    );
}

TEST_F(CopcHostile, LayersThatExceedTheirChunk)
{
    const auto chunk =
        static_cast<std::size_t>(file.get<std::uint64_t>(file.entry({1, 0, 0, 0}) + CopcTestFile::kEntryPlace)
        );
    constexpr std::size_t kRecord = 36;
    for (std::size_t layer = 0; layer < 10; ++layer)  // nine of the point, one of its colour
    {
        CopcTestFile other;
        other.put(chunk + kRecord + 4 + 4 * layer, std::uint32_t{0xFFFFFFF0U});
        std::swap(file, other);
        EXPECT_THAT(
            readingError("r0"), AllOf(StartsWith(kName), HasSubstr("node 1-0-0-0: broken compressed points"))
        ) << layer;
    }
}

TEST_F(CopcHostile, CoordinatesThatLeaveNoRoomForSums)
{
    file.put(131, 1e20);  // the scale of x
    file.put(155, 1e30);  // and what it counts from; all x of r4 are above

    EXPECT_THAT(
        readingError("r4"),
        AllOf(StartsWith(kName), HasSubstr("node 1-1-0-0: bad X of a point, expected numbers within 1e30"))
    );
}

TEST_F(CopcHostile, ABrokenNodeFailsAlone)
{
    file.put(file.entry({1, 0, 0, 0}) + CopcTestFile::kEntryPlace, std::uint64_t{0});
    const Octree::Octree octree(file.write(), 1.0);
    Octree::NodePointData data;

    EXPECT_THROW(
        static_cast<void>(octree.readNodePointData(OctreeNodeId::fromName("r0"), data)), std::runtime_error
    );
    EXPECT_TRUE(octree.readNodePointData(octree.root(), data));
    EXPECT_EQ(data.size(), 24U);
    EXPECT_TRUE(octree.readNodePointData(OctreeNodeId::fromName("r2"), data));
    EXPECT_EQ(data.size(), 21U);
}

// The root's points say how all others are to be read.
TEST_F(CopcHostile, ABrokenRootIsToldWhenTheFileIsOpened)
{
    file.put(file.entry({0, 0, 0, 0}) + CopcTestFile::kEntryCount, std::int32_t{25});

    EXPECT_THAT(
        openingError(), AllOf(StartsWith(kName), HasSubstr("node 0-0-0-0: a chunk of 24 points, expected 25"))
    );
}

TEST_F(CopcHostile, MoreBeforeThePointsThanAnyRecordsNeed)
{
    constexpr std::uint32_t kPoints = 20U << 20U;
    file.bytes.resize(kPoints + 100);
    file.put(96, kPoints);

    EXPECT_THAT(
        openingError(),
        AllOf(
            StartsWith(kName),
            HasSubstr("points from byte 20971520 on, expected at most 16777216 bytes before them")
        )
    );
}

TEST_F(CopcHostile, PlainLasAndLazFilesAreToldHowToGetAnOctree)
{
    const std::vector<LazPoint> points(5);
    std::string las(227, '\0');
    las.replace(0, 4, "LASF");
    las[24] = 1;
    las[25] = 2;
    las[94] = las[96] = static_cast<char>(227);
    for (const std::string& bytes :
         {lazEncoded(points, {.pointFormat = 3}), lazEncoded(points, {.pointFormat = 7}), las})
    {
        file.bytes = bytes;
        EXPECT_THAT(
            openingError(),
            AllOf(
                StartsWith(kName),
                HasSubstr("a LAS file without octree, expected Cloud Optimized Point Cloud; \"pdal translate")
            )
        );
    }
}
}  // namespace
