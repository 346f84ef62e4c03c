#include "core/http/HttpFolder.h"
#include "tests/core/http/HttpClientFixture.h"
#include "tests/support/ThreadSignals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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

/// "/0", "/1", ..., of which each has its number.
std::map<std::string, std::string> numberedFiles(int count)
{
    std::map<std::string, std::string> files;
    for (int i = 0; i < count; ++i)
    {
        files["/" + std::to_string(i)] = std::to_string(i);
    }
    return files;
}

TEST_F(HttpFolderTest, MoreExpectedFilesThanMayBeOnTheirWayWaitForTheirTurn)
{
    constexpr int kFiles = 80;
    HttpTestServer many(HttpTestServer::files(numberedFiles(kFiles)));
    const HttpFolder expecting(makeClient(patientOptions()), HttpUrl(many.url("/")));
    for (int i = 0; i < kFiles; ++i)
    {
        expecting.expect(Extent::Whole, std::to_string(i));
    }
    EXPECT_TRUE(eventually([&] { return many.numRequests() == HttpFolder::kMostExpected; }));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(many.numRequests(), HttpFolder::kMostExpected);

    for (int i = 0; i < kFiles; ++i)
    {
        EXPECT_EQ(Core::readAll(*expecting.open(std::to_string(i))), std::to_string(i));
    }

    EXPECT_EQ(many.numRequests(), std::size_t{kFiles});
}

TEST_F(HttpFolderTest, FilesExpectedFirstGoBeforeThoseThatWait)
{
    Core::HttpOptions options = patientOptions();
    options.maxConnections = 1;
    HttpTestServer many(HttpTestServer::files(numberedFiles(100), 30ms));
    const HttpFolder expecting(makeClient(options), HttpUrl(many.url("/")));
    for (int i = 0; i < 99; ++i)
    {
        expecting.expect(Extent::Whole, std::to_string(i));
    }
    EXPECT_TRUE(eventually([&] { return many.numRequests() > 0; }));

    EXPECT_FALSE(expecting.expect(Extent::Whole, "99", Core::Turn::First));
    EXPECT_TRUE(eventually([&] { return expecting.expect(Extent::Whole, "99", Core::Turn::First); }));
    EXPECT_EQ(Core::readAll(*expecting.open("99")), "99");

    const auto requests = many.requests();
    const auto found = std::ranges::find(requests, "/99", &HttpTestServer::Request::target);
    EXPECT_LT(found - requests.begin(), 40);  // in its turn it would have been the last
    EXPECT_EQ(std::ranges::count(requests, "/99", &HttpTestServer::Request::target), 1);
}

TEST_F(HttpFolderTest, NoMoreFilesAreExpectedFirstThanAreTaken)
{
    HttpTestServer many(HttpTestServer::files(numberedFiles(50)));
    const HttpFolder expecting(makeClient(patientOptions()), HttpUrl(many.url("/")));
    constexpr auto kMost = static_cast<int>(HttpFolder::kMostFirst);
    for (int i = 0; i <= kMost; ++i)
    {
        expecting.expect(Extent::Whole, std::to_string(i), Core::Turn::First);
    }
    EXPECT_TRUE(eventually([&] { return many.numRequests() == HttpFolder::kMostFirst; }));
    EXPECT_FALSE(expecting.expect(Extent::Whole, std::to_string(kMost), Core::Turn::First));
    EXPECT_EQ(many.numRequests(), HttpFolder::kMostFirst);

    expecting.forget("0");
    expecting.expect(Extent::Whole, std::to_string(kMost), Core::Turn::First);

    EXPECT_TRUE(eventually([&] { return many.numRequests() == HttpFolder::kMostFirst + 1; }));
}

TEST_F(HttpFolderTest, ForgottenFilesAreOpenedAnew)
{
    folder.expect(Extent::Whole, "a.bin");
    folder.forget("a.bin");

    EXPECT_EQ(Core::readAll(*folder.open("a.bin")), bytes);
}
}  // namespace
