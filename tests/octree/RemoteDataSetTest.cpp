// Data sets behind a web server, on every host.
#include "core/http/HttpClient.h"
#include "octree/Location.h"
#include "octree/NodePointData.h"
#include "octree/Octree.h"
#include "tests/support/HttpTestServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Octree::Kind;
using Octree::Location;
using testing::HasSubstr;

std::shared_ptr<const Core::HttpClient> makeClient()
{
    Core::HttpOptions options;
    options.proxy = "";
    options.retryDelay = std::chrono::milliseconds(5);
    options.maxRetries = 1;
    return std::make_shared<const Core::HttpClient>(options);
}

/// The files of a data set of tests/data below "/set".
std::map<std::string, std::string> filesOf(const std::string& name)
{
    std::map<std::string, std::string> files;
    const std::filesystem::path folder = testData() / name;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    {
        if (entry.is_regular_file())
        {
            const std::string file = std::filesystem::relative(entry.path(), folder).generic_string();
            files["/set/" + file] = TemporaryFolder::read(entry.path());
        }
    }
    return files;
}

class RemoteDataSet : public testing::TestWithParam<std::string>
{
};

TEST_P(RemoteDataSet, HasTheSamePointsAsOnTheDisk)
{
    HttpTestServer server(HttpTestServer::files(filesOf(GetParam())));
    const Octree::Octree local(Location::fromPath(testData() / GetParam()), 1.0);
    const Octree::Octree remote(Location::fromUrl(server.url("/set"), makeClient()), 1.0);

    EXPECT_EQ(remote.kind(), local.kind());
    EXPECT_EQ(remote.encoding(), local.encoding());
    const auto children = local.childSummary(local.root());
    EXPECT_EQ(remote.childSummary(remote.root()).mask, children.mask);
    Octree::NodePointData expected;
    Octree::NodePointData actual;
    ASSERT_TRUE(local.readNodePointData(local.root(), expected));
    ASSERT_TRUE(remote.readNodePointData(remote.root(), actual));
    EXPECT_EQ(actual.columns().positions, expected.columns().positions);
    EXPECT_EQ(actual.columns().colors, expected.columns().colors);
}

TEST_P(RemoteDataSet, WhatIsExpectedIsOnItsWayBeforeItIsRead)
{
    HttpTestServer server(HttpTestServer::files(filesOf(GetParam())));
    const Octree::Octree remote(Location::fromUrl(server.url("/set"), makeClient()), 1.0);
    Octree::OctreeNodeId id = remote.root();
    for (const Octree::OctreeNodeId& child : remote.children(remote.root()))
    {
        id = child;
    }
    ASSERT_GT(remote.nodeInfo(id).pointCount, 0U);
    Octree::NodePointData points;
    ASSERT_TRUE(remote.readNodePointData(remote.root(), points));  // whatever is sampled once
    const std::size_t before = server.numRequests();

    remote.expectNodePoints(id);
    const bool isFar = eventually([&] { return server.numRequests() > before; });
    const std::size_t asked = server.numRequests();
    ASSERT_TRUE(remote.readNodePointData(id, points));

    EXPECT_TRUE(isFar);
    EXPECT_EQ(server.numRequests(), asked);
    EXPECT_EQ(points.size(), remote.nodeInfo(id).pointCount);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, RemoteDataSet, testing::Values("autzen_brotli", "ept_color12_laszip", "ept_lonestar_thin_binary")
);

TEST(RemoteLocation, ACopcFileIsNamedByItself)
{
    const std::filesystem::path file = testData() / "copc_color12" / "color12.copc.laz";
    const std::string bytes = TemporaryFolder::read(file);
    HttpTestServer server(HttpTestServer::files({{"/set.copc.laz", bytes}, {"/download?id=7", bytes}}));
    const auto client = makeClient();
    const Octree::Octree local(Location::fromPath(file), 1.0);
    Octree::NodePointData expected;
    ASSERT_TRUE(local.readNodePointData(local.root(), expected));

    for (const char* const name : {"/set.copc.laz", "/download?id=7"})  // known by its name, by its content
    {
        const Octree::Octree remote(Location::fromUrl(server.url(name), client), 1.0);
        EXPECT_EQ(remote.kind(), Kind::Copc);
        Octree::NodePointData actual;
        ASSERT_TRUE(remote.readNodePointData(remote.root(), actual));
        EXPECT_EQ(actual.columns().positions, expected.columns().positions);
        EXPECT_EQ(actual.columns().colors, expected.columns().colors);
    }
}

class RemoteCopc : public testing::Test
{
protected:
    static constexpr const char* kFile = "color12.copc.laz";

    const std::map<std::string, std::string> files = filesOf("copc_color12");
    const Octree::Octree local{Location::fromPath(testData() / "copc_color12" / kFile), 1.0};
};

TEST_F(RemoteCopc, HasTheSameNodesAndPointsAsOnTheDisk)
{
    HttpTestServer server(HttpTestServer::files(files));
    const Octree::Octree remote(Location::fromUrl(server.url("/set/color12.copc.laz"), makeClient()), 1.0);
    Octree::NodePointData expected;
    Octree::NodePointData actual;

    EXPECT_EQ(remote.kind(), Kind::Copc);
    EXPECT_EQ(remote.name(), "color12");
    EXPECT_EQ(remote.intensityRange(), local.intensityRange());
    std::vector<Octree::OctreeNodeId> nodes{local.root()};
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        const auto children = local.children(nodes[i]);
        nodes.insert(nodes.end(), children.begin(), children.end());
        EXPECT_EQ(remote.childSummary(nodes[i]).mask, local.childSummary(nodes[i]).mask);
        ASSERT_TRUE(local.readNodePointData(nodes[i], expected));
        ASSERT_TRUE(remote.readNodePointData(nodes[i], actual));
        EXPECT_EQ(actual.columns().positions, expected.columns().positions);
        EXPECT_EQ(actual.columns().colors, expected.columns().colors);
    }
    EXPECT_EQ(nodes.size(), 65U);
}

