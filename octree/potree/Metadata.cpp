#include "octree/potree/Metadata.h"

#include "core/ByteSource.h"
#include "core/readAll.h"
#include "octree/readFields.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <stdexcept>

namespace PoTree
{
namespace
{
using Octree::kLargestCoordinate;
using Field = Core::JsonField;
using Octree::pointOf;

constexpr std::uint64_t kMaxFileSize =
    4U << 20U;  // a hundred times a rich real file; bounds the parsed form too
constexpr std::size_t kMaxAttributes = 1024;
constexpr std::uint64_t kMaxAttributeSize = 4096;  // bytes a point; the largest real ones have 24

constexpr double kLargestScale = 1e20;
constexpr double kOffsetSlack = 1e-6;  // of the cube's edge: writers round offset and cube apart
constexpr double kLargestInteger = 9007199254740992.0;  // up to here a double holds every whole number

struct TypeSize
{
    std::string_view name;
    std::uint64_t size;
};

constexpr std::array<TypeSize, 10> kTypes{
    {{"int8", 1},
     {"int16", 2},
     {"int32", 4},
     {"int64", 8},
     {"uint8", 1},
     {"uint16", 2},
     {"uint32", 4},
     {"uint64", 8},
     {"float", 4},
     {"double", 8}}};

Encoding encodingOf(const Field& field)
{
    const std::string text = field.text();
    if (text == "BROTLI")
    {
        return Encoding::Brotli;
    }
    if (text != "DEFAULT" && text != "UNCOMPRESSED")
    {
        field.fail("\"BROTLI\", \"DEFAULT\" or \"UNCOMPRESSED\"");
    }
    return Encoding::Plain;
}

Math::NBoundingBox<double, 3> boxOf(const Field& field)
{
    const Math::NBoundingBox<double, 3> box(pointOf(field.get("min")), pointOf(field.get("max")));
    if (box.isEmpty())
    {
        field.fail("a minimum that is nowhere above the maximum");
    }
    return box;
}

Math::Point<double, 3> scaleOf(const Field& field)
{
    const Math::Point<double, 3> scale = pointOf(field);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (!(scale[axis] > 0.0 && scale[axis] <= kLargestScale))
        {
            field.fail("numbers above 0, at most 1e20");
        }
    }
    return scale;
}

double spacingOf(const Field& field)
{
    const double spacing = field.number();
    if (spacing < 0.0 || spacing > kLargestCoordinate)
    {
        field.fail("a number from 0 to 1e30");
    }
    return spacing;
}

std::vector<double> rangeOf(const Field& attribute, const std::string& key)
{
    const std::optional<Field> range = attribute.find(key);
    return range ? range->numbers() : std::vector<double>{};
}

Attribute attributeOf(const Field& field)
{
    Attribute attribute;
    attribute.name = field.get("name").text();
    attribute.type = field.get("type").text();
    const auto* type = std::find_if(
        kTypes.begin(),
        kTypes.end(),
        [&](const TypeSize& candidate) { return candidate.name == attribute.type; }
    );
    if (type == kTypes.end())
    {
        field.get("type").fail("int8 to int64, uint8 to uint64, float or double");
    }
    const Field size = field.get("size");
    attribute.size = size.wholeNumber(1, kMaxAttributeSize);
    if (attribute.size % type->size != 0)
    {
        size.fail("a multiple of the size of " + attribute.type);
    }
    attribute.min = rangeOf(field, "min");
    attribute.max = rangeOf(field, "max");
    return attribute;
}

std::vector<Attribute> attributesOf(const Field& field)
{
    const std::vector<Field> elements = field.elements();
    if (elements.empty() || elements.size() > kMaxAttributes)
    {
        field.fail("1 to " + std::to_string(kMaxAttributes) + " attributes");
    }
    std::vector<Attribute> attributes;
    std::set<std::string> names;
    for (const Field& element : elements)
    {
        attributes.push_back(attributeOf(element));
        if (!names.insert(attributes.back().name).second)
        {
            element.get("name").fail("a name that no attribute before has");
        }
    }
    return attributes;
}

// What the ranges of "position" and "intensity" must be to serve as bounds.
void checkRanges(const Field& list, const Metadata& metadata)
{
    const auto ordered = [](const Attribute& attribute, std::size_t elements)
    {
        bool fine = attribute.min.size() >= elements && attribute.max.size() >= elements;
        for (std::size_t i = 0; fine && i < elements; ++i)
        {
            fine = attribute.min[i] <= attribute.max[i] && attribute.min[i] >= -kLargestCoordinate &&
                   attribute.max[i] <= kLargestCoordinate;
        }
        return fine;
    };
    for (std::size_t i = 0; i < metadata.attributes.size(); ++i)
    {
        const Attribute& attribute = metadata.attributes[i];
        const std::size_t elements =
            attribute.name == "position" ? 3 : (attribute.name == "intensity" ? 1 : 0);
        const bool hasRange = !attribute.min.empty() || !attribute.max.empty();
        if (elements > 0 && hasRange && !ordered(attribute, elements))
        {
            list.elements()[i].fail(
                "\"min\" and \"max\" of " + std::to_string(elements) +
                " numbers within 1e30, min nowhere above max, or neither of them"
            );
        }
    }
}

std::uint16_t toUint16(double value) noexcept
{
    return static_cast<std::uint16_t>(std::clamp(value, 0.0, 65535.0));
}

Metadata metadataOf(const Field& root)
{
    if (const std::optional<Field> version = root.find("version");
        version && !version->text().starts_with("2."))
    {
        version->fail("a version \"2.x\"");
    }
    Metadata metadata;
    if (const std::optional<Field> name = root.find("name"))
    {
        metadata.name = name->text();
    }
    // What is no text says nothing: no point depends on it.
    if (const std::optional<Field> projection = root.find("projection");
        projection && projection->value().is_string())
    {
        metadata.coordinateSystem = projection->text();
    }
    metadata.encoding = encodingOf(root.get("encoding"));
    metadata.offset = pointOf(root.get("offset"));
    metadata.scale = scaleOf(root.get("scale"));
    metadata.spacing = spacingOf(root.get("spacing"));
    metadata.boundingBox = boxOf(root.get("boundingBox"));
    metadata.firstChunkSize = root.get("hierarchy")
                                  .get("firstChunkSize")
                                  .wholeNumber(0, static_cast<std::uint64_t>(kLargestInteger));
    const Field attributes = root.get("attributes");
    metadata.attributes = attributesOf(attributes);
    checkRanges(attributes, metadata);
    return metadata;
}
}  // namespace

