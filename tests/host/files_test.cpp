#include "files.h"

#include "support/TemporaryFolder.h"

#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

namespace {

/// The current folder, until this ends.
class CurrentFolder
{
public:
    explicit CurrentFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~CurrentFolder() { std::filesystem::current_path(before_); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
};

} // namespace

TEST(Files, ReplacementTakesAFileByItsNameAloneAndLeavesNoOther)
{
    const TemporaryFolder folder;
    const CurrentFolder current(folder.file(L""));
    EXPECT_TRUE(replaceFile("page.html", "of last night"));
    EXPECT_TRUE(replaceFile("page.html", "of this night"));
    std::ostringstream content;
    content << std::ifstream("page.html").rdbuf();
    EXPECT_EQ(content.str(), "of this night");
    const std::filesystem::directory_iterator files(".");
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}
