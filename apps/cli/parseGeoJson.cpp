#include "apps/cli/parseGeoJson.h"

#include "apps/cli/CornerReader.h"
#include <core/JsonField.h>
#include <core/parseJson.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace Cli
{
namespace
{
using Core::JsonField;

class GeoJsonReader
{
public:
    explicit GeoJsonReader(const Math::Point<double, 3>& origin) : mCorners(origin) {}

    std::vector<PolygonWithHoles> read(const JsonField& root)
    {
        if (!root.value().is_object())
        {
            throw std::runtime_error("GeoJSON begins with an object");
        }
        if (root.get("type").text() == "FeatureCollection")
        {
            for (const JsonField& feature : root.get("features").elements())
            {
                readObject(feature);
            }
        }
        else
        {
            readObject(root);
        }
        if (mPolygons.empty())
        {
            throw std::runtime_error("there is no polygon in this GeoJSON");
        }
        return std::move(mPolygons);
    }

private:
    /// A feature or a geometry.
    void readObject(const JsonField& object)
    {
        const bool isFeature = object.get("type").text() == "Feature";
        readGeometry(isFeature ? object.get("geometry") : object);
    }

    void readGeometry(const JsonField& geometry)
    {
        const JsonField type = geometry.get("type");
        if (type.text() == "Polygon")
        {
            readPolygon(geometry.get("coordinates"));
        }
        else if (type.text() == "MultiPolygon")
        {
            for (const JsonField& polygon : geometry.get("coordinates").elements())
            {
                readPolygon(polygon);
            }
        }
        else
        {
            type.fail("\"Polygon\" or \"MultiPolygon\", or a feature of these");
        }
    }

    void readPolygon(const JsonField& rings)
    {
        const std::vector<JsonField> elements = rings.elements();
        if (elements.empty())
        {
            rings.fail("at least one ring of corners");
        }
        PolygonWithHoles& polygon = mPolygons.emplace_back();
        readRing(elements.front(), polygon.outline);
        for (std::size_t i = 1; i < elements.size(); ++i)
        {
            readRing(elements[i], polygon.holes.emplace_back());
        }
    }

    void readRing(const JsonField& field, PolygonWithHoles::Ring& ring)
    {
        for (const JsonField& corner : field.elements())
        {
            const std::vector<double> numbers = corner.numbers();
            if (numbers.size() < 2)
            {
                corner.fail("two numbers, x and y");
            }
            mCorners.add(ring, numbers[0], numbers[1]);
        }
    }

    CornerReader mCorners;
    std::vector<PolygonWithHoles> mPolygons;
};

nlohmann::json parsed(std::string_view text)
{
    try
    {
        return Core::parseJson(text);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(std::string("not readable as JSON: ") + error.what());
    }
}
}  // namespace

std::vector<PolygonWithHoles> parseGeoJson(std::string_view text, const Math::Point<double, 3>& origin)
{
    const Core::JsonTree tree(parsed(text));
    return GeoJsonReader(origin).read(JsonField(*tree, ""));
}
}  // namespace Cli
