#include "RandomCall.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr UINT kNoBadArgument = 0xBAD;

std::string hex(HRESULT code)
{
    char text[16];
    std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(code));
    return text;
}

std::string narrow(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}

/// Whether Invoke itself returned the code, before it called a member.
bool isBindingFailure(HRESULT code)
{
    return code == DISP_E_BADPARAMCOUNT || code == DISP_E_PARAMNOTOPTIONAL || code == DISP_E_TYPEMISMATCH ||
           code == DISP_E_OVERFLOW || code == DISP_E_MEMBERNOTFOUND || code == DISP_E_PARAMNOTFOUND ||
           code == DISP_E_UNKNOWNINTERFACE || code == E_INVALIDARG || code == E_OUTOFMEMORY;
}

bool isEmpty(const EXCEPINFO& exception)
{
    return exception.scode == 0 && !exception.bstrSource && !exception.bstrDescription && !exception.bstrHelpFile;
}

} // namespace

Argument::Argument(Dice& dice, Value value, VARTYPE declared) : value_(std::move(value)), declared_(declared)
{
    // Arrays are compared by identity, and what is no VARIANT cannot be copied.
    const bool copied = !(value_->vt & VT_ARRAY) && SUCCEEDED(VariantCopy(&kept_.get(), &value_.get()));
    before_ = copied ? kept_.get() : value_.get();
    if (!dice.oneIn(3))
        refer(dice);
    else
        passed_ = value_.get();
}

void Argument::refer(Dice& dice)
{
    if (dice.oneIn(12)) {
        passed_.vt = static_cast<VARTYPE>(VT_BYREF | dice.oneOf<VARTYPE>({VT_VARIANT, declared_}));
        return;
    }
    if (dice.oneIn(2)) {
        passed_.vt = static_cast<VARTYPE>(VT_BYREF | value_->vt);
        passed_.byref = value_->vt == VT_DECIMAL ? static_cast<void*>(&value_->decVal) : &value_->byref;
        return;
    }
    depth_ = dice.oneIn(8) ? 1 + dice.below(kDeepest) : 1;
    VARIANT* target = &value_.get();
    for (size_t level = 0; level < depth_; ++level) {
        chain_[level].vt = VT_BYREF | VT_VARIANT;
        chain_[level].pvarVal = target;
        target = &chain_[level];
    }
    passed_ = chain_[depth_ - 1];
}

std::optional<std::string> Argument::complaint(bool memberRan, bool memberKnown) const
{
    if (isSame(value_.get(), before_))
        return std::nullopt;
    const bool converted =
        !memberKnown || value_.get().vt == declared_ || (declared_ == VT_VARIANT && value_.get().vt == before_.vt);
    if (memberRan && depth_ > 0 && converted)
        return std::nullopt;
    return "changed " + describe(before_) + " to " + describe(value_.get());
}

std::string Argument::text() const
{
    char form[32];
    std::snprintf(form, sizeof form, "%#x/%zu:", passed_.vt, depth_);
    return form + describe(value_.get());
}

RandomCall::RandomCall(Dice& dice, RandomValues& values, const std::vector<Member>& members)
    : good_(!dice.oneIn(3)),
      wantsResult_(!dice.oneIn(6)),
      wantsException_(!dice.oneIn(6)),
      wantsBadArgument_(!dice.oneIn(6)),
      hasParameters_(good_ || !dice.oneIn(40))
{
    if (members.empty())
        member_ = {L"unknown", static_cast<DISPID>(dice.below(40)) - 10, DISPATCH_METHOD, VT_EMPTY, {}};
    else
        member_ = members[dice.below(members.size())];
    if (member_.result != VT_EMPTY && member_.flags == DISPATCH_METHOD && dice.oneIn(2))
        member_.flags |= DISPATCH_PROPERTYGET;
    choose(dice, values);
}

void RandomCall::choose(Dice& dice, RandomValues& values)
{
    size_t count = member_.parameters.size();
    if (!good_) {
        if (dice.oneIn(20))
            member_.id = static_cast<DISPID>(dice.below(50)) - 10;
        if (dice.oneIn(20))
            member_.flags = static_cast<WORD>(dice.below(16));
        if (dice.oneIn(60))
            reserved_ = IID_IDispatch;
        if (dice.oneIn(4))
            count = dice.below(count + 3);
    }
    for (size_t index = count; index-- > 0;)
        addArgument(dice, values,
                    index < member_.parameters.size() ? member_.parameters[index] : Parameter{L"", VT_VARIANT, false});
    if (member_.flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
        if (good_ && !arguments_.empty())
            names_.push_back(DISPID_PROPERTYPUT);
    }
    if (!arguments_.empty() && dice.oneIn(good_ ? 10 : 4) && names_.empty())
        nameSome(dice);
}

