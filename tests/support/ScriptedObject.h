#pragma once

#include "com/object.h"

#include <functional>
#include <map>
#include <string>

/// A late-bound object whose answers the test scripts. Counts how often its names are looked up.
class ScriptedObject final : public com::UnknownObject<IDispatch>
{
public:
    using Answer = std::function<HRESULT(WORD flags, DISPPARAMS& params, VARIANT* result, EXCEPINFO* exception)>;

    std::map<std::wstring, DISPID> names;
    std::map<DISPID, Answer> answers;
    int lookups = 0;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override
    {
        *count = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* members, UINT, LCID, DISPID* ids) noexcept override
    {
        ++lookups;
        const auto known = names.find(*members);
        *ids = known == names.end() ? DISPID_UNKNOWN : known->second;
        return known == names.end() ? DISP_E_UNKNOWNNAME : S_OK;
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT*) noexcept override
    {
        const auto answer = answers.find(id);
        return answer == answers.end() ? DISP_E_MEMBERNOTFOUND : answer->second(flags, *params, result, exception);
    }

protected:
    void* find(REFIID interfaceId) noexcept override
    {
        return interfaceId == IID_IDispatch ? static_cast<IDispatch*>(this) : UnknownObject::find(interfaceId);
    }
};
