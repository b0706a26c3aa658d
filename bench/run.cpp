// A run of the registered component by a host in C++: what a program of the practice's does, and no more.
#include "ComponentHost.h"

int wmain(int count, wchar_t* words[])
{
    return runProgram([&] { ComponentHost(readHostPlan(count, words)).run(); });
}
