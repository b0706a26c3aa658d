#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/RegistryText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <utility>

using Microsoft::WRL::ComPtr;

namespace {

namespace fs = std::filesystem;

/// Runs regsvr32 as an administrator does; its exit code.
DWORD regsvr32(const std::wstring& switches, const fs::path& dll)
{
    std::wstring command = L"regsvr32.exe /s " + switches + L" \"" + dll.wstring() + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return GetLastError();
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

/// Every key and value that a registration could touch.
std::vector<std::wstring> registry()
{
    std::vector<std::wstring> all;
    for (const auto& [root, path] :
         {std::pair(HKEY_LOCAL_MACHINE, L"Software\\Classes"), std::pair(HKEY_CURRENT_USER, L"Software")})
    {
        HKEY opened = nullptr;
        EXPECT_EQ(RegOpenKeyExW(root, path, 0, KEY_READ, &opened), 0);
        const std::vector<std::wstring> part = registryText(opened);
        RegCloseKey(opened);
        all.insert(all.end(), part.begin(), part.end());
    }
    std::sort(all.begin(), all.end());
    return all;
}

std::wstring registeredPath()
{
    wchar_t path[MAX_PATH] = {};
    DWORD size = sizeof path;
    RegGetValueW(HKEY_CLASSES_ROOT, L"CLSID\\{79586827-05E1-4F56-8EB0-EA73BFA5E163}\\InprocServer32", nullptr,
                 RRF_RT_REG_SZ, nullptr, path, &size);
    return path;
}

HRESULT createRegistered(ComPtr<_Factory>& factory)
{
    CLSID clsid{};
    const HRESULT found = CLSIDFromProgID(L"QuinmarkRepDLL.Factory", &clsid);
    return FAILED(found) ? found : CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory));
}

/// Begins without a registration and puts back the one that was there; every test is held against that beginning.
class RegisteredDll : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        previous = registeredPath();
        if (!previous.empty()) {
            ASSERT_EQ(regsvr32(L"/u", previous), 0U);
        }
        before = registry();
    }

    static void TearDownTestSuite()
    {
        if (!previous.empty()) {
            EXPECT_EQ(regsvr32(L"", previous), 0U);
        }
    }

    void TearDown() override { regsvr32(L"/u", builtDll()); }

    void expectNothingLeft()
    {
        const std::vector<std::wstring> after = registry();
        std::vector<std::wstring> changed;
        std::set_symmetric_difference(before.begin(), before.end(), after.begin(), after.end(),
                                      std::back_inserter(changed));
        EXPECT_EQ(changed, std::vector<std::wstring>{});
    }

    Apartment apartment;
    static inline std::wstring previous;
    static inline std::vector<std::wstring> before;
};

TEST_F(RegisteredDll, CreatesTheEntryObjectAndRemovalLeavesNothing)
{
    ASSERT_EQ(regsvr32(L"", builtDll()), 0U);
    EXPECT_EQ(registeredPath(), builtDll().wstring());
    {
        ComPtr<_Factory> factory;
        EXPECT_EQ(createRegistered(factory), S_OK);
        EXPECT_NE(factory, nullptr);
        ComPtr<ITypeLib> library;
        EXPECT_EQ(LoadRegTypeLib(LIBID_QuinmarkRepDLL, 3, 46, LOCALE_NEUTRAL, &library), S_OK);
    }
    EXPECT_EQ(regsvr32(L"/u", builtDll()), 0U);
    expectNothingLeft();
}

TEST_F(RegisteredDll, OtherClassesAreNotRegistered)
{
    ASSERT_EQ(regsvr32(L"", builtDll()), 0U);
    for (const wchar_t* name : {L"clsReplicate", L"clsReplicateTable", L"clsConflict", L"clsConflictData"}) {
        CLSID clsid{};
        EXPECT_EQ(CLSIDFromProgID((L"QuinmarkRepDLL." + std::wstring(name)).c_str(), &clsid), CO_E_CLASSSTRING) << name;
    }
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(CLSID_clsReplicate, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
              REGDB_E_CLASSNOTREG);
}

TEST_F(RegisteredDll, SecondRegistrationAndSecondRemovalAreHarmless)
{
    ASSERT_EQ(regsvr32(L"", builtDll()), 0U);
    const std::vector<std::wstring> once = registry();
    EXPECT_EQ(regsvr32(L"", builtDll()), 0U);
    EXPECT_EQ(registry(), once);
    EXPECT_EQ(regsvr32(L"/u", builtDll()), 0U);
    EXPECT_EQ(regsvr32(L"/u", builtDll()), 0U);
    expectNothingLeft();
}

TEST_F(RegisteredDll, WorksFromAPathWithBlanksAndForeignLetters)
{
    const fs::path folder = fs::temp_directory_path() / L"Praxis M\u00fcller \u0141\u00f3d\u017a";
    fs::create_directories(folder);
    const fs::path copy = folder / L"QuinmarkRepDLL.dll";
    fs::copy_file(builtDll(), copy, fs::copy_options::overwrite_existing);
    EXPECT_EQ(regsvr32(L"", copy), 0U);
    EXPECT_EQ(registeredPath(), copy.wstring());
    {
        ComPtr<_Factory> factory;
        EXPECT_EQ(createRegistered(factory), S_OK);
        ComPtr<ITypeInfo> info;
        EXPECT_TRUE(factory && factory->GetTypeInfo(0, LOCALE_NEUTRAL, &info) == S_OK);
    }
    EXPECT_EQ(regsvr32(L"/u", copy), 0U);
    expectNothingLeft();
    CoFreeUnusedLibrariesEx(0, 0);
    std::error_code ignored; // the copy may still be loaded
    fs::remove_all(folder, ignored);
}

TEST_F(RegisteredDll, FailedRegistrationUndoesItself)
{
    // A permanent key cannot be made below a volatile one.
    HKEY obstacle = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, L"QuinmarkRepDLL.Factory", 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &obstacle, nullptr),
              0);
    RegCloseKey(obstacle);
    EXPECT_NE(regsvr32(L"", builtDll()), 0U);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L"QuinmarkRepDLL.Factory");
    expectNothingLeft();
}

/// An activation context of the manifest beside the DLL, for as long as this lives.
class Activation
{
public:
    Activation()
    {
        const std::wstring manifest = fs::path(builtDll()).replace_extension(L".manifest").wstring();
        ACTCTXW request{};
        request.cbSize = sizeof request;
        request.lpSource = manifest.c_str();
        context_ = CreateActCtxW(&request);
        com::check(context_ != INVALID_HANDLE_VALUE ? S_OK : HRESULT_FROM_WIN32(GetLastError()));
        com::check(ActivateActCtx(context_, &cookie_) ? S_OK : HRESULT_FROM_WIN32(GetLastError()));
    }
    ~Activation()
    {
        DeactivateActCtx(0, cookie_);
        ReleaseActCtx(context_);
    }
    Activation(const Activation&) = delete;
    Activation& operator=(const Activation&) = delete;

private:
    HANDLE context_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
};

TEST_F(RegisteredDll, ManifestActivatesItWithoutARegistration)
{
    ComPtr<_Factory> factory;
    EXPECT_EQ(createRegistered(factory), CO_E_CLASSSTRING);
    {
        const Activation activation;
        EXPECT_EQ(createRegistered(factory), S_OK);
        BSTR version = nullptr;
        EXPECT_TRUE(factory && factory->get_Version(&version) == S_OK);
        SysFreeString(version);
    }
    expectNothingLeft();
}

} // namespace
