#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/targets.h"
#include "render/mesh/ObjMeshLoader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Fuzz
{
namespace
{
/// What goes to the standard output while it lives.
class CapturedOutput
{
public:
    CapturedOutput() : mBefore(std::cout.rdbuf(mText.rdbuf())) {}

    ~CapturedOutput() { std::cout.rdbuf(mBefore); }

    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    std::string text() const { return mText.str(); }

private:
    std::ostringstream mText;
    std::streambuf* mBefore;
};

void checkCorners(std::span<const Render::VertexPosNormalTexCoordColor> corners)
{
    if (corners.size() % 3 != 0)
    {
        throw BrokenPromise("a part of a triangle");
    }
    for (const Render::VertexPosNormalTexCoordColor& corner : corners)
    {
        for (const Math::Point<float, 3>& vector : {corner.position, corner.normal})
        {
            if (!std::isfinite(vector.x) || !std::isfinite(vector.y) || !std::isfinite(vector.z))
            {
                throw BrokenPromise("a corner that is not finite");
            }
        }
    }
}
}  // namespace

void mesh(std::string_view input)
{
    static const FuzzFolder folder;
    folder.write("mesh.obj", input);
    const CapturedOutput output;
    try
    {
        Render::ObjMeshLoader(folder.path() / "mesh.obj").load(checkCorners);
    }
    catch (const std::runtime_error& error)
    {
        checkMessage(error.what());
    }
    constexpr std::size_t kLongestOutput = 5000;
    const std::string text = output.text();
    const auto isControl = [](char c)
    { return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == '\x7F'; };
    if (text.size() > kLongestOutput || std::any_of(text.begin(), text.end(), isControl))
    {
        throw BrokenPromise("too much or unfit output: " + text);
    }
}
}  // namespace Fuzz
