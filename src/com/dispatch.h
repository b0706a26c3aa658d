#pragma once

#include "com/error.h"

#include <comdef.h>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>
#include <wrl/client.h>

namespace com {

/// The ids of the members that late-bound objects of one kind have in common, and those of the objects that these
/// members give. Names are literals: their addresses are the keys.
class MemberIds
{
public:
    /// The id of a member of `object`, which is of this kind; raises what GetIDsOfNames answers.
    DISPID id(IDispatch& object, const wchar_t* member);

    /// The ids of what a member gives.
    const std::shared_ptr<MemberIds>& ofResult(const wchar_t* member);

private:
    std::vector<std::pair<const wchar_t*, DISPID>> ids_;
    std::vector<std::pair<const wchar_t*, std::shared_ptr<MemberIds>>> results_;
};

/// A late-bound object: members are looked up by name and called through IDispatch. That is done once for all objects
/// of a `Class` and what they give, which are known to be alike, and once for each other object: what a host hands in
/// may be anything, and two objects with one vtable need not be of one kind, since all proxies share theirs.
///
/// Every failure throws Error: the object's own number, source and description, from the exception record or the error
/// object that it leaves, or the runtime's for a failure of the call itself. Using an empty Dispatch raises 91.
class Dispatch
{
public:
    Dispatch() = default;
    explicit Dispatch(IDispatch* object) : object_(object) {}

    /// A new object of the class `progId`; raises 429 when there is none.
    static Dispatch create(const wchar_t* progId);

    /// The object in a value; raises 13 for a plain value, 91 for Nothing.
    static Dispatch from(const VARIANT& value);

    /// The object in a value that `member` of this object gave; raises as `from`.
    Dispatch resultOf(const wchar_t* member, const VARIANT& value) const;

    IDispatch* get() const { return object_.Get(); }
    explicit operator bool() const { return object_ != nullptr; }

    /// Lets the object go without releasing it.
    void abandon() { object_.Detach(); }

    /// Reads a property, with arguments if it takes any. `member` is a literal, as for `MemberIds`.
    _variant_t property(const wchar_t* member, std::initializer_list<_variant_t> arguments = {}) const;

    void put(const wchar_t* member, const _variant_t& value) const;
    void putReference(const wchar_t* member, const Dispatch& value) const;

    /// Calls a method. Arguments in their order; a by-reference variant among them is written by the callee.
    _variant_t call(const wchar_t* member, std::initializer_list<_variant_t> arguments = {}) const;

    /// Reads the member with a fixed id, such as DISPID_NEWENUM.
    _variant_t property(DISPID id) const;

private:
    friend class Class;
    Dispatch(IDispatch* object, std::shared_ptr<MemberIds> memberIds)
        : object_(object),
          memberIds_(std::move(memberIds)),
          idsAreShared_(true)
    {
    }

    DISPID find(const wchar_t* member) const;
    _variant_t invoke(DISPID id, WORD flags, std::span<const _variant_t> arguments) const;

    Microsoft::WRL::ComPtr<IDispatch> object_;
    mutable std::shared_ptr<MemberIds> memberIds_;
    bool idsAreShared_ = false;
};

/// A registered class that many objects are made of: where it is registered is looked up once. To be used in one
/// apartment, and to end before it, as an object would.
class Class
{
public:
    explicit Class(const wchar_t* progId) : progId_(progId) {}

    /// A new object; raises 429 when there is no such class.
    Dispatch create() const;

    /// Lets the class object go without releasing it.
    void abandon() { factory_.Detach(); }

private:
    const wchar_t* progId_;
    mutable Microsoft::WRL::ComPtr<IClassFactory> factory_;
    std::shared_ptr<MemberIds> memberIds_ = std::make_shared<MemberIds>();
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
