#include "core/http/HttpTransfer.h"

#include "core/errorReason.h"
#include "core/shownText.h"
#include "core/version.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <random>
#include <stdexcept>
#include <utility>

namespace Core
{
namespace
{
constexpr unsigned kMostRedirects = 5;
constexpr std::uint64_t kMostDiscarded = std::uint64_t{64} << 10U;  // of the body of an error
constexpr std::size_t kShortestSecret = 3;                          // shorter ones stand in any text

std::string bytesText(std::uint64_t first, std::uint64_t count)
{
    return "bytes " + std::to_string(first) + " to " + std::to_string(first + count - 1);
}

std::string statusText(int status)
{
    const char* const meaning = status == 400   ? " (bad request)"
                                : status == 401 ? " (who asks is not known)"
                                : status == 403 ? " (forbidden)"
                                : status == 404 ? " (not found)"
                                : status == 407 ? " (who asks is not known to the proxy)"
                                : status == 410 ? " (gone)"
                                : status == 429 ? " (too many requests)"
                                : status == 500 ? " (an error of the server)"
                                : status == 503 ? " (not available)"
                                                : "";
    return "the server answers " + std::to_string(status) + meaning;
}

std::string secondsText(std::chrono::milliseconds time)
{
    const auto tenths = time.count() / 100;
    return std::to_string(tenths / 10) + (tenths % 10 != 0 ? "." + std::to_string(tenths % 10) : "") + " s";
}

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool mayPass(int status)
{
    return status >= 500 || status == 408 || status == 429;
}

bool mayPass(CURLcode result)
{
    switch (result)
    {
        case CURLE_COULDNT_CONNECT:
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_PARTIAL_FILE:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return true;
        default:
            return false;
    }
}

/// So that clients that were refused together do not come back together.
std::chrono::milliseconds withJitter(std::chrono::milliseconds delay)
{
    thread_local std::minstd_rand random(std::random_device{}());
    return delay * (75 + static_cast<int>(random() % 51)) / 100;
}
}  // namespace

HttpTransfer::HttpTransfer(
    const CurlLibrary& curl,
    const HttpOptions& options,
    std::vector<std::shared_ptr<HttpJob>> jobs,
    std::mutex& mutex,
    std::condition_variable& finished
)
    : mCurl(curl),
      mOptions(options),
      mJobs(std::move(jobs)),
      mMutex(mutex),
      mFinished(finished),
      mHandle(curl.easyInit()),
      mFirst(mJobs.front()->offset),
      mLength(
          [this]
          {
              std::uint64_t end = 0;
              for (const auto& job : mJobs)
              {
                  end = std::max(end, job->offset + job->length);
              }
              return end - mFirst;
          }()
      ),
      mUrl(mJobs.front()->file->current),
      mIsElsewhere(mJobs.front()->file->isElsewhere),
      mDeadline(Clock::now() + options.totalTimeout),
      mLastSign(Clock::now())
{
    if (mHandle == nullptr)
    {
        throw std::runtime_error("Error: libcurl cannot make a request");
    }
}

HttpTransfer::~HttpTransfer()
{
    mCurl.easyCleanup(mHandle);
    mCurl.slistFreeAll(mHeaderList);
}

bool HttpTransfer::isOpening() const
{
    return mJobs.front()->kind == HttpJob::Kind::Opening;
}

template <class Value>
void HttpTransfer::set(CURLoption option, Value value)
{
    // What an older libcurl does not know it does without; addresses are checked here in any case.
    mCurl.easySetopt(mHandle, option, value);
}

CURL* HttpTransfer::begin()
{
    mHead = HttpHead();
    mIsHeadJudged = false;
    mBody = Body::Discard;
    mReceived = 0;
    mRefusal.clear();
    mErrorText.front() = '\0';
    mBegunAt = mHeadAt = mLastSign = Clock::now();

    mCurl.slistFreeAll(mHeaderList);
    mHeaderList = nullptr;
    const auto addHeader = [this](const std::string& line)
    {
        curl_slist* const extended = mCurl.slistAppend(mHeaderList, line.c_str());
        mHeaderList = extended != nullptr ? extended : mHeaderList;
    };
    addHeader("Accept-Encoding: identity");  // ranges count the file's own bytes
    if (const HttpVersion& known = mJobs.front()->known; known.canBeTold())
    {
        addHeader(
            known.etag.empty() ? "If-Modified-Since: " + known.lastModified : "If-None-Match: " + known.etag
        );
    }
    if (!mIsElsewhere)
    {
        std::ranges::for_each(mOptions.headers, addHeader);
    }

    const std::string address = mUrl.address();
    const std::string range = std::to_string(mFirst) + "-" + std::to_string(mFirst + mLength - 1);
    set(CURLOPT_URL, address.c_str());
    set(CURLOPT_RANGE, range.c_str());
    set(CURLOPT_HTTPHEADER, mHeaderList);
    const bool hasCredentials = !mUrl.user().empty() || !mUrl.password().empty();
    set(CURLOPT_USERNAME, hasCredentials ? mUrl.user().c_str() : nullptr);
    set(CURLOPT_PASSWORD, hasCredentials ? mUrl.password().c_str() : nullptr);
    set(CURLOPT_USERAGENT, ("tarnel/" + std::string(Tarnel::version())).c_str());
    if (mOptions.proxy)
    {
        set(CURLOPT_PROXY, mOptions.proxy->c_str());
    }
    if (!mOptions.certificates.empty())
    {
        set(CURLOPT_CAINFO, mOptions.certificates.string().c_str());
    }
    constexpr long kBufferSize = 256L << 10U;
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);  // redirects are judged here
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    set(CURLOPT_PIPEWAIT, mUrl.isSecure() ? 1L : 0L);  // for what the handshake tells, not for an answer
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_TCP_KEEPALIVE, 1L);
    set(CURLOPT_BUFFERSIZE, kBufferSize);
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(mOptions.connectTimeout.count()));
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
#if defined(_WIN32)
    set(CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_REVOKE_BEST_EFFORT));
