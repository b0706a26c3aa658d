#pragma once

#include "PracticePair.h"

#include <gtest/gtest.h>

/// `Base`, a PracticePair, for tests that expect message boxes: without a display they are skipped, or fail with
/// QUINMARK_REQUIRE_DISPLAY=1.
template <class Base>
class OnDisplay : public Base
{
protected:
    void SetUp() override
    {
        if (!Base::setting(L"DISPLAY").empty())
            return Base::SetUp();
        if (Base::setting(L"QUINMARK_REQUIRE_DISPLAY") == L"1")
            FAIL() << "DISPLAY is not set";
        GTEST_SKIP() << "message boxes need a display: set DISPLAY";
    }
};

/// `Base`, a PracticePair, for tests that cut connections or write triggers, which the databases of SQL Server are not
/// prepared for: they are skipped there.
template <class Base>
class OnPostgreSql : public Base
{
protected:
    void SetUp() override
    {
        if (!Base::isPostgreSql())
            GTEST_SKIP() << "needs PostgreSQL: QUINMARK_SERVER names another server";
        Base::SetUp();
    }
};
