#include "core/http/HttpEngine.h"

#include "core/errorReason.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Core
{
namespace
{
// A stop request wakes nobody up, see docs/threads.md; it is looked at so often.
constexpr std::chrono::milliseconds kStopCheckInterval{5};

constexpr std::chrono::milliseconds kGrace{500};

constexpr int kLongestPause = 60'000;       // milliseconds
constexpr std::size_t kMostLookedAt = 512;  // jobs of the queue, for ranges that lie together

template <class Queue>
std::shared_ptr<HttpJob> takeFirst(Queue& queue)
{
    while (!queue.empty())
    {
        std::shared_ptr<HttpJob> job = std::move(queue.front());
        queue.pop_front();
        job->isQueued = false;
        if (!job->isCancelled)
        {
            return job;
        }
    }
    return nullptr;
}
}  // namespace

HttpEngine::HttpEngine(HttpOptions options)
    : mOptions(std::move(options)), mCurl(CurlLibrary::get()), mMulti(mCurl.multiInit())
{
    if (mMulti == nullptr)
    {
        throw std::runtime_error("Error: libcurl cannot make connections");
    }
    const auto connections = static_cast<long>(mOptions.maxConnections);
    mCurl.multiSetopt(mMulti, CURLMOPT_MAX_TOTAL_CONNECTIONS, connections);
    mCurl.multiSetopt(mMulti, CURLMOPT_MAXCONNECTS, connections);
    mCurl.multiSetopt(mMulti, CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_MULTIPLEX));
    try
    {
        mThread = std::thread([this] { run(); });
    }
    catch (...)
    {
        mCurl.multiCleanup(mMulti);
        throw;
    }
}

HttpEngine::~HttpEngine()
{
    {
        const std::scoped_lock lock(mMutex);
        mIsClosing = true;
    }
    mCurl.multiWakeup(mMulti);
    mThread.join();
    mCurl.multiCleanup(mMulti);
}

void HttpEngine::submit(std::span<const std::shared_ptr<HttpJob>> jobs, bool isUrgent)
{
    {
        const std::scoped_lock lock(mMutex);
        for (const std::shared_ptr<HttpJob>& job : jobs)
        {
            if (mHasEnded)
            {
                job->error = "reading from the network has ended";
                job->isDone = true;
                continue;
            }
            job->isQueued = true;
            job->queuedAt = Clock::now();
            (isUrgent ? mUrgent : mWaiting).push_back(job);
        }
    }
    mCurl.multiWakeup(mMulti);
}

/// Later than the transfers' own, which have the better reason.
HttpEngine::Clock::time_point HttpEngine::deadlineOfRead() const
{
    return Clock::now() + mOptions.totalTimeout + kGrace;
}

bool HttpEngine::wait(HttpJob& job, const std::stop_token& stopToken, Clock::time_point deadline)
{
    std::unique_lock lock(mMutex);
    if (job.isQueued)
    {
        const auto isJob = [&job](const auto& queued) { return queued.get() == &job; };
        if (const auto found = std::ranges::find_if(mWaiting, isJob); found != mWaiting.end())
        {
            mUrgent.push_back(std::move(*found));
            mWaiting.erase(found);
        }
    }
    while (!job.isDone)
    {
        const bool isTimeUp = Clock::now() >= deadline;
        if (stopToken.stop_requested() || isTimeUp)
        {
            drop(job);
            job.error = isTimeUp ? "its turn has not come within " +
                                       std::to_string(mOptions.totalTimeout.count()) + " ms"
                                 : std::string();
            lock.unlock();
            mCurl.multiWakeup(mMulti);
            return false;
        }
        mFinished.wait_for(lock, kStopCheckInterval);
    }
    return true;
}

bool HttpEngine::isDone(const HttpJob& job) const
{
    const std::scoped_lock lock(mMutex);
    return job.isDone;
}

void HttpEngine::cancel(HttpJob& job)
{
    {
        const std::scoped_lock lock(mMutex);
        if (job.isDone || job.isCancelled)
        {
            return;
        }
        drop(job);
    }
    mCurl.multiWakeup(mMulti);
}

/// With the mutex.
void HttpEngine::drop(HttpJob& job)
{
    job.isCancelled = true;
    if (job.isQueued)
    {
        const auto isJob = [&job](const auto& queued) { return queued.get() == &job; };
        std::erase_if(mUrgent, isJob);
        std::erase_if(mWaiting, isJob);
    }
}

std::uint64_t HttpEngine::numRequests() const
{
    const std::scoped_lock lock(mMutex);
    return mNumRequests;
}

// --- the thread
// ------------------------------------------------------------------------------------------------

void HttpEngine::run() noexcept
{
    std::string reason = "the reading was ended";
    try
    {
        work();
    }
    catch (const std::exception& error)
    {
        reason = errorReason(error.what());
    }
    failAll(reason);
}

