#include "core/http/HttpSource.h"

#include "core/fnv1a.h"
#include "core/http/DiskCache.h"
#include "core/http/HttpEngine.h"
#include "core/http/HttpJob.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace Core
{
HttpSource::HttpSource(
    std::shared_ptr<const HttpClient> client, std::shared_ptr<HttpFile> file, std::vector<std::byte> begin
)
    : mClient(std::move(client)), mFile(std::move(file)), mBegin(std::move(begin))
{
}

HttpSource::~HttpSource()
{
    for (const auto& [range, job] : mExpected)
    {
        mClient->engine().cancel(*job);
    }
}

std::string HttpSource::name() const
{
    return mFile->url.shown();
}

std::uint64_t HttpSource::size() const noexcept
{
    return mFile->version.size;
}

SourceIdentity HttpSource::identity() const
{
    const HttpVersion& version = mFile->version;
    return {
        cacheName(mFile->url),
        std::to_string(version.size) + " " + version.etag + " " + version.lastModified};
}

std::string HttpSource::cacheName(const HttpUrl& url)
{
    const std::string& query = url.query();
    const std::string shown = url.withoutCredentials().shown();
    return query.empty() ? shown : shown + "#" + std::to_string(fnv1a(std::as_bytes(std::span(query))));
}

std::string HttpSource::cacheKey(std::uint64_t offset, std::size_t length) const
{
    const SourceIdentity which = identity();
    return which.name + '\n' + which.version + '\n' + std::to_string(offset) + ' ' + std::to_string(length);
}

bool HttpSource::isNear(std::uint64_t offset, std::size_t length) const noexcept
{
    return offset <= mBegin.size() && length <= mBegin.size() - offset;
}

bool HttpSource::readFromCache(const ByteRange& range) const
{
    const DiskCache* const cache = mFile->version.canBeTold() ? mClient->cache() : nullptr;
    const auto kept = cache != nullptr
                          ? cache->find(cacheKey(range.offset, range.out.size()), range.out.size())
                          : std::nullopt;
    if (!kept || kept->size() != range.out.size())
    {
        return false;
    }
    std::memcpy(range.out.data(), kept->data(), kept->size());
    return true;
}

std::shared_ptr<HttpJob> HttpSource::takeExpected(std::uint64_t offset, std::size_t length) const noexcept
{
    const std::scoped_lock lock(mMutex);
    const auto found = mExpected.find({offset, length});
    if (found == mExpected.end())
    {
        return nullptr;
    }
    std::shared_ptr<HttpJob> job = std::move(found->second);
    mExpected.erase(found);
    mExpectedBytes -= length;
    return job;
}

void HttpSource::expect(std::uint64_t offset, std::size_t length) const noexcept
{
    try
    {
        const bool isInside = offset <= size() && length <= size() - offset;
        if (!isInside || length == 0 || length > HttpClient::kLargestResponse || isNear(offset, length))
        {
            return;
        }
        const DiskCache* const cache = mFile->version.canBeTold() ? mClient->cache() : nullptr;
        if (cache != nullptr && cache->mayHave(cacheKey(offset, length)))
        {
            return;
        }
        std::shared_ptr<HttpJob> job;
        {
            const std::scoped_lock lock(mMutex);
            if (length > kMostExpectedBytes - mExpectedBytes || mExpected.contains({offset, length}))
            {
                return;
            }
            job = std::make_shared<HttpJob>(
                mFile, HttpJob::Kind::Range, offset, length, std::span<std::byte>()
            );
            job->owned.resize(length);
            job->out = job->owned;
            mExpected.emplace(std::pair(offset, length), job);
            mExpectedBytes += length;
        }
        mClient->engine().submit({&job, 1}, false);
    }
    catch (const std::exception&)
    {
        forget(offset, length);  // for want of memory: the read asks again
    }
}

void HttpSource::forget(std::uint64_t offset, std::size_t length) const noexcept
{
    if (const std::shared_ptr<HttpJob> job = takeExpected(offset, length))
    {
        mClient->engine().cancel(*job);
    }
}

void HttpSource::addJobs(Piece& piece, Jobs& added) const
{
    const auto& [offset, out] = piece.range;
    if (std::shared_ptr<HttpJob> expected = takeExpected(offset, out.size()))
    {
        piece.jobs.push_back(std::move(expected));
        piece.isExpected = true;
        return;
    }
    for (std::size_t done = 0; done < out.size(); done += HttpClient::kLargestResponse)
    {
        const std::size_t length = std::min(HttpClient::kLargestResponse, out.size() - done);
        piece.jobs.push_back(std::make_shared<HttpJob>(
            mFile, HttpJob::Kind::Range, offset + done, length, out.subspan(done, length)
        ));
        added.push_back(piece.jobs.back());
    }
}

bool HttpSource::finish(const Piece& piece, const std::stop_token& stopToken) const
{
    const auto& [offset, out] = piece.range;
    for (const std::shared_ptr<HttpJob>& job : piece.jobs)
    {
        if (!mClient->engine().wait(*job, stopToken) && job->error.empty())
        {
            return false;
        }
        if (!job->error.empty())
        {
            failRead(offset, out.size(), job->error);
        }
    }
    if (piece.isExpected)
    {
        std::memcpy(out.data(), piece.jobs.front()->owned.data(), out.size());
    }
    if (DiskCache* const cache = mFile->version.canBeTold() ? mClient->cache() : nullptr)
    {
        cache->keep(cacheKey(offset, out.size()), out);
    }
    return true;
}

bool HttpSource::read(std::span<const ByteRange> ranges, const std::stop_token& stopToken) const
{
    if (stopToken.stop_requested())
    {
        return false;
    }
    std::vector<Piece> pieces;
    Jobs added;
    for (const ByteRange& range : ranges)
    {
        const auto& [offset, out] = range;
        checkPossible(offset, out.size());
        if (offset > size() || out.size() > size() - offset)
        {
            failRead(offset, out.size(), "the file ends after " + std::to_string(size()) + " bytes");
        }
        if (out.empty())
        {
            continue;
        }
        if (isNear(offset, out.size()))
        {
            std::memcpy(out.data(), mBegin.data() + offset, out.size());
        }
        else if (!readFromCache(range))
        {
            addJobs(pieces.emplace_back(Piece{range, {}, false}), added);
        }
    }

    /// Whatever ends this, nobody writes into the caller's memory afterwards.
    struct Cancelling
    {
        ~Cancelling()
        {
            for (const Piece& piece : pieces)
            {
                for (const std::shared_ptr<HttpJob>& job : piece.jobs)
                {
                    engine.cancel(*job);
                }
            }
        }

        HttpEngine& engine;
        const std::vector<Piece>& pieces;
    };

    if (pieces.empty())
    {
        return true;
    }
    const Cancelling atTheEnd{mClient->engine(), pieces};
    mClient->engine().submit(added, true);
    for (const Piece& piece : pieces)
    {
        if (!finish(piece, stopToken))
        {
            return false;
        }
    }
    return true;
}
}  // namespace Core
