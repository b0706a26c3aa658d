#pragma once

#include "LateObject.h"

#include <functional>
#include <map>
#include <string>

/// A late-bound object whose answers the test scripts. Counts how often its names are looked up.
class ScriptedObject final : public LateObject
{
public:
    using Answer = std::function<HRESULT(WORD flags, DISPPARAMS& params, VARIANT* result, EXCEPINFO* exception)>;

    std::map<std::wstring, DISPID> names;
    std::map<DISPID, Answer> answers;
    int lookups = 0;

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
};
