#pragma once

#include <iostream>
#include <string>

/// The client's side of a measurement: it prepares, says "begin" and waits for a line; works, says "end" with
/// key=number words, and waits again.
inline void waitForLine(const std::string& said)
{
    std::cout << said << std::endl;
    std::string line;
    std::getline(std::cin, line);
}

inline void beginWork()
{
    waitForLine("begin");
}

inline void endWork(const std::string& words)
{
    waitForLine("end " + words);
}
