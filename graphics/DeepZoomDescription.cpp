#include "graphics/DeepZoomDescription.h"

#include "core/errorReason.h"
#include "core/readLocalFile.h"
#include "core/shownText.h"
#include "core/toUtf8.h"
#include "graphics/PictureLimits.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Graphics
{
namespace
{
constexpr std::uint64_t kLargestFile = 65536;  // bytes; such files have some hundred
constexpr std::size_t kDeepestElement = 16;

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isNameChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':';
}

using Attributes = std::map<std::string, std::string, std::less<>>;

/// Reads the little XML there is, from front to back.
class XmlReader
{
public:
    explicit XmlReader(std::string_view text) : mText(text) {}

    /// Calls onElement(path, attributes) for every element, its path being the names from the root on, such
    /// as "Image/Size".
    template <class OnElement>
    void read(const OnElement& onElement)
    {
        skipIf("\xEF\xBB\xBF");
        if (skipIf("<?xml"))
        {
            skipUntil("?>");
        }
        std::size_t rootCount = 0;
        while (skipToMarkup(rootCount > 0 && mNames.empty()))
        {
            if (skipIf("</"))
            {
                const std::string name = readName();
                skipSpace();
                if (mNames.empty() || mNames.back() != name)
                {
                    fail("the end of \"" + Core::shownText(name) + "\" has no begin");
                }
                mNames.pop_back();
                expect(">");
                continue;
            }
            expect("<");
            rootCount += mNames.empty() ? 1 : 0;
            if (rootCount > 1)
            {
                fail("there is a second root element");
            }
            readElement(onElement);
        }
        if (rootCount == 0)
        {
            fail("an element is expected");
        }
    }

    [[noreturn]] void fail(const std::string& reason) const
    {
        const auto line =
            std::count(mText.begin(), mText.begin() + static_cast<std::ptrdiff_t>(mPosition), '\n');
        throw std::runtime_error("line " + std::to_string(line + 1) + ": " + reason);
    }

private:
    template <class OnElement>
    void readElement(const OnElement& onElement)
    {
        mNames.push_back(readName());
        if (mNames.size() > kDeepestElement)
        {
            fail("elements are nested too deeply");
        }
        Attributes attributes;
        while (skipSpace() && mPosition < mText.size() && isNameChar(mText[mPosition]))
        {
            std::string name = readName();
            skipSpace();
            expect("=");
            skipSpace();
            if (!attributes.emplace(std::move(name), readQuoted()).second)
            {
                fail("an attribute is given twice");
            }
        }
        std::string path;
        for (const std::string& name : mNames)
        {
            path += (path.empty() ? "" : "/") + name;
        }
        onElement(path, attributes);
        if (skipIf("/>"))
        {
            mNames.pop_back();
            return;
        }
        expect(">");
    }

    /// Goes to the next tag past comments and spaces.
    /// @returns false at the end of the text, if that may come here
    bool skipToMarkup(bool mayEnd)
    {
        while (skipSpace())
        {
            if (mPosition == mText.size())
            {
                if (!mayEnd)
                {
                    fail("the text ends too early");
                }
                return false;
            }
            if (!skipIf("<!--"))
            {
                break;
            }
            skipUntil("-->");
        }
        if (mText.substr(mPosition).starts_with("<!") || mText.substr(mPosition).starts_with("<?"))
        {
            fail("document types, CDATA sections and instructions are not supported");
        }
        return true;
    }

    /// @returns true, for use in conditions
    bool skipSpace()
    {
        while (mPosition < mText.size() && isSpace(mText[mPosition]))
        {
            ++mPosition;
        }
        return true;
    }

    bool skipIf(std::string_view expected)
    {
        const bool isThere = mText.substr(mPosition).starts_with(expected);
        mPosition += isThere ? expected.size() : 0;
        return isThere;
    }

    void expect(std::string_view expected)
    {
        if (!skipIf(expected))
        {
            fail("\"" + std::string(expected) + "\" is expected");
        }
    }

    void skipUntil(std::string_view end)
    {
        const std::size_t found = mText.find(end, mPosition);
        if (found == std::string_view::npos)
        {
            fail("\"" + std::string(end) + "\" is missing");
        }
        mPosition = found + end.size();
    }

    std::string readName()
    {
        const std::size_t begin = mPosition;
        while (mPosition < mText.size() && isNameChar(mText[mPosition]))
        {
            ++mPosition;
        }
        if (begin == mPosition)
        {
            fail("a name is expected");
        }
        return std::string(mText.substr(begin, mPosition - begin));
    }

    std::string readQuoted()
    {
        if (mPosition == mText.size() || (mText[mPosition] != '"' && mText[mPosition] != '\''))
        {
            fail("a value in quotes is expected");
        }
        const char quote = mText[mPosition++];
        const std::size_t end = mText.find(quote, mPosition);
        if (end == std::string_view::npos)
        {
            fail("the quote is not closed");
        }
        const std::string_view value = mText.substr(mPosition, end - mPosition);
        if (value.find_first_of("&<") != std::string_view::npos)
        {
            fail("entities are not supported");
        }
        mPosition = end + 1;
        return std::string(value);
    }

    std::string_view mText;
    std::size_t mPosition = 0;
    std::vector<std::string> mNames;  // of the open elements, the root first
};

const std::string& attribute(const XmlReader& xml, const Attributes& attributes, const std::string& name)
{
    const auto found = attributes.find(name);
    if (found == attributes.end())
    {
        xml.fail("attribute " + name + " is missing");
    }
    return found->second;
}

std::uint32_t number(const XmlReader& xml, const Attributes& attributes, const std::string& name)
{
    const std::string& text = attribute(xml, attributes, name);
    std::uint32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || last != end)
    {
        xml.fail(
            "attribute " + name + " is \"" + Core::shownText(text) + "\", not a whole number below 2^32"
        );
    }
    return value;
}