void HttpEngine::work()
{
    for (;;)
    {
        {
            const std::scoped_lock lock(mMutex);
            if (mIsClosing)
            {
                return;
            }
        }
        beginDue();
        int running = 0;
        if (mCurl.multiPerform(mMulti, &running) != CURLM_OK)
        {
            throw std::runtime_error("libcurl cannot go on");
        }
        takeResults();
        takeBackStalled();
        mCurl.multiPoll(mMulti, nullptr, 0, millisecondsToNextEvent(), nullptr);
    }
}

void HttpEngine::failAll(const std::string& reason)
{
    for (const auto& transfer : mActive)
    {
        mCurl.multiRemoveHandle(mMulti, transfer->handle());
    }
    const std::scoped_lock lock(mMutex);
    mHasEnded = true;
    for (Transfers* const transfers : {&mActive, &mPaused})
    {
        for (const auto& transfer : *transfers)
        {
            transfer->fail(reason);
        }
        transfers->clear();
    }
    for (auto* const queue : {&mUrgent, &mWaiting})
    {
        for (const std::shared_ptr<HttpJob>& job : *queue)
        {
            job->error = reason;
            job->isDone = true;
        }
        queue->clear();
    }
    mFinished.notify_all();
}

std::size_t HttpEngine::mostActive(const HttpUrl& url) const
{
    return mMultiplexing.contains(url.origin()) ? std::max<std::size_t>(kMostStreams, mOptions.maxConnections)
                                                : mOptions.maxConnections;
}

/// With the mutex.
HttpPace HttpEngine::paceOf(const HttpJob& job) const
{
    const auto found = mPaces.find(job.file->current.origin());
    return found != mPaces.end() ? found->second : HttpPace();
}

/// With the mutex: when a job that nobody waits for is to begin, with those that have come until then.
HttpEngine::Clock::time_point HttpEngine::dueAt(const HttpJob& job) const
{
    return job.queuedAt + paceOf(job).gathering();
}

/// With the mutex: the first job, and those whose ranges lie beside its own.
std::vector<std::shared_ptr<HttpJob>> HttpEngine::takeJobs()
{
    const auto isRoom = [this](const auto& queue)
    { return !queue.empty() && mActive.size() < mostActive(queue.front()->file->current); };
    std::shared_ptr<HttpJob> first = isRoom(mUrgent) ? takeFirst(mUrgent) : nullptr;
    if (!first)
    {
        const bool isDue = isRoom(mWaiting) && Clock::now() >= dueAt(*mWaiting.front());
        first = isDue ? takeFirst(mWaiting) : nullptr;
    }
    std::vector<std::shared_ptr<HttpJob>> jobs;
    if (!first)
    {
        return jobs;
    }
    jobs.push_back(first);
    if (first->kind != HttpJob::Kind::Range)
    {
        return jobs;
    }
    const std::uint64_t largestJoined = paceOf(*first).largestJoined();
    std::uint64_t begin = first->offset;
    std::uint64_t end = begin + first->length;
    const auto fits = [&](const HttpJob& job)
    {
        const std::uint64_t jobEnd = job.offset + job.length;
        return job.file == first->file && job.kind == HttpJob::Kind::Range && !job.isCancelled &&
               job.offset <= end + kLargestGap && begin <= jobEnd + kLargestGap &&
               std::max(end, jobEnd) - std::min(begin, job.offset) <= largestJoined;
    };
    bool hasGrown = true;
    while (hasGrown)
    {
        hasGrown = false;
        for (auto* const queue : {&mUrgent, &mWaiting})
        {
            for (std::size_t i = 0; i < std::min(queue->size(), kMostLookedAt);)
            {
                const auto place = queue->begin() + static_cast<std::ptrdiff_t>(i);
                if (!fits(**place))
                {
                    ++i;
                    continue;
                }
                begin = std::min(begin, (*place)->offset);
                end = std::max(end, (*place)->offset + (*place)->length);
                (*place)->isQueued = false;
                jobs.push_back(std::move(*place));
                queue->erase(place);
                hasGrown = true;
            }
        }
    }
    std::ranges::sort(jobs, {}, [](const auto& job) { return job->offset; });
    return jobs;
}

void HttpEngine::beginDue()
{
    const Clock::time_point now = Clock::now();
    for (std::size_t i = 0; i < mPaused.size();)
    {
        if (mPaused[i]->retryAt() > now || mActive.size() >= mostActive(mPaused[i]->url()))
        {
            ++i;
            continue;
        }
        std::unique_ptr<HttpTransfer> transfer = std::move(mPaused[i]);
        mPaused.erase(mPaused.begin() + static_cast<std::ptrdiff_t>(i));
        begin(std::move(transfer));
    }
    for (;;)
    {
        std::unique_ptr<HttpTransfer> transfer;
        {
            const std::scoped_lock lock(mMutex);
            std::vector<std::shared_ptr<HttpJob>> jobs = takeJobs();
            if (jobs.empty())
            {
                return;
            }
            try
            {
                transfer = std::make_unique<HttpTransfer>(mCurl, mOptions, jobs, mMutex, mFinished);
            }
            catch (const std::exception& error)
            {
                for (const std::shared_ptr<HttpJob>& job : jobs)
                {
                    job->error = errorReason(error.what());
                    job->isDone = true;
                }
                mFinished.notify_all();
                continue;
            }
        }
        begin(std::move(transfer));
    }
}

