#pragma once

#include "Session.h"

#include <string>

/// The result of reporting a row in a run.
struct ConflictPreview
{
    /// Whether a conflict would be recorded; rows whose copies agree but for their date are none.
    bool recorded = false;
    /// Why recording it would end the table in an error, and what to do; empty when it would not.
    std::string failure = {};
};

/// Reports a row as the component does, but for saving it. The row's key must be safe (isSafeKey).
ConflictPreview previewConflict(Databases& databases, const std::string& table, const _variant_t& key,
                                enumConflictType kind, DATE dNextReplicate);