const Attribute* Metadata::attribute(std::string_view attributeName) const noexcept
{
    const auto found = std::find_if(
        attributes.begin(),
        attributes.end(),
        [&](const Attribute& candidate) { return candidate.name == attributeName; }
    );
    return found != attributes.end() ? &*found : nullptr;
}

Math::Point<double, 3> Metadata::referencePosition() const noexcept
{
    Math::Point<double, 3> position = offset;
    const double slack = kOffsetSlack * boundingBox.largestSize();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (offset[axis] < boundingBox.min()[axis] - slack || offset[axis] > boundingBox.max()[axis] + slack)
        {
            position[axis] = boundingBox.min()[axis];
        }
    }
    return position;
}

Math::NBoundingBox<double, 3> Metadata::tightBoundingBox() const
{
    const Attribute* position = attribute("position");
    if (position == nullptr || position->min.empty())
    {
        return boundingBox;
    }
    return {
        {position->min[0], position->min[1], position->min[2]},
        {position->max[0], position->max[1], position->max[2]}};
}

std::pair<std::uint16_t, std::uint16_t> Metadata::intensityRange() const noexcept
{
    const Attribute* intensity = attribute("intensity");
    if (intensity == nullptr || intensity->min.empty())
    {
        return {std::uint16_t{0}, std::uint16_t{65535}};
    }
    return {toUint16(intensity->min[0]), toUint16(intensity->max[0])};
}

bool Metadata::hasWideColors() const noexcept
{
    const Attribute* rgb = attribute("rgb");
    return rgb != nullptr &&
           std::any_of(rgb->max.begin(), rgb->max.end(), [](double max) { return max > 255.0; });
}

Metadata parseMetadata(std::string_view text, std::string_view file)
{
    Metadata metadata;
    Octree::readFields(text, file, [&](const Field& root) { metadata = metadataOf(root); });
    return metadata;
}

Metadata readMetadata(const Core::ByteSource& file)
{
    return parseMetadata(*Core::readAll(file, kMaxFileSize), file.name());  // nobody asks for a stop
}
}  // namespace PoTree
