#include "graphics/DeepZoomDescription.h"

#include "core/LocalFile.h"
#include "core/errorReason.h"
#include "core/readAll.h"
#include "core/shownText.h"
#include "graphics/PictureLimits.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <new>
#include <pugixml.hpp>
#include <set>
#include <stdexcept>

namespace Graphics
{
namespace
{
constexpr std::uint64_t kLargestFile = 65536;  // bytes; such files have some hundred
constexpr std::size_t kDeepestElement = 16;

/// Everything that is not an element is kept, so that it can be refused. Escapes stay as they are for the
/// same reason.
constexpr unsigned kParseFlags =
    pugi::parse_fragment | pugi::parse_cdata | pugi::parse_declaration | pugi::parse_doctype | pugi::parse_pi;

bool isNameChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':';
}

[[noreturn]] void failAt(std::string_view text, std::size_t position, const std::string& reason)
{
    const std::string_view before = text.substr(0, position);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    throw std::runtime_error("line " + std::to_string(line) + ": " + reason);
}

/// What the parser found wrong, by the text around the place where it stopped.
[[noreturn]] void failBroken(std::string_view text, const pugi::xml_parse_result& result)
{
    // The parser does not always come to the last character before it finds the end.
    std::size_t position = std::min(static_cast<std::size_t>(result.offset), text.size());
    if (text.find_first_not_of(" \t\r\n", position) == std::string_view::npos)
    {
        position = text.size();
    }
    const std::string_view before = text.substr(0, position);
    const std::string_view rest = text.substr(position);
    switch (result.status)
    {
        case pugi::status_out_of_memory:
            throw std::bad_alloc();
        case pugi::status_bad_doctype:
        case pugi::status_bad_cdata:
            failAt(text, position, "document types, CDATA sections and instructions are not supported");
        case pugi::status_bad_comment:
            failAt(text, position, "\"-->\" is missing");
        case pugi::status_bad_pi:
            failAt(text, position, "\"?>\" is missing");
        case pugi::status_bad_attribute:
            failAt(
                text,
                position,
                before.ends_with('"') || before.ends_with('\'') ? "the quote is not closed"
                                                                : "a value in quotes is expected"
            );
        case pugi::status_end_element_mismatch:
            if (!rest.empty())
            {
                const auto* const end = std::find_if_not(rest.begin(), rest.end(), isNameChar);
                const std::string_view name = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
                if (name.empty())
                {
                    failAt(text, position, "a name is expected");
                }
                failAt(text, position, "the end of \"" + Core::shownText(name) + "\" has no begin");
            }
            break;
        default:
            break;
    }
    failAt(
        text,
        position,
        rest.empty()                                     ? "the text ends too early"
        : result.status == pugi::status_unrecognized_tag ? "a name is expected"
                                                         : "\">\" is expected"
    );
}

/// An element and where it stands in the text.
class Element
{
public:
    Element(std::string_view text, const pugi::xml_node& node) : mText(text), mNode(node) {}

    std::string_view name() const { return mNode.name(); }

    bool isNamed(std::string_view path) const
    {
        const std::size_t slash = path.rfind('/');
        const pugi::xml_node parent = mNode.parent();
        return slash == std::string_view::npos
                   ? name() == path && parent.type() == pugi::node_document
                   : name() == path.substr(slash + 1) && parent.name() == path.substr(0, slash) &&
                         parent.parent().type() == pugi::node_document;
    }

    const char* attribute(const char* name) const
    {
        const pugi::xml_attribute found = mNode.attribute(name);
        if (!found)
        {
            fail(std::string("attribute ") + name + " is missing");
        }
        return found.value();
    }

    std::uint32_t number(const char* name) const
    {
        const std::string_view text = attribute(name);
        std::uint32_t value = 0;
        const char* const end = text.data() + text.size();
        const auto [last, error] = std::from_chars(text.data(), end, value);
        if (error != std::errc() || last != end)
        {
            fail(
                std::string("attribute ") + name + " is \"" + Core::shownText(text) +
                "\", not a whole number below 2^32"
            );
        }
        return value;
    }

    std::uint32_t positive(const char* name) const
    {
        const std::uint32_t value = number(name);
        if (value == 0)
        {
            fail(std::string("attribute ") + name + " must not be 0");
        }
        return value;
    }

    /// What the parser lets pass.
    void check() const
    {
        std::set<std::string_view> names;
        for (const pugi::xml_attribute& attribute : mNode.attributes())
        {
            if (!names.insert(attribute.name()).second)
            {
                fail("an attribute is given twice");
            }
            if (std::string_view(attribute.value()).find_first_of("&<") != std::string_view::npos)
            {
                fail("entities are not supported");
            }
        }
    }

