#pragma once

#include "LateObject.h"
#include "RecordingAdo.h"

/// An automation object of the recording ADO, IDispatch only: its members are laid down, and every use of one is
/// recorded.
class RecordingObject : public LateObject
{
public:
    /// The arguments of a call, in their order.
    using Arguments = std::vector<_variant_t>;
    using Getter = std::function<_variant_t(const Arguments&)>;
    using Setter = std::function<void(const _variant_t&)>;

    /// `firstId` sets the ids of one class apart from those of every other. Lines call the object by its title.
    RecordingObject(RecordingAdo& ado, const wchar_t* className, DISPID firstId, const std::wstring& title);
    ~RecordingObject() override;
    RecordingObject(const RecordingObject&) = delete;
    RecordingObject& operator=(const RecordingObject&) = delete;

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* badArgument) noexcept override;

    void property(const wchar_t* name, Getter get, Setter put = nullptr);
    /// A property that keeps what is put into it.
    void stored(const wchar_t* name, const _variant_t& value);
    void method(const wchar_t* name, Getter call);

    /// The value of a stored property.
    _variant_t& value(const wchar_t* name) { return values_[name]; }

protected:
    RecordingAdo& ado() const { return ado_; }
    void setTitle(const std::wstring& title) { title_ = title; }
    const std::wstring& title() const { return title_; }

    /// The object in a value, when it is one of the recording ADO and of that class; null otherwise.
    template <class Object>
    Object* objectIn(const VARIANT& value) const
    {
        return dynamic_cast<Object*>(recordingObject(value));
    }
    /// A value as it stands in a line: texts in quotes, left-out arguments as "missing", objects by their title.
    std::wstring text(const VARIANT& value) const;

private:
    struct Member
    {
        std::wstring name;
        Getter get;
        Setter put;
        Getter call;
    };

    RecordingObject* recordingObject(const VARIANT& value) const;
    _variant_t use(const Member& member, WORD flags, const Arguments& arguments);
    std::wstring line(const Member& member, WORD flags, const Arguments& arguments) const;

    RecordingAdo& ado_;
    std::wstring class_;
    DISPID firstId_;
    std::wstring title_;
    std::vector<Member> members_;
    std::map<std::wstring, _variant_t> values_;
};

/// An object as a value; the value takes over the first reference.
_variant_t ownedObject(RecordingObject* object);

/// Fails as ADO does, with one of its own numbers (3265, ...) and the text that goes with it.
[[noreturn]] void throwAdoError(long number);

/// New objects of ADO's classes; a recordset on the first of its rows.
RecordingObject* newConnection(RecordingAdo& ado);
RecordingObject* newCommand(RecordingAdo& ado);
RecordingObject* newRecordset(RecordingAdo& ado);
RecordingObject* newRecordset(RecordingAdo& ado, AdoRows rows);
