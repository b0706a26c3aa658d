#include "TestOutput.h"

#include <ostream>
#include <sstream>

namespace {

constexpr char kBegin[] = "[ RUN      ] ";
constexpr char kPassedMark[] = "[       OK ] ";
constexpr char kSkippedMark[] = "[  SKIPPED ] ";
constexpr char kFailedMark[] = "[  FAILED  ] ";
constexpr char kAnyProgram[] = "[==========]";
constexpr char kFinishedMark[] = "[  PASSED  ] ";
constexpr DWORD kSkippedCode = 77;

/// The reason of a skip follows the line that tells where it was.
std::string reasonOf(const std::string& printed)
{
    constexpr char kPlace[] = ": Skipped\n";
    const size_t place = printed.find(kPlace);
    std::string reason = place == std::string::npos ? printed : printed.substr(place + std::size(kPlace) - 1);
    reason.erase(reason.find_last_not_of('\n') + 1);
    return reason;
}

class Reader
{
public:
    TestOutput read(const ProgramEnd& end)
    {
        std::istringstream lines(end.output);
        for (std::string line; std::getline(lines, line);)
            take(line);
        const std::string ended = "ended with " + std::to_string(end.exitCode) + "\n" + end.messages;
        if (!test_.empty())
            result_.failed.push_back(test_ + "\n" + printed_ + ended);
        else if (end.output.find(kAnyProgram) == std::string::npos)
            judgeByCode(end, ended);
        else if (result_.failed.empty() && (end.exitCode != 0 || end.output.find(kFinishedMark) == std::string::npos))
            result_.failed.push_back("the program " + ended);
        return std::move(result_);
    }

private:
    void take(const std::string& line)
    {
        if (line.starts_with(kBegin)) {
            test_ = line.substr(std::size(kBegin) - 1);
            printed_.clear();
        }
        else if (test_.empty())
            return;
        else if (ends(line, kPassedMark))
            ++result_.passed;
        else if (ends(line, kSkippedMark))
            result_.skipped.push_back(test_ + ": " + reasonOf(printed_));
        else if (ends(line, kFailedMark))
            result_.failed.push_back(test_ + "\n" + printed_);
        else {
            printed_ += line + "\n";
            return;
        }
        if (!line.starts_with(kBegin))
            test_.clear();
    }

    /// The test may have printed the beginning of this line.
    bool ends(const std::string& line, const char* mark) { return line.find(mark + test_) != std::string::npos; }

    void judgeByCode(const ProgramEnd& end, const std::string& ended)
    {
        if (end.exitCode == 0)
            result_.passed = 1;
        else if (end.exitCode == kSkippedCode)
            result_.skipped.push_back("all: " + reasonOf(end.output));
        else
            result_.failed.push_back("all\n" + end.output + ended);
    }

    std::string test_; ///< the one that runs; empty between two
    std::string printed_;
    TestOutput result_;
};

} // namespace

TestOutput readTestOutput(const ProgramEnd& end)
{
    return Reader().read(end);
}

std::ostream& operator<<(std::ostream& stream, const TestOutput& output)
{
    stream << output.passed << " passed, " << output.skipped.size() << " skipped, " << output.failed.size()
           << " failed\n";
    for (const std::string& test : output.skipped)
        stream << "  skipped " << test << '\n';
    for (const std::string& test : output.failed)
        stream << "  FAILED " << test << '\n';
    return stream;
}
