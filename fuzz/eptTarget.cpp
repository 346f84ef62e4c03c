#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/targets.h"
#include "fuzz/walkOctree.h"

#include <filesystem>
#include <string>

namespace Fuzz
{
namespace
{
struct EptFolder : FuzzFolder
{
    EptFolder()
    {
        std::filesystem::create_directory(path() / "ept-hierarchy");
        std::filesystem::create_directory(path() / "ept-data");
    }
};
}  // namespace

void ept(std::string_view input)
{
    static const EptFolder folder;
    const auto files = filesOf<5>(input);
    const std::string_view description = files[0].value_or("");
    folder.write("ept.json", description);
    folder.write("ept-hierarchy/0-0-0-0.json", files[1].value_or(""));
    folder.write("ept-hierarchy/1-0-0-0.json", files[2].value_or(""));
    const auto has = [description](std::string_view word)
    { return description.find(word) != std::string_view::npos; };
    const std::string extension = has("\"laszip\"") ? ".laz" : has("\"zstandard\"") ? ".zst" : ".bin";
    folder.write("ept-data/0-0-0-0" + extension, files[3].value_or(""));
    folder.write("ept-data/1-0-0-0" + extension, files[4].value_or(""));
    walkOctree(Entwine::FileSystemLocation(folder.path()));
}
}  // namespace Fuzz
