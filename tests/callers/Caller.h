#pragma once

#include "CallWatch.h"
#include "Members.h"
#include "RandomAnswers.h"
#include "RandomValues.h"

#include <deque>
#include <vector>

/// One host thread of a round: makes random calls to objects of every class, of which it gets more from the component
/// as it goes, and releases all of them. Lives and dies on its thread.
class Caller
{
public:
    Caller(std::uint64_t seed, std::string title, CallWatch& watch);
    ~Caller();
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void makeCalls(size_t count);

    /// The faults that it found, each with the call that repeats it.
    const std::vector<std::string>& complaints() const { return complaints_; }

    /// Releases everything as a good host does; complains when objects of the recording ADO are left.
    void leave();

private:
    void makeCall(int depth);
    void callBack();
    IDispatch& chosen();
    const std::vector<Member>& members(IDispatch& object);
    void keep(Microsoft::WRL::ComPtr<IDispatch> object);
    void addForeignObjects();
    void openCircles();

    Dice dice_;
    std::string title_;
    CallWatch& watch_;
    RecordingAdo ado_;
    RandomAnswers answers_{dice_};
    Objects objects_;
    Objects replaced_; ///< kept, so that circles through them can be opened
    RandomValues values_{dice_, objects_};
    std::deque<std::pair<IID, std::vector<Member>>> classes_;
    size_t number_ = 0;
    int depth_ = 0;
    std::vector<std::string> complaints_;
};
