#include "render/platform/linux/HlslLines.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Render
{
namespace
{
constexpr std::string_view kMark = "tarnel_line_";
constexpr std::string_view kBlanks = " \t\r";

/// The first line of a text, with its end.
std::string_view firstLine(std::string_view text)
{
    return text.substr(0, text.find('\n') == text.npos ? text.npos : text.find('\n') + 1);
}

/// Follows a source line by line: what is still open at the end of one.
class Reader
{
public:
    /// Whether a mark may stand before this line: not inside of a comment, of a continued line, or of what
    /// may be the arguments of a macro, nor before a directive.
    bool mayMark(std::string_view line) const
    {
        const std::size_t first = line.find_first_not_of(kBlanks);
        const bool isFree = !mInComment && !mIsContinued && mDepth == 0;
        return isFree && first != line.npos && line[first] != '#';
    }

    void read(std::string_view line)
    {
        if (!mInComment && !mIsContinued)
        {
            const std::size_t first = line.find_first_not_of(kBlanks);
            mIsDirective = first != line.npos && line[first] == '#';
            mInLineComment = false;
        }
        bool inString = false;
        for (std::size_t at = 0; at < line.size() && !mInLineComment; ++at)
        {
            const std::string_view pair = line.substr(at, 2);
            if (mInComment)
            {
                mInComment = pair != "*/";
                at += mInComment ? 0 : 1;
            }
            else if (inString)
            {
                inString = line[at] != '"';
                at += line[at] == '\\' ? 1 : 0;
            }
            else if (pair == "//")
            {
                mInLineComment = true;
            }
            else if (pair == "/*")
            {
                mInComment = true;
                ++at;
            }
            else
            {
                inString = line[at] == '"';
                count(line[at]);
            }
        }
        mIsContinued = !mInComment && (line.ends_with("\\\n") || line.ends_with("\\\r\n"));
    }

private:
    void count(char letter)
    {
        if (mIsDirective)
        {
            return;
        }
        if (letter == '(')
        {
            ++mDepth;
        }
        else if (letter == ')' && mDepth > 0)
        {
            --mDepth;
        }
    }

    int mDepth = 0;  // of parentheses
    bool mInComment = false;
    bool mInLineComment = false;
    bool mIsContinued = false;
    bool mIsDirective = false;
};

/// Takes a number and the sign behind it from the beginning of a text; 0 when there is none.
std::size_t takeNumber(std::string_view& text, char sign)
{
    std::size_t number = 0;
    const char* const end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text.remove_prefix(text.starts_with(sign) ? 1 : 0);
    return number;
}
}  // namespace

std::string HlslLines::marked(std::string_view text, std::string name)
{
    const std::string file = std::string(kMark) + std::to_string(mNames.size()) + "_";
    mNames.push_back(std::move(name));

    std::string result;
    Reader reader;
    for (std::size_t number = 1; !text.empty(); ++number)
    {
        const std::string_view line = firstLine(text);
        if (reader.mayMark(line))
        {
            result += file + std::to_string(number) + "_ ";
        }
        result += line;
        reader.read(line);
        text.remove_prefix(line.size());
    }
    if (!result.empty() && !result.ends_with('\n'))
    {
        result += '\n';
    }
    return result;
}

std::string HlslLines::unmarked(std::string_view preprocessed, std::string_view prologue)
{
    std::string result(prologue);
    mOrigins.assign(static_cast<std::size_t>(std::ranges::count(prologue, '\n')), Origin{});
    Origin origin;
    while (!preprocessed.empty())
    {
        std::string_view line = firstLine(preprocessed);
        preprocessed.remove_prefix(line.size());
        const bool isPragma = line.starts_with('#');  // the compiler does not count these lines
        for (bool isFirst = true;; isFirst = false)
        {
            const std::size_t at = line.find(kMark);
            result += line.substr(0, at);
            if (at == line.npos)
            {
                break;
            }
            line.remove_prefix(at + kMark.size());
            const std::size_t file = takeNumber(line, '_');
            const std::size_t number = takeNumber(line, '_');
            if (isFirst && file < mNames.size())
            {
                origin = {file, number};
            }
        }
        if (!isPragma)
        {
            mOrigins.push_back(origin);
        }
        origin.line += origin.line == 0 ? 0 : 1;
    }
    return result;
}

std::string HlslLines::relocated(std::string_view messages) const
{
    std::string result;
    while (!messages.empty())
    {
        const std::string_view message = firstLine(messages);
        messages.remove_prefix(message.size());
        result += relocatedLine(message);
    }
    return result;
}

std::string HlslLines::relocatedLine(std::string_view message) const
{
    const auto beginsWith = [&](const std::string& name) { return message.starts_with(name + ":"); };
    const auto name = std::ranges::find_if(mNames, beginsWith);
    const bool isUnmarked = beginsWith(kUnmarked);
    if (!isUnmarked && name == mNames.end())
    {
        return std::string(message);
    }

    std::string file = isUnmarked ? mNames.at(0) : *name;
    std::string_view text = message.substr((isUnmarked ? std::string_view(kUnmarked) : *name).size() + 1);
    std::size_t line = takeNumber(text, ':');
    takeNumber(text, ':');
    if (isUnmarked && line > 0 && line <= mOrigins.size())
    {
        const Origin& origin = mOrigins[line - 1];
        file = mNames[origin.file];
        line = origin.line;
    }
    return file + ":" + (line == 0 ? "" : std::to_string(line) + ":") + std::string(text);
}
}  // namespace Render