void HttpEngine::begin(std::unique_ptr<HttpTransfer> transfer)
{
    {
        const std::scoped_lock lock(mMutex);
        ++mNumRequests;
    }
    CURL* const handle = transfer->begin();
    mActive.push_back(std::move(transfer));
    if (mCurl.multiAddHandle(mMulti, handle) != CURLM_OK)
    {
        throw std::runtime_error("libcurl cannot begin a request");
    }
}

void HttpEngine::takeResults()
{
    int numLeft = 0;
    while (const CURLMsg* const message = mCurl.multiInfoRead(mMulti, &numLeft))
    {
        if (message->msg != CURLMSG_DONE)
        {
            continue;
        }
        const CURLcode result = message->data.result;  // the message goes with the handle
        const auto found = std::ranges::find_if(
            mActive, [message](const auto& transfer) { return transfer->handle() == message->easy_handle; }
        );
        if (found != mActive.end())
        {
            std::unique_ptr<HttpTransfer> transfer = takeBack(**found);
            if (result == CURLE_OK && transfer->isMultiplexed())
            {
                mMultiplexing.insert(transfer->url().origin());
            }
            const HttpTransfer::Verdict verdict = transfer->finish(result);
            if (verdict == HttpTransfer::Verdict::Done)
            {
                mPaces[transfer->url().origin()].add(
                    transfer->timeUntilHead(), transfer->timeOfBody(), transfer->numReceived()
                );
            }
            settle(std::move(transfer), verdict);
        }
    }
}

void HttpEngine::takeBackStalled()
{
    const Clock::time_point now = Clock::now();
    std::vector<const HttpTransfer*> cancelled;
    std::vector<const HttpTransfer*> stalled;
    {
        const std::scoped_lock lock(mMutex);
        for (const auto& transfer : mActive)
        {
            if (transfer->isCancelled())
            {
                cancelled.push_back(transfer.get());
            }
            else if (now >= transfer->nextDeadline())
            {
                stalled.push_back(transfer.get());
            }
        }
        std::erase_if(mPaused, [](const auto& transfer) { return transfer->isCancelled(); });
    }
    for (const HttpTransfer* const transfer : cancelled)
    {
        takeBack(*transfer);
    }
    for (const HttpTransfer* const transfer : stalled)
    {
        std::unique_ptr<HttpTransfer> taken = takeBack(*transfer);
        const HttpTransfer::Verdict verdict = taken->finishStalled();
        settle(std::move(taken), verdict);
    }
}

std::unique_ptr<HttpTransfer> HttpEngine::takeBack(const HttpTransfer& transfer)
{
    mCurl.multiRemoveHandle(mMulti, transfer.handle());
    const auto found =
        std::ranges::find_if(mActive, [&transfer](const auto& active) { return active.get() == &transfer; });
    std::unique_ptr<HttpTransfer> taken = std::move(*found);
    mActive.erase(found);
    return taken;
}

void HttpEngine::settle(std::unique_ptr<HttpTransfer> transfer, HttpTransfer::Verdict verdict)
{
    switch (verdict)
    {
        case HttpTransfer::Verdict::Retry:
            mPaused.push_back(std::move(transfer));
            return;
        case HttpTransfer::Verdict::Redirect:
            begin(std::move(transfer));
            return;
        case HttpTransfer::Verdict::Done:
        case HttpTransfer::Verdict::Failed:
            break;
    }
    const std::scoped_lock lock(mMutex);
    if (verdict == HttpTransfer::Verdict::Done)
    {
        transfer->complete();
    }
    else
    {
        transfer->fail(transfer->failure());
    }
    mFinished.notify_all();
}

int HttpEngine::millisecondsToNextEvent() const
{
    Clock::time_point next = Clock::now() + std::chrono::milliseconds(kLongestPause);
    for (const auto& transfer : mActive)
    {
        next = std::min(next, transfer->nextDeadline());
    }
    if (mActive.size() < mOptions.maxConnections)  // else the next begins when one of these has ended
    {
        for (const auto& transfer : mPaused)
        {
            next = std::min(next, transfer->retryAt());
        }
        const std::scoped_lock lock(mMutex);
        if (!mUrgent.empty())
        {
            return 0;
        }
        if (!mWaiting.empty())
        {
            next = std::min(next, dueAt(*mWaiting.front()));
        }
    }
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(pause, 0, kLongestPause));
}
}  // namespace Core
