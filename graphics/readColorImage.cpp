#include "graphics/readColorImage.h"

#include "core/readLocalFile.h"
#include "core/toUtf8.h"
#include "graphics/JpegReader.h"
#include "graphics/PictureLimits.h"

#include <algorithm>
#include <string>

namespace Graphics
{
ColorImage readColorImage(const std::filesystem::path& path)
{
    std::string extension = Core::toUtf8(path.extension());
    std::transform(
        extension.begin(),
        extension.end(),
        extension.begin(),
        [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
    );
    const bool isJpeg = extension == ".jpg" || extension == ".jpeg";
    if (!isJpeg)
    {
        return ColorImage::readPng(path);
    }
    return *readJpeg(Core::toUtf8(path), Core::readLocalFile(path, PictureLimits::kLargestFile), nullptr);
}
}  // namespace Graphics