void RandomCall::addArgument(Dice& dice, RandomValues& values, const Parameter& parameter)
{
    Value value;
    if (parameter.optional && dice.oneIn(3)) {
        value->vt = VT_ERROR;
        value->scode = DISP_E_PARAMNOTFOUND;
    }
    else if (good_ ? !dice.oneIn(25) : dice.oneIn(2))
        value = values.fitting(parameter.type, parameter.name);
    else
        value = values.any();
    arguments_.push_back(std::make_unique<Argument>(dice, std::move(value), parameter.type));
}

/// A good caller names the parameters that the values were made for; a bad one names any.
void RandomCall::nameSome(Dice& dice)
{
    const size_t named = 1 + dice.below(arguments_.size());
    for (size_t index = 0; index < named; ++index)
        names_.push_back(good_ ? static_cast<DISPID>(arguments_.size() - 1 - index)
                               : static_cast<DISPID>(dice.below(14)) - 4);
}

std::string RandomCall::text() const
{
    std::string text =
        narrow(member_.name) + "#" + std::to_string(member_.id) + " flags " + std::to_string(member_.flags) + " (";
    for (auto argument = arguments_.rbegin(); argument != arguments_.rend(); ++argument)
        text += (*argument)->text() + "; ";
    text += ")";
    for (const DISPID name : names_)
        text += " named " + std::to_string(name);
    return text;
}

std::optional<std::string> RandomCall::make(IDispatch& object, Microsoft::WRL::ComPtr<IDispatch>& given)
{
    std::vector<VARIANTARG> passed;
    for (const std::unique_ptr<Argument>& argument : arguments_)
        passed.push_back(argument->passed());
    DISPPARAMS parameters{passed.data(), names_.data(), static_cast<UINT>(passed.size()),
                          static_cast<UINT>(names_.size())};
    Outcome outcome;
    outcome.badArgument = kNoBadArgument;
    outcome.code =
        object.Invoke(member_.id, reserved_, LOCALE_USER_DEFAULT, member_.flags, hasParameters_ ? &parameters : nullptr,
                      wantsResult_ ? &outcome.result.get() : nullptr, wantsException_ ? &outcome.exception : nullptr,
                      wantsBadArgument_ ? &outcome.badArgument : nullptr);
    const std::optional<std::string> complaint = judge(outcome);
    for (BSTR* text :
         {&outcome.exception.bstrSource, &outcome.exception.bstrDescription, &outcome.exception.bstrHelpFile})
        SysFreeString(*text);
    if (outcome.result->vt == VT_DISPATCH && outcome.result->pdispVal)
        given = outcome.result->pdispVal;
    if (complaint)
        return text() + " answered " + hex(outcome.code) + ": " + *complaint;
    return std::nullopt;
}

std::optional<std::string> RandomCall::judge(const Outcome& outcome) const
{
    const bool bindingFailed =
        FAILED(outcome.code) && isEmpty(outcome.exception) && isBindingFailure(outcome.code) && wantsException_;
    for (const std::unique_ptr<Argument>& argument : arguments_)
        if (const std::optional<std::string> complaint = argument->complaint(!bindingFailed, good_))
            return complaint;
    if (FAILED(outcome.code))
        return judgeFailure(outcome);
    if (outcome.code != S_OK)
        return "success that is not S_OK";
    if (!isEmpty(outcome.exception))
        return "an exception record beside success";
    const VARTYPE expected = wantsResult_ ? member_.result : static_cast<VARTYPE>(VT_EMPTY);
    // Another member than the chosen one may have been reached with changed flags.
    if (good_ && expected != VT_VARIANT && outcome.result.get().vt != expected)
        return "result " + describe(outcome.result.get());
    return std::nullopt;
}

std::optional<std::string> RandomCall::judgeFailure(const Outcome& outcome) const
{
    if (outcome.result.get().vt != VT_EMPTY)
        return "failure with result " + describe(outcome.result.get());
    if (outcome.badArgument != kNoBadArgument && outcome.badArgument >= arguments_.size())
        return "bad argument " + std::to_string(outcome.badArgument);
    if (outcome.code == DISP_E_EXCEPTION && wantsException_) {
        const EXCEPINFO& exception = outcome.exception;
        if (!FAILED(exception.scode))
            return "exception with number " + hex(exception.scode);
        if (SysStringLen(exception.bstrSource) == 0)
            return "exception " + hex(exception.scode) + " without source";
        if (!exception.bstrDescription)
            return "exception " + hex(exception.scode) + " without description";
        return std::nullopt;
    }
    if (!wantsException_)
        return std::nullopt; // then the member's own code comes through
    if (!isEmpty(outcome.exception))
        return "an exception record beside another code than DISP_E_EXCEPTION";
    return isBindingFailure(outcome.code) ? std::nullopt : std::optional<std::string>("an undocumented code");
}
