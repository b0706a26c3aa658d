#include "Progress.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <windows.h>

namespace {

bool standardErrorIsTerminal()
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

} // namespace

Progress::Progress(const std::vector<TableConfiguration>& tables, bool quiet)
    : tables_(tables),
      quiet_(quiet),
      terminal_(standardErrorIsTerminal())
{
}

Progress::~Progress()
{
    if (width_ > 0)
        std::cerr << std::endl;
}

void Progress::show(size_t index, const char* what)
{
    if (quiet_)
        return;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
    const std::string line =
        fmt::format("[{}/{}] {} {} ({:.1f} s)", index + 1, tables_.size(), tables_[index].name, what, seconds);
    if (!terminal_) {
        std::cerr << line << std::endl;
        return;
    }
    // Blanks, not a control sequence: older consoles know none.
    std::cerr << '\r' << fmt::format("{:<{}}", line, std::max(width_, line.size())) << std::flush;
    width_ = line.size();
}
