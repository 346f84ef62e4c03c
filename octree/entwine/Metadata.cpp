#include "octree/entwine/Metadata.h"

#include "core/ByteSource.h"
#include "core/readAll.h"
#include "octree/entwine/TileCodec.h"
#include "octree/readFields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace Entwine
{
namespace
{
using Box = Math::NBoundingBox<double, 3>;
using Field = Core::JsonField;
using Octree::kLargestCoordinate;

constexpr std::uint64_t kMaxFileSize = 4U << 20U;  // long coordinate systems and statistics included
constexpr std::size_t kMaxDimensions = 1024;
constexpr std::uint64_t kMaxSpan = std::uint64_t{1} << 20U;
constexpr double kLargestScale = 1e20;
constexpr double kCubeTolerance = 1e-6;  // of the edge: decimal numbers are rounded

DataType dataTypeOf(const Field& field)
{
    const std::string text = field.text();
    const std::span<const TileCodec* const> codecs = tileCodecs();
    const auto found =
        std::ranges::find_if(codecs, [&](const TileCodec* codec) { return text == codec->name(); });
    if (found == codecs.end())
    {
        field.fail("\"binary\", \"zstandard\" or \"laszip\"");
    }
    return static_cast<DataType>(found - codecs.begin());
}

NumberType numberTypeOf(const Field& field)
{
    const std::string text = field.text();
    if (text == "signed")
    {
        return NumberType::Signed;
    }
    if (text == "unsigned")
    {
        return NumberType::Unsigned;
    }
    if (text != "float")
    {
        field.fail("\"signed\", \"unsigned\" or \"float\"");
    }
    return NumberType::Float;
}

Box boxOf(const Field& field)
{
    const std::vector<double> corners = field.numbers();
    bool good = corners.size() == 6;
    for (std::size_t axis = 0; good && axis < 3; ++axis)
    {
        good = corners[axis] <= corners[axis + 3] && corners[axis] >= -kLargestCoordinate &&
               corners[axis + 3] <= kLargestCoordinate;
    }
    if (!good)
    {
        field.fail("6 numbers within 1e30, the minimum first and nowhere above the maximum");
    }
    return {{corners[0], corners[1], corners[2]}, {corners[3], corners[4], corners[5]}};
}

Box cubeOf(const Field& field)
{
    const Box box = boxOf(field);
    const double edge = box.largestSize();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const double size = box.max()[axis] - box.min()[axis];
        if (!(size > 0.0 && edge - size <= kCubeTolerance * edge))
        {
            field.fail("a cube with an edge above 0");
        }
    }
    return box;
}

double scaleOf(const Field& field)
{
    const double scale = field.number();
    if (!(scale > 0.0 && scale <= kLargestScale))
    {
        field.fail("a number above 0, at most 1e20");
    }
    return scale;
}

double offsetOf(const Field& field)
{
    const double offset = field.number();
    if (std::abs(offset) > kLargestCoordinate)
    {
        field.fail("a number between -1e30 and 1e30");
    }
    return offset;
}

Dimension dimensionOf(const Field& field)
{
    Dimension dimension;
    dimension.name = field.get("name").text();
    dimension.type = numberTypeOf(field.get("type"));
    const Field size = field.get("size");
    dimension.size = static_cast<std::size_t>(size.wholeNumber(1, 8));
    if (dimension.type == NumberType::Float && dimension.size != 4 && dimension.size != 8)
    {
        size.fail("4 or 8 bytes for floating-point numbers");
    }
    if (const std::optional<Field> scale = field.find("scale"))
    {
        dimension.scale = scaleOf(*scale);
    }
    if (const std::optional<Field> offset = field.find("offset"))
    {
        dimension.offset = offsetOf(*offset);
    }
    const std::optional<Field> minimum = field.find("minimum");
    const std::optional<Field> maximum = field.find("maximum");
    if (minimum && maximum)
    {
        dimension.minimum = minimum->number();
        dimension.maximum = maximum->number();
        if (*dimension.minimum > *dimension.maximum)
        {
            minimum->fail("a number not above the maximum");
        }
    }
    return dimension;
}

std::vector<Dimension> schemaOf(const Field& field)
{
    const std::vector<Field> elements = field.elements();
    if (elements.empty() || elements.size() > kMaxDimensions)
    {
        field.fail("1 to " + std::to_string(kMaxDimensions) + " dimensions");
    }
    std::vector<Dimension> schema;
    std::set<std::string> names;
    std::size_t byteOffset = 0;
    for (const Field& element : elements)
    {
        Dimension& dimension = schema.emplace_back(dimensionOf(element));
        dimension.byteOffset = byteOffset;
        byteOffset += dimension.size;
        if (!names.insert(dimension.name).second)
        {
            element.get("name").fail("a name that no dimension before has");
        }
    }
    for (const char* name : {"X", "Y", "Z"})
    {
        if (!names.contains(name))
        {
            field.fail(std::string("a dimension \"") + name + "\"");
        }
    }
    return schema;
}

std::uint16_t toUint16(double value) noexcept
{
    return static_cast<std::uint16_t>(std::clamp(value, 0.0, 65535.0));
}

/// What is not as expected says nothing: no point depends on it.
std::string coordinateSystemOf(const Field& root)
{
    const auto textOf = [](const nlohmann::json& object, const char* key)
    {
        const auto found = object.find(key);
        return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    const std::optional<Field> field = root.find("srs");
    if (!field || !field->value().is_object())
    {
        return {};
    }
    const nlohmann::json& srs = field->value();
    std::string wkt = textOf(srs, "wkt");
    if (!wkt.empty())
    {
        return wkt;
    }
    const std::string authority = textOf(srs, "authority");
    const std::string horizontal = textOf(srs, "horizontal");
    const std::string vertical = textOf(srs, "vertical");
    if (authority.empty() || horizontal.empty())
    {
        return {};
    }
    return authority + ":" + horizontal + (vertical.empty() ? "" : "+" + vertical);
}

Metadata metadataOf(const Field& root)
{
    if (const std::optional<Field> version = root.find("version");
        version && !version->text().starts_with("1."))
    {
        version->fail("a version \"1.x\"");
    }
    if (const std::optional<Field> type = root.find("hierarchyType"); type && type->text() != "json")
    {
        type->fail("\"json\"");
    }
    Metadata metadata;
    metadata.dataType = dataTypeOf(root.get("dataType"));
    metadata.boundingCube = cubeOf(root.get("bounds"));
    const std::optional<Field> conforming = root.find("boundsConforming");
    metadata.boundingBox = conforming ? boxOf(*conforming) : metadata.boundingCube;
    metadata.spacing =
        metadata.boundingCube.largestSize() / static_cast<double>(root.get("span").wholeNumber(1, kMaxSpan));
    metadata.schema = schemaOf(root.get("schema"));
    metadata.bytesPerPoint = metadata.schema.back().byteOffset + metadata.schema.back().size;
    metadata.coordinateSystem = coordinateSystemOf(root);
    return metadata;
}
}  // namespace

const Dimension* Metadata::dimension(std::string_view name) const noexcept
{
    const auto found = std::ranges::find(schema, name, &Dimension::name);
    return found != schema.end() ? &*found : nullptr;
}

Math::Point<double, 3> Metadata::referencePosition() const
{
    Math::Point<double, 3> position = boundingCube.min();
    constexpr std::array<const char*, 3> kNames{"X", "Y", "Z"};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const Dimension* const coordinate = dimension(kNames[axis]);
        if (coordinate != nullptr && coordinate->offset >= boundingCube.min()[axis] &&
            coordinate->offset <= boundingCube.max()[axis])
        {
            position[axis] = coordinate->offset;
        }
    }
    return position;
}

std::pair<std::uint16_t, std::uint16_t> Metadata::intensityRange() const noexcept
{
    const Dimension* const intensity = dimension("Intensity");
    if (intensity == nullptr || !intensity->minimum)
    {
        return {std::uint16_t{0}, std::uint16_t{65535}};
    }
    return {toUint16(*intensity->minimum), toUint16(*intensity->maximum)};
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
}  // namespace Entwine
