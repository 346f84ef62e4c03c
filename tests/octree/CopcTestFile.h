#pragma once

#include "core/MemoryFolder.h"
#include "octree/Location.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/testData.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

/// A COPC file of another program, to be changed byte by byte.
class CopcTestFile
{
public:
    static constexpr std::size_t kInfoHead = 375;         ///< of the record "copc"
    static constexpr std::size_t kInfo = 375 + 54;        ///< its data
    static constexpr std::size_t kHalfSize = kInfo + 24;  ///< double, and so are those below
    static constexpr std::size_t kSpacing = kInfo + 32;
    static constexpr std::size_t kPageOffset = kInfo + 40;  ///< 64 bits, of the first page of the hierarchy
    static constexpr std::size_t kPageSize = kInfo + 48;
    static constexpr std::size_t kEntry = 32;       ///< bytes of an entry of the hierarchy
    static constexpr std::size_t kEntryPlace = 16;  ///< in an entry, 64 bits: of its chunk or page
    static constexpr std::size_t kEntrySize = 24;   ///< 32 bits
    static constexpr std::size_t kEntryCount = 28;  ///< 32 bits

    using Key = std::array<std::int32_t, 4>;  ///< level, x, y, z

    std::string bytes = TemporaryFolder::read(testData() / "copc_color12" / "color12.copc.laz");

    template <class T>
    void put(std::size_t position, T value)
    {
        bytes.replace(position, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
    }

    template <class T>
    T get(std::size_t position) const
    {
        T value;
        std::memcpy(&value, bytes.data() + position, sizeof value);
        return value;
    }

    /// Where the first page has its entry of that node.
    std::size_t entry(const Key& key) const
    {
        const auto page = static_cast<std::size_t>(get<std::uint64_t>(kPageOffset));
        const auto size = static_cast<std::size_t>(get<std::uint64_t>(kPageSize));
        for (std::size_t position = page; position < page + size; position += kEntry)
        {
            if (get<Key>(position) == key)
            {
                return position;
            }
        }
        throw std::logic_error("the test's file has no such node");
    }

    /// An entry's bytes.
    static std::string entryBytes(const Key& key, std::uint64_t place, std::int32_t size, std::int32_t count)
    {
        std::string result(kEntry, '\0');
        std::memcpy(result.data(), key.data(), sizeof key);
        std::memcpy(result.data() + kEntryPlace, &place, sizeof place);
        std::memcpy(result.data() + kEntrySize, &size, sizeof size);
        std::memcpy(result.data() + kEntryCount, &count, sizeof count);
        return result;
    }

    /// Puts a page of the hierarchy at the end of the file.
    /// @return where it begins
    std::uint64_t append(const std::string& page)
    {
        bytes += page;
        return bytes.size() - page.size();
    }

    void setFirstPage(const std::string& page)
    {
        const std::uint64_t place = append(page);
        put(kPageOffset, place);
        put(kPageSize, std::uint64_t{page.size()});
    }

    /// The file "x.copc.laz" in memory, as "set/x.copc.laz" in messages.
    Octree::Location write() const
    {
        const auto files = std::make_shared<Core::MemoryFolder>("set");
        files->set("x.copc.laz", bytes);
        return Octree::Location::fromFile(files, "x.copc.laz");
    }
};
