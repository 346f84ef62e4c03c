#pragma once

#include "core/MemoryFolder.h"
#include "core/readLocalFile.h"
#include "core/toUtf8.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

/// All files of a folder and of the folders in it, in memory.
inline std::shared_ptr<const Core::MemoryFolder> memoryCopy(const std::filesystem::path& folder)
{
    const auto files = std::make_shared<Core::MemoryFolder>("memory");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    {
        if (entry.is_regular_file())
        {
            std::string name = Core::toUtf8(entry.path().lexically_relative(folder));
            std::ranges::replace(name, '\\', '/');
            files->set(name, Core::readLocalFile(entry.path()));
        }
    }
    return files;
}
