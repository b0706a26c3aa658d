#include "recording_journal.h"

namespace {

constexpr wchar_t kAnyConnection[] = L"";

void throwAt(AdoMoment moment, const std::optional<AdoFailure>& failure)
{
    if (failure && failure->moment == moment)
        throw AdoFailure(*failure);
}

} // namespace

void RecordingJournal::perform(const std::wstring& member, const std::wstring& line, bool read,
                               const std::function<void()>& action)
{
    ++callCount_;
    lines_.push_back({line, read});
    const std::optional<AdoFailure> byCall = due(Trigger::Call, L"", L"");
    const std::optional<AdoFailure> byMember = due(Trigger::Member, L"", member);
    throwAt(AdoMoment::Before, byCall);
    throwAt(AdoMoment::Before, byMember);
    action();
    throwAt(AdoMoment::After, byCall);
    throwAt(AdoMoment::After, byMember);
}

AdoAnswer RecordingJournal::run(const std::wstring& connection, const std::wstring& statement, const std::wstring& sent)
{
    statements_.emplace_back(connection, sent);
    const std::optional<AdoFailure> failure = dueStatement(connection, statement);
    throwAt(AdoMoment::Before, failure);
    if (const auto action = actions_.find(statement); action != actions_.end())
        action->second();
    std::optional<AdoAnswer> answer = takeAnswer({connection, statement});
    if (!answer)
        answer = takeAnswer({kAnyConnection, statement});
    if (!answer && others_)
        answer = others_(connection, statement);
    throwAt(AdoMoment::After, failure);
    return answer.value_or(AdoAnswer());
}

void RecordingJournal::answer(const std::wstring& connection, const std::wstring& statement, AdoAnswer answer)
{
    Answers& answers = answers_[{connection, statement}];
    if (std::exchange(answers.repeated, false))
        answers.queue.clear();
    answers.queue.push_back(std::move(answer));
}

void RecordingJournal::failMember(const std::wstring& member, size_t n, AdoFailure failure)
{
    failures_.push_back({Trigger::Member, kAnyConnection, member, n, std::move(failure)});
}

void RecordingJournal::failStatement(const std::wstring& connection, const std::wstring& statement, size_t n,
                                     AdoFailure failure)
{
    failures_.push_back({Trigger::Statement, connection, statement, n, std::move(failure)});
}

std::wstring RecordingJournal::defaultDatabase(const std::wstring& connection) const
{
    const auto name = databases_.find(connection);
    return name == databases_.end() ? connection : name->second;
}

std::optional<long> RecordingJournal::stateOf(const std::wstring& connection) const
{
    const auto state = states_.find(connection);
    return state == states_.end() ? std::nullopt : std::optional(state->second);
}

std::vector<std::wstring> RecordingJournal::lines(bool withReads) const
{
    std::vector<std::wstring> texts;
    for (const Line& line : lines_)
        if (withReads || !line.read)
            texts.push_back(line.text);
    return texts;
}

std::vector<ULONGLONG> RecordingJournal::callTimes() const
{
    std::vector<ULONGLONG> times;
    for (const Line& line : lines_)
        if (!line.read)
            times.push_back(line.time);
    return times;
}

void RecordingJournal::forget()
{
    lines_.clear();
    statements_.clear();
    callCount_ = 0;
}

bool RecordingJournal::Pending::matches(Trigger event, const std::wstring& onConnection, const std::wstring& text) const
{
    return trigger == event && name == text && (connection == kAnyConnection || connection == onConnection);
}

std::optional<AdoFailure> RecordingJournal::due(Trigger event, const std::wstring& connection, const std::wstring& name)
{
    std::optional<AdoFailure> found;
    for (Pending& pending : failures_)
        if (pending.left > 0 && pending.matches(event, connection, name) && --pending.left == 0)
            found = pending.failure;
    return found;
}

std::optional<AdoFailure> RecordingJournal::dueStatement(const std::wstring& connection, const std::wstring& statement)
{
    std::optional<AdoFailure> found = due(Trigger::Statement, connection, statement);
    if (const auto cut = cuts_.find(connection); cut != cuts_.end())
        found = cut->second;
    return found;
}

std::optional<AdoAnswer> RecordingJournal::takeAnswer(const AdoStatement& key)
{
    const auto found = answers_.find(key);
    if (found == answers_.end())
        return std::nullopt;
    Answers& answers = found->second;
    const AdoAnswer answer = answers.queue.front();
    if (answers.queue.size() > 1)
        answers.queue.erase(answers.queue.begin());
    else
        answers.repeated = true;
    return answer;
}
