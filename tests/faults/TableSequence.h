#pragma once

#include "AdoJournal.h"
#include "QuinmarkRepDLL.h"

#include <wrl/client.h>

/// A host's collection with one table object. While it is the one at work, the journal's step is Table.
Microsoft::WRL::ComPtr<IDispatch> tableSequence(AdoJournal& journal, Microsoft::WRL::ComPtr<_clsReplicateTable> table);
