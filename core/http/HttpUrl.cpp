#include "core/http/HttpUrl.h"

#include "core/shownText.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Core
{
namespace
{
constexpr std::size_t kLongestUrl = 8192;
constexpr std::size_t kLongestShown = 400;  // bytes of a path in a message
constexpr std::string_view kSeparator = "://";
constexpr std::string_view kHidden = "***";

char lower(char letter) noexcept
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lower(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char letter) { return lower(letter); });
    return result;
}

bool isAlphanumeric(char letter) noexcept
{
    const char small = lower(letter);
    return (small >= 'a' && small <= 'z') || (letter >= '0' && letter <= '9');
}

int hexadecimal(char digit) noexcept
{
    const char small = lower(digit);
    return small >= '0' && small <= '9' ? small - '0' : small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

void appendEncoded(std::string& out, char letter)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(letter);
    out += '%';
    out += kDigits[byte >> 4U];
    out += kDigits[byte & 15U];
}

/// Encodes what does not belong to `kept` or to letters and digits.
std::string encoded(std::string_view text, std::string_view kept)
{
    std::string out;
    for (const char letter : text)
    {
        if (isAlphanumeric(letter) || kept.find(letter) != std::string_view::npos)
        {
            out += letter;
        }
        else
        {
            appendEncoded(out, letter);
        }
    }
    return out;
}

std::string decoded(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const int high = i + 2 < text.size() && text[i] == '%' ? hexadecimal(text[i + 1]) : -1;
        const int low = high >= 0 ? hexadecimal(text[i + 2]) : -1;
        if (low >= 0)
        {
            out += static_cast<char>(high * 16 + low);
            i += 2;
        }
        else
        {
            out += text[i];
        }
    }
    return out;
}

constexpr std::string_view kPathCharacters = "-._~!$&'()*+,;=:@/%";
constexpr std::string_view kQueryCharacters = "-._~!$&'()*+,;=:@/%?[]";
constexpr std::string_view kStepCharacters = "-._~/";

std::string maskedQuery(std::string_view query)
{
    std::string out;
    std::size_t begin = 1;
    while (begin <= query.size() && !query.empty())
    {
        const std::size_t end = std::min(query.find('&', begin), query.size());
        const std::string_view parameter = query.substr(begin, end - begin);
        const std::size_t equals = parameter.find('=');
        out += out.empty() ? "?" : "&";
        if (equals != std::string_view::npos)
        {
            out += parameter.substr(0, equals + 1);
        }
        out += kHidden;
        begin = end + 1;
    }
    return out;
}

bool isHost(std::string_view host)
{
    if (host.starts_with('['))
    {
        return host.size() > 2 && host.ends_with(']') &&
               std::ranges::all_of(
                   host.substr(1, host.size() - 2),
                   [](char letter) { return hexadecimal(letter) >= 0 || letter == ':' || letter == '.'; }
               );
    }
    const auto belongs = [](char letter)
    {
        return isAlphanumeric(letter) || letter == '-' || letter == '.' || letter == '_' ||
               static_cast<unsigned char>(letter) >= 0x80;
    };
    return !host.empty() && std::ranges::all_of(host, belongs);
}

bool isPort(std::string_view port)
{
    constexpr int kLargest = 65535;
    const bool isNumber =
        !port.empty() && port.size() <= 5 &&
        std::ranges::all_of(port, [](char letter) { return letter >= '0' && letter <= '9'; });
    return isNumber && std::stoi(std::string(port)) >= 1 && std::stoi(std::string(port)) <= kLargest;
}
}  // namespace

bool HttpUrl::isUrl(std::string_view text) noexcept
{
    const auto startsWith = [text](std::string_view scheme)
    {
        return text.size() >= scheme.size() &&
               std::equal(
                   scheme.begin(),
                   scheme.end(),
                   text.begin(),
                   [](char expected, char given) { return expected == lower(given); }
               );
    };
    return startsWith("http://") || startsWith("https://");
}

