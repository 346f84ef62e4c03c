#include "core/http/HttpClient.h"

#include "core/http/DiskCache.h"
#include "core/http/HttpEngine.h"
#include "core/http/HttpOpening.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Core
{
namespace
{
constexpr unsigned kMostConnections = 256;
constexpr unsigned kMostRetries = 100;

bool isNameCharacter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') ||
           std::string_view("-_.!#$&'*+^`|~").find(letter) != std::string_view::npos;
}

/// Values are secret and stand in no message.
void checkHeader(const std::string& line)
{
    constexpr std::array<std::string_view, 8> kOurs{
        "accept-encoding",
        "connection",
        "content-length",
        "host",
        "if-modified-since",
        "if-none-match",
        "range",
        "transfer-encoding"};
    const std::size_t colon = line.find(':');
    std::string name = line.substr(0, colon);
    const auto isControl = [](char letter)
    { return static_cast<unsigned char>(letter) < 0x20 && letter != '\t'; };
    if (colon == std::string::npos || colon == 0 || !std::ranges::all_of(name, isNameCharacter) ||
        std::ranges::any_of(line, isControl) || line.find_first_not_of(" \t", colon + 1) == std::string::npos)
    {
        throw std::invalid_argument("Error: a header is not of the form \"Name: value\" on one line");
    }
    std::ranges::transform(
        name,
        name.begin(),
        [](char letter)
        { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }
    );
    if (std::ranges::find(kOurs, name) != kOurs.end())
    {
        throw std::invalid_argument(
            "Error: the header \"" + name + "\" cannot be given, it is set for each request"
        );
    }
}

HttpOptions checked(HttpOptions options)
{
    std::ranges::for_each(options.headers, checkHeader);
    if (options.maxConnections < 1 || options.maxConnections > kMostConnections)
    {
        throw std::invalid_argument(
            "Error: " + std::to_string(options.maxConnections) + " connections, expected 1 to " +
            std::to_string(kMostConnections)
        );
    }
    if (options.readAround > HttpClient::kLargestResponse / 2)
    {
        throw std::invalid_argument(
            "Error: blocks of " + std::to_string(options.readAround) + " bytes, expected at most " +
            std::to_string(HttpClient::kLargestResponse / 2)
        );
    }
    if (options.maxRetries > kMostRetries)
    {
        throw std::invalid_argument(
            "Error: at most " + std::to_string(kMostRetries) + " retries are possible"
        );
    }
    if (std::min({options.connectTimeout, options.stallTimeout, options.totalTimeout, options.retryDelay})
            .count() < 1)
    {
        throw std::invalid_argument("Error: times have to be above 0");
    }
    return options;
}

std::unique_ptr<DiskCache> makeCache(const HttpOptions& options)
{
    return options.cacheFolder.empty() || options.cacheSize == 0
               ? nullptr
               : std::make_unique<DiskCache>(options.cacheFolder, options.cacheSize);
}
}  // namespace

/// Made when the first file is opened.
struct HttpClient::Lazy
{
    std::mutex mutex;  // guards the pointer
    std::unique_ptr<HttpEngine> engine;
};

// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::size_t HttpClient::kOpeningBytes;
const std::size_t HttpClient::kWholeOpeningBytes;
const std::size_t HttpClient::kLargestResponse;

HttpClient::HttpClient(HttpOptions options)
    : mOptions(checked(std::move(options))), mCache(makeCache(mOptions)), mEngine(std::make_unique<Lazy>())
{
}

HttpClient::~HttpClient() = default;

HttpEngine& HttpClient::engine() const
{
    const std::scoped_lock lock(mEngine->mutex);
    if (!mEngine->engine)
    {
        mEngine->engine = std::make_unique<HttpEngine>(mOptions);
    }
    return *mEngine->engine;
}

std::shared_ptr<HttpClient> HttpClient::shared()
{
    static std::mutex mutex;
    static std::weak_ptr<HttpClient> current;
    const std::scoped_lock lock(mutex);
    std::shared_ptr<HttpClient> client = current.lock();
    if (!client)
    {
        client = std::make_shared<HttpClient>();
        current = client;
    }
    return client;
}

std::unique_ptr<const ByteSource> HttpClient::open(
    const std::shared_ptr<const HttpClient>& client,
    const HttpUrl& url,
    Extent extent,
    const std::stop_token& stopToken
)
{
    return HttpOpening(client, url, extent).finish(stopToken);
}

std::uint64_t HttpClient::numRequests() const
{
    const std::scoped_lock lock(mEngine->mutex);
    return mEngine->engine ? mEngine->engine->numRequests() : 0;
}
}  // namespace Core
