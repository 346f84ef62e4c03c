#include "core/MemoryFolder.h"
#include "octree/CacheIdentifier.h"
#include "octree/Location.h"
#include "octree/Octree.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_set>

namespace
{
using Octree::CacheIdentifier;
using Octree::Kind;
using Octree::Location;

TEST(Location, FolderWithOnlyAnEptJsonIsEntwine)
{
    const TemporaryFolder folder;
    folder.write("ept.json", "{}");

    EXPECT_EQ(Location::fromPath(folder.path()).kind(), Kind::Entwine);
}

TEST(Location, FolderWithBothMetadataFilesIsThreeFiles)
{
    const TemporaryFolder folder;
    folder.write("ept.json", "{}");
    folder.write("metadata.json", "{}");

    EXPECT_EQ(Location::fromPath(folder.path()).kind(), Kind::PoTree);
}

TEST(Location, FolderWithNeitherOrNoFolderIsThreeFilesThatDoNotExist)
{
    const TemporaryFolder folder;

    for (const std::filesystem::path& path : {folder.path(), folder.path() / "nothing"})
    {
        const Location location = Location::fromPath(path);
        EXPECT_EQ(location.kind(), Kind::PoTree);
        EXPECT_EQ(location.folder(), path);
        EXPECT_FALSE(location.exists());
    }
}

TEST(Location, MetadataFilesStandForTheirFolders)
{
    EXPECT_EQ(Location::fromPath("a/b/metadata.json"), Location(PoTree::FileSystemLocation("a/b")));
    EXPECT_EQ(Location::fromPath("a/b/ept.json"), Location(Entwine::FileSystemLocation("a/b")));
    EXPECT_EQ(Location::fromPath("metadata.json"), Location(PoTree::FileSystemLocation(".")));
}

TEST(Location, TrailingSeparatorsAndDotsDoNotMatter)
{
    const Location location = Location::fromPath("a/b");

    EXPECT_EQ(Location::fromPath("a/b/"), location);
    EXPECT_EQ(Location::fromPath("a/./b"), location);
    EXPECT_EQ(Location::fromPath("a/c/../b/"), location);
    EXPECT_EQ(Location::fromPath("a/b/").hash(), location.hash());
}

TEST(Location, ExistsWhenItsMetadataFileDoes)
{
    const TemporaryFolder folder;
    const Location threeFiles = PoTree::FileSystemLocation(folder.path());
    const Location tiles = Entwine::FileSystemLocation(folder.path());
    EXPECT_FALSE(threeFiles.exists());
    EXPECT_FALSE(tiles.exists());

    folder.write("metadata.json", "{}");
    EXPECT_TRUE(threeFiles.exists());
    EXPECT_FALSE(tiles.exists());

    folder.write("ept.json", "{}");
    EXPECT_TRUE(tiles.exists());
}

TEST(Location, FileSystemThatCannotTellIsAnError)
{
    const Location location = PoTree::FileSystemLocation(std::string(100000, 'x'));  // longer than any name

    try
    {
        static_cast<void>(location.exists());
        GTEST_SKIP() << "this file system takes names of any length";
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        EXPECT_THAT(error.what(), testing::HasSubstr("exists"));
    }
}

TEST(Location, LasFilesAreOpenedByThemselvesWhateverTheyAreCalled)
{
    const TemporaryFolder folder;
    folder.write("a.copc.laz", "");
    folder.write("b.LAZ", "");
    folder.write("c.las", "");
    folder.write("cloud.dat", "LASF and more");

    for (const char* const name : {"a.copc.laz", "b.LAZ", "c.las", "cloud.dat", "missing.laz"})
    {
        const Location location = Location::fromPath(folder.path() / name);
        EXPECT_EQ(location.kind(), Kind::Copc) << name;
        EXPECT_EQ(location.folder(), folder.path()) << name;
        EXPECT_EQ(location.file(), name);
        EXPECT_EQ(location.exists(), std::string(name) != "missing.laz");
    }
}

TEST(Location, OtherFilesAndFoldersAreNoLasFiles)
{
    const TemporaryFolder folder;
    folder.write("cloud.dat", "LAS");
    std::filesystem::create_directory(folder.path() / "tiles.laz");
    folder.write("tiles.laz/ept.json", "{}");

    EXPECT_EQ(Location::fromPath(folder.path() / "cloud.dat").kind(), Kind::PoTree);
    EXPECT_EQ(Location::fromPath(folder.path() / "tiles.laz").kind(), Kind::Entwine);
}

TEST(Location, FilesOfOneFolderAreDifferent)
{
    const Location one = Location::fromPath("a/one.laz");
    const Location other = Location::fromPath("a/other.laz");

    EXPECT_EQ(one, Location::fromPath("a/./one.laz"));
    EXPECT_EQ(one.hash(), Location::fromPath("a/./one.laz").hash());
    EXPECT_NE(one, other);
    EXPECT_NE(one.hash(), other.hash());
}

TEST(Location, OneFileSaysWhatKindItIs)
{
    const auto files = std::make_shared<Core::MemoryFolder>("set");
    files->set("cloud", "LASF");

    EXPECT_EQ(Location::fromFile(files, "cloud").kind(), Kind::Copc);
    EXPECT_EQ(Location::fromFile(files, "x.copc.laz").kind(), Kind::Copc);
    EXPECT_EQ(Location::fromFile(files, "ept.json").kind(), Kind::Entwine);
    EXPECT_EQ(Location::fromFile(files, "metadata.json").kind(), Kind::PoTree);
    EXPECT_EQ(Location::fromFile(files, "other").kind(), Kind::PoTree);
    EXPECT_EQ(Location::fromFile(files, "cloud").fileName(), "set/cloud");
}

TEST(Location, ACopcFileNeedsItsName)
{
    EXPECT_THROW(Location(Kind::Copc, std::make_shared<Core::MemoryFolder>("set")), std::invalid_argument);
}

TEST(Location, KindsOfTheSameFolderAreDifferent)
{
    const Location threeFiles = PoTree::FileSystemLocation("a");
    const Location tiles = Entwine::FileSystemLocation("a");

    EXPECT_NE(threeFiles, tiles);
    EXPECT_NE(threeFiles.hash(), tiles.hash());
}

TEST(Location, HashIsTheSameInEveryProcess)
{
    // FNV-1a by hand over the kind's number 0, the letter a and the end of a part
    std::uint64_t expected = 0xcbf29ce484222325ULL;
    for (const std::uint64_t unit : {std::uint64_t{0}, std::uint64_t{'a'}, std::uint64_t{'/'}})
    {
        expected = (expected ^ unit) * 0x100000001b3ULL;
    }

    EXPECT_EQ(Location(PoTree::FileSystemLocation("a")).hash(), static_cast<std::size_t>(expected));
}

TEST(Location, HashesOfEqualPathsAreEqual)
{
    const Location one = PoTree::FileSystemLocation("a/b");
    const Location other = PoTree::FileSystemLocation("a//b");

    ASSERT_EQ(one, other);
    EXPECT_EQ(one.hash(), other.hash());
    EXPECT_NE(one.hash(), Location(PoTree::FileSystemLocation("ab")).hash());
}

TEST(CacheIdentifier, DiffersByLocationAndUnitScale)
{
    const Location a = PoTree::FileSystemLocation("a");
    const Location b = PoTree::FileSystemLocation("b");
    const std::unordered_set<CacheIdentifier> identifiers{{a, 1.0}, {a, 2.0}, {b, 1.0}, {a, 1.0}};

    EXPECT_EQ(identifiers.size(), 3U);
    EXPECT_NE((CacheIdentifier{a, 1.0}), (CacheIdentifier{a, 2.0}));
    EXPECT_EQ((CacheIdentifier{a, 2.0}), (CacheIdentifier{a, 2.0}));
}

TEST(CacheIdentifier, DiffersByTheExternalLocationsAndTheirOrder)
{
    const Location a = PoTree::FileSystemLocation("a");
    const Location b = PoTree::FileSystemLocation("b");
    const Location c = PoTree::FileSystemLocation("c");
    const std::unordered_set<CacheIdentifier> identifiers{
        {a, 1.0}, {a, 1.0, {b}}, {a, 1.0, {c}}, {a, 1.0, {b, c}}, {a, 1.0, {c, b}}, {a, 1.0, {b}}};
    const std::hash<CacheIdentifier> hash;

    EXPECT_EQ(identifiers.size(), 5U);
    EXPECT_NE(hash({a, 1.0}), hash({a, 1.0, {b}}));
    EXPECT_NE(hash({a, 1.0, {b, c}}), hash({a, 1.0, {c, b}}));
}

TEST(EntwineLocation, OpeningAFolderWithoutEptJsonNamesTheFile)
{
    const TemporaryFolder folder;
    const std::string error =
        messageOf<std::runtime_error>([&] { Octree::Octree(Entwine::FileSystemLocation(folder.path()), 1.0); }
        );

    EXPECT_THAT(error, testing::HasSubstr("ept.json"));
}
}  // namespace
