#pragma once

#include "control/Factory.h"
#include "recording_error.h"
#include "recording_fixture.h"

/// A test of the entry object on recording connections "source" and "destination".
class FactoryTest : public RecordingTest
{
protected:
    void init(const std::wstring& role, long site = OFFICES)
    {
        factory_.init(site, role, L"office.", L"source", L"sourcePassword", L"laptop.", L"destination",
                      L"destinationPassword", 3, logFile());
    }

    Factory factory_;
};
