#pragma once

#include <optional>
#include <string>
#include <vector>

/// The step that the host has the component do. Table is the part of Go in which a table object runs.
enum class Step
{
    Idle,
    Init,
    SetError,
    ResetError,
    SetReady,
    Ensure,
    InitNextRun,
    Create,
    Go,
    Table,
    Load,
    Resolve,
    Disconnect,
};

enum class AdoFaultKind
{
    Refused,  ///< an error instead of the call
    Lost,     ///< the call is carried out, and an error returned
    Closed,   ///< the connection is closed before the call; later calls on it fail by themselves
    NoMemory, ///< E_OUTOFMEMORY instead of the call
};

/// A fault of the call number `call` (from 1), and with `lasting` of all calls after it.
struct AdoFault
{
    AdoFaultKind kind;
    bool lasting;
    size_t call;
};

struct RecordedCall
{
    Step step = Step::Idle;
    size_t command = 0;       ///< to which the call belongs, counted from 1; 0 for calls of the connection itself
    bool writes = false;      ///< carried out, and a statement that is no query
    bool readsClosed = false; ///< answered that the connection is closed
    bool failed = false;
};

/// Every call into ADO since `begin`, creations included, and the fault of one of them.
class AdoJournal
{
public:
    void begin(std::optional<AdoFault> fault = {});
    /// Ends the faults, keeps the recorded calls.
    void heal() { fault_.reset(); }

    Step step = Step::Idle;
    /// Off: calls are neither recorded nor failed.
    bool recording = true;

    /// Records a call that begins, and returns its fault.
    std::optional<AdoFaultKind> add(size_t command);
    RecordedCall& last() { return calls_.back(); }

    const std::vector<RecordedCall>& calls() const { return calls_; }
    void newCommand() { texts_.emplace_back(); }
    size_t lastCommand() const { return texts_.size(); }
    void setText(size_t command, const std::wstring& text);

    /// The text of the call's statement; for a call of the connection itself that of the next statement. Empty after
    /// the last one.
    std::wstring statement(size_t call) const;

    /// Index (from 1) of the first call that failed, 0 when none did.
    size_t firstFailure() const;
    /// Statements that wrote, by the calls from `first` on and before `end`.
    std::vector<std::wstring> writes(size_t first, size_t end = SIZE_MAX) const;

private:
    std::optional<AdoFault> fault_;
    std::vector<RecordedCall> calls_;
    std::vector<std::wstring> texts_;
};
