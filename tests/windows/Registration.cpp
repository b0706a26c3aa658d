#include "Registration.h"

#include "support/ChildProcess.h"
#include "support/Folders.h"
#include "support/Requirements.h"

namespace {

void regsvr32(const std::wstring& options)
{
    ChildProcess(L"regsvr32.exe /s " + options + L"\"" + builtFile(L"QuinmarkRepDLL.dll").wstring() + L"\"").wait();
}

} // namespace

Registration::Registration()
{
    if (registeredDll().empty())
        regsvr32(L"");
}

Registration::~Registration()
{
    if (isRegistered())
        regsvr32(L"/u ");
}
