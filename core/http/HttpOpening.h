#pragma once

#include "core/ByteFolder.h"
#include "core/NonCopyable.h"
#include "core/http/HttpClient.h"
#include "core/http/HttpJob.h"
#include "core/http/HttpUrl.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace Core
{
/// The opening of one file, on its way since it was constructed.
///
/// Threads  one at a time.
class HttpOpening : private NonCopyable
{
public:
    /// @param isUrgent  false for one that nobody waits for yet
    HttpOpening(
        std::shared_ptr<const HttpClient> client, const HttpUrl& url, Extent extent, bool isUrgent = true
    );

    /// What nobody waits for is given up.
    ~HttpOpening();

    /// Waits for it; once only.
    /// @return null when a stop was requested
    /// @throws std::runtime_error  naming the address without what is secret
    std::unique_ptr<const ByteSource> finish(const std::stop_token& stopToken);

    /// Waits for it and tells whether the file is there.
    /// @return nothing when a stop was requested
    /// @throws std::runtime_error  when that cannot be told
    std::optional<bool> isThere(const std::stop_token& stopToken);

    /// True when finish() will not wait.
    bool hasCome() const;

    /// True when it began so long ago that the file may be another one by now.
    bool isStale() const;

private:
    bool wait(const std::stop_token& stopToken);
    std::string cacheKey() const;
    void takeFromCache();
    void keepInCache() const;

    const std::shared_ptr<const HttpClient> mClient;
    const std::chrono::steady_clock::time_point mBegunAt = std::chrono::steady_clock::now();
    const std::shared_ptr<HttpFile> mFile;
    std::shared_ptr<HttpJob> mJob;
    std::vector<std::byte> mCached;  // the first bytes of the version that the job knows
};
}  // namespace Core
