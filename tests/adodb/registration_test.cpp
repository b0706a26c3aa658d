#include "support/BuiltDll.h"

#include <gtest/gtest.h>

namespace {

// Of this process alone: tests run beside each other.
const std::wstring kRoot = L"Software\\QuinmarkAdodbRegistrationTest" + std::to_wstring(GetCurrentProcessId());
constexpr wchar_t kConnectionServer[] = L"CLSID\\{00000514-0000-0010-8000-00AA006D2EA4}\\InprocServer32";

/// Registration into keys of the test's own: the registry that the tests share stays as it is.
class Registration : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const auto& [key, name] : {std::pair(HKEY_CLASSES_ROOT, L"\\Classes"), std::pair(HKEY_CURRENT_USER, L"")})
        {
            HKEY own = nullptr;
            ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (kRoot + name).c_str(), &own), 0);
            ASSERT_EQ(RegOverridePredefKey(key, own), 0);
            RegCloseKey(own);
        }
    }

    void TearDown() override
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegDeleteTreeW(HKEY_CURRENT_USER, kRoot.c_str());
    }

    static std::wstring read(const std::wstring& key)
    {
        wchar_t text[512] = {};
        DWORD bytes = sizeof text;
        RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), L"", RRF_RT_REG_SZ, nullptr, text, &bytes);
        return text;
    }

    const LoadedDll dll{ADODB_DLL};
};

TEST_F(Registration, WritesAdosClassesAndRemovesThemAgain)
{
    ASSERT_EQ(dll.call("DllRegisterServer"), S_OK);
    for (const auto& [name, id] : {std::pair(L"Connection", L"00000514"), std::pair(L"Command", L"00000507"),
                                   std::pair(L"Recordset", L"00000535"), std::pair(L"Parameter", L"0000050B")})
        EXPECT_EQ(read(L"ADODB." + std::wstring(name) + L"\\CLSID"),
                  L"{" + std::wstring(id) + L"-0000-0010-8000-00AA006D2EA4}");
    EXPECT_TRUE(read(kConnectionServer).ends_with(L"adodb.dll"));
    ASSERT_EQ(dll.call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(read(L"ADODB.Connection\\CLSID"), L"");
    EXPECT_EQ(read(kConnectionServer), L"");
    EXPECT_EQ(dll.call("DllUnregisterServer"), S_OK) << "gone already is success";
}

TEST_F(Registration, PutsTheFormerServerBack)
{
    constexpr wchar_t kFormer[] = L"former.dll";
    ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, kConnectionServer, L"", REG_SZ, kFormer, sizeof kFormer), 0);
    ASSERT_EQ(dll.call("DllRegisterServer"), S_OK);
    ASSERT_EQ(dll.call("DllRegisterServer"), S_OK) << "registering again must not forget the former server";
    EXPECT_NE(read(kConnectionServer), kFormer);
    ASSERT_EQ(dll.call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(read(kConnectionServer), kFormer);
    EXPECT_EQ(read(L"ADODB.Connection\\CLSID"), L"{00000514-0000-0010-8000-00AA006D2EA4}");
    EXPECT_EQ(read(L"ADODB.Command\\CLSID"), L"");
}

} // namespace
