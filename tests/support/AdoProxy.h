#pragma once

#include "AdoClasses.h"
#include "LateObject.h"

#include <map>
#include <memory>
#include <string>
#include <vector>
#include <wrl/client.h>

class ProxiedObject;

/// A call into ADO on its way: of a member of an object, or the creation of an object.
struct AdoCall
{
    /// Has ADO carry it out. Objects that ADO hands out are proxied, too.
    virtual HRESULT passOn() = 0;

    bool is(const wchar_t* ofClass, const wchar_t* name) const { return className == ofClass && member == name; }
    bool isPut() const { return (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0; }
    /// In the order of the declaration; objects of the proxy are exchanged for the real ones.
    const VARIANT& argument(size_t index) const { return arguments[arguments.size() - 1 - index]; }
    /// Fails the call as ADO does, with an exception record.
    HRESULT raise(HRESULT code, const wchar_t* source, const wchar_t* description) const;

    ProxiedObject* object; ///< null for a creation until it is carried out
    std::wstring className;
    std::wstring member; ///< "create" for a creation
    WORD flags = 0;
    std::vector<VARIANTARG> arguments = {}; ///< the last one first
    VARIANT* result = nullptr;              ///< null when none is wanted
    EXCEPINFO* exception = nullptr;

protected:
    AdoCall(ProxiedObject* on, std::wstring ofClass, std::wstring name)
        : object(on),
          className(std::move(ofClass)),
          member(std::move(name))
    {
    }
    ~AdoCall() = default;
};

/// Hooks around the calls that pass a proxy.
class AdoHooks
{
public:
    virtual ~AdoHooks() = default;

    /// Whether a new object is proxied; else its maker gets the real one.
    virtual bool wantsProxy() const { return true; }
    /// Every call, before and after `passOn`, or instead of it; returns the answer to the caller.
    virtual HRESULT call(AdoCall& call) { return call.passOn(); }
    /// An object was made for its user, or handed out by another.
    virtual void created(ProxiedObject&) {}
    /// Its user has let it go.
    virtual void released(ProxiedObject&) {}

    /// The proxy's own work begins and ends. Hooks run in between; it may be nested.
    virtual void enter() {}
    virtual void leave() {}

private:
    friend class ProxiedObject;
    /// Members by class and id: a caller that has looked one up may use the id with every object of the class.
    std::map<std::pair<std::wstring, DISPID>, std::wstring> members_;
};

/// An ADO object as its user sees it.
class ProxiedObject final : public LateObject
{
public:
    /// `parent` handed it out; null for one that was made.
    ProxiedObject(std::shared_ptr<AdoHooks> hooks, std::wstring ofClass, IDispatch* object,
                  const ProxiedObject* parent);

    /// The object of the proxy in a value; null for any other.
    static ProxiedObject* of(const VARIANT& value);

    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* badArgument) noexcept override;

    const std::wstring className;
    Microsoft::WRL::ComPtr<IDispatch> real;
    /// Of the connection that it is, or works on; empty while there is none.
    std::wstring connectionString;
    /// Of the command that it is, or belongs to.
    std::wstring statement;
    bool isProcedure = false;
    /// For the hooks to use. An object that another one hands out begins with that one's number.
    size_t number = 0;

protected:
    ~ProxiedObject() override;
    void* find(REFIID interfaceId) noexcept override;

private:
    struct MemberCall;

    void inherit(const ProxiedObject& from);
    void follow(const AdoCall& call);
    void wrap(const AdoCall& call);

    std::shared_ptr<AdoHooks> hooks_;
};

/// Stands between ADO and its users on the calling thread for as long as it lives: objects of ADODB.Connection, Command
/// and Recordset that are made meanwhile, and all that they hand out, pass every call on to the real ones by way of the
/// hooks.
class AdoProxy
{
public:
    explicit AdoProxy(const std::shared_ptr<AdoHooks>& hooks);

private:
    std::vector<ReplacedClass> classes_;
};