HttpUrl::HttpUrl(std::string_view text)
{
    std::string_view rest = text.substr(0, text.find('#'));
    // What could be secret is cut out of the message, whatever the rest looks like.
    const auto fail = [text](std::string_view reason)
    {
        std::string_view shown = text.substr(0, text.find_first_of("?#"));
        const std::size_t at = shown.rfind('@');
        shown = at == std::string_view::npos ? shown : shown.substr(at + 1);
        throw std::runtime_error(
            "Error: not a web address: " + shownText(shown) + ": " + std::string(reason)
        );
    };
    if (!isUrl(text))
    {
        fail("expected http://HOST/PATH or https://HOST/PATH");
    }
    if (text.size() > kLongestUrl)
    {
        fail("it has more than " + std::to_string(kLongestUrl) + " characters");
    }
    const auto isControl = [](char letter)
    { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; };
    if (std::ranges::any_of(text, isControl))
    {
        fail("it has control characters");
    }
    const std::size_t schemeEnd = rest.find(kSeparator);
    mScheme = lower(rest.substr(0, schemeEnd));
    rest.remove_prefix(schemeEnd + kSeparator.size());

    const std::size_t authorityEnd = std::min(rest.find_first_of("/?"), rest.size());
    std::string_view authority = rest.substr(0, authorityEnd);
    rest.remove_prefix(authorityEnd);
    if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos)
    {
        const std::string_view credentials = authority.substr(0, at);
        const std::size_t colon = std::min(credentials.find(':'), credentials.size());
        mUser = decoded(credentials.substr(0, colon));
        mPassword = decoded(credentials.substr(std::min(colon + 1, credentials.size())));
        authority.remove_prefix(at + 1);
    }
    const std::size_t colon = authority.rfind(':');
    const bool hasPort =
        colon != std::string_view::npos && authority.find(']', colon) == std::string_view::npos;
    mHost = lower(authority.substr(0, hasPort ? colon : authority.size()));
    mPort = hasPort ? std::string(authority.substr(colon + 1)) : isSecure() ? "443" : "80";
    if (!isHost(mHost))
    {
        fail("it has no host, or one that is not spelled right");
    }
    if (!isPort(mPort))
    {
        fail("its port is not a number from 1 to 65535");
    }

    const std::size_t pathEnd = std::min(rest.find('?'), rest.size());
    mPath = encoded(rest.substr(0, pathEnd), kPathCharacters);
    if (mPath.empty())
    {
        mPath = "/";
    }
    if (pathEnd + 1 < rest.size())
    {
        mQuery = "?" + encoded(rest.substr(pathEnd + 1), kQueryCharacters);
    }
}

std::string HttpUrl::origin() const
{
    return mScheme + std::string(kSeparator) + mHost + ":" + mPort;
}

std::string HttpUrl::shown() const
{
    const bool isUsualPort = mPort == (isSecure() ? "443" : "80");
    return mScheme + std::string(kSeparator) + (mUser.empty() && mPassword.empty() ? "" : "***@") + mHost +
           (isUsualPort ? "" : ":" + mPort) + shownText(mPath, kLongestShown) +
           shownText(maskedQuery(mQuery), kLongestShown);
}

HttpUrl HttpUrl::file(std::string_view file) const
{
    HttpUrl result = *this;
    if (!result.mPath.ends_with('/'))
    {
        result.mPath += '/';
    }
    result.mPath += encoded(file, kStepCharacters);
    return result;
}

HttpUrl HttpUrl::folder() const
{
    HttpUrl result = *this;
    result.mPath.resize(result.mPath.rfind('/') + 1);  // there is one: it is the first character
    return result;
}

std::string HttpUrl::lastStep() const
{
    std::string_view path = mPath;
    path.remove_suffix(path.ends_with('/') ? 1 : 0);
    return decoded(path.substr(path.rfind('/') + 1));
}

HttpUrl HttpUrl::withoutCredentials() const
{
    HttpUrl result = *this;
    result.mUser.clear();
    result.mPassword.clear();
    return result;
}

HttpUrl HttpUrl::withCredentialsOf(const HttpUrl& other) const
{
    HttpUrl result = *this;
    result.mUser = other.mUser;
    result.mPassword = other.mPassword;
    return result;
}
}  // namespace Core
