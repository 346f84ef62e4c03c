#pragma once

#include "math/Point.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Octree
{
/// Coordinates beyond this leave no room for products and differences in 32-bit floats.
constexpr double kLargestCoordinate = 1e30;

/// The text of a description file as a tree.
/// @param file  the name for messages
/// @throws std::runtime_error  naming the file, for text that is no JSON or is nested too deep
nlohmann::json parsedJson(std::string_view text, const std::filesystem::path& file);

/// A value inside a description file together with its place, so that a message can name the field.
///
/// File and value are referred to and must live longer. Each reader throws std::runtime_error, naming file,
/// field and expectation, for a value of another kind.
class JsonField
{
public:
    JsonField(const std::filesystem::path& file, const nlohmann::json& value, std::string name)
        : mFile(file), mValue(value), mName(std::move(name))
    {
    }

    /// Throws the error for this field.
    /// @param expected  what should have been there
    [[noreturn]] void fail(const std::string& expected) const;

    std::optional<JsonField> find(const std::string& key) const;
    JsonField get(const std::string& key) const;
    std::vector<JsonField> elements() const;
    std::string text() const;

    /// A finite number.
    double number() const;

    /// A number without fraction, however it is written.
    std::uint64_t wholeNumber(std::uint64_t min, std::uint64_t max) const;

    std::vector<double> numbers() const;

    /// Three numbers within kLargestCoordinate.
    Math::Point<double, 3> point() const;

private:
    const std::filesystem::path& mFile;
    const nlohmann::json& mValue;
    std::string mName;
};
}  // namespace Octree
