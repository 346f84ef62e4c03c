#pragma once

#include "core/ByteSource.h"
#include "core/http/HttpClient.h"
#include "core/readAll.h"
#include "tests/support/HttpTestServer.h"
#include "tests/support/messageOf.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

/// Limits that let a test end soon; no proxy of the environment stands between.
inline Core::HttpOptions quickOptions()
{
    Core::HttpOptions options;
    options.proxy = "";
    options.connectTimeout = std::chrono::seconds(2);
    options.stallTimeout = std::chrono::milliseconds(400);
    options.totalTimeout = std::chrono::milliseconds(3000);
    options.maxRetries = 2;
    options.retryDelay = std::chrono::milliseconds(20);
    options.readAround = 0;  // what is asked for shows what is read
    return options;
}

/// For servers that are slow on purpose, on machines that are slow as well.
inline Core::HttpOptions patientOptions()
{
    Core::HttpOptions options = quickOptions();
    options.stallTimeout = std::chrono::seconds(10);
    options.totalTimeout = std::chrono::seconds(30);
    return options;
}

inline std::shared_ptr<const Core::HttpClient> makeClient(Core::HttpOptions options = quickOptions())
{
    return std::make_shared<const Core::HttpClient>(std::move(options));
}

/// Bytes that differ from place to place, so that a wrong one shows.
inline std::string patternBytes(std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t i = 0; i < count; ++i)
    {
        bytes[i] = static_cast<char>((i * 131 + i / 256 * 17) & 255U);
    }
    return bytes;
}

inline std::string readPart(const Core::ByteSource& source, std::uint64_t offset, std::size_t length)
{
    std::string bytes(length, '\0');
    if (!source.readAt(offset, std::as_writable_bytes(std::span(bytes))))
    {
        throw std::logic_error("stopped, though nobody asked for it");
    }
    return bytes;
}
