#include "com/server.h"

#include "QuinmarkRepDLL.h"
#include "support/RegistryText.h"
#include "support/ScriptedObject.h"

#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

// {B2DC1C59-9E5D-4F6C-9B1C-7F3B0C1A0E51}
constexpr CLSID kFirst = {0xB2DC1C59, 0x9E5D, 0x4F6C, {0x9B, 0x1C, 0x7F, 0x3B, 0x0C, 0x1A, 0x0E, 0x51}};
// {C6A2D0B4-55A1-4E2D-8C0F-0D7C6B0C9F12}
constexpr CLSID kSecond = {0xC6A2D0B4, 0x55A1, 0x4E2D, {0x8C, 0x0F, 0x0D, 0x7C, 0x6B, 0x0C, 0x9F, 0x12}};

ComPtr<IUnknown> createScripted()
{
    return makeObject<ScriptedObject>();
}

constexpr ClassEntry kClasses[] = {{&kFirst, L"Test.First", createScripted},
                                   {&kSecond, L"Test.Second", createScripted}};
constexpr Server kPlain{kClasses, nullptr, 0, 0};
constexpr Server kWithLibrary{kClasses, &LIBID_QuinmarkRepDLL, 3, 46};

class ClassObjects : public testing::Test
{
protected:
    ClassObjects() { EXPECT_EQ(getClassObject(kPlain, kSecond, IID_PPV_ARGS(&factory)), S_OK); }

    ComPtr<IClassFactory> factory;
};

TEST_F(ClassObjects, MakeTheInterfaceThatIsAskedFor)
{
    ComPtr<IDispatch> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    EXPECT_NE(object, nullptr);
    void* none = factory.Get();
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IEnumVARIANT, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    none = factory.Get();
    EXPECT_EQ(factory->CreateInstance(object.Get(), IID_IUnknown, &none), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ClassObjects, LocksKeepTheServerWithoutAnyObject)
{
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory.Reset();
    EXPECT_EQ(canUnloadNow(), S_FALSE);
    ASSERT_EQ(getClassObject(kPlain, kFirst, IID_PPV_ARGS(&factory)), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);
}

TEST_F(ClassObjects, AreNotAvailableForAnUnknownClass)
{
    void* object = &object;
    EXPECT_EQ(getClassObject(kPlain, IID_IUnknown, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(getClassObject(kPlain, kFirst, IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_EQ(getClassObject(kPlain, kFirst, IID_IClassFactory, nullptr), E_POINTER);
}

/// Registration into a key of the test's own that stands in for HKEY_CLASSES_ROOT.
class Registration : public testing::Test
{
protected:
    // Of this process alone: tests run beside each other.
    const std::wstring path = L"Software\\QuinmarkRegistrationTest" + std::to_wstring(GetCurrentProcessId());

    void SetUp() override
    {
        RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
        ASSERT_EQ(
            RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &root, nullptr),
            0);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, root), 0);
    }

    void TearDown() override
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegCloseKey(root);
        RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    }

    /// A key below which the component's keys cannot be made, since they are permanent.
    void writeVolatile(const wchar_t* key)
    {
        HKEY obstacle = nullptr;
        ASSERT_EQ(
            RegCreateKeyExW(root, key, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &obstacle, nullptr),
            0);
        RegCloseKey(obstacle);
    }

    std::vector<std::wstring> contents() { return registryText(root); }

    HKEY root = nullptr;
};

TEST_F(Registration, WritesEveryClassAndNothingElse)
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring first = L"CLSID\\{B2DC1C59-9E5D-4F6C-9B1C-7F3B0C1A0E51}";
    const std::wstring second = L"CLSID\\{C6A2D0B4-55A1-4E2D-8C0F-0D7C6B0C9F12}";
    ASSERT_EQ(registerServer(kPlain), S_OK);
    EXPECT_EQ(contents(), (std::vector<std::wstring>{
                              L"CLSID",
                              first,
                              first + L" = Test.First",
                              first + L"\\InprocServer32",
                              first + L"\\InprocServer32 = " + path,
                              first + L"\\InprocServer32 ThreadingModel = Apartment",
                              first + L"\\ProgID",
                              first + L"\\ProgID = Test.First",
                              second,
                              second + L" = Test.Second",
                              second + L"\\InprocServer32",
                              second + L"\\InprocServer32 = " + path,
                              second + L"\\InprocServer32 ThreadingModel = Apartment",
                              second + L"\\ProgID",
                              second + L"\\ProgID = Test.Second",
                              L"Test.First",
                              L"Test.First = Test.First",
                              L"Test.First\\CLSID",
                              L"Test.First\\CLSID = {B2DC1C59-9E5D-4F6C-9B1C-7F3B0C1A0E51}",
                              L"Test.Second",
                              L"Test.Second = Test.Second",
                              L"Test.Second\\CLSID",
                              L"Test.Second\\CLSID = {C6A2D0B4-55A1-4E2D-8C0F-0D7C6B0C9F12}",
                          }));
}

TEST_F(Registration, RemovalLeavesWhatOthersWrote)
{
    for (const wchar_t* key :
         {L"CLSID\\{00000000-0000-0000-0000-000000000001}", L"Other.Class", L"TypeLib", L"Interface"})
        ASSERT_EQ(RegSetKeyValueW(root, key, L"mine", REG_SZ, L"x", 2 * sizeof(wchar_t)), 0);
    const auto before = contents();
    ASSERT_EQ(registerServer(kWithLibrary), S_OK);
    ASSERT_NE(contents(), before);
    EXPECT_EQ(unregisterServer(kWithLibrary), S_OK);
    EXPECT_EQ(contents(), before);
}

TEST_F(Registration, SecondTimeChangesNothingAndRemovalFinishesWhatIsHalfGone)
{
    ASSERT_EQ(registerServer(kPlain), S_OK);
    const auto once = contents();
    EXPECT_EQ(registerServer(kPlain), S_OK);
    EXPECT_EQ(contents(), once);
    ASSERT_EQ(RegDeleteTreeW(root, L"Test.First"), 0);
    EXPECT_EQ(unregisterServer(kPlain), S_OK);
    EXPECT_EQ(contents(), std::vector<std::wstring>{L"CLSID"});
    EXPECT_EQ(unregisterServer(kPlain), S_OK);
}

TEST_F(Registration, FailureUndoesItself)
{
    writeVolatile(L"Test.Second");
    EXPECT_EQ(registerServer(kPlain), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
    EXPECT_EQ(contents(), std::vector<std::wstring>{L"CLSID"});
}

TEST_F(Registration, FailedTypeLibraryTakesTheClassesBack)
{
    writeVolatile(L"TypeLib");
    EXPECT_NE(registerServer(kWithLibrary), S_OK);
    EXPECT_EQ(contents(), (std::vector<std::wstring>{L"CLSID", L"Interface", L"TypeLib"}));
}

} // namespace
} // namespace com
