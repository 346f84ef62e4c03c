#include "core/http/HttpFolder.h"

#include "core/http/HttpOpening.h"
#include "core/http/HttpSource.h"
#include "core/shownText.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace Core
{
// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::size_t HttpFolder::kMostExpected;
const std::size_t HttpFolder::kMostFirst;

HttpFolder::HttpFolder(std::shared_ptr<const HttpClient> client, HttpUrl url)
    : mClient(std::move(client)), mUrl(std::move(url))
{
    if (!mClient)
    {
        throw std::invalid_argument("Error: a folder of a web server needs a client");
    }
}

HttpFolder::~HttpFolder() = default;

std::string HttpFolder::name() const
{
    return mUrl.shown();
}

std::string HttpFolder::nameOf(std::string_view file) const
{
    return mUrl.file(file).shown();
}

std::string HttpFolder::title() const
{
    return shownText(mUrl.lastStep());
}

std::string HttpFolder::identity() const
{
    return HttpSource::cacheName(mUrl);
}

std::unique_ptr<HttpOpening> HttpFolder::takeExpected(std::string_view file) const
{
    const std::scoped_lock lock(mMutex);
    if (const auto first = mExpectedFirst.find(file); first != mExpectedFirst.end())
    {
        std::unique_ptr<HttpOpening> opening = std::move(first->second);
        mExpectedFirst.erase(first);
        return opening->isStale() ? nullptr : std::move(opening);
    }
    const auto found = mExpected.find(file);
    if (found == mExpected.end())
    {
        std::erase_if(mWaiting, [file](const Wish& wish) { return wish.file == file; });
        return nullptr;
    }
    std::unique_ptr<HttpOpening> opening = std::move(found->second);
    mExpected.erase(found);
    beginExpected();
    return opening->isStale() ? nullptr : std::move(opening);
}

/// With the mutex: begins what waits, as far as there is room.
void HttpFolder::beginExpected() const
{
    while (mExpected.size() < kMostExpected && !mWaiting.empty())
    {
        const Wish wish = std::move(mWaiting.front());
        mWaiting.pop_front();
        mExpected.emplace(
            wish.file, std::make_unique<HttpOpening>(mClient, mUrl.file(wish.file), wish.extent, false)
        );
    }
}

std::unique_ptr<const ByteSource> HttpFolder::open(std::string_view file, const std::stop_token& stopToken)
    const
{
    return openFor(Extent::Parts, file, stopToken);
}

std::unique_ptr<const ByteSource> HttpFolder::openFor(
    Extent extent, std::string_view file, const std::stop_token& stopToken
) const
{
    if (stopToken.stop_requested())
    {
        return nullptr;
    }
    const std::unique_ptr<HttpOpening> expected = takeExpected(file);
    return expected ? expected->finish(stopToken)
                    : HttpOpening(mClient, mUrl.file(file), extent).finish(stopToken);
}

/// With the mutex.
bool HttpFolder::expectFirst(Extent extent, std::string_view file) const
{
    if (const auto found = mExpectedFirst.find(file); found != mExpectedFirst.end())
    {
        return found->second->hasCome();
    }
    if (mExpectedFirst.size() >= kMostFirst)
    {
        std::erase_if(mExpectedFirst, [](const auto& expected) { return expected.second->isStale(); });
    }
    if (mExpectedFirst.size() < kMostFirst)
    {
        mExpectedFirst.emplace(file, std::make_unique<HttpOpening>(mClient, mUrl.file(file), extent));
    }
    return false;
}

bool HttpFolder::expect(Extent extent, std::string_view file, Turn turn) const noexcept
{
    try
    {
        const std::scoped_lock lock(mMutex);
        if (const auto found = mExpected.find(file); found != mExpected.end())
        {
            return found->second->hasCome();
        }
        if (turn == Turn::First)
        {
            return expectFirst(extent, file);
        }
        const auto isSame = [file](const Wish& wish) { return wish.file == file; };
        if (std::ranges::none_of(mWaiting, isSame))
        {
            mWaiting.push_back({std::string(file), extent});
            beginExpected();
        }
        return false;
    }
    catch (const std::exception&)
    {
        return true;  // whoever opens the file will meet the failure
    }
}

void HttpFolder::forget(std::string_view file) const noexcept
{
    try
    {
        takeExpected(file);
    }
    catch (const std::exception&)
    {
    }
}

bool HttpFolder::contains(std::string_view file) const
{
    std::unique_ptr<HttpOpening> opening = takeExpected(file);
    if (!opening)
    {
        opening = std::make_unique<HttpOpening>(mClient, mUrl.file(file), Extent::Parts);
    }
    const bool isThere = opening->isThere({}).value_or(false);
    if (isThere)
    {
        const std::scoped_lock lock(mMutex);
        mExpected.insert_or_assign(std::string(file), std::move(opening));
    }
    return isThere;
}

bool HttpFolder::mayHaveFolder(std::string_view) const
{
    return true;
}
}  // namespace Core
