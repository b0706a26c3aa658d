#pragma once

#include "RandomValues.h"
#include "support/LateObject.h"

#include <functional>

/// An automation object that answers whatever it likes, in whatever form a callee can answer: values of all kinds,
/// failures with and without a description, enumerators, and calls back into the component.
class ForeignObject final : public LateObject
{
public:
    /// `callBack` is run from inside some of its answers.
    ForeignObject(Dice& dice, const Objects& objects, std::function<void()> callBack)
        : dice_(dice),
          objects_(objects),
          callBack_(std::move(callBack))
    {
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT* badArgument) noexcept override;

private:
    HRESULT raise(EXCEPINFO* exception);
    HRESULT succeed(DISPID id, VARIANT* result);

    Dice& dice_;
    const Objects& objects_;
    std::function<void()> callBack_;
};
