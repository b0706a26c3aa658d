#include "passwords.h"

#include "HostError.h"
#include "TemporaryFile.h"

#include <gmock/gmock.h>
#include <wincred.h>
#include <windows.h>

namespace {

using testing::HasSubstr;

std::string refusal(const std::string& source)
{
    try {
        resolvePassword(source, "dsn");
    }
    catch (const HostError& error) {
        EXPECT_EQ(error.exitCode(), kUsage);
        return error.what();
    }
    return "taken";
}

} // namespace

TEST(Password, ComesFromTheEnvironment)
{
    SetEnvironmentVariableW(L"QUINREP_TEST", L"gehäim");
    EXPECT_EQ(resolvePassword("env:QUINREP_TEST", "dsn"), L"gehäim");
    SetEnvironmentVariableW(L"QUINREP_TEST", nullptr);
    EXPECT_THAT(refusal("env:QUINREP_TEST"), HasSubstr("the environment variable is not set"));
}

TEST(Password, ComesFromTheFirstLineOfAFile)
{
    EXPECT_EQ(resolvePassword("file:" + TemporaryFile("geheim\r\nmore", "password").path(), "dsn"), L"geheim");
    EXPECT_THAT(refusal("file:no-such-file"), HasSubstr("the file cannot be read or is empty"));
}

TEST(Password, OfAFileThatAnEditorMarkedAsUtf8ComesWithoutTheMark)
{
    EXPECT_EQ(resolvePassword("file:" + TemporaryFile("\xEF\xBB\xBFgeh\xC3\xA4im", "password").path(), "dsn"),
              L"gehäim");
}

TEST(Password, FileThatHoldsNoneIsTold)
{
    EXPECT_THAT(refusal("file:" + TemporaryFile("\r\ngeheim", "password").path()), HasSubstr("first line is empty"));
    EXPECT_THAT(refusal("file:" + TemporaryFile(std::string("\xFF\xFEg\0e\0", 6), "password").path()),
                HasSubstr("not in UTF-8"));
    EXPECT_THAT(refusal("file:" + TemporaryFile("geh\xE4im", "password").path()),
                testing::AllOf(HasSubstr("not in UTF-8"), testing::Not(HasSubstr("im\""))));
}

TEST(Password, ComesFromTheCredentialManager)
{
    wchar_t target[] = L"quinrep-test";
    wchar_t user[] = L"user";
    wchar_t secret[] = L"geheim";
    CREDENTIALW credential{};
    credential.Type = CRED_TYPE_GENERIC;
    credential.TargetName = target;
    credential.UserName = user;
    credential.CredentialBlob = reinterpret_cast<BYTE*>(secret);
    credential.CredentialBlobSize = sizeof(secret) - sizeof(wchar_t);
    credential.Persist = CRED_PERSIST_SESSION;
    ASSERT_TRUE(CredWriteW(&credential, 0)) << GetLastError();
    EXPECT_EQ(resolvePassword("credential:quinrep-test", "dsn"), L"geheim");
    CredDeleteW(target, CRED_TYPE_GENERIC, 0);
    EXPECT_THAT(refusal("credential:quinrep-test"), HasSubstr("no generic credential"));
}

TEST(Password, OtherSourcesAreRefused)
{
    EXPECT_TRUE(isPasswordSource("prompt"));
    for (const char* source : {"geheim", "env:", "file:", "", "prompt:x"}) {
        EXPECT_FALSE(isPasswordSource(source)) << source;
        EXPECT_THAT(refusal(source), testing::Not("taken")) << source;
    }
}
