#pragma once

#include "AdoClasses.h"
#include "com/dispatch.h"

#include <comdef.h>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// One column of a result; `type` is ADO's.
struct AdoColumn
{
    std::wstring name;
    short type;
};

/// A result: columns, and rows of as many values.
struct AdoRows
{
    std::vector<AdoColumn> columns;
    std::vector<std::vector<_variant_t>> rows;
};

/// The answer to a statement: a result, the rows affected, and the values of output parameters by their index.
struct AdoAnswer
{
    AdoRows rows;
    long affected = 0;
    std::map<long, _variant_t> outputs;
};

enum class AdoMoment
{
    Before, ///< the call is not carried out
    After,  ///< the call is carried out and then reported as failed
};

/// The failure of a call: as ADO fails, with an exception record, or with a bare failure code when there is no
/// description.
struct AdoFailure
{
    HRESULT code;
    std::wstring description;
    std::wstring source = L"Test provider";
    AdoMoment moment = AdoMoment::Before;
};

/// A connection's label and a statement sent on it; a command's parameter values stand in parentheses after its text.
using AdoStatement = std::pair<std::wstring, std::wstring>;

/// Takes the place of ADO on the calling thread for as long as it lives: ADODB.Connection, Command and Recordset made
/// there record every call, and answer what the test has laid down. A connection's label is the DSN it was opened with.
/// Has to outlive its objects, but for those that nobody releases.
///
/// Statements without an answer give an empty result and no rows affected. The objects keep ADO's own rules for closed
/// objects (3704, 3705, 3709), rows (3021) and items (3265). Members are found by name, without case, and only in the
/// way ADO offers them (property or method).
class RecordingAdo
{
public:
    using Answerer = std::function<AdoAnswer(const std::wstring& connection, const std::wstring& statement)>;

    RecordingAdo();
    ~RecordingAdo();
    RecordingAdo(const RecordingAdo&) = delete;
    RecordingAdo& operator=(const RecordingAdo&) = delete;

    /// Answers a statement (its exact text, or a procedure's name). Several answers to one statement are given in their
    /// order, and the last one again and again until a later one is laid down. An answer for one connection goes before
    /// those for any.
    void answer(const std::wstring& statement, AdoAnswer answer) { answerOn(L"", statement, std::move(answer)); }
    void answerOn(const std::wstring& connection, const std::wstring& statement, AdoAnswer answer);

    /// Answers every statement that has no answer laid down; may throw an AdoFailure.
    void answerOthers(Answerer answer) { others_ = std::move(answer); }

    /// Fails the n-th call after this one (from 1), reads and creations included.
    void failCall(size_t n, const AdoFailure& failure) { failures_.push_back({L"", n, failure}); }
    /// Fails the n-th later call of a member, such as "Command.Execute", "Connection.State" or "create Recordset".
    void failMember(const std::wstring& member, const AdoFailure& failure, size_t n = 1)
    {
        failures_.push_back({member, n, failure});
    }
    /// Fails the n-th later execution of a statement, on any connection or on one.
    void failStatement(const std::wstring& statement, const AdoFailure& failure, size_t n = 1)
    {
        failStatementOn(L"", statement, failure, n);
    }
    void failStatementOn(const std::wstring& connection, const std::wstring& statement, const AdoFailure& failure,
                         size_t n = 1)
    {
        failures_.push_back({connection + L"|" + statement, n, failure});
    }
    /// Fails every later statement on a connection, which seems to stay open.
    void cut(const std::wstring& connection, const AdoFailure& failure) { cuts_.insert_or_assign(connection, failure); }

    /// Runs `action` each time just before the statement is carried out.
    void whenExecuting(const std::wstring& statement, std::function<void()> action) { actions_[statement] = action; }

    /// Name of a connection's database; its label unless told.
    void setDefaultDatabase(const std::wstring& connection, const std::wstring& name) { databases_[connection] = name; }

    /// The state that connections of that label tell after this call, whatever was done to them; they go on working.
    void setState(const std::wstring& connection, long state) { states_[connection] = state; }

    /// Every creation, put, method call and release of the three classes and their parameters, in order: "create
    /// Command", "Command.CommandTimeout = 300", "Connection(office).Close()", "release Command".
    std::vector<std::wstring> calls() const;
    /// The same with the reads of properties: "Recordset.EOF".
    std::vector<std::wstring> callsAndReads() const;
    /// Every statement sent, those that failed included.
    const std::vector<AdoStatement>& statements() const { return statements_; }
    /// Calls and reads so far, failed ones included, releases not.
    size_t callCount() const { return callCount_; }
    /// Forgets calls and statements; answers and failures stay.
    void forget();
    /// Objects that are not released yet, fields and parameters included.
    long liveObjects() const { return static_cast<long>(live_.size()); }

    /// A recordset on its first row, as a host would hand it in.
    com::Dispatch recordset(AdoRows rows);

    // For the objects themselves.

    /// Records a call and carries it out, unless it is to fail.
    void perform(const std::wstring& member, const std::wstring& line, bool read, const std::function<void()>& action);
    /// Records a statement and gives its answer, unless it is to fail. `sent` is the text with the parameters.
    AdoAnswer run(const std::wstring& connection, const std::wstring& statement, const std::wstring& sent);
    /// Records an event that is no call and cannot fail.
    void note(const std::wstring& line) { lines_.push_back({line, false}); }
    std::wstring databaseOf(const std::wstring& connection) const;
    std::optional<long> stateOf(const std::wstring& connection) const;
    /// The objects that are alive.
    std::set<IDispatch*>& live() { return live_; }

private:
    struct Line
    {
        std::wstring text;
        bool read;
    };

    /// A failure in waiting at a call (""), a member, or a statement ("connection|statement", with or without the
    /// connection); `left` counts these down, to 0 when it is spent.
    struct Pending
    {
        std::wstring event;
        size_t left;
        AdoFailure failure;
    };

    /// The answers to one statement; `repeated` once the last of them has been given.
    struct Answers
    {
        std::vector<AdoAnswer> queue;
        bool repeated = false;
    };

    std::optional<AdoFailure> due(const std::vector<std::wstring>& events);
    std::optional<AdoAnswer> takeAnswer(const AdoStatement& key);

    std::vector<Line> lines_;
    std::vector<AdoStatement> statements_;
    std::map<AdoStatement, Answers> answers_;
    Answerer others_;
    std::map<std::wstring, std::function<void()>> actions_;
    std::map<std::wstring, AdoFailure> cuts_;
    std::map<std::wstring, std::wstring> databases_;
    std::map<std::wstring, long> states_;
    std::vector<Pending> failures_;
    size_t callCount_ = 0;
    std::set<IDispatch*> live_;
    std::vector<ReplacedClass> replaced_;
};

/// A database Null.
_variant_t adoNull();

/// Text values of one column named `name`, one row each.
AdoAnswer adoTexts(const std::wstring& name, const std::vector<std::wstring>& values);

/// Rows of columns that are dates by their name (mod_date), or texts.
AdoAnswer adoRows(const std::vector<std::wstring>& columns, std::vector<std::vector<_variant_t>> rows);

/// One row of text columns, its values by their names.
AdoRows adoRow(const std::vector<std::pair<std::wstring, _variant_t>>& values);

/// An answer of a count only.
AdoAnswer adoAffected(long rows);
