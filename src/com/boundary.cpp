#include "com/boundary.h"

#include <wrl/client.h>

namespace com {

HRESULT reportCurrentError() noexcept
{
    try {
        Error error = currentError();
        Microsoft::WRL::ComPtr<ICreateErrorInfo> creator;
        Microsoft::WRL::ComPtr<IErrorInfo> info;
        if (SUCCEEDED(CreateErrorInfo(&creator)) && SUCCEEDED(creator->SetSource(error.source.data())) &&
            SUCCEEDED(creator->SetDescription(error.description.data())) && SUCCEEDED(creator.As(&info)))
            SetErrorInfo(0, info.Get());
        return errorResult(error.number);
    }
    catch (...) {
        return E_OUTOFMEMORY;
    }
}

} // namespace com
