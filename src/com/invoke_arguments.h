#pragma once

#include <comdef.h>
#include <vector>

namespace com {

/// The arguments of one late-bound call, brought into the forms that a function of the type library declares. Every
/// parameter of the library is by reference, its return values included.
class InvokeArguments
{
public:
    InvokeArguments(ITypeInfo& info, const FUNCDESC& function, const DISPPARAMS& params);

    /// Converts every argument. Fails with the code that IDispatch::Invoke answers; `badArgument` (may be null) then
    /// gets the argument's index in the caller's array.
    HRESULT bind(UINT* badArgument);

    /// Copies the values after the call back into the variables that the caller passed by reference. A variable that
    /// takes none keeps its own, and the code of the first such is the result.
    HRESULT writeBack();

    /// The function's return value, owned by the caller; empty when it has none.
    VARIANT detachResult();

    UINT count() const { return static_cast<UINT>(types_.size()); }
    VARTYPE* types() { return types_.data(); }
    VARIANTARG** values() { return pointers_.data(); }

private:
    /// One declared parameter: the converted value, and the by-reference view of it that the function is called with.
    struct Parameter
    {
        VARTYPE type = VT_EMPTY;
        const PARAMDESC* description = nullptr;
        VARIANTARG* given = nullptr;
        void* variable = nullptr; ///< the caller's own, when it has just the declared type
        _variant_t value;
        VARIANTARG argument{};
    };

    VARTYPE declaredType(const TYPEDESC& type) const;
    HRESULT assignGiven(UINT* badArgument);
    HRESULT convert(Parameter& parameter);
    HRESULT useDefault(Parameter& parameter);
    void reference(Parameter& parameter);

    ITypeInfo& info_;
    const FUNCDESC& function_;
    const DISPPARAMS& params_;
    std::vector<Parameter> parameters_;
    bool hasResult_ = false;
    std::vector<VARTYPE> types_;
    std::vector<VARIANTARG*> pointers_;
};

} // namespace com
