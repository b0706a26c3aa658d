#pragma once

#include "LateObject.h"
#include "recording_journal.h"

/// The arguments of one late-bound call, in their order.
class RecordingArguments
{
public:
    explicit RecordingArguments(const DISPPARAMS& params) : params_(params) {}

    size_t count() const { return params_.cArgs; }
    /// Argument `index` from 0; DISP_E_PARAMNOTFOUND in a VT_ERROR when it was left out.
    VARIANT& at(size_t index) const;
    long number(size_t index) const;
    std::wstring text(size_t index) const;
    bool isMissing(size_t index) const;

private:
    const DISPPARAMS& params_;
};

/// An automation object of the recording ADO, IDispatch only: its members are laid down by its constructor, and every
/// use of one goes through the journal.
class RecordingObject : public LateObject
{
public:
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* badArgument) noexcept override;

    /// How lines call the object: its class, with what tells it apart.
    virtual std::wstring title() const { return class_; }

    /// The object behind a value, when it is one of the recording ADO; null otherwise.
    static RecordingObject* behind(const VARIANT& value);

protected:
    using Getter = std::function<_variant_t(const RecordingArguments&)>;
    using Method = std::function<_variant_t(const RecordingArguments&)>;
    using Setter = std::function<void(const VARIANT&)>;

    /// `firstId` sets the ids of one class apart from those of every other.
    RecordingObject(std::shared_ptr<RecordingJournal> journal, const wchar_t* className, DISPID firstId);
    ~RecordingObject() override;
    RecordingObject(const RecordingObject&) = delete;
    RecordingObject& operator=(const RecordingObject&) = delete;

    void* find(REFIID interfaceId) noexcept override;

    void property(const wchar_t* name, Getter get, Setter put = nullptr);
    /// A property that keeps what is put into it.
    void property(const wchar_t* name, _variant_t& value);
    void method(const wchar_t* name, Method call);

    const std::shared_ptr<RecordingJournal>& journal() const { return journal_; }

private:
    struct Member
    {
        const wchar_t* name;
        Getter get;
        Setter put;
        Method call;
    };

    _variant_t use(const Member& member, WORD flags, const RecordingArguments& arguments);
    std::wstring line(const Member& member, WORD flags, const RecordingArguments& arguments) const;

    std::shared_ptr<RecordingJournal> journal_;
    std::wstring class_;
    DISPID firstId_;
    std::vector<Member> members_;
};

/// A value as it stands in a line: texts in quotes, left-out arguments as "missing", objects by their title.
std::wstring recordedText(const VARIANT& value);

/// An object as a value; the value takes over the first reference.
_variant_t ownedObject(RecordingObject* object);

/// Fails as ADO does, with one of its own numbers (3265, ...) and the text that goes with it.
[[noreturn]] void throwAdoError(long number);