#endif
    set(CURLOPT_ERRORBUFFER, mErrorText.data());
    set(CURLOPT_PRIVATE, static_cast<void*>(this));
    set(CURLOPT_HEADERFUNCTION, &HttpTransfer::onHeader);
    set(CURLOPT_HEADERDATA, static_cast<void*>(this));
    set(CURLOPT_WRITEFUNCTION, &HttpTransfer::onBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    return mHandle;
}

// --- while bytes come
// ------------------------------------------------------------------------------------------

std::size_t HttpTransfer::onHeader(char* data, std::size_t size, std::size_t count, void* self) noexcept
{
    try
    {
        return static_cast<HttpTransfer*>(self)->takeHeader({data, size * count}) ? size * count : 0;
    }
    catch (const std::exception&)
    {
        return 0;  // libcurl must not see exceptions; for want of memory the transfer fails
    }
}

std::size_t HttpTransfer::onBody(char* data, std::size_t size, std::size_t count, void* self) noexcept
{
    try
    {
        return static_cast<HttpTransfer*>(self)->takeBody(data, size * count) ? size * count : 0;
    }
    catch (const std::exception&)
    {
        return 0;
    }
}

bool HttpTransfer::refuse(std::string reason)
{
    mRefusal = std::move(reason);
    return false;
}

bool HttpTransfer::takeHeader(std::string_view line)
{
    mLastSign = Clock::now();
    if (mIsHeadJudged)
    {
        return true;  // fields behind the body
    }
    mHead.add(line);
    if (mHead.numBytes() > HttpHead::kMostBytes)
    {
        return refuse(
            "the server sends more than " + std::to_string(HttpHead::kMostBytes) +
            " bytes of header, which no file needs"
        );
    }
    const bool isEnd = line == "\r\n" || line == "\n";
    if (!isEnd || mHead.status() < 200)
    {
        return true;
    }
    mIsHeadJudged = true;
    mHeadAt = mLastSign;
    return judgeHead();
}

bool HttpTransfer::judgeHead()
{
    const int status = mHead.status();
    if (status >= 300 && status != 416)
    {
        return true;  // looked at when all of it is there
    }
    if (mHead.isContradictory())
    {
        return refuse("the header of the server's answer contradicts itself");
    }
    switch (status)
    {
        case 206:
            return judgeRange();
        case 200:
            return judgeWhole();
        case 416:
            return judgeUnsatisfiable();
        default:
            return refuse(statusText(status) + ", expected 206 with " + bytesText(mFirst, mLength));
    }
}

