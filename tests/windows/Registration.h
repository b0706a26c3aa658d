#pragma once

/// Registers the DLL beside the program for as long as this lives, on a machine that has no component registered and
/// when the user may. One that a run left registered when it was broken off is removed in the end.
class Registration
{
public:
    Registration();
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
};
