#pragma once

#include "core/NonCopyable.h"
#include "core/http/CurlLibrary.h"
#include "core/http/HttpHead.h"
#include "core/http/HttpJob.h"
#include "core/http/HttpOptions.h"
#include "core/http/HttpUrl.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Core
{
/// One request for the bytes of one job, or of several that lie together in a file; and what is to be done
/// about the answer.
///
/// Threads  the engine's; it takes the engine's mutex where it touches jobs.
class HttpTransfer : private NonCopyable
{
public:
    using Clock = std::chrono::steady_clock;

    /// Larger files are not taken from a server that sends whole files instead of ranges.
    static constexpr std::uint64_t kLargestWithoutRanges = std::uint64_t{4} << 20U;

    /// What comes next.
    enum class Verdict
    {
        Done,      ///< all jobs have their bytes
        Failed,    ///< failure() tells why
        Retry,     ///< not before retryAt()
        Redirect,  ///< at once, elsewhere
    };

    /// @param jobs      of one file, by offset, or one that opens a file
    /// @param mutex     the engine's
    /// @param finished  told of each job that is done before the last
    HttpTransfer(
        const CurlLibrary& curl,
        const HttpOptions& options,
        std::vector<std::shared_ptr<HttpJob>> jobs,
        std::mutex& mutex,
        std::condition_variable& finished
    );
    ~HttpTransfer();

    /// The handle, ready to be performed.
    CURL* begin();

    /// What libcurl's result means.
    Verdict finish(CURLcode result);

    /// The same when it was taken from libcurl because it took too long.
    Verdict finishStalled();

    /// When it is taken for stalled, if nothing comes, or its time is up.
    Clock::time_point nextDeadline() const;

    /// True when the time for all that is tried is up.
    bool isTimeUp(Clock::time_point now) const { return now >= mDeadline; }

    Clock::time_point retryAt() const noexcept { return mRetryAt; }

    /// What the jobs are to be told.
    const std::string& failure() const noexcept { return mFailure; }

    const std::vector<std::shared_ptr<HttpJob>>& jobs() const noexcept { return mJobs; }

    CURL* handle() const noexcept { return mHandle; }

    const HttpUrl& url() const noexcept { return mUrl; }

    bool isMultiplexed() const;

    /// Of the last attempt that came whole: from the request until the end of the head, from there until the end.
    Clock::duration timeUntilHead() const noexcept { return mHeadAt - mBegunAt; }

    Clock::duration timeOfBody() const noexcept { return mLastSign - mHeadAt; }

    std::uint64_t numReceived() const noexcept { return mReceived; }

    /// With the engine's mutex: nobody waits any longer.
    bool isCancelled() const;

    /// With the engine's mutex: gives the jobs what they asked for.
    void complete();

    /// With the engine's mutex: tells the jobs.
    void fail(const std::string& reason);

private:
    /// What is done with the body that comes.
    enum class Body
    {
        Discard,
        Take,
    };

    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self) noexcept;
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self) noexcept;

    bool takeHeader(std::string_view line);
    bool takeBody(const char* data, std::size_t count);
    bool judgeHead();
    bool judgeRange();
    bool judgeWhole();
    bool judgeUnsatisfiable();
    bool judgeVersion(const HttpVersion& version);
    bool refuse(std::string reason);

    template <class Value>
    void set(CURLoption option, Value value);

    void finishOne(HttpJob& job) const;
    Verdict failed(std::string reason);
    Verdict retry(const std::string& reason);
    Verdict redirect();
    std::string withoutSecrets(std::string text) const;
    bool isOpening() const;

    const CurlLibrary& mCurl;
    const HttpOptions& mOptions;
    const std::vector<std::shared_ptr<HttpJob>> mJobs;
    std::mutex& mMutex;
    std::condition_variable& mFinished;
    CURL* const mHandle;
    curl_slist* mHeaderList = nullptr;
    std::array<char, CURL_ERROR_SIZE> mErrorText{};

    const std::uint64_t mFirst;   // of the file, that is asked for
    const std::uint64_t mLength;  // likewise
    HttpUrl mUrl;
    bool mIsElsewhere = false;  // a redirect has led to another origin
    bool mIsMovedForGood = true;
    unsigned mRedirects = 0;
    unsigned mFailures = 0;
    const Clock::time_point mDeadline;
    Clock::time_point mBegunAt;
    Clock::time_point mHeadAt;
    Clock::time_point mLastSign;
    Clock::time_point mRetryAt;

    // of the present attempt
    HttpHead mHead;
    bool mIsHeadJudged = false;
    Body mBody = Body::Discard;
    std::uint64_t mExpected = 0;  // bytes of the body
    bool mMayBeShorter = false;   // a body whose length the head has not told
    std::uint64_t mReceived = 0;
    HttpVersion mVersion;
    std::string mRefusal;  // why the answer is not taken, whatever libcurl says
    std::string mFailure;
};
}  // namespace Core