bool HttpTransfer::judgeRange()
{
    if (mHead.isEncoded())
    {
        return refuse("the server sends compressed content, expected the file's own bytes");
    }
    const std::optional<HttpHead::Range> range = mHead.contentRange();
    if (!range)
    {
        return refuse("the server does not say which bytes it sends, expected " + bytesText(mFirst, mLength));
    }
    const std::uint64_t count = range->last - range->first + 1;
    const std::uint64_t end = mFirst + mLength;
    const bool isAsked = range->first == mFirst && (isOpening() ? range->last < end : range->last + 1 == end);
    if (!isAsked)
    {
        return refuse(
            "the server sends " + bytesText(range->first, count) + ", expected " + bytesText(mFirst, mLength)
        );
    }
    if (mHead.contentLength().value_or(count) != count)
    {
        return refuse(
            "the server announces " + std::to_string(*mHead.contentLength()) + " bytes, expected the " +
            std::to_string(count) + " of its range"
        );
    }
    if (isOpening() && !range->total)
    {
        return refuse("the server does not say how large the file is");
    }
    mBody = Body::Take;
    mExpected = count;
    mMayBeShorter = false;
    const std::uint64_t size = range->total.value_or(mJobs.front()->file->version.size);
    return judgeVersion({mHead.etag(), mHead.lastModified(), size});
}

/// Only where a file begins, and only a small one: whoever asks for a part does not want to wait for all of it.
bool HttpTransfer::judgeWhole()
{
    const std::optional<std::uint64_t> length = mHead.contentLength();
    if (!isOpening())
    {
        return refuse(
            "the server sends the whole file instead of a range of it, expected 206 with " +
            bytesText(mFirst, mLength)
        );
    }
    if (mHead.isEncoded())
    {
        return refuse("the server sends compressed content, expected the file's own bytes");
    }
    if (length && *length > kLargestWithoutRanges)
    {
        return refuse(
            "the server ignores ranges, and the file has " + std::to_string(*length) +
            " bytes; expected a server that sends ranges, or at most " +
            std::to_string(kLargestWithoutRanges) + " bytes"
        );
    }
    mBody = Body::Take;
    mExpected = length.value_or(kLargestWithoutRanges);
    mMayBeShorter = !length;
    mVersion = {mHead.etag(), mHead.lastModified(), mExpected};
    return true;
}

bool HttpTransfer::judgeUnsatisfiable()
{
    const std::optional<std::uint64_t> size = mHead.sizeWithoutRange();
    if (!isOpening())
    {
        return refuse(
            "the file was changed while it was open: the server has no " + bytesText(mFirst, mLength) +
            " of it"
        );
    }
    if (size.value_or(0) != 0)
    {
        return refuse(
            "the server does not send the beginning of a file of " + std::to_string(*size) + " bytes"
        );
    }
    mVersion = {mHead.etag(), mHead.lastModified(), 0};  // an empty file has no first byte
    return true;
}

bool HttpTransfer::judgeVersion(const HttpVersion& version)
{
    if (isOpening())
    {
        mVersion = version;
        return true;
    }
    const HttpVersion& opened = mJobs.front()->file->version;
    const auto differ = [](const std::string& left, const std::string& right)
    { return !left.empty() && !right.empty() && left != right; };
    if (version.size != opened.size)
    {
        return refuse(
            "the file was changed while it was open, it had " + std::to_string(opened.size) +
            " bytes and now has " + std::to_string(version.size)
        );
    }
    if (differ(version.etag, opened.etag))
    {
        return refuse("the file was changed while it was open, it has another ETag");
    }
    if (differ(version.lastModified, opened.lastModified))
    {
        return refuse("the file was changed while it was open, it has another time of writing");
    }
    return true;
}

