#pragma once

#include "support/ChildProcess.h"
#include "support/Folders.h"
#include "support/PracticePair.h"

/// The practice pair, and programs that are started in the examples' folder.
class Examples : public PracticePair
{
protected:
    static ProgramEnd runExample(const std::wstring& commandLine)
    {
        return ChildProcess(commandLine, sourceFile(L"examples").wstring()).wait();
    }

    static void addPatient(const PracticeSide& side, int unid, const std::wstring& name, const std::wstring& modified)
    {
        side.execute(L"insert into patient (unid, full_name, mod_date) values (" + std::to_wstring(unid) + L", '" +
                     name + L"', '" + modified + L"')");
    }

    static std::vector<std::wstring> patients(const PracticeSide& side)
    {
        return side.rows(L"select unid, full_name from patient order by unid");
    }
};
