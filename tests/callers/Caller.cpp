#include "Caller.h"

#include "ForeignObject.h"
#include "RandomCall.h"
#include "conflicts/Collection.h"
#include "conflicts/ConflictDataFace.h"
#include "control/Factory.h"
#include "control/FactoryFace.h"
#include "control/settings.h"

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace {

constexpr size_t kMostObjects = 16;
constexpr int kDeepestCallBack = 3;

ComPtr<IDispatch> asDispatch(IDispatch* object)
{
    return object;
}

} // namespace

Caller::Caller(std::uint64_t seed, std::string title, CallWatch& watch)
    : dice_(seed),
      title_(std::move(title)),
      watch_(watch)
{
    ado_.answerOthers([this](const std::wstring&, const std::wstring& statement) { return answers_(statement); });
    objects_.push_back(asDispatch(static_cast<_Factory*>(com::makeObject<FactoryFace>().Get())));
    objects_.push_back(asDispatch(static_cast<_Collection*>(com::makeObject<quinmark::Collection>().Get())));
    objects_.push_back(
        asDispatch(static_cast<_clsConflictData*>(com::makeObject<ConflictDataFace>(clsConflictData()).Get())));
    addForeignObjects();
}

Caller::~Caller() = default;

void Caller::addForeignObjects()
{
    objects_.push_back(com::makeObject<ForeignObject>(dice_, objects_, [this] { callBack(); }));
    objects_.push_back(asDispatch(ado_.recordset(answers_.rows()).get()));
}

void Caller::makeCalls(size_t count)
{
    for (size_t made = 0; made < count; ++made) {
        ++number_;
        makeCall(0);
        ado_.forget();
        if (dice_.oneIn(20))
            keep(asDispatch(ado_.recordset(answers_.rows()).get()));
    }
}

void Caller::makeCall(int depth)
{
    // Kept alive for the call, as a host's own variable does.
    const ComPtr<IDispatch> object(&chosen());
    RandomCall call(dice_, values_, members(*object.Get()));
    if (depth == 0)
        watch_.begin(title_ + " call " + std::to_string(number_) + ": " + call.text());
    ComPtr<IDispatch> given;
    depth_ = depth;
    const std::optional<std::string> complaint = call.make(*object.Get(), given);
    depth_ = depth;
    if (depth == 0)
        watch_.end();
    if (complaint)
        complaints_.push_back(title_ + " call " + std::to_string(number_) + ": " + *complaint);
    if (given)
        keep(given);
}

void Caller::callBack()
{
    const int depth = depth_;
    if (depth < kDeepestCallBack)
        makeCall(depth + 1);
    depth_ = depth;
}

/// A foreign object is an argument; calling it would only test itself.
IDispatch& Caller::chosen()
{
    for (;;) {
        IDispatch& object = *objects_[dice_.below(objects_.size())].Get();
        UINT described = 0;
        if (SUCCEEDED(object.GetTypeInfoCount(&described)) && described > 0)
            return object;
    }
}

const std::vector<Member>& Caller::members(IDispatch& object)
{
    const IID id = interfaceOf(object);
    for (const auto& [known, found] : classes_)
        if (known == id)
            return found;
    return classes_.emplace_back(id, membersOf(object)).second;
}

void Caller::keep(ComPtr<IDispatch> object)
{
    constexpr size_t kPermanent = 5;
    if (objects_.size() < kMostObjects)
        objects_.push_back(std::move(object));
    else {
        objects_[kPermanent + dice_.below(objects_.size() - kPermanent)].Swap(object);
        replaced_.push_back(std::move(object));
    }
}

/// The caller itself has to break the circles that it made, such as a conflict that holds itself.
void Caller::openCircles()
{
    for (const Objects* objects : {&objects_, &replaced_})
        for (const ComPtr<IDispatch>& object : *objects) {
            ComPtr<_clsConflict> conflict;
            if (FAILED(object.CopyTo(conflict.GetAddressOf())))
                continue;
            IDispatch* nothing = nullptr;
            _variant_t empty;
            conflict->putref_colData(&nothing);
            conflict->put_vGuid(&empty);
        }
}

void Caller::leave()
{
    watch_.begin(title_ + " leaving");
    openCircles();
    answers_.calm = true;
    settings().releaseLocalConnection();
    settings().releaseRemoteConnection();
    detachThreadSettings();
    objects_.clear();
    replaced_.clear();
    SetErrorInfo(0, nullptr);
    ado_.forget();
    if (ado_.liveObjects() != 0)
        complaints_.push_back(title_ + ": " + std::to_string(ado_.liveObjects()) + " objects of ADO left");
    watch_.end();
}
