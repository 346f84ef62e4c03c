#include "core/http/HttpOpening.h"

#include "core/fnv1a.h"
#include "core/http/DiskCache.h"
#include "core/http/HttpEngine.h"
#include "core/http/HttpSource.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Core
{
namespace
{
constexpr std::size_t kMostVersionText = 1024;

// After that the file may be another one, and has to be asked for again.
constexpr std::chrono::seconds kLongestUse{10};

/// What the cache keeps of an opening: three lines, then the first bytes.
std::string versionText(const HttpVersion& version)
{
    return version.etag + '\n' + version.lastModified + '\n' + std::to_string(version.size) + '\n';
}

/// Takes one line off the text; nothing without one.
std::optional<std::string_view> takeLine(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos)
    {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}
}  // namespace

HttpOpening::HttpOpening(
    std::shared_ptr<const HttpClient> client, const HttpUrl& url, Extent extent, bool isUrgent
)
    : mClient(std::move(client)),
      mFile(std::make_shared<HttpFile>(url)),
      mJob(std::make_shared<HttpJob>(
          mFile,
          HttpJob::Kind::Opening,
          0,
          extent == Extent::Whole ? HttpClient::kWholeOpeningBytes : HttpClient::kOpeningBytes,
          std::span<std::byte>()
      ))
{
    takeFromCache();
    mClient->engine().submit({&mJob, 1}, isUrgent);
}

HttpOpening::~HttpOpening()
{
    mClient->engine().cancel(*mJob);
}

std::string HttpOpening::cacheKey() const
{
    return HttpSource::cacheName(mFile->url) + "\nopening " + std::to_string(mJob->length);
}

void HttpOpening::takeFromCache()
{
    const DiskCache* const cache = mClient->cache();
    if (cache == nullptr)
    {
        return;
    }
    const auto kept = cache->find(cacheKey(), static_cast<std::size_t>(mJob->length) + kMostVersionText);
    if (!kept)
    {
        return;
    }
    std::string_view text(reinterpret_cast<const char*>(kept->data()), kept->size());
    const auto etag = takeLine(text);
    const auto lastModified = etag ? takeLine(text) : std::nullopt;
    const auto sizeText = lastModified ? takeLine(text) : std::nullopt;
    HttpVersion version;
    if (!sizeText ||
        std::from_chars(sizeText->data(), sizeText->data() + sizeText->size(), version.size).ec !=
            std::errc())
    {
        return;
    }
    version.etag = *etag;
    version.lastModified = *lastModified;
    if (text.size() == std::min(version.size, mJob->length))
    {
        mJob->known = std::move(version);
        mCached.assign(kept->end() - static_cast<std::ptrdiff_t>(text.size()), kept->end());
    }
}

void HttpOpening::keepInCache() const
{
    DiskCache* const cache = mClient->cache();
    const HttpVersion& version = mJob->version;
    if (cache == nullptr || mJob->isUnchanged || !version.canBeTold() ||
        mJob->owned.size() != std::min(version.size, mJob->length))
    {
        return;
    }
    const std::string head = versionText(version);
    std::vector<std::byte> bytes(head.size() + mJob->owned.size());
    std::ranges::copy(std::as_bytes(std::span(head)), bytes.begin());
    std::ranges::copy(mJob->owned, bytes.begin() + static_cast<std::ptrdiff_t>(head.size()));
    cache->keep(cacheKey(), bytes);
}

bool HttpOpening::hasCome() const
{
    return mClient->engine().isDone(*mJob);
}

bool HttpOpening::isStale() const
{
    return std::chrono::steady_clock::now() - mBegunAt > kLongestUse;
}

bool HttpOpening::wait(const std::stop_token& stopToken)
{
    HttpEngine& engine = mClient->engine();
    if (!engine.wait(*mJob, stopToken, engine.deadlineOfRead()) && mJob->error.empty())
    {
        return false;
    }
    return true;
}

std::unique_ptr<const ByteSource> HttpOpening::finish(const std::stop_token& stopToken)
{
    if (!wait(stopToken))
    {
        return nullptr;
    }
    if (!mJob->error.empty())
    {
        throw std::runtime_error("Error: cannot open " + mFile->url.shown() + ": " + mJob->error);
    }
    keepInCache();
    mFile->version = mJob->isUnchanged ? mJob->known : mJob->version;
    return std::make_unique<const HttpSource>(
        mClient, mFile, mJob->isUnchanged ? std::move(mCached) : std::move(mJob->owned)
    );
}

std::optional<bool> HttpOpening::isThere(const std::stop_token& stopToken)
{
    if (!wait(stopToken))
    {
        return std::nullopt;
    }
    const bool isMissing = mJob->status == 404 || mJob->status == 410;
    if (!mJob->error.empty() && !isMissing)
    {
        throw std::runtime_error("Error: cannot look for " + mFile->url.shown() + ": " + mJob->error);
    }
    return !isMissing;
}
}  // namespace Core
