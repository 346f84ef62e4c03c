#include "core/parseJson.h"

#include "core/shownText.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Core
{
namespace
{
using nlohmann::json;

constexpr int kMaxNesting = 16;
constexpr std::size_t kMaxValues = 500'000;  // some hundred bytes of memory each

/// Looks at a text without keeping anything of it. The library's own filter for this, a callback of its
/// parser, goes through all elements of a list or an object whenever one of them ends.
class Inspector final : public nlohmann::json_sax<json>
{
public:
    bool null() override { return value(); }

    bool boolean(bool) override { return value(); }

    bool number_integer(number_integer_t) override { return value(); }

    bool number_unsigned(number_unsigned_t) override { return value(); }

    bool number_float(number_float_t, const string_t&) override { return value(); }

    bool string(string_t&) override { return value(); }

    bool binary(binary_t&) override { return value(); }

    bool start_object(std::size_t) override { return enter(); }

    bool start_array(std::size_t) override { return enter(); }

    bool key(string_t&) override { return true; }

    bool end_object() override { return leave(); }

    bool end_array() override { return leave(); }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        constexpr std::size_t kLongestText = 200;
        std::string_view text = error.what();
        if (text.starts_with('['))  // the exception's name in the library
        {
            text.remove_prefix(text.find(' ') + 1);
        }
        throw std::runtime_error(shownText(text, kLongestText));
    }

private:
    bool value()
    {
        if (++mValueCount > kMaxValues)
        {
            throw std::runtime_error("it has more than " + std::to_string(kMaxValues) + " values");
        }
        return true;
    }

    bool enter()
    {
        if (++mDepth > kMaxNesting)
        {
            throw std::runtime_error("it is nested more than " + std::to_string(kMaxNesting) + " deep");
        }
        return value();
    }

    bool leave()
    {
        --mDepth;
        return true;
    }

    int mDepth = 0;
    std::size_t mValueCount = 0;
};

/// Leaves an array or object without elements. Those that are taken apart before need no memory to end.
void takeApart(json& tree) noexcept
{
    if (auto* const array = tree.get_ptr<json::array_t*>())
    {
        std::for_each(array->begin(), array->end(), takeApart);
        array->clear();
    }
    else if (auto* const object = tree.get_ptr<json::object_t*>())
    {
        for (auto& [key, value] : *object)
        {
            takeApart(value);
        }
        object->clear();
    }
}
}  // namespace

JsonTree::~JsonTree()
{
    takeApart(mTree);
}

json parseJson(std::string_view text)
{
    Inspector inspector;
    json::sax_parse(text.begin(), text.end(), &inspector);
    return json::parse(text.begin(), text.end());
}
}  // namespace Core
