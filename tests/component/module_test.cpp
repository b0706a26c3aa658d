#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace {

TEST(BuiltDll, MayGoOnceItsObjectsAreGoneWhateverFailed)
{
    const Apartment apartment;
    const LoadedDll dll;
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
    {
        const ComPtr<_Factory> factory = dll.createFactory();
        EXPECT_EQ(dll.call("DllCanUnloadNow"), S_FALSE);
        EXPECT_EQ(lateCall(factory.Get(), L"createReplication").code, S_OK);
        EXPECT_EQ(lateCall(factory.Get(), L"init", {0L, L"LOCAL", L"", L"", L"", L"", L"", L"", 1L, L""}).scode,
                  static_cast<SCODE>(0x800403E8));
        EXPECT_EQ(lateCall(factory.Get(), L"init").code, DISP_E_PARAMNOTOPTIONAL);
        void* object = nullptr;
        EXPECT_EQ(dll.classObject(CLSID_clsReplicate, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    }
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

std::string fileText(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The one version from which all others are made: major, minor, revision.
struct Version
{
    Version()
    {
        const std::string text = fileText(sourceFile(L"VERSION"));
        EXPECT_EQ(std::sscanf(text.c_str(), "%d.%d.%d", &major, &minor, &revision), 3) << text;
    }
    std::wstring text() const
    {
        return std::to_wstring(major) + L"." + std::to_wstring(minor) + L"." + std::to_wstring(revision);
    }
    int major = -1;
    int minor = -1;
    int revision = -1;
};

TEST(VersionResource, HasTheVersionOfTheSourcesAndSaysThatTheFileRegistersItself)
{
    const Version version;
    DWORD ignored = 0;
    std::vector<char> data(GetFileVersionInfoSizeW(builtDll().c_str(), &ignored));
    ASSERT_TRUE(GetFileVersionInfoW(builtDll().c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
    const auto valueOf = [&data](const std::wstring& path) {
        void* value = nullptr;
        UINT length = 0;
        EXPECT_TRUE(VerQueryValueW(data.data(), path.c_str(), &value, &length)) << path;
        return value;
    };
    for (const auto& [name, text] : {std::pair(L"FileVersion", version.text()),
                                     {L"ProductVersion", version.text()},
                                     {L"OriginalFilename", L"QuinmarkRepDLL.dll"},
                                     {L"InternalName", L"QuinmarkRepDLL"},
                                     {L"OLESelfRegister", L""}})
        EXPECT_EQ(static_cast<const wchar_t*>(valueOf(std::wstring(L"\\StringFileInfo\\040904B0\\") + name)), text);
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(valueOf(L"\\"));
    EXPECT_EQ(fixed.dwFileVersionMS, MAKELONG(version.minor, version.major));
    EXPECT_EQ(fixed.dwFileVersionLS, MAKELONG(version.revision, 0));
    EXPECT_EQ(fixed.dwProductVersionMS, fixed.dwFileVersionMS);
    EXPECT_EQ(fixed.dwProductVersionLS, fixed.dwFileVersionLS);
}

TEST(BuiltDll, EntryObjectReportsTheVersionOfTheSources)
{
    const LoadedDll dll;
    const LateResult result = lateGet(dll.createFactory().Get(), L"Version");
    EXPECT_EQ(result.value, _variant_t(Version().text().c_str()));
}

/// The resource by which a program finds the DLL beside it as an assembly.
std::string manifestOf(HMODULE module)
{
    constexpr WORD kManifest = 24;
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(kManifest));
    if (!found)
        return "none";
    return {static_cast<const char*>(LockResource(LoadResource(module, found))), SizeofResource(module, found)};
}

TEST(BuiltDll, ManifestHasTheVersionOfTheSources)
{
    const Version version;
    const LoadedDll dll;
    const std::string manifest = manifestOf(dll.module());
    const std::string library = std::to_string(version.major) + "." + std::to_string(version.minor);
    const std::string assembly = library + ".0." + std::to_string(version.revision);
    EXPECT_NE(manifest.find("name=\"QuinmarkRepDLL\" version=\"" + assembly + "\""), std::string::npos) << manifest;
    EXPECT_NE(manifest.find("tlbid=\"{9B1D537E-7D6C-4723-8D46-F708D8D5F33C}\" version=\"" + library + "\""),
              std::string::npos)
        << manifest;
}

} // namespace
