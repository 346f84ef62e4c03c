#include "core/MemoryFolder.h"
#include "octree/Location.h"
#include "octree/Octree.h"
#include "tests/support/memoryCopy.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Octree::Kind;
using Octree::Location;
using Octree::NodePointData;
using Octree::OctreeNodeId;
using testing::HasSubstr;

std::filesystem::path dataSet(const std::string& name)
{
    return testData() / name;
}

/// All points of a data set, node by node, and what the description says.
std::string contentOf(const Octree::Octree& octree)
{
    std::string content = octree.encoding() + std::to_string(octree.spacing());
    std::vector<OctreeNodeId> left{octree.root()};
    NodePointData data;
    while (!left.empty())
    {
        const OctreeNodeId id = left.back();
        left.pop_back();
        EXPECT_TRUE(octree.readNodePointData(id, data)) << id.name();
        content += id.name() + ' ' + std::to_string(data.size());
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            const Math::Point<double, 3>& point = data.position(i);
            content.append(reinterpret_cast<const char*>(&point), sizeof point);
            content += std::to_string(data.color(i));
        }
        for (const OctreeNodeId& child : octree.children(id))
        {
            left.push_back(child);
        }
    }
    return content;
}

class DataSetInMemory : public testing::TestWithParam<const char*>
{
};

TEST_P(DataSetInMemory, HoldsWhatTheLocalOneHolds)
{
    const Octree::Octree local(Location::fromPath(dataSet(GetParam())), 1.0);
    const Octree::Octree inMemory(Location::fromFiles(memoryCopy(dataSet(GetParam()))), 1.0);

    EXPECT_EQ(inMemory.kind(), local.kind());
    EXPECT_EQ(contentOf(inMemory), contentOf(local));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds,
    DataSetInMemory,
    testing::Values("test14_brotli", "ept_color12_laszip", "ept_lonestar_thin_binary"),
    [](const auto& name) { return std::string(name.param); }
);

TEST(MemoryLocation, KindIsThatOfTheDescriptionThatIsThere)
{
    const auto files = std::make_shared<Core::MemoryFolder>("set");
    EXPECT_EQ(Location::fromFiles(files).kind(), Kind::PoTree);
    EXPECT_FALSE(Location::fromFiles(files).exists());

    files->set("ept.json", "{}");
    EXPECT_EQ(Location::fromFiles(files).kind(), Kind::Entwine);
    EXPECT_TRUE(Location::fromFiles(files).exists());
    EXPECT_EQ(Location::fromFiles(files).fileName(), "set/ept.json");

    files->set("metadata.json", "{}");
    EXPECT_EQ(Location::fromFiles(files).kind(), Kind::PoTree);
}

TEST(MemoryLocation, NamesTellLocationsApart)
{
    const Location first(Kind::PoTree, std::make_shared<Core::MemoryFolder>("a"));
    const Location same(Kind::PoTree, std::make_shared<Core::MemoryFolder>("a"));
    const Location other(Kind::PoTree, std::make_shared<Core::MemoryFolder>("b"));
    const Location local = PoTree::FileSystemLocation("a");

    EXPECT_EQ(first, same);
    EXPECT_EQ(first.hash(), same.hash());
    EXPECT_NE(first, other);
    EXPECT_NE(first.hash(), other.hash());
    EXPECT_NE(first, local);
    EXPECT_TRUE(first.folder().empty());
    EXPECT_THROW(Location(Kind::PoTree, nullptr), std::invalid_argument);
}

TEST(MemoryLocation, FilesOfOneFolderAreDifferentDataSets)
{
    const auto files = std::make_shared<Core::MemoryFolder>("a");
    const Location usual(Kind::Entwine, files);
    const Location other(Kind::Entwine, files, "other.json");

    EXPECT_EQ(usual.file(), "ept.json");
    EXPECT_EQ(other.fileName(), "a/other.json");
    EXPECT_NE(usual, other);
    EXPECT_NE(usual.hash(), other.hash());
}

TEST(MemoryDataSet, ErrorsNameTheFileWithinIt)
{
    const auto files = std::make_shared<Core::MemoryFolder>("set");
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Octree::Octree(Location::fromFiles(files), 1.0); }),
        HasSubstr("Error: cannot open set/metadata.json")
    );
    files->set("ept.json", "{");
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Octree::Octree(Location::fromFiles(files), 1.0); }),
        HasSubstr("Error: set/ept.json: not readable as JSON")
    );
}
}  // namespace
