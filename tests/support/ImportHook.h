#pragma once

/// Diverts what this program imports as `function` to `replacement` for as long as it lives. Calls between DLLs are not
/// diverted.
class ImportHook
{
public:
    /// Both functions must have the same signature and calling convention. Throws std::runtime_error when the program
    /// imports no such function.
    ImportHook(const char* function, void* replacement);
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
