#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

/// A kind of file that the library reads: how a small one is written, and all that is in it as a text.
struct DataSet
{
    const char* name;
    void (*write)(const std::filesystem::path& folder);

    /// Opens and reads everything. @throws what the library throws
    std::string (*read)(const std::filesystem::path& folder);
};

std::ostream& operator<<(std::ostream& stream, const DataSet& dataSet);

extern const DataSet kDataSets[7];
