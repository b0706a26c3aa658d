#pragma once

#include "com/error.h"

#include <comdef.h>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>
#include <wrl/client.h>

namespace com {

/// A late-bound object: members are looked up by name, once for each object, and called through IDispatch.
///
/// Every failure throws Error: the object's own number, source and description, or the runtime's for a failure of the
/// call itself. Using an empty Dispatch raises 91.
class Dispatch
{
public:
    Dispatch() = default;
    explicit Dispatch(IDispatch* object) : object_(object) {}

    /// A new object of the class `progId`; raises 429 when there is none.
    static Dispatch create(const wchar_t* progId);

    /// The object in a value; raises 13 for a plain value, 91 for Nothing.
    static Dispatch from(const VARIANT& value);

    IDispatch* get() const { return object_.Get(); }
    explicit operator bool() const { return object_ != nullptr; }

    /// Lets the object go without releasing it.
    void abandon() { object_.Detach(); }

    /// Reads a property, with arguments if it takes any. `member` is a literal: its address is the key of the cache.
    _variant_t property(const wchar_t* member, std::initializer_list<_variant_t> arguments = {}) const;

    void put(const wchar_t* member, const _variant_t& value) const;
    void putReference(const wchar_t* member, const Dispatch& value) const;

    /// Calls a method. Arguments in their order; a by-reference variant among them is written by the callee.
    _variant_t call(const wchar_t* member, std::initializer_list<_variant_t> arguments = {}) const;

    /// Reads the member with a fixed id, such as DISPID_NEWENUM.
    _variant_t property(DISPID id) const;

private:
    DISPID find(const wchar_t* member) const;
    _variant_t invoke(DISPID id, WORD flags, std::initializer_list<_variant_t> arguments) const;

    Microsoft::WRL::ComPtr<IDispatch> object_;
    mutable std::vector<std::pair<const wchar_t*, DISPID>> ids_;
};

/// The interface of an object in a value; raises 13 for what is no such object, Nothing included.
template <class Interface>
Microsoft::WRL::ComPtr<Interface> objectOf(const VARIANT& value)
{
    Microsoft::WRL::ComPtr<Interface> object;
    const bool isObject = value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN;
    if (!isObject || !value.punkVal || FAILED(value.punkVal->QueryInterface(IID_PPV_ARGS(&object))))
        raiseRuntimeError(kTypeMismatch);
    return object;
}

} // namespace com
