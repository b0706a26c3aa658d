#pragma once

#include <iostream>
#include <string>

/// The client's side of a measurement: it prepares and says "begin"; works, and says "end" with key=number words. Each
/// time it waits for a line before it goes on.
inline void sayAndWait(const std::string& said)
{
    std::cout << said << std::endl;
    std::string line;
    std::getline(std::cin, line);
}
