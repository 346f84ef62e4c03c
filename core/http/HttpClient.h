#pragma once

#include "core/ByteFolder.h"
#include "core/ByteSource.h"
#include "core/Export.h"
#include "core/NonCopyable.h"
#include "core/http/HttpOptions.h"
#include "core/http/HttpUrl.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>

namespace Core
{
class DiskCache;
class HttpEngine;

/// Reads files of web servers. All that is read by way of one client shares its connections and its cache.
///
/// What a server sends is checked before it is used; no credentials reach an error text.
///
/// Threads  all operations from any threads at once.
class CORE_API HttpClient : private NonCopyable
{
public:
    /// How much of a file comes with its opening.
    static constexpr std::size_t kOpeningBytes = std::size_t{64} << 10U;
    /// The same of a file that will be read as a whole.
    static constexpr std::size_t kWholeOpeningBytes = std::size_t{4} << 20U;

    /// Longer reads are several requests.
    static constexpr std::size_t kLargestResponse = std::size_t{16} << 20U;

    /// Nothing is connected before something is opened.
    /// @throws std::invalid_argument  for an option that makes no sense
    explicit HttpClient(HttpOptions options = {});
    ~HttpClient();

    /// One with the default options for the process, which lives as long as somebody holds it.
    static std::shared_ptr<HttpClient> shared();

    /// Opens a file; one whose size and first bytes are known then, so that small files need one request.
    /// @param client  kept alive by the source
    /// @return null when a stop was requested
    /// @throws std::runtime_error  naming the address without what is secret
    static std::unique_ptr<const ByteSource> open(
        const std::shared_ptr<const HttpClient>& client,
        const HttpUrl& url,
        Extent extent = Extent::Parts,
        const std::stop_token& stopToken = {}
    );

    /// Number of requests so far, the repeated ones too.
    std::uint64_t numRequests() const;

    /// As they were given.
    const HttpOptions& options() const noexcept { return mOptions; }

private:
    friend class HttpOpening;
    friend class HttpSource;
    struct Lazy;

    HttpEngine& engine() const;

    DiskCache* cache() const noexcept { return mCache.get(); }

    const HttpOptions mOptions;
    const std::unique_ptr<DiskCache> mCache;  // absent without a folder for it
    const std::unique_ptr<Lazy> mEngine;
};
}  // namespace Core
