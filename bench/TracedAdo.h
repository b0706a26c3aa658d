#pragma once

#include "support/AdoProxy.h"

#include <string>

/// Writes down what is sent to the databases, on the calling thread and for as long as it lives. What a trace cannot
/// hold (stored procedures, recordsets that are opened by themselves) fails with a text that says so.
class TracedAdo
{
public:
    /// `sourceDsn` tells the source's connection from the destination's.
    TracedAdo(const std::wstring& tracePath, const std::wstring& sourceDsn);

private:
    AdoProxy proxy_;
};