    /// Names the line on which the element's tag ends.
    [[noreturn]] void fail(const std::string& reason) const
    {
        char quote = '\0';
        auto position = static_cast<std::size_t>(std::max<std::ptrdiff_t>(mNode.offset_debug(), 0));
        for (; position < mText.size() && (quote != '\0' || mText[position] != '>'); ++position)
        {
            const char c = mText[position];
            quote = quote == c ? '\0' : quote == '\0' && (c == '"' || c == '\'') ? c : quote;
        }
        failAt(mText, position, reason);
    }

private:
    std::string_view mText;
    pugi::xml_node mNode;
};

/// The next node in the order of the text; none after the last one.
pugi::xml_node nodeAfter(pugi::xml_node node, std::size_t& depth)
{
    if (const pugi::xml_node child = node.first_child())
    {
        ++depth;
        return child;
    }
    while (node && !node.next_sibling())
    {
        node = node.parent();
        --depth;
    }
    return node.next_sibling();
}

void checkDepth(std::string_view text, const pugi::xml_document& document)
{
    std::size_t depth = 0;
    for (pugi::xml_node node = nodeAfter(document.root(), depth); node; node = nodeAfter(node, depth))
    {
        if (depth > kDeepestElement)
        {
            Element(text, node).fail("elements are nested too deeply");
        }
    }
}

/// Refuses what such a file does not need: anything but elements, their attributes, comments, and one
/// declaration in front.
void checkNode(std::string_view text, const pugi::xml_node& node, std::size_t rootCount)
{
    const auto position = static_cast<std::size_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 0));
    switch (node.type())
    {
        case pugi::node_element:
            if (rootCount > 1)
            {
                failAt(text, position, "there is a second root element");
            }
            Element(text, node).check();
            break;
        case pugi::node_declaration:
            if (node.previous_sibling() || node.parent().type() != pugi::node_document)
            {
                failAt(text, position, "document types, CDATA sections and instructions are not supported");
            }
            break;
        case pugi::node_pcdata:
            failAt(text, position, "\"<\" is expected");
        default:
            failAt(text, position, "document types, CDATA sections and instructions are not supported");
    }
}

/// Calls onElement(element) for every element in the order of the text.
template <class OnElement>
void readXml(std::string_view text, const OnElement& onElement)
{
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos)
    {
        failAt(text, zero, "there is a byte 0");  // the parser would end there
    }
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), kParseFlags, pugi::encoding_utf8);
    checkDepth(text, document);
    if (!result)
    {
        failBroken(text, result);
    }
    std::size_t rootCount = 0;
    std::size_t depth = 0;
    for (pugi::xml_node node = nodeAfter(document.root(), depth); node; node = nodeAfter(node, depth))
    {
        rootCount += node.type() == pugi::node_element && depth == 1 ? 1 : 0;
        checkNode(text, node, rootCount);
        if (node.type() == pugi::node_element)
        {
            onElement(Element(text, node));
        }
    }
    if (rootCount == 0)
    {
        failAt(text, text.size(), "an element is expected");
    }
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
    bool hasImage = false;
    bool hasSize = false;
    readXml(
        text,
        [&](const Element& element)
        {
            if (element.isNamed("Image"))
            {
                result.tileSize = element.positive("TileSize");
                result.overlap = element.number("Overlap");
                result.format = element.attribute("Format");
                hasImage = true;
            }
            else if (element.isNamed("Image/Size"))
            {
                if (hasSize)
                {
                    element.fail("element Size is given twice");
                }
                result.width = element.positive("Width");
                result.height = element.positive("Height");
                hasSize = true;
            }
        }
    );
    const auto fail = [&](const std::string& reason) { failAt(text, text.size(), reason); };
    if (!hasImage || !hasSize)
    {
        fail(std::string("element ") + (hasImage ? "Size" : "Image") + " is missing");
    }
    if (result.format != "png" && result.format != "jpg" && result.format != "jpeg")
    {
        fail("attribute Format is \"" + Core::shownText(result.format) + "\", not png, jpg or jpeg");
    }
    if (result.overlap > result.tileSize)
    {
        fail(
            "the overlap of " + std::to_string(result.overlap) + " pixels is larger than the tile size of " +
            std::to_string(result.tileSize)
        );
    }
    if (const std::uint64_t side = std::uint64_t{result.tileSize} + 2 * std::uint64_t{result.overlap};
        side > PictureLimits::kLargestTileSide)
    {
        fail(
            "tiles have " + std::to_string(side) + " pixels on a side with their overlap, more than " +
            std::to_string(PictureLimits::kLargestTileSide)
        );
    }
    return result;
}

DeepZoomDescription readDeepZoomDescription(const Core::ByteSource& file)
{
    const std::string text = *Core::readAll(file, kLargestFile);  // nobody asks for a stop
    try
    {
        return parseDeepZoomDescription(text);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(
            "Error: cannot read " + file.name() +
            " as a Deep Zoom description: " + Core::errorReason(error.what())
        );
    }
}

DeepZoomDescription readDeepZoomDescription(const std::filesystem::path& path)
{
    return readDeepZoomDescription(Core::LocalFile(path));
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
