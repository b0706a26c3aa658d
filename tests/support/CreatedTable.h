#pragma once

#include "PracticePair.h"
#include "Sabotage.h"

/// A table of the test's own in both databases, addressed by the prefixes like any other, while it is there.
class CreatedTable
{
public:
    static constexpr wchar_t kName[] = L"replication_test";

    CreatedTable(const PracticeSide& source, const PracticeSide& destination, const HostSettings& host,
                 const std::wstring& columns, const std::wstring& name = kName)
        : CreatedTable(source, destination, host, columns, columns, name)
    {
    }

    /// With other columns at the destination than at the source.
    CreatedTable(const PracticeSide& source, const PracticeSide& destination, const HostSettings& host,
                 const std::wstring& sourceColumns, const std::wstring& destinationColumns, const std::wstring& name)
        : atSource_(source, created(name, sourceColumns)),
          atDestination_(destination, created(name, destinationColumns)),
          sourceKnown_(destination, knownTable(host.sourcePrefix, name)),
          destinationKnown_(source, knownTable(host.destinationPrefix, name))
    {
    }

private:
    static Change created(const std::wstring& name, const std::wstring& columns)
    {
        return {L"create table " + name + L" (" + columns + L")", L"drop table " + name};
    }

    Sabotage atSource_;
    Sabotage atDestination_;
    Sabotage sourceKnown_;
    Sabotage destinationKnown_;
};
