#pragma once

#include "com/object.h"

#include <comdef.h>

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace adodb {

/// The arguments of one late-bound call, in declared order: positional and named ones joined, references resolved
/// but for `raw`.
class Call
{
public:
    Call(const DISPPARAMS& params, WORD flags, VARIANT* result);

    /// A property is being set; its new value is `newValue()`, index arguments come before it.
    bool isPut() const noexcept { return (flags_ & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0; }
    const VARIANT& newValue() const noexcept { return *newValue_; }

    /// Number of arguments up to the last one given.
    unsigned count() const noexcept { return count_; }
    bool has(unsigned index) const noexcept;
    /// The argument as the caller passed it, which may be a reference; one that is required.
    const VARIANT& raw(unsigned index) const noexcept { return *arguments_[index]; }
    /// The argument; Empty when it was left out.
    _variant_t argument(unsigned index) const;
    std::wstring text(unsigned index) const;
    long number(unsigned index, long fallback) const;
    /// Stores into a by-reference argument; a value argument or a left-out one is passed over.
    void writeBack(unsigned index, const _variant_t& value) const;

    void returns(_variant_t value);
    /// Returns an object, Nothing for null.
    void returns(IDispatch* object);

    /// Get or put of a property that is kept in a member.
    void property(long& member);
    void property(bool& member);
    void property(std::wstring& member);

    static constexpr unsigned kMostArguments = 8;

private:
    WORD flags_;
    VARIANT* result_;
    unsigned count_ = 0;
    const VARIANT* newValue_ = nullptr;
    const VARIANT* arguments_[kMostArguments] = {};
};

class DispatchObject;

enum MemberKind : unsigned
{
    kMethod = 1,
    kGet = 2,
    kPut = 4,
    kGetPut = kGet | kPut
};

constexpr unsigned wordCount(std::wstring_view list)
{
    return list.empty() ? 0 : static_cast<unsigned>(std::ranges::count(list, L' ')) + 1;
}

/// One row of a class's table of members.
struct Member
{
    const wchar_t* name = nullptr;
    DISPID id = DISPID_UNKNOWN;
    unsigned kinds = 0;
    void (*handler)(DispatchObject&, Call&) = nullptr;
    const wchar_t* parameters = L""; ///< names, separated by blanks
    unsigned required = 0;           ///< how many of the parameters must be given
    unsigned most = wordCount(parameters);
};

/// A late-bound object, served from its class's table of members.
class DispatchObject : public com::UnknownObject<IDispatch>
{
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT* badArgument) noexcept override;

protected:
    virtual std::span<const Member> members() const noexcept = 0;
};

template <class Class>
Class classOfHandler(void (Class::*)(Call&));

/// The table entry's form of a member function.
template <auto Handler>
void call(DispatchObject& object, Call& arguments)
{
    using Class = decltype(classOfHandler(Handler));
    (static_cast<Class&>(object).*Handler)(arguments);
}

/// The object of this library to which an interface pointer belongs, null for a stranger's object. `Class::kClassId` is
/// a private interface id that `Class::find` answers with `this`.
template <class Class>
Microsoft::WRL::ComPtr<Class> ownObject(IUnknown* object)
{
    Microsoft::WRL::ComPtr<Class> own;
    if (object)
        object->QueryInterface(Class::kClassId, reinterpret_cast<void**>(own.GetAddressOf()));
    return own;
}

/// The object in a variant, null when it holds none.
IDispatch* objectOf(const VARIANT& value) noexcept;

/// Returns the enumerator of a collection for DISPID_NEWENUM.
void returnEnumerator(Call& call, std::vector<_variant_t> items);

} // namespace adodb