bool HttpTransfer::takeBody(const char* data, std::size_t count)
{
    mLastSign = Clock::now();
    const std::uint64_t begin = mReceived;
    mReceived += count;
    if (mBody == Body::Discard)
    {
        return mReceived <= kMostDiscarded;  // the connection is given up for it
    }
    if (mReceived > mExpected)
    {
        return refuse(
            "the server sends more than the " + std::to_string(mExpected) + " bytes that it " +
            (mMayBeShorter ? "may without ranges" : "has announced")
        );
    }
    const std::scoped_lock lock(mMutex);
    if (isOpening())
    {
        HttpJob& job = *mJobs.front();
        const auto* const bytes = reinterpret_cast<const std::byte*>(data);
        job.owned.resize(static_cast<std::size_t>(begin));  // of an attempt that failed
        job.owned.insert(job.owned.end(), bytes, bytes + count);
        return true;
    }
    const std::uint64_t from = mFirst + begin;
    const std::uint64_t to = from + count;
    for (const std::shared_ptr<HttpJob>& job : mJobs)
    {
        const std::uint64_t first = std::max(from, job->offset);
        const std::uint64_t last = std::min(to, job->offset + job->length);
        if (first < last && !job->isCancelled && !job->isDone)
        {
            std::memcpy(
                job->out.data() + (first - job->offset),
                data + (first - from),
                static_cast<std::size_t>(last - first)
            );
            // Who waits for the first need not wait for the last, which still shows whether the answer ends
            // well.
            if (last == job->offset + job->length && last < mFirst + mLength)
            {
                finishOne(*job);
                mFinished.notify_all();
            }
        }
    }
    return true;
}

// --- when it has ended
// -----------------------------------------------------------------------------------------

HttpTransfer::Verdict HttpTransfer::failed(std::string reason)
{
    if (mIsElsewhere)
    {
        reason += " (redirected to " + mUrl.shown() + ")";
    }
    mFailure = std::move(reason);
    return Verdict::Failed;
}

HttpTransfer::Verdict HttpTransfer::retry(const std::string& reason)
{
    const std::string tries =
        mFailures > 0 ? ", after " + std::to_string(mFailures + 1) + " attempts" : std::string();
    if (mFailures >= mOptions.maxRetries)
    {
        return failed(reason + tries);
    }
    constexpr std::uint64_t kLongestWish = 3600;  // seconds, beyond the time of any read
    std::chrono::milliseconds delay = withJitter(mOptions.retryDelay * (1U << std::min(mFailures, 10U)));
    if (const auto wish = mayPass(mHead.status()) ? mHead.retryAfterSeconds() : std::nullopt)
    {
        delay = std::max<std::chrono::milliseconds>(
            delay, std::chrono::seconds(static_cast<std::int64_t>(std::min(*wish, kLongestWish)))
        );
    }
    mRetryAt = Clock::now() + delay;
    if (mRetryAt >= mDeadline)
    {
        return failed(
            reason + tries + ", and the " + secondsText(mOptions.totalTimeout) +
            " of a read are too short for another"
        );
    }
    ++mFailures;
    return Verdict::Retry;
}

HttpTransfer::Verdict HttpTransfer::redirect()
{
    const std::string status = "the server answers " + std::to_string(mHead.status());
    const char* target = nullptr;
    mCurl.easyGetinfo(mHandle, CURLINFO_REDIRECT_URL, &target);
    if (target == nullptr)
    {
        return failed(status + " without saying where the file is");
    }
    if (++mRedirects > kMostRedirects)
    {
        return failed(
            "more than " + std::to_string(kMostRedirects) + " redirects, the last to " + mUrl.shown()
        );
    }
    try
    {
        const HttpUrl next = HttpUrl(target).withoutCredentials();
        if (mUrl.isSecure() && !next.isSecure())
        {
            return failed(status + ", a redirect from https to " + next.shown() + ", which is not encrypted");
        }
        const bool keepsCredentials = next.origin() == mUrl.origin() && !mIsElsewhere;
        mIsMovedForGood = mIsMovedForGood && (mHead.status() == 301 || mHead.status() == 308);
        mIsElsewhere = !keepsCredentials;
        mUrl = keepsCredentials ? next.withCredentialsOf(mUrl) : next;
        return Verdict::Redirect;
    }
    catch (const std::runtime_error& error)
    {
        return failed(status + ", a redirect that cannot be followed: " + errorReason(error.what()));
    }
}

HttpTransfer::Verdict HttpTransfer::finishStalled()
{
    const Clock::time_point now = Clock::now();
    if (isTimeUp(now))
    {
        return failed(
            "not all of it has come within " + secondsText(mOptions.totalTimeout) +
            (mFailures > 0 ? ", in " + std::to_string(mFailures + 1) + " attempts" : "")
        );
    }
    mHead = HttpHead();
    return retry("nothing has come for " + secondsText(mOptions.stallTimeout));
}

