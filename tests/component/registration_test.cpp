#include "support/BuiltDll.h"
#include "support/RegistryText.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

/// Registration into a key of the test's own that stands in for HKEY_CLASSES_ROOT. Other tests create the registered
/// class and so see that a registration works. The package's tests see that removal leaves nothing in a whole registry.
class Registration : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, path.c_str(), &root), 0);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, root), 0);
    }

    void TearDown() override
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegCloseKey(root);
        RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    }

    /// Without what the platform writes below an interface.
    std::vector<std::wstring> values() const
    {
        std::vector<std::wstring> lines = registryText(root);
        std::erase_if(lines, [](const std::wstring& line) {
            return line.find(L" = ") == std::wstring::npos || line.find(L"}\\ProxyStub") != std::wstring::npos ||
                   (line.starts_with(L"Interface") && line.find(L"}\\TypeLib") != std::wstring::npos);
        });
        return lines;
    }

    // Of this process alone: tests run beside each other.
    const std::wstring path = L"Software\\QuinmarkDllRegistrationTest" + std::to_wstring(GetCurrentProcessId());
    HKEY root = nullptr;
};

TEST_F(Registration, OfTheEntryObjectAndTheTypeLibraryComesAndGoes)
{
    // A path with blanks and foreign letters.
    const fs::path folder = fs::temp_directory_path() / L"Praxis M\u00fcller \u0141\u00f3d\u017a";
    const std::wstring entry = L"CLSID\\{79586827-05E1-4F56-8EB0-EA73BFA5E163}";
    const std::wstring types = L"Typelib\\{9B1D537E-7D6C-4723-8D46-F708D8D5F33C}\\3.2e";
    fs::create_directories(folder);
    const fs::path file = folder / L"QuinmarkRepDLL.dll";
    fs::copy_file(builtDll(), file, fs::copy_options::overwrite_existing);
    {
        const LoadedDll dll(file);
        ASSERT_EQ(dll.call("DllRegisterServer"), S_OK);
        EXPECT_EQ(values(), (std::vector<std::wstring>{
                                entry + L" = QuinmarkRepDLL.Factory",
                                entry + L"\\InprocServer32 = " + file.wstring(),
                                entry + L"\\InprocServer32 ThreadingModel = Apartment",
                                entry + L"\\ProgID = QuinmarkRepDLL.Factory",
                                entry + L"\\TypeLib = {9B1D537E-7D6C-4723-8D46-F708D8D5F33C}",
                                L"Interface\\{0CCCC1CB-870D-424E-AE26-DA2F1294AC8C} = _Factory",
                                L"Interface\\{4D650EE4-4645-4F84-AC7B-7E65553FC228} = _clsConflictData",
                                L"Interface\\{5A3809E2-B90D-4F44-91AD-9B31E6C69B20} = _Collection",
                                L"Interface\\{8AEC4479-5C30-4C44-8AA0-C4BC9FF98DD8} = _clsReplicateTable",
                                L"Interface\\{A8A3C2C2-106F-4AE3-A6E3-6813FAD93ACD} = _clsConflict",
                                L"Interface\\{F7252DBA-7FED-40E1-B1FE-51D4CB7F8B3D} = _clsReplicate",
                                L"QuinmarkRepDLL.Factory = QuinmarkRepDLL.Factory",
                                L"QuinmarkRepDLL.Factory\\CLSID = {79586827-05E1-4F56-8EB0-EA73BFA5E163}",
                                types + L" = Quinmark replication of practice databases",
                                types + L"\\0\\win32 = " + file.wstring(),
                                types + L"\\FLAGS = 8",
                                types + L"\\HELPDIR = " + folder.wstring(),
                            }));
        EXPECT_EQ(dll.call("DllUnregisterServer"), S_OK);
        EXPECT_EQ(registryText(root), (std::vector<std::wstring>{L"CLSID", L"Interface", L"Typelib"}));
    }
    fs::remove_all(folder);
}

} // namespace
