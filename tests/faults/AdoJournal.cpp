#include "AdoJournal.h"

#include <algorithm>

void AdoJournal::begin(std::optional<AdoFault> fault)
{
    fault_ = fault;
    calls_.clear();
    texts_.clear();
    recording = true;
}

std::optional<AdoFaultKind> AdoJournal::add(size_t command)
{
    calls_.push_back({.step = step, .command = command});
    if (!fault_ || calls_.size() < fault_->call || (calls_.size() > fault_->call && !fault_->lasting))
        return std::nullopt;
    return fault_->kind;
}

void AdoJournal::setText(size_t command, const std::wstring& text)
{
    if (command > 0 && command <= texts_.size())
        texts_[command - 1] = text;
}

std::wstring AdoJournal::statement(size_t call) const
{
    for (size_t index = call; index >= 1 && index <= calls_.size(); ++index)
        if (const size_t command = calls_[index - 1].command; command > 0)
            return texts_[command - 1];
    return {};
}

size_t AdoJournal::firstFailure() const
{
    const auto found = std::ranges::find_if(calls_, &RecordedCall::failed);
    return found == calls_.end() ? 0 : static_cast<size_t>(found - calls_.begin()) + 1;
}

std::vector<std::wstring> AdoJournal::writes(size_t first, size_t end) const
{
    std::vector<std::wstring> texts;
    for (size_t index = first; index < end && index <= calls_.size(); ++index)
        if (calls_[index - 1].writes)
            texts.push_back(texts_[calls_[index - 1].command - 1]);
    return texts;
}
