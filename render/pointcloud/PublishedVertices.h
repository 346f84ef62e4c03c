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
    /// What a point is drawn from.
    using Vertex = VertexBlock::Vertex;
    /// All vertices in one piece of memory.
    using Array = std::vector<Vertex>;

    /// One node's vertices.
    struct Piece
    {
        std::size_t firstPoint = 0;                ///< index of its first vertex among all
        std::shared_ptr<const VertexBlock> block;  ///< the vertices
    };

    PublishedVertices() = default;

    /// Of an array, without a list of blocks.
    // NOLINTNEXTLINE(google-explicit-constructor): stands where an array stood
    PublishedVertices(Array vertices) : mArray(std::move(vertices)), mSize(mArray.size()) {}

    /// Of single vertices, without a list of blocks.
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

    /// As of the standard library's containers.
    using value_type = Vertex;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = Vertex&;
    using const_reference = const Vertex&;
    using iterator = Array::iterator;
    using const_iterator = Array::const_iterator;

    /// Number of vertices.
    std::size_t size() const noexcept { return mPieces.empty() ? mArray.size() : mSize; }

    /// Whether there are no vertices.
    bool empty() const noexcept { return size() == 0; }

    /// The array, made of the blocks if it has to be. One to change drops the list.
    const Array& array() const;
    Array& array();

    /// array().
    // NOLINTNEXTLINE(google-explicit-constructor): stands where an array stood
    operator const Array&() const { return array(); }

    /// A vertex by its index; not range checked.
    const Vertex& operator[](std::size_t i) const { return array()[i]; }

    /// A vertex by its index, to change; not range checked.
    Vertex& operator[](std::size_t i) { return array()[i]; }

    /// A vertex by its index. Throws std::out_of_range for one that does not exist.
    const Vertex& at(std::size_t i) const { return array().at(i); }

    /// The same, to change.
    Vertex& at(std::size_t i) { return array().at(i); }

    /// The first vertex; there must be one.
    const Vertex& front() const { return array().front(); }

    /// The last vertex; there must be one.
    const Vertex& back() const { return array().back(); }

    /// The first vertex's address.
    const Vertex* data() const { return array().data(); }

    /// The same, to change.
    Vertex* data() { return array().data(); }

    /// The first vertex.
    const_iterator begin() const { return array().begin(); }

    /// Behind the last vertex.
    const_iterator end() const { return array().end(); }

    /// The first vertex, to change.
    iterator begin() { return array().begin(); }

    /// Behind the last vertex, to change.
    iterator end() { return array().end(); }

    /// Leaves neither vertices nor blocks.
    void clear() noexcept;

    /// Changes the number of vertices; new ones have default values.
    void resize(std::size_t n) { array().resize(n); }

    /// Makes room in the array.
    void reserve(std::size_t n) { array().reserve(n); }

    /// Appends a vertex.
    void push_back(const Vertex& vertex) { array().push_back(vertex); }

    /// Appends a vertex made of the arguments.
    template <class... Arguments>
    Vertex& emplace_back(Arguments&&... arguments)
    {
        return array().emplace_back(std::forward<Arguments>(arguments)...);
    }

    /// Replaces all vertices, as std::vector::assign.
    template <class... Arguments>
    void assign(Arguments&&... arguments)
    {
        *this = Array(std::forward<Arguments>(arguments)...);
    }

    /// Inserts vertices, as std::vector::insert.
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
