#include "octree/readFields.h"

#include "core/parseJson.h"
#include "octree/fileError.h"

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace Octree
{
namespace
{
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

Math::Point<double, 3> pointOf(const Core::JsonField& field)
{
    const bool isTriple = field.value().is_array() && field.value().size() == 3;
    const std::vector<double> values = isTriple ? field.numbers() : std::vector<double>{};
    if (values.size() != 3)
    {
        field.fail("a list of 3 numbers");
    }
    for (const double value : values)
    {
        if (std::abs(value) > kLargestCoordinate)
        {
            field.fail("numbers between -1e30 and 1e30");
        }
    }
    return {values[0], values[1], values[2]};
}

void readFields(
    std::string_view text, std::string_view file, const std::function<void(const Core::JsonField& root)>& read
)
{
    try
    {
        const Core::JsonTree tree(parsed(text));
        if (!(*tree).is_object())
        {
            throw std::runtime_error("expected an object at the top");
        }
        read(Core::JsonField(*tree, ""));
    }
    catch (const std::runtime_error& error)
    {
        throw fileError(file, error.what());
    }
}
}  // namespace Octree
