#pragma once

#include <cstddef>
#include <utility>

namespace Render
{
/// Owns one reference to a COM object.
///
/// Threads  as std::shared_ptr: distinct pointers to one object may be used on several threads.
template <class T>
class CComPtr
{
public:
    CComPtr() noexcept = default;

    /// Of no object.
    CComPtr(std::nullptr_t) noexcept {}

    /// Adds a reference of its own; a null pointer is allowed.
    CComPtr(T* object) noexcept : p(object) { addRef(); }

    /// Adds a reference of its own.
    CComPtr(const CComPtr& other) noexcept : p(other.p) { addRef(); }

    /// Takes the other's reference over, which then has no object.
    CComPtr(CComPtr&& other) noexcept : p(std::exchange(other.p, nullptr)) {}

    /// Gives the old reference back and adds one to the new object.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy holds what may be the same object
    CComPtr& operator=(const CComPtr& other) noexcept
    {
        CComPtr(other).swap(*this);
        return *this;
    }

    /// Gives the old reference back and takes the other's over.
    CComPtr& operator=(CComPtr&& other) noexcept
    {
        if (p != other.p)
        {
            CComPtr(std::move(other)).swap(*this);
        }
        return *this;
    }

    /// Gives the old reference back and adds one to the new object; null is allowed.
    CComPtr& operator=(T* object) noexcept
    {
        CComPtr(object).swap(*this);
        return *this;
    }

    ~CComPtr() { release(); }

    /// Gives the reference back.
    void release() noexcept
    {
        if (T* const old = std::exchange(p, nullptr))
        {
            old->Release();
        }
    }

    /// Takes over a reference without adding one.
    void attach(T* object) noexcept
    {
        release();
        p = object;
    }

    /// Exchanges the references.
    void swap(CComPtr& other) noexcept { std::swap(p, other.p); }

    /// Where a creating call writes its result; gives the old reference back first.
    [[nodiscard]] T** put() noexcept
    {
        release();
        return &p;
    }

    /// The same, as the argument of a creating call.
    T** operator&() noexcept { return put(); }

    /// The object, or null. The reference stays here, as in the next two.
    T* get() const noexcept { return p; }

    /// The object, or null.
    operator T*() const noexcept  // a COM pointer is passed to plain interfaces everywhere
    {
        return p;
    }

    /// The object, which must not be null.
    T* operator->() const noexcept { return p; }

private:
    void addRef() noexcept
    {
        if (p != nullptr)
        {
            p->AddRef();
        }
    }

    T* p = nullptr;
};
}  // namespace Render
