#include "apps/cli/remoteData.h"

#include "apps/cli/numberChecks.h"
#include "apps/cli/parseValue.h"
#include <core/LocalFolder.h>
#include <core/http/HttpFolder.h>
#include <core/http/HttpUrl.h>
#include <core/readLocalFile.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace Cli
{
namespace
{
constexpr const char* kGroup = "Web addresses";
constexpr std::uint64_t kLargestHeaderFile = 64U << 10U;
constexpr std::uint64_t kMegabyte = 1'000'000;
constexpr std::uint64_t kLargestCache = 1'000'000'000;  // megabytes
constexpr std::uint64_t kDefaultCache = 4'000;          // likewise

/// What the command line says, whichever verb it belongs to.
struct RemoteOptions
{
    std::vector<std::string> headers;
    std::optional<std::string> proxy;
    std::string certificates;
    std::string cacheFolder;
    std::uint64_t cacheMegabytes = kDefaultCache;
};

RemoteOptions& remoteOptions()
{
    static RemoteOptions options;
    return options;
}

/// "@FILE" stands for the lines of a file, which no list of processes shows.
void addHeaders(const std::string& word, std::vector<std::string>& headers)
{
    if (!word.starts_with('@'))
    {
        headers.push_back(word);
        return;
    }
    const std::string text = Core::readLocalFile(toPath(word.substr(1)), kLargestHeaderFile);
    std::string_view rest = text;
    while (!rest.empty())
    {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        line.remove_suffix(line.ends_with('\r') ? 1 : 0);
        if (line.find_first_not_of(" \t") != std::string_view::npos)
        {
            headers.emplace_back(line);
        }
    }
}

std::shared_ptr<const Core::HttpClient> makeClient(const RemoteOptions& given)
{
    Core::HttpOptions options;
    for (const std::string& word : given.headers)
    {
        addHeaders(word, options.headers);
    }
    options.proxy = given.proxy;
    options.certificates = toPath(given.certificates);
    options.cacheFolder = toPath(given.cacheFolder);
    options.cacheSize = given.cacheMegabytes * kMegabyte;
    try
    {
        return std::make_shared<const Core::HttpClient>(std::move(options));
    }
    catch (const std::invalid_argument& error)
    {
        constexpr std::string_view kPrefix = "Error: ";
        throw CLI::ValidationError("--header", std::string(error.what()).substr(kPrefix.size()));
    }
}
}  // namespace

void addRemoteOptions(CLI::App& verb)
{
    RemoteOptions& options = remoteOptions();
    verb.add_option(
            "--header",
            options.headers,
            "Header \"Name: value\" to send along, such as Authorization; @FILE takes lines of a file; "
            "repeatable"
    )
        ->allow_extra_args(false)
        ->type_name("TEXT")
        ->group(kGroup);
    verb.add_option(
            "--proxy",
            options.proxy,
            "Address of a proxy, or \"\" for none (default: as the environment says)"
    )
        ->group(kGroup);
    verb.add_option(
            "--ca-file", options.certificates, "PEM file of certificates to trust (default: the system's)"
    )
        ->group(kGroup);
    CLI::Option* const cache =
        verb.add_option("--cache", options.cacheFolder, "Folder to keep what was read in, for later runs")
            ->group(kGroup);
    verb.add_option("--cache-size", options.cacheMegabytes, "Most megabytes to keep there (default: 4000)")
        ->transform(wholeNumber(1, kLargestCache))
        ->needs(cache)
        ->group(kGroup);
}

std::shared_ptr<const Core::HttpClient> remoteClient()
{
    static const std::shared_ptr<const Core::HttpClient> client = makeClient(remoteOptions());
    return client;
}

std::shared_ptr<const Core::ByteFolder> dataFolder(const std::string& pathOrUrl)
{
    if (Core::HttpUrl::isUrl(pathOrUrl))
    {
        return std::make_shared<const Core::HttpFolder>(remoteClient(), Core::HttpUrl(pathOrUrl));
    }
    return std::make_shared<const Core::LocalFolder>(toPath(pathOrUrl));
}

std::string shownName(const std::string& pathOrUrl)
{
    return Core::HttpUrl::isUrl(pathOrUrl) ? Core::HttpUrl(pathOrUrl).shown() : pathOrUrl;
}
}  // namespace Cli
