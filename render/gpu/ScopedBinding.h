#pragma once

#include "core/NonCopyable.h"
#include "render/Render.h"

namespace Render
{
/// Binds something to the context and unbinds it at the end of the scope, also when an exception ends it.
///
/// Bindable is any class with begin(context, ...) and end(context).
template <class Bindable>
class [[nodiscard]] ScopedBinding : private Core::NonCopyable
{
public:
    /// @param arguments  what begin takes besides the context
    template <class... Arguments>
    ScopedBinding(ID3D11DeviceContext* context, Bindable& bindable, const Arguments&... arguments)
        : mContext(context), mBindable(bindable)
    {
        mBindable.begin(context, arguments...);
    }

    ~ScopedBinding() { mBindable.end(mContext); }

private:
    ID3D11DeviceContext* mContext;
    Bindable& mBindable;
};
}  // namespace Render
