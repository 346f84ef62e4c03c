#include "core/http/HttpFolder.h"
#include "tests/core/http/HttpClientFixture.h"
#include "tests/support/ThreadSignals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <thread>

namespace
{
using namespace std::chrono_literals;
using Core::Extent;
using Core::HttpFolder;
using Core::HttpUrl;
using testing::HasSubstr;

class HttpFolderTest : public testing::Test
{
protected:
    const std::string bytes = patternBytes(1000);
    HttpTestServer server{
        HttpTestServer::files({{"/set/a.bin", bytes}, {"/set/inner/b%20c.bin", "xyz"}}, 50ms)};
    const HttpFolder folder{makeClient(), HttpUrl(server.url("/set"))};
};

TEST_F(HttpFolderTest, FilesAreFoundByTheirNames)
{
    EXPECT_EQ(Core::readAll(*folder.open("a.bin")), bytes);
    EXPECT_EQ(Core::readAll(*folder.open("inner/b c.bin")), "xyz");
    EXPECT_EQ(folder.nameOf("a.bin"), server.url("/set/a.bin"));
    EXPECT_EQ(folder.title(), "set");
    EXPECT_TRUE(folder.mayHaveFolder("anything"));
}

TEST_F(HttpFolderTest, WhatIsThereIsAskedForAndOpenedByOneRequest)
{
    EXPECT_TRUE(folder.contains("a.bin"));
    EXPECT_EQ(Core::readAll(*folder.open("a.bin")), bytes);

    EXPECT_EQ(server.numRequests(), 1U);
}

TEST_F(HttpFolderTest, WhatIsMissingIsNotContainedAndNamedWhenItIsOpened)
{
    EXPECT_FALSE(folder.contains("c.bin"));
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { folder.open("c.bin"); }),
        HasSubstr("cannot open " + server.url("/set/c.bin") + ": the server answers 404")
    );
}

TEST_F(HttpFolderTest, WhatCannotBeToldIsAnError)
{
    HttpTestServer refusing([](const auto&, auto& connection) { connection.respond(403, "", ""); });
    const HttpFolder refused(makeClient(), HttpUrl(refusing.url("/set")));

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { refused.contains("a.bin"); }),
        HasSubstr("cannot look for " + refusing.url("/set/a.bin") + ": the server answers 403")
    );
}

TEST_F(HttpFolderTest, ExpectedFilesAreOnTheirWayTogether)
{
    HttpTestServer slow(HttpTestServer::files({{"/set/a.bin", bytes}, {"/set/b.bin", "xyz"}}, 400ms));
    const HttpFolder files(makeClient(patientOptions()), HttpUrl(slow.url("/set")));
    const auto begin = std::chrono::steady_clock::now();
    files.expect(Extent::Whole, "a.bin");
    files.expect(Extent::Whole, "a.bin");
    files.expect(Extent::Whole, "b.bin");

    EXPECT_EQ(Core::readAll(*files.openFor(Extent::Whole, "a.bin")), bytes);
    EXPECT_EQ(Core::readAll(*files.openFor(Extent::Whole, "b.bin")), "xyz");

    EXPECT_EQ(slow.numRequests(), 2U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 780ms);  // one after the other they take 800
}

TEST_F(HttpFolderTest, MoreExpectedFilesThanMayBeOnTheirWayWaitForTheirTurn)
{
    std::map<std::string, std::string> files;
    for (int i = 0; i < 50; ++i)
    {
        files["/" + std::to_string(i)] = std::to_string(i);
    }
    HttpTestServer many(HttpTestServer::files(files));
    const HttpFolder expecting(makeClient(patientOptions()), HttpUrl(many.url("/")));
    for (int i = 0; i < 50; ++i)
    {
        expecting.expect(Extent::Whole, std::to_string(i));
    }
    EXPECT_TRUE(eventually([&] { return many.numRequests() == HttpFolder::kMostExpected; }));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(many.numRequests(), HttpFolder::kMostExpected);

    for (int i = 0; i < 50; ++i)
    {
        EXPECT_EQ(Core::readAll(*expecting.open(std::to_string(i))), std::to_string(i));
    }

    EXPECT_EQ(many.numRequests(), 50U);
}

TEST_F(HttpFolderTest, ForgottenFilesAreOpenedAnew)
{
    folder.expect(Extent::Whole, "a.bin");
    folder.forget("a.bin");

    EXPECT_EQ(Core::readAll(*folder.open("a.bin")), bytes);
}
}  // namespace
