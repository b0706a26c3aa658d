#include "Results.h"

#include "support/TextLine.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

namespace {

std::string toAnsi(const std::wstring& text)
{
    std::string ansi(text.size() * 2, '\0');
    ansi.resize(static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                        ansi.data(), static_cast<int>(ansi.size()), nullptr, nullptr)));
    return ansi;
}

} // namespace

Results::Results(const std::filesystem::path& file, std::wstring password) : password_(std::move(password)), file_(file)
{
    if (!file_)
        throw std::runtime_error("cannot write " + toUtf8(file.wstring()));
}

void Results::say(const std::string& text)
{
    const std::string line = withoutPassword(text) + "\n";
    std::cout << line << std::flush;
    file_ << line << std::flush;
}

void Results::add(const std::string& program, const TestOutput& output)
{
    std::ostringstream text;
    text << program << ": " << output;
    const size_t counts = text.str().find('\n');
    say(text.str().substr(0, counts));
    file_ << withoutPassword(text.str().substr(counts + 1)) << std::flush;
    ++programs_;
    passed_ += output.passed;
    skipped_ += output.skipped.size();
    if (!output.failed.empty())
        failedPrograms_ += (failedPrograms_.empty() ? "" : ", ") + program;
}

bool Results::sayWhetherPassed()
{
    const std::string sum = std::to_string(passed_) + " tests of " + std::to_string(programs_) +
                            " programs have passed, " + std::to_string(skipped_) + " were skipped";
    const bool passed = failedPrograms_.empty() && passed_ > 0;
    say((passed ? "PASSED: " : "FAILED: ") + sum + (failedPrograms_.empty() ? "" : "; failed: " + failedPrograms_));
    return passed;
}

std::string Results::withoutPassword(std::string text) const
{
    for (const std::string& password : {toUtf8(password_), toAnsi(password_)})
        for (size_t at = 0; (at = text.find(password, at)) != std::string::npos;)
            text.replace(at, password.size(), "***");
    return text;
}
