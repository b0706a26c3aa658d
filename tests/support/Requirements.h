#pragma once

#include "ServerSql.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

/// An environment variable; empty when it is not set.
std::wstring setting(const wchar_t* name);

/// A setting of the practice's databases that is missing; empty when there are all.
std::wstring missingDatabaseSetting();

/// Skips the test for want of `what`, or fails it where the setting `requirement` is 1.
void skipWithout(const wchar_t* what, const wchar_t* requirement);

/// Whether `setUp`, which needs `what` of the server, went through. Where it raises, the test is skipped with the
/// server's message, and has to return.
[[nodiscard]] bool tryOrSkip(const wchar_t* what, const std::function<void()>& setUp);

/// Whether Wine stands in for Windows.
bool isWine();

/// Skips a test that expects message boxes where nobody could see them.
void skipWithoutDisplay();

/// The DLL with which the component is registered on this machine; empty when it is not.
std::filesystem::path registeredDll();

/// Whether that is the DLL beside the program.
bool isRegistered();

/// Skips a test of hosts without a manifest unless the DLL beside the program is the registered one.
void skipWithoutRegistration();

/// `Base` for tests that expect message boxes.
template <class Base>
class NeedsDisplay : public Base
{
protected:
    void SetUp() override
    {
        skipWithoutDisplay();
        if (!this->IsSkipped() && !this->HasFatalFailure())
            Base::SetUp();
    }
};
