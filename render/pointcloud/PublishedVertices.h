#pragma once

#include "render/Export.h"
#include "render/gpu/VertexBlock.h"

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace Render
{
/// The vertices of a publication: a list of shared blocks, one a node, that reads like one array.
///
/// A block lies there as long as anyone refers to it, so publishing copies no vertex, and whoever uploads
/// them tells by the blocks' addresses what he has already.
///
/// The array is made of the blocks when it is asked for the first time: for tests and tools. A change
/// through the array's own operations makes the array what counts, and the list has no blocks then.
///
/// Threads  one at a time, also for reading.
class RENDER_API PublishedVertices
{
public:
    using Vertex = VertexBlock::Vertex;
    using Array = std::vector<Vertex>;

    /// One node's vertices.
    struct Piece
    {
        std::size_t firstPoint = 0;  ///< index of its first vertex among all
        std::shared_ptr<const VertexBlock> block;
    };

    PublishedVertices() = default;

    // NOLINTNEXTLINE(google-explicit-constructor): stands where an array stood
    PublishedVertices(Array vertices) : mArray(std::move(vertices)), mSize(mArray.size()) {}

    PublishedVertices(std::initializer_list<Vertex> vertices) : PublishedVertices(Array(vertices)) {}

    // The list.

    /// Appends a node's vertices.
    /// @param block  not empty
    void append(std::shared_ptr<const VertexBlock> block);

    /// Makes room in the list.
    void reservePieces(std::size_t count) { mPieces.reserve(count); }

    /// The nodes' vertices, ascending by firstPoint; none where an array was assigned.
    std::span<const Piece> pieces() const noexcept { return mPieces; }

    /// The piece whose first vertex has that index; null where there is none.
    const Piece* pieceAt(std::size_t firstPoint) const noexcept;

    /// The block of that piece; null where there is none.
    const VertexBlock* blockAt(std::size_t firstPoint) const noexcept;

    /// All vertices in order, as the pieces of memory in which they lie.
    std::vector<std::span<const Vertex>> spans() const;

    // The array.

    using value_type = Vertex;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = Vertex&;
    using const_reference = const Vertex&;
    using iterator = Array::iterator;
    using const_iterator = Array::const_iterator;

    std::size_t size() const noexcept { return mPieces.empty() ? mArray.size() : mSize; }

    bool empty() const noexcept { return size() == 0; }

    const Array& array() const;
    Array& array();

    // NOLINTNEXTLINE(google-explicit-constructor): stands where an array stood
    operator const Array&() const { return array(); }

    const Vertex& operator[](std::size_t i) const { return array()[i]; }

    Vertex& operator[](std::size_t i) { return array()[i]; }

    const Vertex& at(std::size_t i) const { return array().at(i); }

    Vertex& at(std::size_t i) { return array().at(i); }

    const Vertex& front() const { return array().front(); }

    const Vertex& back() const { return array().back(); }

    const Vertex* data() const { return array().data(); }

    Vertex* data() { return array().data(); }

    const_iterator begin() const { return array().begin(); }

    const_iterator end() const { return array().end(); }

    iterator begin() { return array().begin(); }

    iterator end() { return array().end(); }

    void clear() noexcept;

    void resize(std::size_t n) { array().resize(n); }

    void reserve(std::size_t n) { array().reserve(n); }

    void push_back(const Vertex& vertex) { array().push_back(vertex); }

    template <class... Arguments>
    Vertex& emplace_back(Arguments&&... arguments)
    {
        return array().emplace_back(std::forward<Arguments>(arguments)...);
    }

    template <class... Arguments>
    void assign(Arguments&&... arguments)
    {
        *this = Array(std::forward<Arguments>(arguments)...);
    }

    template <class Iterator>
    iterator insert(const_iterator position, Iterator first, Iterator last)
    {
        const auto offset = position - std::as_const(*this).begin();  // the array may be made here
        return array().insert(array().begin() + offset, first, last);
    }

private:
    std::vector<Piece> mPieces;
    mutable Array mArray;   // all vertices, or nothing while nobody has asked for them
    std::size_t mSize = 0;  // of the pieces together
};
}  // namespace Render
