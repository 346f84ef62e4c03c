#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Render
{
/// Tells which line of which file a line of preprocessed HLSL comes from: vkd3d-shader's preprocessor joins
/// all files without a note, and leaves out the lines of comments.
///
/// Files get a mark, an identifier, before each line where one does no harm; the preprocessor lets it
/// through.
class HlslLines
{
public:
    /// How the compiler must call the unmarked text.
    static constexpr const char* kUnmarked = "<hlsl>";

    /// The text with marks, and with the same number of lines; the last one is complete.
    /// @param name  how messages call the file; the first file is the source
    std::string marked(std::string_view text, std::string name);

    /// What the preprocessor made of the marked texts, without the marks.
    /// @param prologue  lines to put before it
    std::string unmarked(std::string_view preprocessed, std::string_view prologue);

    /// Messages about files or the unmarked text, with the names and lines of files. Columns are left out,
    /// since they count what the preprocessor left of a line.
    std::string relocated(std::string_view messages) const;

private:
    struct Origin
    {
        std::size_t file = 0;
        std::size_t line = 0;  // 0: not known
    };

    std::string relocatedLine(std::string_view message) const;

    std::vector<std::string> mNames;
    std::vector<Origin> mOrigins;  // of each line of the unmarked text
};
}  // namespace Render
