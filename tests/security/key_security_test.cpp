// The users who may write to the registered keys.
#include "com/registration.h"
#include "support/Requirements.h"

#include <gmock/gmock.h>

#include <QuinmarkRepDLL.h>
#include <aclapi.h>
#include <regex>
#include <sddl.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Only administrators register the component, and only they may write such keys.
class RegisteredKeys : public testing::Test
{
protected:
    void SetUp() override { skipWithoutRegistration(); }
};

/// The entries of a key's access list that let somebody write who may not change the machine anyhow: neither
/// administrators, the system, the creator nor the owner.
std::vector<std::string> foreignWriters(std::wstring key)
{
    key = L"CLASSES_ROOT\\" + key;
    constexpr SECURITY_INFORMATION kParts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD status =
        GetNamedSecurityInfoW(key.data(), SE_REGISTRY_KEY, kParts, nullptr, nullptr, nullptr, nullptr, &descriptor);
    char* text = nullptr;
    if (status != ERROR_SUCCESS ||
        !ConvertSecurityDescriptorToStringSecurityDescriptorA(descriptor, SDDL_REVISION_1, kParts, &text, nullptr))
        return {"no descriptor"};
    const std::string sddl = text;
    LocalFree(text);
    LocalFree(descriptor);
    const std::regex parts(R"(O:(.*?)D:\w*(\(.*))");
    std::smatch found;
    if (!std::regex_match(sddl, found, parts))
        return {"no list: " + sddl}; // which lets everybody in
    const std::string owner = found[1];
    const std::string list = found[2];
    std::vector<std::string> writers;
    // Type, flags, rights, two object types, and who.
    const std::regex entry(R"(\(A;\w*;(\w*);;;(.*?)\))");
    const std::regex reading("KR|GR|KX|GX");
    for (std::sregex_iterator at(list.begin(), list.end(), entry); at != std::sregex_iterator(); ++at)
        if (!std::regex_match((*at)[1].str(), reading) && (*at)[2] != "BA" && (*at)[2] != "SY" && (*at)[2] != "CO" &&
            (*at)[2] != owner)
            writers.push_back(at->str());
    return writers;
}

TEST_F(RegisteredKeys, AreWritableByAdministratorsOnly)
{
    const std::wstring clsid = L"CLSID\\" + com::guidText(CLSID_Factory);
    for (const std::wstring& key :
         {std::wstring(L"QuinmarkRepDLL.Factory"), std::wstring(L"QuinmarkRepDLL.Factory\\CLSID"), clsid,
          clsid + L"\\InprocServer32", clsid + L"\\TypeLib", L"TypeLib\\" + com::guidText(LIBID_QuinmarkRepDLL)})
        EXPECT_THAT(foreignWriters(key), IsEmpty()) << std::string(key.begin(), key.end());
}

TEST_F(RegisteredKeys, WithAnEntryForEverybodyWouldBeSeen)
{
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, L"QuinmarkKeySecurityTest", 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    PSECURITY_DESCRIPTOR open = nullptr;
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;KR;;;BU)(A;;KA;;;WD)", SDDL_REVISION_1,
                                                                     &open, nullptr));
    EXPECT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, open), ERROR_SUCCESS);
    EXPECT_THAT(foreignWriters(L"QuinmarkKeySecurityTest"), ElementsAre("(A;;KA;;;WD)"));
    LocalFree(open);
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CLASSES_ROOT, L"QuinmarkKeySecurityTest");
}

} // namespace
