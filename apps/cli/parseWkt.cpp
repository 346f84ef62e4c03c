#include "apps/cli/parseWkt.h"

#include "apps/cli/CornerReader.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Cli
{
namespace
{
constexpr std::string_view kBlanks = " \t\r\n";

char upper(char letter) noexcept
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

class WktParser
{
public:
    WktParser(std::string_view text, const Math::Point<double, 3>& origin) : mText(text), mCorners(origin) {}

    std::vector<PolygonWithHoles> parse()
    {
        std::vector<PolygonWithHoles> polygons;
        const bool isMulti = takeWord("MULTIPOLYGON");
        if (!isMulti && !takeWord("POLYGON"))
        {
            fail("POLYGON or MULTIPOLYGON");
        }
        takeDimensions();
        if (takeWord("EMPTY"))
        {
            fail("at least one polygon");
        }
        if (isMulti)
        {
            list([&] { polygons.push_back(polygon()); });
        }
        else
        {
            polygons.push_back(polygon());
        }
        skipBlanks();
        if (mAt != mText.size())
        {
            fail("the end of the text");
        }
        return polygons;
    }

private:
    [[noreturn]] void fail(const std::string& expected) const
    {
        throw std::runtime_error(
            "bad well-known text at character " + std::to_string(mAt + 1) + ", expected " + expected
        );
    }

    void skipBlanks() { mAt = std::min(mText.find_first_not_of(kBlanks, mAt), mText.size()); }

    bool takeWord(std::string_view word)
    {
        skipBlanks();
        const std::string_view rest = mText.substr(mAt, word.size());
        const bool isThere = std::ranges::equal(rest, word, {}, upper);
        mAt += isThere ? word.size() : 0;
        return isThere;
    }

    /// What a corner has beside x and y.
    void takeDimensions()
    {
        if (takeWord("ZM"))
        {
            mMore = 2;
        }
        else if (takeWord("Z") || takeWord("M"))
        {
            mMore = 1;
        }
    }

    bool take(char letter)
    {
        skipBlanks();
        const bool isThere = mAt < mText.size() && mText[mAt] == letter;
        mAt += isThere ? 1 : 0;
        return isThere;
    }

    template <class Item>
    void list(const Item& item)
    {
        if (!take('('))
        {
            fail("'('");
        }
        do
        {
            item();
        } while (take(','));
        if (!take(')'))
        {
            fail("',' or ')'");
        }
    }

    double number()
    {
        skipBlanks();
        double value = 0.0;
        const char* const end = mText.data() + mText.size();
        const auto [stop, error] = std::from_chars(mText.data() + mAt, end, value);
        if (error != std::errc{})
        {
            fail("a number");
        }
        mAt = static_cast<std::size_t>(stop - mText.data());
        return value;
    }

    PolygonWithHoles polygon()
    {
        PolygonWithHoles polygon;
        bool isOutline = true;
        list(
            [&]
            {
                PolygonWithHoles::Ring& ring = isOutline ? polygon.outline : polygon.holes.emplace_back();
                list([&] { corner(ring); });
                isOutline = false;
            }
        );
        return polygon;
    }

    void corner(PolygonWithHoles::Ring& ring)
    {
        const double x = number();
        const double y = number();
        for (int i = 0; i < mMore; ++i)
        {
            number();
        }
        // Many writers add heights without saying so before.
        for (int i = mMore; i < 2 && !isAtSeparator(); ++i)
        {
            number();
        }
        mCorners.add(ring, x, y);
    }

    bool isAtSeparator()
    {
        skipBlanks();
        return mAt == mText.size() || mText[mAt] == ',' || mText[mAt] == ')';
    }

    std::string_view mText;
    CornerReader mCorners;
    std::size_t mAt = 0;
    int mMore = 0;
};
}  // namespace

bool isWktPolygon(std::string_view text) noexcept
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const auto begins = [&](std::string_view word)
    { return std::ranges::equal(text.substr(0, word.size()), word, {}, upper); };
    return begins("POLYGON") || begins("MULTIPOLYGON");
}

std::vector<PolygonWithHoles> parseWkt(std::string_view text, const Math::Point<double, 3>& origin)
{
    return WktParser(text, origin).parse();
}
}  // namespace Cli
