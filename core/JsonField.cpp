#include "core/JsonField.h"

#include <cmath>
#include <stdexcept>

namespace Core
{
const JsonWording& JsonField::defaultWording() noexcept
{
    static constexpr JsonWording kWording{
        [](const std::string& name) { return "field \"" + name + "\" is missing"; },
        [](const std::string& name, const std::string& expected)
        { return "bad field \"" + name + "\", expected " + expected; },
    };
    return kWording;
}

void JsonField::fail(const std::string& expected) const
{
    throw std::runtime_error(mWording->unexpected(mName, expected));
}

std::string JsonField::nameOf(const std::string& key) const
{
    return mName.empty() ? key : mName + "." + key;
}

std::optional<JsonField> JsonField::find(const std::string& key) const
{
    if (!mValue->is_object())
    {
        fail("an object");
    }
    const auto found = mValue->find(key);
    if (found == mValue->end())
    {
        return std::nullopt;
    }
    return JsonField(*found, nameOf(key), *mWording);
}

JsonField JsonField::get(const std::string& key) const
{
    std::optional<JsonField> field = find(key);
    if (!field)
    {
        throw std::runtime_error(mWording->missing(nameOf(key)));
    }
    return *std::move(field);
}

const nlohmann::json& JsonField::list() const
{
    if (!mValue->is_array())
    {
        fail("a list");
    }
    return *mValue;
}

std::vector<JsonField> JsonField::elements() const
{
    const nlohmann::json& values = list();
    std::vector<JsonField> result;
    result.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        result.emplace_back(values[i], mName + "[" + std::to_string(i) + "]", *mWording);
    }
    return result;
}

std::string JsonField::text() const
{
    if (!mValue->is_string())
    {
        fail("a text");
    }
    return mValue->get<std::string>();
}

double JsonField::number() const
{
    if (!mValue->is_number() || !std::isfinite(mValue->get<double>()))
    {
        fail("a finite number");
    }
    return mValue->get<double>();
}

std::uint64_t JsonField::wholeNumber(std::uint64_t min, std::uint64_t max) const
{
    const double value = mValue->is_number() ? mValue->get<double>() : -1.0;
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
}  // namespace Core
