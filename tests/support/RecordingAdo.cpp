#include "RecordingAdo.h"

#include "com/error.h"
#include "recording_classes.h"

namespace {

constexpr short kVarChar = 200;

/// Makes objects of one class, each as a call that is recorded and may fail.
template <class Object>
class RecordingFactory final : public com::UnknownObject<IClassFactory>
{
public:
    RecordingFactory(std::shared_ptr<RecordingJournal> journal, const wchar_t* className)
        : journal_(std::move(journal)),
          call_(std::wstring(L"create ") + className)
    {
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interfaceId, void** object) noexcept override
    {
        *object = nullptr;
        Microsoft::WRL::ComPtr<Object> created;
        try {
            journal_->perform(call_, call_, false, [&] { created = com::makeObject<Object>(journal_); });
        }
        catch (const AdoFailure& failure) {
            return failure.code;
        }
        return created->QueryInterface(interfaceId, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

private:
    std::shared_ptr<RecordingJournal> journal_;
    std::wstring call_;
};

template <class Object>
ReplacedClass replacement(const CLSID& id, const std::shared_ptr<RecordingJournal>& journal, const wchar_t* className)
{
    return ReplacedClass(id, com::makeObject<RecordingFactory<Object>>(journal, className).Get());
}

} // namespace

RecordingAdo::RecordingAdo() : journal_(std::make_shared<RecordingJournal>())
{
    com::check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    replaced_.push_back(replacement<RecordingConnection>(kAdoConnectionId, journal_, L"Connection"));
    replaced_.push_back(replacement<RecordingCommand>(kAdoCommandId, journal_, L"Command"));
    replaced_.push_back(replacement<RecordingRecordset>(kAdoRecordsetId, journal_, L"Recordset"));
}

RecordingAdo::~RecordingAdo()
{
    replaced_.clear();
    CoUninitialize();
}

void RecordingAdo::answer(const std::wstring& statement, AdoAnswer answer)
{
    journal_->answer(L"", statement, std::move(answer));
}

void RecordingAdo::answerOn(const std::wstring& connection, const std::wstring& statement, AdoAnswer answer)
{
    journal_->answer(connection, statement, std::move(answer));
}

void RecordingAdo::answerOthers(std::function<AdoAnswer(const std::wstring&, const std::wstring&)> answer)
{
    journal_->answerOthers(std::move(answer));
}

void RecordingAdo::failCall(size_t n, AdoFailure failure)
{
    journal_->failCall(n, std::move(failure));
}

void RecordingAdo::failMember(const std::wstring& member, AdoFailure failure, size_t n)
{
    journal_->failMember(member, n, std::move(failure));
}

void RecordingAdo::failStatement(const std::wstring& statement, AdoFailure failure, size_t n)
{
    journal_->failStatement(L"", statement, n, std::move(failure));
}

void RecordingAdo::failStatementOn(const std::wstring& connection, const std::wstring& statement, AdoFailure failure,
                                   size_t n)
{
    journal_->failStatement(connection, statement, n, std::move(failure));
}

void RecordingAdo::cut(const std::wstring& connection, AdoFailure failure)
{
    journal_->cut(connection, std::move(failure));
}

void RecordingAdo::whenExecuting(const std::wstring& statement, std::function<void()> action)
{
    journal_->whenExecuting(statement, std::move(action));
}

void RecordingAdo::setDefaultDatabase(const std::wstring& connection, const std::wstring& name)
{
    journal_->setDefaultDatabase(connection, name);
}

void RecordingAdo::setState(const std::wstring& connection, long state)
{
    journal_->setState(connection, state);
}

std::vector<std::wstring> RecordingAdo::calls() const
{
    return journal_->lines(false);
}

std::vector<std::wstring> RecordingAdo::callsAndReads() const
{
    return journal_->lines(true);
}

std::vector<ULONGLONG> RecordingAdo::callTimes() const
{
    return journal_->callTimes();
}

std::vector<AdoStatement> RecordingAdo::statements() const
{
    return journal_->statements();
}

size_t RecordingAdo::callCount() const
{
    return journal_->callCount();
}

void RecordingAdo::forget()
{
    journal_->forget();
}

long RecordingAdo::liveObjects() const
{
    return journal_->liveObjects();
}

com::Dispatch RecordingAdo::recordset(AdoRows rows) const
{
    const _variant_t object = ownedObject(new RecordingRecordset(journal_, std::move(rows)));
    return com::Dispatch(object.pdispVal);
}

_variant_t adoNull()
{
    _variant_t null;
    null.vt = VT_NULL;
    return null;
}

AdoAnswer adoTexts(const std::wstring& name, const std::vector<std::wstring>& values)
{
    AdoAnswer answer;
    answer.rows.columns = {{name, kVarChar}};
    for (const std::wstring& value : values)
        answer.rows.rows.push_back({_variant_t(value.c_str())});
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
    AdoAnswer answer;
    answer.affected = rows;
    return answer;
}
