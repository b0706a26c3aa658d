#pragma once

/// Diverts what a module imports as `function` to `replacement` for as long as it lives. Other modules' calls are not
/// diverted.
class ImportHook
{
public:
    /// Both functions must have the same signature and calling convention. `module` names a DLL that is loaded; the
    /// program itself unless told. Throws std::runtime_error when the module imports no such function.
    ImportHook(const char* function, void* replacement, const wchar_t* module = nullptr);
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    template <class Function>
    Function original() const
    {
        return reinterpret_cast<Function>(original_);
    }

private:
    void** slot_;
    void* original_;
};
