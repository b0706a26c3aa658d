#include "com/error.h"

#include <gtest/gtest.h>

#include <objbase.h>
#include <windows.h>

#include <string>

namespace {

// Of this process alone: tests run beside each other.
const std::wstring kRoot = L"Software\\QuinmarkAdodbRegistrationTest" + std::to_wstring(GetCurrentProcessId());
constexpr wchar_t kConnectionServer[] = L"CLSID\\{00000514-0000-0010-8000-00AA006D2EA4}\\InprocServer32";

/// Registration into a registry of its own: the prefix that the tests share stays as it is.
class Registration : public testing::Test
{
protected:
    void SetUp() override
    {
        RegDeleteTreeW(HKEY_CURRENT_USER, kRoot.c_str());
        ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (kRoot + L"\\Classes").c_str(), &classes_), 0);
        ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (kRoot + L"\\User").c_str(), &user_), 0);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, classes_), 0);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, user_), 0);
        module_ = LoadLibraryW(ADODB_DLL);
        ASSERT_NE(module_, nullptr);
    }

    void TearDown() override
    {
        FreeLibrary(module_);
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(classes_);
        RegCloseKey(user_);
        RegDeleteTreeW(HKEY_CURRENT_USER, kRoot.c_str());
    }

    HRESULT callExport(const char* name)
    {
        const auto function =
            reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
        return function ? function() : E_NOTIMPL;
    }

    static std::wstring read(const wchar_t* key)
    {
        wchar_t text[512] = {};
        DWORD bytes = sizeof text;
        return RegGetValueW(HKEY_CLASSES_ROOT, key, L"", RRF_RT_REG_SZ, nullptr, text, &bytes) == ERROR_SUCCESS ? text
                                                                                                                : L"";
    }

    static void write(const wchar_t* key, const wchar_t* text)
    {
        const auto bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
        ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, key, L"", REG_SZ, text, bytes), 0);
    }

    HMODULE module_ = nullptr;
    HKEY classes_ = nullptr;
    HKEY user_ = nullptr;
};

TEST_F(Registration, WritesAdosClassesAndRemovesThemAgain)
{
    ASSERT_EQ(callExport("DllRegisterServer"), S_OK);
    EXPECT_EQ(read(L"ADODB.Connection\\CLSID"), L"{00000514-0000-0010-8000-00AA006D2EA4}");
    EXPECT_EQ(read(L"ADODB.Command\\CLSID"), L"{00000507-0000-0010-8000-00AA006D2EA4}");
    EXPECT_EQ(read(L"ADODB.Recordset\\CLSID"), L"{00000535-0000-0010-8000-00AA006D2EA4}");
    EXPECT_EQ(read(L"ADODB.Parameter\\CLSID"), L"{0000050B-0000-0010-8000-00AA006D2EA4}");
    EXPECT_TRUE(read(kConnectionServer).ends_with(L"adodb.dll"));
    ASSERT_EQ(callExport("DllUnregisterServer"), S_OK);
    EXPECT_EQ(read(L"ADODB.Connection\\CLSID"), L"");
    EXPECT_EQ(read(kConnectionServer), L"");
    EXPECT_EQ(callExport("DllUnregisterServer"), S_OK) << "gone already is success";
}

TEST_F(Registration, PutsTheFormerServerBack)
{
    write(kConnectionServer, L"former.dll");
    ASSERT_EQ(callExport("DllRegisterServer"), S_OK);
    ASSERT_EQ(callExport("DllRegisterServer"), S_OK) << "registering again must not forget the former server";
    EXPECT_NE(read(kConnectionServer), L"former.dll");
    ASSERT_EQ(callExport("DllUnregisterServer"), S_OK);
    EXPECT_EQ(read(kConnectionServer), L"former.dll");
    EXPECT_EQ(read(L"ADODB.Connection\\CLSID"), L"{00000514-0000-0010-8000-00AA006D2EA4}");
    EXPECT_EQ(read(L"ADODB.Command\\CLSID"), L"");
}

} // namespace
