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
// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::size_t HttpSource::kMostBlocks;
const std::size_t HttpSource::kMostExpectedBytes;

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

bool HttpSource::isSmall(std::size_t length) const noexcept
{
    return length < mClient->options().readAround / 4;
}

/// The blocks, two at most, that a small range lies in.
HttpSource::Range HttpSource::blockAround(std::uint64_t offset, std::size_t length) const noexcept
{
    const std::uint64_t step = mClient->options().readAround;
    const std::uint64_t begin = offset / step * step;
    const std::uint64_t end = std::min((offset + length + step - 1) / step * step, size());
    return {begin, static_cast<std::size_t>(end - begin)};
}

bool HttpSource::readBlockFromCache(const ByteRange& range) const
{
    if (!isSmall(range.out.size()) || mClient->cache() == nullptr)
    {
        return false;
    }
    const auto [begin, length] = blockAround(range.offset, range.out.size());
    std::vector<std::byte> block(length);
    if (!readFromCache({begin, block}))
    {
        return false;
    }
    std::memcpy(range.out.data(), block.data() + (range.offset - begin), range.out.size());
    keepBlock(begin, std::move(block));
    return true;
}

bool HttpSource::readFromBlocks(const ByteRange& range) const
{
    const auto isInside = [&range](const Block& block)
    {
        const auto& [begin, bytes] = block;
        return range.offset >= begin && range.offset + range.out.size() <= begin + bytes.size();
    };
    const std::scoped_lock lock(mMutex);
    const auto found = std::ranges::find_if(mBlocks, isInside);
    if (found == mBlocks.end())
    {
        return false;
    }
    std::memcpy(range.out.data(), found->second.data() + (range.offset - found->first), range.out.size());
    return true;
}

bool HttpSource::isInBlocks(std::uint64_t offset, std::size_t length) const noexcept
{
    const auto isInside = [&](const Block& block)
    { return offset >= block.first && offset + length <= block.first + block.second.size(); };
    const std::scoped_lock lock(mMutex);
    return std::ranges::any_of(mBlocks, isInside);
}

void HttpSource::keepBlock(std::uint64_t begin, std::vector<std::byte> bytes) const
{
    const std::scoped_lock lock(mMutex);
    mBlocks.emplace_back(begin, std::move(bytes));
    if (mBlocks.size() > kMostBlocks)
    {
        mBlocks.pop_front();
    }
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

/// @throws std::bad_alloc  with nothing expected, or what nobody will have
bool HttpSource::expectExactly(std::uint64_t offset, std::size_t length, Turn turn) const
{
    const DiskCache* const cache = mFile->version.canBeTold() ? mClient->cache() : nullptr;
    if (cache != nullptr && cache->mayHave(cacheKey(offset, length)))
    {
        return true;
    }
    std::shared_ptr<HttpJob> job;
    bool isNew = false;
    {
        const std::scoped_lock lock(mMutex);
        const auto found = mExpected.find({offset, length});
        isNew = found == mExpected.end();
        if (!isNew)
        {
            job = found->second;
        }
        else
        {
            if (length > kMostExpectedBytes - mExpectedBytes)
            {
                return true;
            }
            job = std::make_shared<HttpJob>(
                mFile, HttpJob::Kind::Range, offset, length, std::span<std::byte>()
            );
            job->owned.resize(length);
            job->out = job->owned;
            mExpected.emplace(Range(offset, length), job);
            mExpectedBytes += length;
        }
    }
    if (!isNew)
    {
        return mClient->engine().isDone(*job);
    }
    mClient->engine().submit({&job, 1}, turn == Turn::First);
    return false;
}

bool HttpSource::expect(std::uint64_t offset, std::size_t length, Turn turn) const noexcept
{
    const bool isInside = offset <= size() && length <= size() - offset;
    if (!isInside || length == 0 || length > HttpClient::kLargestResponse || isNear(offset, length))
    {
        return true;
    }
    try
    {
        if (turn == Turn::Behind || !isSmall(length))
        {
            return expectExactly(offset, length, turn);
        }
        const auto [begin, blockLength] = blockAround(offset, length);
        return isInBlocks(offset, length) || expectExactly(begin, blockLength, turn);
    }
    catch (const std::exception&)
    {
        forget(offset, length);  // for want of memory: the read asks again
        return true;
    }
}

void HttpSource::forget(std::uint64_t offset, std::size_t length) const noexcept
{
    std::shared_ptr<HttpJob> job = takeExpected(offset, length);
    if (!job && isSmall(length))
    {
        const auto [begin, blockLength] = blockAround(offset, length);
        job = takeExpected(begin, blockLength);
    }
    if (job)
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
        piece.isOwned = true;
        return;
    }
    if (isSmall(out.size()))
    {
        const auto [begin, length] = blockAround(offset, out.size());
        piece.isOwned = true;
        piece.isBlock = true;
        if (std::shared_ptr<HttpJob> expected = takeExpected(begin, length))
        {
            piece.jobs.push_back(std::move(expected));
            return;
        }
        auto job =
            std::make_shared<HttpJob>(mFile, HttpJob::Kind::Range, begin, length, std::span<std::byte>());
        job->owned.resize(length);
        job->out = job->owned;
        piece.jobs.push_back(job);
        added.push_back(std::move(job));
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

bool HttpSource::finish(
    const Piece& piece, const std::stop_token& stopToken, std::chrono::steady_clock::time_point deadline
) const
{
    const auto& [offset, out] = piece.range;
    for (const std::shared_ptr<HttpJob>& job : piece.jobs)
    {
        if (!mClient->engine().wait(*job, stopToken, deadline) && job->error.empty())
        {
            return false;
        }
        if (!job->error.empty())
        {
            failRead(offset, out.size(), job->error);
        }
    }
    ByteRange kept = piece.range;
    if (piece.isOwned)
    {
        HttpJob& job = *piece.jobs.front();
        std::memcpy(out.data(), job.owned.data() + (offset - job.offset), out.size());
        kept = {job.offset, job.owned};
    }
    if (DiskCache* const cache = mFile->version.canBeTold() ? mClient->cache() : nullptr)
    {
        cache->keep(cacheKey(kept.offset, kept.out.size()), kept.out);
    }
    if (piece.isBlock)
    {
        keepBlock(kept.offset, std::move(piece.jobs.front()->owned));
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
        else if (!readFromBlocks(range) && !readFromCache(range) && !readBlockFromCache(range))
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
    const auto deadline = mClient->engine().deadlineOfRead();
    for (const Piece& piece : pieces)
    {
        if (!finish(piece, stopToken, deadline))
        {
            return false;
        }
    }
    return true;
}
}  // namespace Core
