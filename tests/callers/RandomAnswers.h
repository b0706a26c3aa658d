#pragma once

#include "Dice.h"
#include "support/RecordingAdo.h"

/// A database that answers every statement with something: often what the component asked for, sometimes too few or
/// too many rows, other types, Null, or a failure.
class RandomAnswers
{
public:
    explicit RandomAnswers(Dice& dice) : dice_(dice) {}

    /// Throws an AdoFailure now and then, and never while `calm`.
    AdoAnswer operator()(const std::wstring& statement);
    /// Rows with the columns of the control, conflict and practice tables.
    AdoRows rows();

    bool calm = false;

private:
    Dice& dice_;
};
