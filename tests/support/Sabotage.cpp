#include "Sabotage.h"

#include "com/error.h"

#include <gtest/gtest.h>

namespace {

constexpr wchar_t kConstraint[] = L"CK_replication_test";

} // namespace

Sabotage::Sabotage(const PracticeSide& side, const std::wstring& change, std::wstring undo)
    : side_(side),
      undo_(std::move(undo))
{
    if (!change.empty())
        side_.execute(change);
}

Sabotage::~Sabotage()
{
    try {
        if (!undo_.empty())
            side_.execute(undo_);
    }
    catch (const com::Error& error) {
        ADD_FAILURE() << error.description;
    }
}

FailingRows::FailingRows(const PracticeSide& side, const std::wstring& table, const std::wstring& condition)
    : Sabotage(side, L"alter table " + table + L" add constraint " + kConstraint + L" check (not (" + condition + L"))",
               L"alter table " + table + L" drop constraint " + kConstraint)
{
}
