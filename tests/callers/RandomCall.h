#pragma once

#include "Members.h"
#include "RandomValues.h"

#include <memory>
#include <optional>

/// One variable or value in a caller's argument array, with the references that lead to it.
class Argument
{
public:
    Argument(Dice& dice, Value value, VARTYPE declared);
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;

    VARIANTARG passed() const { return passed_; }
    /// The forbidden change that the call made to a variable; empty when it made none. A script's variable may come
    /// back in the declared type when the member ran, and in any when it is not known which one ran.
    std::optional<std::string> complaint(bool memberRan, bool memberKnown) const;
    std::string text() const;

private:
    static constexpr size_t kDeepest = 12;

    void refer(Dice& dice);

    Value value_;
    Value kept_; ///< keeps the text or the object of `before_` alive
    VARIANT before_{};
    VARTYPE declared_;
    VARIANT chain_[kDeepest] = {};
    size_t depth_ = 0;
    VARIANTARG passed_{};
};

/// A call of a member, or of none, with good and bad arguments, made as a late-bound host makes it.
class RandomCall
{
public:
    RandomCall(Dice& dice, RandomValues& values, const std::vector<Member>& members);

    std::string text() const;

    /// Makes the call; what was wrong about its outcome, empty when nothing was. An object that it gave is in `given`.
    std::optional<std::string> make(IDispatch& object, Microsoft::WRL::ComPtr<IDispatch>& given);

private:
    struct Outcome
    {
        HRESULT code = E_UNEXPECTED;
        Value result;
        EXCEPINFO exception{};
        UINT badArgument = 0;
    };

    void choose(Dice& dice, RandomValues& values);
    void addArgument(Dice& dice, RandomValues& values, const Parameter& parameter);
    void nameSome(Dice& dice);
    std::optional<std::string> judge(const Outcome& outcome) const;
    std::optional<std::string> judgeFailure(const Outcome& outcome) const;

    Member member_;
    bool good_;
    bool wantsResult_;
    bool wantsException_;
    bool wantsBadArgument_;
    bool hasParameters_;
    IID reserved_ = IID_NULL;
    std::vector<std::unique_ptr<Argument>> arguments_; ///< in the order of the caller's array: the last one first
    std::vector<DISPID> names_;
};
