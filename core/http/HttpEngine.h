#pragma once

#include "core/NonCopyable.h"
#include "core/http/CurlLibrary.h"
#include "core/http/HttpJob.h"
#include "core/http/HttpOptions.h"
#include "core/http/HttpPace.h"
#include "core/http/HttpTransfer.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace Core
{
/// The thread that has requests on their way to web servers, several at a time over connections that stay.
///
/// Of what waits, that which somebody waits for goes first. Ranges that lie together in one file become one
/// request.
///
/// Threads  all operations from any threads.
class HttpEngine : private NonCopyable
{
public:
    /// Ranges with at most so many bytes between them become one request, as large as HttpPace says.
    static constexpr std::uint64_t kLargestGap = std::uint64_t{16} << 10U;

    /// Where one connection carries several requests, so many are on their way at a time.
    static constexpr std::size_t kMostStreams = 32;

    /// @throws std::runtime_error  when libcurl is not there
    explicit HttpEngine(HttpOptions options);

    /// What is on its way fails.
    ~HttpEngine();

    const HttpOptions& options() const noexcept { return mOptions; }

    /// Has jobs done when their turn comes.
    /// @param isUrgent  before all that is not
    void submit(std::span<const std::shared_ptr<HttpJob>> jobs, bool isUrgent);

    /// When the time of a read that begins now is up.
    HttpTransfer::Clock::time_point deadlineOfRead() const;

    /// Waits for a job.
    /// @return false when a stop was requested, or its time was up, which its error tells; it is cancelled
    /// then
    bool wait(HttpJob& job, const std::stop_token& stopToken, HttpTransfer::Clock::time_point deadline);

    /// True when waiting for the job would not take long.
    bool isDone(const HttpJob& job) const;

    /// Nobody wants the job any longer: nothing is written where it wanted its bytes.
    void cancel(HttpJob& job);

    /// Number of requests that were sent, the repeated ones too.
    std::uint64_t numRequests() const;

private:
    using Clock = HttpTransfer::Clock;
    using Transfers = std::vector<std::unique_ptr<HttpTransfer>>;

    void drop(HttpJob& job);
    void run() noexcept;
    void work();
    void failAll(const std::string& reason);
    void beginDue();
    std::vector<std::shared_ptr<HttpJob>> takeJobs();
    void begin(std::unique_ptr<HttpTransfer> transfer);
    void takeResults();
    void takeBackStalled();
    std::unique_ptr<HttpTransfer> takeBack(const HttpTransfer& transfer);
    void settle(std::unique_ptr<HttpTransfer> transfer, HttpTransfer::Verdict verdict);
    int millisecondsToNextEvent() const;
    std::size_t mostActive(const HttpUrl& url) const;
    HttpPace paceOf(const HttpJob& job) const;
    Clock::time_point dueAt(const HttpJob& job) const;

    const HttpOptions mOptions;
    const CurlLibrary& mCurl;
    CURLM* const mMulti;

    // the thread's
    Transfers mActive;
    Transfers mPaused;                       // until they are tried again
    std::set<std::string> mMultiplexing;     // origins whose connections carry several requests
    std::map<std::string, HttpPace> mPaces;  // of origins

    mutable std::mutex mMutex;  // guards the rest, and what jobs say
    std::condition_variable mFinished;
    std::deque<std::shared_ptr<HttpJob>> mUrgent;
    std::deque<std::shared_ptr<HttpJob>> mWaiting;
    std::uint64_t mNumRequests = 0;
    bool mIsClosing = false;
    bool mHasEnded = false;  // the thread, by a failure of its own

    std::thread mThread;
};
}  // namespace Core
