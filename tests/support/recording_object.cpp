#include "recording_object.h"

#include "com/convert.h"
#include "com/error.h"

#include <new>

using Microsoft::WRL::ComPtr;

namespace {

// {5E0E7B0C-6A3D-4B0E-9C5A-6F1F6C0B7D11}: asks an object for its C++ self.
constexpr IID kSelfId = {0x5e0e7b0c, 0x6a3d, 0x4b0e, {0x9c, 0x5a, 0x6f, 0x1f, 0x6c, 0x0b, 0x7d, 0x11}};

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

VARIANT& RecordingArguments::at(size_t index) const
{
    static thread_local _variant_t left;
    left = com::missing();
    return index < count() ? params_.rgvarg[count() - 1 - index] : left;
}

long RecordingArguments::number(size_t index) const
{
    return com::toInt32(at(index));
}

std::wstring RecordingArguments::text(size_t index) const
{
    return com::toText(at(index));
}

bool RecordingArguments::isMissing(size_t index) const
{
    return com::isMissing(at(index));
}

RecordingObject::RecordingObject(std::shared_ptr<RecordingJournal> journal, const wchar_t* className, DISPID firstId)
    : journal_(std::move(journal)),
      class_(className),
      firstId_(firstId)
{
    journal_->objectMade();
}

RecordingObject::~RecordingObject()
{
    journal_->objectGone();
}

void* RecordingObject::find(REFIID interfaceId) noexcept
{
    return interfaceId == kSelfId ? this : LateObject::find(interfaceId);
}

HRESULT RecordingObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept
{
    ids[0] = DISPID_UNKNOWN;
    for (size_t index = 0; index < members_.size() && count == 1; ++index)
        if (lstrcmpiW(members_[index].name, names[0]) == 0)
            ids[0] = firstId_ + static_cast<DISPID>(index);
    return ids[0] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
}

HRESULT RecordingObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                EXCEPINFO* exception, UINT*) noexcept
{
    const ComPtr<RecordingObject> self(this);
    if (id < firstId_ || static_cast<size_t>(id - firstId_) >= members_.size())
        return DISP_E_MEMBERNOTFOUND;
    try {
        const Member& member = members_[static_cast<size_t>(id - firstId_)];
        _variant_t value = use(member, flags, RecordingArguments(*params));
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
    catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

_variant_t RecordingObject::use(const Member& member, WORD flags, const RecordingArguments& arguments)
{
    const bool put = (flags & kPutFlags) && member.put;
    const bool read = (flags & DISPATCH_PROPERTYGET) && member.get;
    if (!put && !read && !((flags & DISPATCH_METHOD) && member.call))
        throw AdoFailure{DISP_E_MEMBERNOTFOUND, L""};
    _variant_t value;
    journal_->perform(class_ + L"." + member.name, line(member, flags, arguments), read, [&] {
        if (put)
            member.put(arguments.at(0));
        else
            value = read ? member.get(arguments) : member.call(arguments);
    });
    return value;
}

std::wstring RecordingObject::line(const Member& member, WORD flags, const RecordingArguments& arguments) const
{
    const std::wstring name = title() + L"." + member.name;
    if (flags & kPutFlags)
        return (flags & DISPATCH_PROPERTYPUTREF ? L"set " : L"") + name + L" = " + recordedText(arguments.at(0));
    std::wstring list;
    for (size_t index = 0; index < arguments.count(); ++index)
        list += (index == 0 ? L"" : L", ") + recordedText(arguments.at(index));
    return member.call || !list.empty() ? name + L"(" + list + L")" : name;
}

void RecordingObject::property(const wchar_t* name, Getter get, Setter put)
{
    members_.push_back({name, std::move(get), std::move(put), nullptr});
}

void RecordingObject::property(const wchar_t* name, _variant_t& value)
{
    property(
        name, [&value](const RecordingArguments&) { return value; }, [&value](const VARIANT& given) { value = given; });
}

void RecordingObject::method(const wchar_t* name, Method call)
{
    members_.push_back({name, nullptr, nullptr, std::move(call)});
}

RecordingObject* RecordingObject::behind(const VARIANT& value)
{
    ComPtr<IUnknown> self;
    if (value.vt != VT_DISPATCH || !value.pdispVal ||
        FAILED(value.pdispVal->QueryInterface(kSelfId, reinterpret_cast<void**>(self.GetAddressOf()))))
        return nullptr;
    return static_cast<RecordingObject*>(static_cast<IDispatch*>(self.Get()));
}

std::wstring recordedText(const VARIANT& value)
{
    if (com::isMissing(value))
        return L"missing";
    if (value.vt & VT_BYREF) {
        _variant_t direct;
        VariantCopyInd(&direct, const_cast<VARIANT*>(&value));
        return L"ref " + recordedText(direct);
    }
    if (const RecordingObject* object = RecordingObject::behind(value))
        return object->title();
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
