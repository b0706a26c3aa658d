#pragma once

#include "Configuration.h"

#include <chrono>

/// Tells on standard error how far a run is: one line that is written over on a terminal, plain lines in a pipe.
class Progress
{
public:
    /// A quiet one tells nothing.
    Progress(const std::vector<TableConfiguration>& tables, bool quiet);
    /// Leaves the line, so that what follows starts on a new one.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `what` is done to the table of that index.
    void show(size_t index, const char* what);

private:
    const std::vector<TableConfiguration>& tables_;
    bool quiet_;
    bool terminal_;
    /// Characters of the line that stands on the terminal.
    size_t width_ = 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};
