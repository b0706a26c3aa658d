#include "RecordingAdo.h"

#include "RecordingObject.h"
#include "com/error.h"

#include <algorithm>

namespace {

constexpr short kVarChar = 200;
constexpr short kTimeStamp = 135;

/// One of ADO's classes, and how an object of it is made.
struct AdoClass
{
    CLSID id;
    const wchar_t* name;
    RecordingObject* (*create)(RecordingAdo&);
};

constexpr AdoClass kClasses[] = {{kAdoConnectionId, L"Connection", newConnection},
                                 {kAdoCommandId, L"Command", newCommand},
                                 {kAdoRecordsetId, L"Recordset", newRecordset}};

/// Makes objects of one class, each as a call that is recorded and may fail.
class AdoClassObject final : public com::UnknownObject<IClassFactory>
{
public:
    AdoClassObject(RecordingAdo& ado, const AdoClass& made) : ado_(ado), made_(made) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interfaceId, void** object) noexcept override
    {
        *object = nullptr;
        const std::wstring call = std::wstring(L"create ") + made_.name;
        _variant_t created;
        try {
            ado_.perform(call, call, false, [&] { created = ownedObject(made_.create(ado_)); });
        }
        catch (const AdoFailure& failure) {
            return failure.code;
        }
        return created.pdispVal->QueryInterface(interfaceId, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

private:
    RecordingAdo& ado_;
    const AdoClass& made_;
};

void throwAt(AdoMoment moment, const std::optional<AdoFailure>& failure)
{
    if (failure && failure->moment == moment)
        throw AdoFailure(*failure);
}

} // namespace

RecordingAdo::RecordingAdo()
{
    com::check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    for (const AdoClass& one : kClasses)
        replaced_.emplace_back(one.id, com::makeObject<AdoClassObject>(*this, one).Get());
}

RecordingAdo::~RecordingAdo()
{
    replaced_.clear();
    CoUninitialize();
}

void RecordingAdo::answerOn(const std::wstring& connection, const std::wstring& statement, AdoAnswer answer)
{
    Answers& answers = answers_[{connection, statement}];
    if (std::exchange(answers.repeated, false))
        answers.queue.clear();
    answers.queue.push_back(std::move(answer));
}

std::vector<std::wstring> RecordingAdo::calls() const
{
    std::vector<std::wstring> texts;
    for (const Line& line : lines_)
        if (!line.read)
            texts.push_back(line.text);
    return texts;
}

std::vector<std::wstring> RecordingAdo::callsAndReads() const
{
    std::vector<std::wstring> texts;
    for (const Line& line : lines_)
        texts.push_back(line.text);
    return texts;
}

void RecordingAdo::forget()
{
    lines_.clear();
    statements_.clear();
    callCount_ = 0;
}

com::Dispatch RecordingAdo::recordset(AdoRows rows)
{
    return com::Dispatch(ownedObject(newRecordset(*this, std::move(rows))).pdispVal);
}

std::wstring RecordingAdo::databaseOf(const std::wstring& connection) const
{
    const auto name = databases_.find(connection);
    return name == databases_.end() ? connection : name->second;
}

std::optional<long> RecordingAdo::stateOf(const std::wstring& connection) const
{
    const auto state = states_.find(connection);
    return state == states_.end() ? std::nullopt : std::optional(state->second);
}

void RecordingAdo::perform(const std::wstring& member, const std::wstring& line, bool read,
                           const std::function<void()>& action)
{
    ++callCount_;
    lines_.push_back({line, read});
    const std::optional<AdoFailure> failure = due({L"", member});
    throwAt(AdoMoment::Before, failure);
    action();
    throwAt(AdoMoment::After, failure);
}

AdoAnswer RecordingAdo::run(const std::wstring& connection, const std::wstring& statement, const std::wstring& sent)
{
    statements_.emplace_back(connection, sent);
    std::optional<AdoFailure> failure = due({L"|" + statement, connection + L"|" + statement});
    if (const auto cut = cuts_.find(connection); cut != cuts_.end())
        failure = cut->second;
    throwAt(AdoMoment::Before, failure);
    if (const auto action = actions_.find(statement); action != actions_.end())
        action->second();
    std::optional<AdoAnswer> answer = takeAnswer({connection, statement});
    if (!answer)
        answer = takeAnswer({L"", statement});
    if (!answer && others_)
        answer = others_(connection, statement);
    throwAt(AdoMoment::After, failure);
    return answer.value_or(AdoAnswer());
}

std::optional<AdoFailure> RecordingAdo::due(const std::vector<std::wstring>& events)
{
    std::optional<AdoFailure> found;
    for (Pending& pending : failures_)
        if (pending.left > 0 && std::ranges::count(events, pending.event) > 0 && --pending.left == 0)
            found = pending.failure;
    return found;
}

std::optional<AdoAnswer> RecordingAdo::takeAnswer(const AdoStatement& key)
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

_variant_t adoNull()
{
    _variant_t null;
    null.vt = VT_NULL;
    return null;
}

AdoAnswer adoTexts(const std::wstring& name, const std::vector<std::wstring>& values)
{
    AdoAnswer answer{{{{name, kVarChar}}, {}}, 0, {}};
    for (const std::wstring& value : values)
        answer.rows.rows.push_back({_variant_t(value.c_str())});
    return answer;
}

AdoAnswer adoRows(const std::vector<std::wstring>& columns, std::vector<std::vector<_variant_t>> rows)
{
    AdoAnswer answer{{{}, std::move(rows)}, 0, {}};
    for (const std::wstring& column : columns)
        answer.rows.columns.push_back({column, column.ends_with(L"mod_date") ? kTimeStamp : kVarChar});
    return answer;
}

AdoRows adoRow(const std::vector<std::pair<std::wstring, _variant_t>>& values)
{
    AdoRows row;
    row.rows.emplace_back();
    for (const auto& [name, value] : values) {
        row.columns.push_back({name, kVarChar});
        row.rows[0].push_back(value);
    }
    return row;
}

AdoAnswer adoAffected(long rows)
{
    return {{}, rows, {}};
}
