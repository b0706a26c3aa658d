// The users who may write to the registered keys.
#include <gtest/gtest.h>

#include <QuinmarkRepDLL.h>
#include <aclapi.h>
#include <string>
#include <vector>

namespace {

constexpr DWORD kWriting = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_CREATE_LINK | DELETE | WRITE_DAC | WRITE_OWNER |
                           GENERIC_WRITE | GENERIC_ALL;

bool isWellKnown(PSID sid, WELL_KNOWN_SID_TYPE type)
{
    return IsWellKnownSid(sid, type) != FALSE;
}

/// Those who may change the machine anyhow.
bool isAdministrator(PSID sid)
{
    return isWellKnown(sid, WinBuiltinAdministratorsSid) || isWellKnown(sid, WinLocalSystemSid) ||
           isWellKnown(sid, WinCreatorOwnerSid);
}

/// The access masks with which anybody else may write to a key.
std::vector<DWORD> foreignWriters(const std::wstring& key)
{
    std::wstring name = L"CLASSES_ROOT\\" + key;
    PACL list = nullptr;
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD status =
        GetNamedSecurityInfoW(name.data(), SE_REGISTRY_KEY, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                              &owner, nullptr, &list, nullptr, &descriptor);
    EXPECT_EQ(status, static_cast<DWORD>(ERROR_SUCCESS)) << std::string(key.begin(), key.end());
    std::vector<DWORD> masks;
    if (status == ERROR_SUCCESS && !list)
        masks.push_back(GENERIC_ALL); // no list at all lets everybody in
    for (DWORD index = 0; list && index < list->AceCount; ++index) {
        ACCESS_ALLOWED_ACE* entry = nullptr;
        if (!GetAce(list, index, reinterpret_cast<void**>(&entry)) || entry->Header.AceType != ACCESS_ALLOWED_ACE_TYPE)
            continue;
        PSID sid = &entry->SidStart;
        if (!isAdministrator(sid) && !EqualSid(sid, owner) && (entry->Mask & kWriting) != 0)
            masks.push_back(entry->Mask);
    }
    LocalFree(descriptor);
    return masks;
}

std::wstring guidText(const GUID& guid)
{
    wchar_t text[39];
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return text;
}

TEST(RegisteredKeys, AreWritableByAdministratorsOnly)
{
    const std::wstring clsid = L"CLSID\\" + guidText(CLSID_Factory);
    for (const std::wstring& key :
         {std::wstring(L"QuinmarkRepDLL.Factory"), std::wstring(L"QuinmarkRepDLL.Factory\\CLSID"), clsid,
          clsid + L"\\InprocServer32", clsid + L"\\TypeLib", L"TypeLib\\" + guidText(LIBID_QuinmarkRepDLL)})
        EXPECT_EQ(foreignWriters(key), std::vector<DWORD>()) << std::string(key.begin(), key.end());
}

TEST(RegisteredKeys, WithAnEntryForEverybodyWouldBeSeen)
{
    std::wstring name = L"QuinmarkKeySecurityTest";
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                              &key, nullptr),
              ERROR_SUCCESS);
    EXPLICIT_ACCESSW entry = {};
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    CreateWellKnownSid(WinWorldSid, nullptr, sid, &size);
    entry.grfAccessPermissions = KEY_ALL_ACCESS;
    entry.grfAccessMode = SET_ACCESS;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.ptstrName = reinterpret_cast<wchar_t*>(sid);
    PACL list = nullptr;
    EXPECT_EQ(SetEntriesInAclW(1, &entry, nullptr, &list), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(SetSecurityInfo(key, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, list, nullptr),
              static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(foreignWriters(name).size(), 1U);
    LocalFree(list);
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CLASSES_ROOT, name.c_str());
}

} // namespace
