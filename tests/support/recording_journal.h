#pragma once

#include "RecordingAdo.h"

#include <optional>

/// What the recording objects of one RecordingAdo share: what happened, and what is to happen.
class RecordingJournal
{
public:
    /// Records a call and carries it out, unless it is to fail.
    void perform(const std::wstring& member, const std::wstring& line, bool read, const std::function<void()>& action);

    /// Records a line that is no call and cannot fail.
    void note(const std::wstring& line) { lines_.push_back({line, false}); }

    /// Records a statement and gives its answer, unless it is to fail. `sent` is the text with the parameters.
    AdoAnswer run(const std::wstring& connection, const std::wstring& statement, const std::wstring& sent);

    void answer(const std::wstring& connection, const std::wstring& statement, AdoAnswer answer);
    void answerOthers(std::function<AdoAnswer(const std::wstring&, const std::wstring&)> answer) { others_ = answer; }
    void failCall(size_t n, AdoFailure failure) { failures_.push_back({Trigger::Call, L"", L"", n, failure}); }
    void failMember(const std::wstring& member, size_t n, AdoFailure failure);
    void failStatement(const std::wstring& connection, const std::wstring& statement, size_t n, AdoFailure failure);
    void cut(const std::wstring& connection, AdoFailure failure) { cuts_.insert_or_assign(connection, failure); }
    void whenExecuting(const std::wstring& statement, std::function<void()> action) { actions_[statement] = action; }
    void setDefaultDatabase(const std::wstring& connection, const std::wstring& name) { databases_[connection] = name; }
    void setState(const std::wstring& connection, long state) { states_[connection] = state; }
    std::optional<long> stateOf(const std::wstring& connection) const;
    std::wstring defaultDatabase(const std::wstring& connection) const;

    std::vector<std::wstring> lines(bool withReads) const;
    std::vector<ULONGLONG> callTimes() const;
    const std::vector<AdoStatement>& statements() const { return statements_; }
    size_t callCount() const { return callCount_; }
    void forget();

    void objectMade() { ++liveObjects_; }
    void objectGone() { --liveObjects_; }
    long liveObjects() const { return liveObjects_; }

private:
    enum class Trigger
    {
        Call,
        Member,
        Statement,
    };

    struct Line
    {
        std::wstring text;
        bool read;
        ULONGLONG time = GetTickCount64();
    };

    /// A failure in waiting; `left` counts the matching events down, to 0 when it is spent.
    struct Pending
    {
        Trigger trigger;
        std::wstring connection;
        std::wstring name;
        size_t left;
        AdoFailure failure;

        bool matches(Trigger event, const std::wstring& onConnection, const std::wstring& text) const;
    };

    /// The answers to one statement; `repeated` once the last of them has been given.
    struct Answers
    {
        std::vector<AdoAnswer> queue;
        bool repeated = false;
    };

    std::optional<AdoFailure> due(Trigger event, const std::wstring& connection, const std::wstring& name);
    std::optional<AdoFailure> dueStatement(const std::wstring& connection, const std::wstring& statement);
    std::optional<AdoAnswer> takeAnswer(const AdoStatement& key);

    std::vector<Line> lines_;
    std::vector<AdoStatement> statements_;
    std::map<AdoStatement, Answers> answers_;
    std::function<AdoAnswer(const std::wstring&, const std::wstring&)> others_;
    std::map<std::wstring, std::function<void()>> actions_;
    std::map<std::wstring, AdoFailure> cuts_;
    std::map<std::wstring, std::wstring> databases_;
    std::map<std::wstring, long> states_;
    std::vector<Pending> failures_;
    size_t callCount_ = 0;
    long liveObjects_ = 0;
};
