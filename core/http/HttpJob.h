#pragma once

#include "core/http/HttpHead.h"
#include "core/http/HttpUrl.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Core
{
/// What tells one version of a file on a server from another.
struct HttpVersion
{
    std::string etag;
    std::string lastModified;
    std::uint64_t size = 0;

    /// False for one that has nothing but its size: others of that size would be taken for it.
    bool canBeTold() const noexcept { return !etag.empty() || !lastModified.empty(); }

    friend bool operator==(const HttpVersion&, const HttpVersion&) = default;
};

/// A file that was opened: where, and which version.
struct HttpFile
{
    explicit HttpFile(HttpUrl address) : url(address), current(std::move(address)) {}

    const HttpUrl url;    ///< as it was given
    HttpVersion version;  ///< not changed once the file is opened

    // Guarded by the engine's mutex: where the server has moved the file to for good.
    HttpUrl current;
    bool isElsewhere = false;  ///< at another origin than url
};

/// A range of bytes of a file that is asked for, and what came of it.
///
/// Threads  what says otherwise apart, guarded by the engine's mutex until it is done, then not changed.
struct HttpJob
{
    enum class Kind
    {
        Opening,  ///< the first bytes of a file of which nothing is known
        Range,    ///< bytes of an opened file
    };

    /// @param destination  filled by Range; left alone once the job is cancelled
    HttpJob(
        std::shared_ptr<HttpFile> fileToRead,
        Kind kindOfJob,
        std::uint64_t offsetInFile,
        std::uint64_t byteCount,
        std::span<std::byte> destination
    )
        : file(std::move(fileToRead)),
          kind(kindOfJob),
          offset(offsetInFile),
          length(byteCount),
          out(destination)
    {
    }

    const std::shared_ptr<HttpFile> file;
    const Kind kind;
    const std::uint64_t offset;
    const std::uint64_t length;  ///< above 0; for Opening the most bytes

    /// For Opening, of what is in the cache: an answer that this is still the file has no body.
    HttpVersion known;

    std::span<std::byte> out;      ///< of Range
    std::vector<std::byte> owned;  ///< of Opening: what came; of Range: room for `out`, if it needs any

    std::chrono::steady_clock::time_point queuedAt;
    bool isQueued = false;
    bool isDone = false;
    bool isCancelled = false;
    bool isUnchanged = false;  ///< of Opening: the known version is the file's
    int status = 0;            ///< of the response that decided, 0 when there was none
    HttpVersion version;       ///< of Opening
    std::string error;         ///< empty when all went well
};
}  // namespace Core
