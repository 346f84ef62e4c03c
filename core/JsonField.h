#pragma once

#include "core/Export.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Core
{
/// How the readers of one kind of files say what is wrong with a field.
struct JsonWording
{
    /// @param name  with its place, such as "hierarchy.firstChunkSize" or "attributes[2].name"
    std::string (*missing)(const std::string& name);
    std::string (*unexpected)(const std::string& name, const std::string& expected);
};

/// A value inside a description file together with its place, so that a message can name the field: the one
/// way in which values are taken out of such files.
///
/// The value is referred to and must live longer. Each reader throws std::runtime_error, naming field and
/// expectation but not the file, for a value of another kind or beyond its limits.
/// Threads  any.
class CORE_API JsonField
{
public:
    /// @param name     empty for the whole document
    /// @param wording  refers to what must live longer; `bad field "NAME", expected ...` where it is left out
    JsonField(const nlohmann::json& value, std::string name, const JsonWording& wording = defaultWording())
        : mValue(&value), mName(std::move(name)), mWording(&wording)
    {
    }

    /// Throws the error for this field.
    /// @param expected  what should have been there
    [[noreturn]] void fail(const std::string& expected) const;

    std::optional<JsonField> find(const std::string& key) const;
    JsonField get(const std::string& key) const;

    /// The value, which is a list.
    const nlohmann::json& list() const;

    /// The fields of a list.
    std::vector<JsonField> elements() const;

    std::string text() const;

    /// A finite number.
    double number() const;

    /// A number without fraction, however it is written.
    std::uint64_t wholeNumber(std::uint64_t min, std::uint64_t max) const;

    std::vector<double> numbers() const;

    const nlohmann::json& value() const noexcept { return *mValue; }

    const std::string& name() const noexcept { return mName; }

private:
    static const JsonWording& defaultWording() noexcept;

    std::string nameOf(const std::string& key) const;

    const nlohmann::json* mValue;
    std::string mName;
    const JsonWording* mWording;
};
}  // namespace Core
