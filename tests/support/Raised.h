#pragma once

#include "com/error.h"

#include <gtest/gtest.h>

/// The error that `body` throws; number 0 and no texts when it throws none.
com::Error errorOf(auto&& body)
{
    try {
        body();
    }
    catch (const com::Error& error) {
        return error;
    }
    return {};
}

/// The error that `body` throws; fails the test when it throws none.
com::Error raised(auto&& body)
{
    bool ended = false;
    const com::Error error = errorOf([&] {
        body();
        ended = true;
    });
    EXPECT_FALSE(ended) << "nothing was raised";
    return error;
}
