#include "octree/JsonField.h"

#include "core/parseJson.h"
#include "octree/fileError.h"

#include <cmath>
#include <stdexcept>

namespace Octree
{
nlohmann::json parsedJson(std::string_view text, const std::filesystem::path& file)
{
    try
    {
        return Core::parseJson(text);
    }
    catch (const std::runtime_error& error)
    {
        throw fileError(file, std::string("not readable as JSON: ") + error.what());
    }
}

void JsonField::fail(const std::string& expected) const
{
    throw fileError(mFile, "bad field \"" + mName + "\", expected " + expected);
}

std::optional<JsonField> JsonField::find(const std::string& key) const
{
    if (!mValue.is_object())
    {
        fail("an object");
    }
    const auto found = mValue.find(key);
    if (found == mValue.end())
    {
        return std::nullopt;
    }
    return JsonField(mFile, *found, mName.empty() ? key : mName + "." + key);
}

JsonField JsonField::get(const std::string& key) const
{
    std::optional<JsonField> field = find(key);
    if (!field)
    {
        throw fileError(mFile, "field \"" + (mName.empty() ? key : mName + "." + key) + "\" is missing");
    }
    return *std::move(field);
}

std::vector<JsonField> JsonField::elements() const
{
    if (!mValue.is_array())
    {
        fail("a list");
    }
    std::vector<JsonField> result;
    result.reserve(mValue.size());
    for (std::size_t i = 0; i < mValue.size(); ++i)
    {
        result.emplace_back(mFile, mValue[i], mName + "[" + std::to_string(i) + "]");
    }
    return result;
}

std::string JsonField::text() const
{
    if (!mValue.is_string())
    {
        fail("a text");
    }
    return mValue.get<std::string>();
}

double JsonField::number() const
{
    if (!mValue.is_number() || !std::isfinite(mValue.get<double>()))
    {
        fail("a finite number");
    }
    return mValue.get<double>();
}

std::uint64_t JsonField::wholeNumber(std::uint64_t min, std::uint64_t max) const
{
    const double value = mValue.is_number() ? mValue.get<double>() : -1.0;
    if (!(value >= static_cast<double>(min) && value <= static_cast<double>(max)) ||
        value != std::floor(value))
    {
        fail("a whole number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return static_cast<std::uint64_t>(value);
}

std::vector<double> JsonField::numbers() const
{
    std::vector<double> result;
    for (const JsonField& element : elements())
    {
        result.push_back(element.number());
    }
    return result;
}

Math::Point<double, 3> JsonField::point() const
{
    const std::vector<double> values =
        mValue.is_array() && mValue.size() == 3 ? numbers() : std::vector<double>{};
    if (values.size() != 3)
    {
        fail("a list of 3 numbers");
    }
    for (const double value : values)
    {
        if (std::abs(value) > kLargestCoordinate)
        {
            fail("numbers between -1e30 and 1e30");
        }
    }
    return {values[0], values[1], values[2]};
}
}  // namespace Octree
