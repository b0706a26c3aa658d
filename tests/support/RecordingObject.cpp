#include "RecordingObject.h"

#include "com/convert.h"
#include "com/error.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace {

constexpr WORD kPutFlags = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

HRESULT reportFailure(const AdoFailure& failure, EXCEPINFO* exception)
{
    if (failure.description.empty() || !exception)
        return failure.code;
    *exception = EXCEPINFO{};
    exception->scode = failure.code;
    exception->bstrSource = com::newBstr(failure.source);
    exception->bstrDescription = com::newBstr(failure.description);
    return DISP_E_EXCEPTION;
}

const wchar_t* adoText(long number)
{
    switch (number) {
    case 3021:
        return L"Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
               L"current record.";
    case 3265:
        return L"Item cannot be found in the collection corresponding to the requested name or ordinal.";
    case 3704:
        return L"Operation is not allowed when the object is closed.";
    case 3705:
        return L"Operation is not allowed when the object is open.";
    case 3709:
        return L"The connection cannot be used to perform this operation. It is either closed or invalid in this "
               L"context.";
    default:
        return L"Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another.";
    }
}

} // namespace

RecordingObject::RecordingObject(RecordingAdo& ado, const wchar_t* className, DISPID firstId, const std::wstring& title)
    : ado_(ado),
      class_(className),
      firstId_(firstId),
      title_(title)
{
    ado_.live().insert(this);
}

RecordingObject::~RecordingObject()
{
    ado_.live().erase(this);
}

HRESULT RecordingObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept
{
    const auto found = std::ranges::find_if(
        members_, [&](const Member& member) { return count == 1 && lstrcmpiW(member.name.c_str(), names[0]) == 0; });
    const bool known = found != members_.end();
    ids[0] = known ? firstId_ + static_cast<DISPID>(found - members_.begin()) : DISPID_UNKNOWN;
    return known ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT RecordingObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                EXCEPINFO* exception, UINT*) noexcept
{
    const Microsoft::WRL::ComPtr<RecordingObject> self(this);
    if (id < firstId_ || static_cast<size_t>(id - firstId_) >= members_.size())
        return DISP_E_MEMBERNOTFOUND;
    try {
        const Arguments arguments(std::reverse_iterator(params->rgvarg + params->cArgs),
                                  std::reverse_iterator(params->rgvarg));
        _variant_t value = use(members_[static_cast<size_t>(id - firstId_)], flags, arguments);
        if (result)
            *result = value.Detach();
        return S_OK;
    }
    catch (const AdoFailure& failure) {
        return reportFailure(failure, exception);
    }
    catch (const com::Error& error) {
        return com::errorResult(error.number);
    }
    catch (const std::out_of_range&) {
        return DISP_E_BADPARAMCOUNT;
    }
    catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

_variant_t RecordingObject::use(const Member& member, WORD flags, const Arguments& arguments)
{
    const bool put = (flags & kPutFlags) && member.put;
    const bool read = (flags & DISPATCH_PROPERTYGET) && member.get;
    if (!put && !read && !((flags & DISPATCH_METHOD) && member.call))
        throw AdoFailure{DISP_E_MEMBERNOTFOUND, L""};
    _variant_t value;
    ado_.perform(class_ + L"." + member.name, line(member, flags, arguments), read, [&] {
        if (put)
            member.put(arguments.at(0));
        else
            value = read ? member.get(arguments) : member.call(arguments);
    });
    return value;
}

std::wstring RecordingObject::line(const Member& member, WORD flags, const Arguments& arguments) const
{
    const std::wstring name = title_ + L"." + member.name;
    std::wstring list;
    for (const _variant_t& argument : arguments)
        list += (list.empty() ? L"" : L", ") + text(argument);
    if (flags & kPutFlags)
        return (flags & DISPATCH_PROPERTYPUTREF ? L"set " : L"") + name + L" = " + list;
    return member.call || !list.empty() ? name + L"(" + list + L")" : name;
}

void RecordingObject::property(const wchar_t* name, Getter get, Setter put)
{
    members_.push_back({name, std::move(get), std::move(put), nullptr});
}

void RecordingObject::stored(const wchar_t* name, const _variant_t& initial)
{
    _variant_t& kept = value(name) = initial;
    property(
        name, [&kept](const Arguments&) { return kept; }, [&kept](const _variant_t& given) { kept = given; });
}

void RecordingObject::method(const wchar_t* name, Getter call)
{
    members_.push_back({name, nullptr, nullptr, std::move(call)});
}

RecordingObject* RecordingObject::recordingObject(const VARIANT& value) const
{
    const bool own = value.vt == VT_DISPATCH && ado_.live().contains(value.pdispVal);
    return own ? static_cast<RecordingObject*>(value.pdispVal) : nullptr;
}

std::wstring RecordingObject::text(const VARIANT& value) const
{
    if (com::isMissing(value))
        return L"missing";
    if (value.vt & VT_BYREF)
        return L"ref " + text(com::copyValue(value));
    if (const RecordingObject* object = recordingObject(value))
        return object->title_;
    switch (value.vt) {
    case VT_EMPTY:
        return L"Empty";
    case VT_NULL:
        return L"Null";
    case VT_BSTR:
        return L"\"" + com::fromBstr(value.bstrVal) + L"\"";
    case VT_DISPATCH:
        return value.pdispVal ? L"object" : L"Nothing";
    case VT_DATE:
        return L"#" + com::toText(value) + L"#";
    default:
        return com::toText(value);
    }
}

_variant_t ownedObject(RecordingObject* object)
{
    return _variant_t(static_cast<IDispatch*>(object), false);
}

void throwAdoError(long number)
{
    throw AdoFailure{com::errorResult(number), adoText(number), L"ADODB"};
}