std::uint32_t positive(const XmlReader& xml, const Attributes& attributes, const std::string& name)
{
    const std::uint32_t value = number(xml, attributes, name);
    if (value == 0)
    {
        xml.fail("attribute " + name + " must not be 0");
    }
    return value;
}

std::uint32_t halved(std::uint32_t size, std::uint32_t times)
{
    const std::uint64_t divisor = std::uint64_t{1} << times;
    return static_cast<std::uint32_t>((size + divisor - 1) / divisor);
}
}  // namespace

std::uint32_t DeepZoomDescription::lastLevel() const noexcept
{
    return static_cast<std::uint32_t>(std::bit_width(std::max({width, height, 1U}) - 1U));
}

std::uint32_t DeepZoomDescription::levelWidth(std::uint32_t level) const noexcept
{
    return halved(width, lastLevel() - level);
}

std::uint32_t DeepZoomDescription::levelHeight(std::uint32_t level) const noexcept
{
    return halved(height, lastLevel() - level);
}

DeepZoomDescription parseDeepZoomDescription(std::string_view text)
{
    DeepZoomDescription result;
    XmlReader xml(text);
    bool hasImage = false;
    bool hasSize = false;
    xml.read(
        [&](const std::string& path, const Attributes& attributes)
        {
            if (path == "Image")
            {
                result.tileSize = positive(xml, attributes, "TileSize");
                result.overlap = number(xml, attributes, "Overlap");
                result.format = attribute(xml, attributes, "Format");
                hasImage = true;
            }
            else if (path == "Image/Size")
            {
                if (hasSize)
                {
                    xml.fail("element Size is given twice");
                }
                result.width = positive(xml, attributes, "Width");
                result.height = positive(xml, attributes, "Height");
                hasSize = true;
            }
        }
    );
    if (!hasImage || !hasSize)
    {
        xml.fail(std::string("element ") + (hasImage ? "Size" : "Image") + " is missing");
    }
    if (result.format != "png" && result.format != "jpg" && result.format != "jpeg")
    {
        xml.fail("attribute Format is \"" + Core::shownText(result.format) + "\", not png, jpg or jpeg");
    }
    if (result.overlap > result.tileSize)
    {
        xml.fail(
            "the overlap of " + std::to_string(result.overlap) + " pixels is larger than the tile size of " +
            std::to_string(result.tileSize)
        );
    }
    if (const std::uint64_t side = std::uint64_t{result.tileSize} + 2 * std::uint64_t{result.overlap};
        side > PictureLimits::kLargestTileSide)
    {
        xml.fail(
            "tiles have " + std::to_string(side) + " pixels on a side with their overlap, more than " +
            std::to_string(PictureLimits::kLargestTileSide)
        );
    }
    return result;
}

DeepZoomDescription readDeepZoomDescription(const std::filesystem::path& path)
{
    const std::string text = Core::readLocalFile(path, kLargestFile);
    try
    {
        return parseDeepZoomDescription(text);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(
            "Error: cannot read " + Core::toUtf8(path) +
            " as a Deep Zoom description: " + Core::errorReason(error.what())
        );
    }
}

std::string deepZoomDescriptionText(const DeepZoomDescription& description)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<Image xmlns=\"http://schemas.microsoft.com/deepzoom/2008\" Format=\"" +
           description.format + "\" Overlap=\"" + std::to_string(description.overlap) + "\" TileSize=\"" +
           std::to_string(description.tileSize) + "\">\n    <Size Height=\"" +
           std::to_string(description.height) + "\" Width=\"" + std::to_string(description.width) +
           "\"/>\n</Image>\n";
}
}  // namespace Graphics