HttpTransfer::Verdict HttpTransfer::finish(CURLcode result)
{
    const int status = mHead.status();
    if (!mRefusal.empty())
    {
        return failed(mRefusal);
    }
    if (mIsHeadJudged && isRedirect(status))
    {
        return redirect();
    }
    if (mIsHeadJudged && status == 304 && isOpening() && mJobs.front()->known.canBeTold())
    {
        return Verdict::Done;
    }
    if (mIsHeadJudged && status >= 300 && status != 416)
    {
        return mayPass(status) ? retry(statusText(status)) : failed(statusText(status));
    }
    if (result != CURLE_OK)
    {
        const std::string detail =
            mErrorText.front() != '\0' ? mErrorText.data() : mCurl.easyStrerror(result);
        const std::string reason = withoutSecrets(shownText(detail, 200));
        return mayPass(result) ? retry(reason) : failed(reason);
    }
    if (!mIsHeadJudged)
    {
        return retry("the server has sent no answer");
    }
    if (mMayBeShorter && mBody == Body::Take)
    {
        mVersion.size = mReceived;
    }
    else if (mBody == Body::Take && mReceived != mExpected)
    {
        return retry(
            "the server has sent " + std::to_string(mReceived) + " of " + std::to_string(mExpected) + " bytes"
        );
    }
    return Verdict::Done;
}

/// libcurl's texts name hosts and reasons; this is for those that would quote more.
std::string HttpTransfer::withoutSecrets(std::string text) const
{
    const auto hide = [&text](std::string_view secret)
    {
        for (std::size_t at = text.find(secret); secret.size() >= kShortestSecret && at != std::string::npos;
             at = text.find(secret, at + 3))
        {
            text.replace(at, secret.size(), "***");
        }
    };
    const HttpUrl& given = mJobs.front()->file->url;
    hide(given.user());
    hide(given.password());
    hide(given.query());
    hide(mUrl.query());
    for (const std::string& header : mOptions.headers)
    {
        hide(std::string_view(header).substr(std::min(header.size(), header.find(':') + 2)));
    }
    if (mOptions.proxy)
    {
        const std::string_view proxy = *mOptions.proxy;
        const std::size_t at = proxy.rfind('@');
        const std::size_t begin = proxy.find("://");
        const std::size_t from = begin == std::string_view::npos ? 0 : begin + 3;
        if (at != std::string_view::npos && at > from)
        {
            hide(proxy.substr(from, at - from));
        }
    }
    return text;
}

HttpTransfer::Clock::time_point HttpTransfer::nextDeadline() const
{
    return std::min(mDeadline, mLastSign + mOptions.stallTimeout);
}

bool HttpTransfer::isMultiplexed() const
{
    long version = 0;
    mCurl.easyGetinfo(mHandle, CURLINFO_HTTP_VERSION, &version);
    return version == CURL_HTTP_VERSION_2_0 || version == CURL_HTTP_VERSION_3;
}

bool HttpTransfer::isCancelled() const
{
    return std::ranges::all_of(mJobs, [](const auto& job) { return job->isCancelled || job->isDone; });
}

/// With the engine's mutex.
void HttpTransfer::finishOne(HttpJob& job) const
{
    job.isUnchanged = mHead.status() == 304;
    job.status = mHead.status();
    job.version = mVersion;
    job.isDone = true;
}

void HttpTransfer::complete()
{
    HttpFile& file = *mJobs.front()->file;
    if (mRedirects > 0 && mIsMovedForGood)
    {
        file.current = mUrl;
        file.isElsewhere = mIsElsewhere;
    }
    for (const std::shared_ptr<HttpJob>& job : mJobs)
    {
        if (!job->isCancelled && !job->isDone)  // who has cancelled it may be reading it
        {
            finishOne(*job);
        }
    }
    if (isOpening())
    {
        mJobs.front()->owned.resize(mBody == Body::Take ? static_cast<std::size_t>(mReceived) : 0);
    }
}

void HttpTransfer::fail(const std::string& reason)
{
    for (const std::shared_ptr<HttpJob>& job : mJobs)
    {
        if (job->isCancelled || job->isDone)
        {
            continue;
        }
        job->status = mIsHeadJudged ? mHead.status() : 0;
        job->error = reason;
        job->isDone = true;
    }
}
}  // namespace Core
