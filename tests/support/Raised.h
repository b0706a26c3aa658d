#pragma once

#include "com/error.h"

#include <gtest/gtest.h>

/// The error that `body` throws; fails the test when it throws none.
template <class Body>
com::Error raised(Body&& body)
{
    try {
        body();
    }
    catch (const com::Error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was raised";
    return {};
}
