#pragma once

#include "Allocations.h"
#include "TappedAdo.h"
#include "com/dispatch.h"
#include "support/LateObject.h"

class TappedObject;

/// What the tapped objects share.
struct TappedAdo::Shared
{
    AdoJournal journal;
    bool tapping = false;
    long live = 0;
    std::function<void()> written;
    /// Idle open connections by their connection string.
    std::multimap<std::wstring, com::Dispatch> kept;
    /// Connections that are alive, by their data source.
    std::map<std::wstring, TappedObject*> open;
    std::wstring lastConnection;
    /// Members by class and id: who has looked one up may use the id with every object of the class.
    std::map<std::pair<std::wstring, DISPID>, std::wstring> names;
    Microsoft::WRL::ComPtr<IClassFactory> connections;
};

/// One ADO object, seen through the tap. Every entry point is test code that the component calls.
class TappedObject final : public LateObject
{
public:
    using SharedTap = std::shared_ptr<TappedAdo::Shared>;

    /// `parent` may be null.
    TappedObject(SharedTap tap, std::wstring className, com::Dispatch real, const TappedObject* parent);
    ~TappedObject() override;

    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* badArgument) noexcept override;

    /// Closes the real connection behind a tapped one, and forgets it.
    void cut();

protected:
    void* find(REFIID interfaceId) noexcept override;

private:
    struct Call;

    HRESULT perform(Call& call);
    HRESULT passOn(Call& call);
    HRESULT passOnOpen(Call& call);
    void passOnClose();
    void giveBack();
    void cutConnection();
    void follow(const Call& call);
    void wrapResult(Call& call);
    AdoCall describe(const std::wstring& member) const;

    SharedTap tap_;
    std::wstring class_;
    com::Dispatch real_;
    size_t command_ = 0;
    std::wstring connection_;
    std::wstring connectionString_;
    bool isOpenConnection_ = false;
    bool procedure_ = false;
    std::wstring text_;
};
