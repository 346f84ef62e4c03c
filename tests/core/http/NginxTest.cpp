#include "core/http/HttpUrl.h"
#include "tests/core/http/HttpClientFixture.h"
#include "tests/support/Nginx.h"
#include "tests/support/ThreadSignals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

namespace
{
using Core::Extent;
using Core::HttpClient;
using Core::HttpUrl;
using testing::HasSubstr;

class NginxTest : public testing::Test
{
protected:
    NginxTest() { folder.write("a.bin", bytes); }

    static std::shared_ptr<const HttpClient> trusting(const Nginx& server)
    {
        Core::HttpOptions options = patientOptions();
        options.certificates = server.certificate();
        return makeClient(options);
    }

    /// The server writes a line after it has answered.
    static bool hasLogged(const Nginx& server, const std::string& line)
    {
        return eventually([&] { return server.accessLog().find(line) != std::string::npos; });
    }

    const TemporaryFolder folder;
    const std::string bytes = patternBytes(300'000);
};

TEST_F(NginxTest, PartsAndWholeFilesAreRead)
{
    const Nginx server(folder.path());
    const auto source = HttpClient::open(makeClient(patientOptions()), HttpUrl(server.url("/a.bin")));

    EXPECT_EQ(source->size(), bytes.size());
    EXPECT_EQ(readPart(*source, 123'456, 7890), bytes.substr(123'456, 7890));
    EXPECT_EQ(Core::readAll(*source), bytes);
    EXPECT_TRUE(hasLogged(server, "HTTP/1.1 206 bytes=123456-131345 /a.bin"));
}

TEST_F(NginxTest, CompressionDoesNotDisturbRanges)
{
    const Nginx server(folder.path(), Nginx::Protocol::Http, "gzip on;\ngzip_types *;\ngzip_min_length 1;");
    const auto source = HttpClient::open(makeClient(patientOptions()), HttpUrl(server.url("/a.bin")));

    EXPECT_EQ(Core::readAll(*source), bytes);
}

TEST_F(NginxTest, AServerWithRangesTurnedOffGivesSmallFilesAlone)
{
    folder.write("large.bin", patternBytes((std::size_t{4} << 20U) + 1));
    const Nginx server(folder.path(), Nginx::Protocol::Http, "max_ranges 0;");
    const auto client = makeClient(patientOptions());

    EXPECT_EQ(Core::readAll(*HttpClient::open(client, HttpUrl(server.url("/a.bin")))), bytes);
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { HttpClient::open(client, HttpUrl(server.url("/large.bin"))); }),
        HasSubstr("the server ignores ranges, and the file has 4194305 bytes")
    );
}

TEST_F(NginxTest, AFileThatIsReplacedWhileItIsOpenIsAnError)
{
    const Nginx server(folder.path());
    const auto source = HttpClient::open(makeClient(patientOptions()), HttpUrl(server.url("/a.bin")));
    const auto file = folder.write("a.bin", patternBytes(299'999));
    std::filesystem::last_write_time(
        file, std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5)
    );

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { readPart(*source, 200'000, 10); }),
        HasSubstr("the file was changed while it was open, it had 300000 bytes and now has 299999")
    );
}

TEST_F(NginxTest, PasswordsOpenWhatTheyProtect)
{
    folder.write("users", "me:{PLAIN}secret\n");
    const Nginx server(
        folder.path(),
        Nginx::Protocol::Http,
        "auth_basic room;\nauth_basic_user_file " + (folder.path() / "users").string() + ";"
    );
    const auto client = makeClient(patientOptions());
    std::string with = server.url("/a.bin");
    with.insert(std::string("http://").size(), "me:secret@");
    std::string wrong = server.url("/a.bin");
    wrong.insert(std::string("http://").size(), "me:guess@");

    EXPECT_EQ(HttpClient::open(client, HttpUrl(with))->size(), bytes.size());
    const std::string text = messageOf<std::runtime_error>([&] { HttpClient::open(client, HttpUrl(wrong)); });
    EXPECT_THAT(text, HasSubstr("the server answers 401"));
    EXPECT_THAT(text, testing::Not(HasSubstr("guess")));
}

TEST_F(NginxTest, ACertificateThatNobodyTrustsIsRefusedAtOnce)
{
    const Nginx server(folder.path(), Nginx::Protocol::Https);
    const auto begin = std::chrono::steady_clock::now();

    EXPECT_THAT(
        messageOf<std::runtime_error>(
            [&] { HttpClient::open(makeClient(patientOptions()), HttpUrl(server.url("/a.bin"))); }
        ),
        HasSubstr("certificate")
    );

    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(NginxTest, ACertificateOfAnotherHostIsRefused)
{
    const Nginx server(folder.path(), Nginx::Protocol::Https);
    std::string url = server.url("/a.bin");
    url.replace(url.find("127.0.0.1"), 9, "localhost");

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { HttpClient::open(trusting(server), HttpUrl(url)); }),
        HasSubstr("localhost")
    );
}

TEST_F(NginxTest, Http2IsSpokenWhereTheServerHasIt)
{
    const Nginx server(folder.path(), Nginx::Protocol::Https);
    const auto source = HttpClient::open(trusting(server), HttpUrl(server.url("/a.bin")));
    for (std::uint64_t i = 0; i < 10; ++i)
    {
        source->expect(70'000 + i * 20'000, 100);
    }

    for (std::size_t i = 0; i < 10; ++i)
    {
        EXPECT_EQ(readPart(*source, 70'000 + i * 20'000, 100), bytes.substr(70'000 + i * 20'000, 100));
    }

    EXPECT_TRUE(hasLogged(server, "HTTP/2.0 206 bytes=250000-250099 /a.bin"));
    EXPECT_THAT(server.accessLog(), testing::Not(HasSubstr("HTTP/1.1")));
}
}  // namespace