TEST_F(RemoteCopc, IsOpenedByAtMostThreeRequests)
{
    HttpTestServer server(HttpTestServer::files(files));
    const Octree::Octree remote(Location::fromUrl(server.url("/set/color12.copc.laz"), makeClient()), 1.0);

    EXPECT_LE(server.numRequests(), 3U);
    EXPECT_EQ(remote.nodeInfo(remote.root()).pointCount, 24U);
}

TEST_F(RemoteCopc, AFileThatIsCutOffIsNamed)
{
    const std::string bytes = files.at("/set/color12.copc.laz").substr(0, 30000);
    HttpTestServer server(HttpTestServer::files({{"/x.copc.laz", bytes}}));

    EXPECT_THAT(
        messageOf<std::runtime_error>(
            [&] { Octree::Octree(Location::fromUrl(server.url("/x.copc.laz"), makeClient()), 1.0); }
        ),
        HasSubstr(server.url("/x.copc.laz") + ": a hierarchy page of 2080 bytes at byte 31604, expected")
    );
}

TEST(RemoteLocation, IsNamedByItsFolderOrTheFileThatItIsOpenedBy)
{
    HttpTestServer server(HttpTestServer::files({{"/a/metadata.json", "{}"}, {"/b/ept.json", "{}"}}));
    const auto client = makeClient();

    EXPECT_EQ(Location::fromUrl(server.url("/a"), client).kind(), Kind::PoTree);
    EXPECT_EQ(Location::fromUrl(server.url("/b/"), client).kind(), Kind::Entwine);
    HttpTestServer other(HttpTestServer::files({{"/b/ept.json", "{}"}}));
    const Location byFile = Location::fromUrl(other.url("/b/ept.json"), client);
    EXPECT_EQ(byFile.kind(), Kind::Entwine);
    EXPECT_EQ(other.numRequests(), 0U);  // nothing has to be found out
    EXPECT_EQ(byFile.fileName(), other.url("/b/ept.json"));
    EXPECT_TRUE(byFile.folder().empty());
}

TEST(RemoteLocation, TheFilesOfAFolderAreAskedForTogether)
{
    std::atomic<int> others = 0;  // besides the description
    std::atomic<bool> haveCome = false;
    const HttpTestServer::Handler files = HttpTestServer::files(filesOf("autzen_brotli"));
    HttpTestServer server(
        [&](const HttpTestServer::Request& request, HttpTestServer::Connection& connection)
        {
            others += request.target == "/set/hierarchy.bin" || request.target == "/set/octree.bin" ? 1 : 0;
            if (request.target == "/set/metadata.json")
            {
                haveCome = eventually([&] { return others == 2; });
            }
            files(request, connection);
        }
    );

    const Octree::Octree remote(Location::fromUrl(server.url("/set/"), makeClient()), 1.0);

    EXPECT_TRUE(haveCome);
    EXPECT_EQ(others, 2);
}

TEST(RemoteLocation, WhereNothingIsItDoesNotExist)
{
    HttpTestServer server(HttpTestServer::files({}));

    EXPECT_FALSE(Location::fromUrl(server.url("/a"), makeClient()).exists());
}

TEST(RemoteLocation, AStoreThatForbidsWhatIsNotThereIsUnderstood)
{
    HttpTestServer server(
        [](const auto& request, auto& connection)
        {
            if (request.target == "/a/ept.json")
            {
                HttpTestServer::serve(request, connection, "{}");
            }
            else
            {
                connection.respond(403, "", "");
            }
        }
    );

    EXPECT_EQ(Location::fromUrl(server.url("/a"), makeClient()).kind(), Kind::Entwine);
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Location::fromUrl(server.url("/b"), makeClient()); }),
        HasSubstr(server.url("/b/metadata.json") + ": the server answers 403")
    );
}

TEST(RemoteLocation, QueriesThatNoMessageShowsTellDataSetsApart)
{
    HttpTestServer server([](const auto& request, auto& connection)
                          { HttpTestServer::serve(request, connection, "{}"); });
    const auto client = makeClient();
    const Location first = Location::fromUrl(server.url("/a?set=secret1"), client);
    const Location same = Location::fromUrl(server.url("/a?set=secret1"), client);
    const Location second = Location::fromUrl(server.url("/a?set=secret2"), client);

    EXPECT_EQ(first, same);
    EXPECT_EQ(first.hash(), same.hash());
    EXPECT_FALSE(first == second);
    EXPECT_EQ(first.name(), second.name());
    EXPECT_THAT(first.fileName(), testing::Not(HasSubstr("secret")));
}

TEST(RemoteLocation, ATileThatIsMissingIsNamed)
{
    auto files = filesOf("ept_color12_laszip");
    std::erase_if(files, [](const auto& file) { return file.first.ends_with(".laz"); });
    HttpTestServer server(HttpTestServer::files(files));
    const Octree::Octree octree(Location::fromUrl(server.url("/set"), makeClient()), 1.0);

    Octree::NodePointData points;
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { octree.readNodePointData(octree.root(), points); }),
        HasSubstr("cannot open " + server.url("/set/ept-data/0-0-0-0.laz") + ": the server answers 404")
    );
}
}  // namespace
