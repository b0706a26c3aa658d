#include "TypeLibraryNames.h"

#include "support/Apartment.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

using testing::IsEmpty;
using testing::IsSupersetOf;

namespace {

/// What an example calls the component's objects, and which interface they have.
const std::map<std::string, std::string> kObjects = {
    {"factory", "_Factory"}, {"run", "_clsReplicate"}, {"table", "_clsReplicateTable"}};

struct Use
{
    std::string object;
    std::string member;
};

std::vector<std::smatch> matches(const std::string& text, const char* pattern)
{
    const std::regex expression(pattern);
    return {std::sregex_iterator(text.begin(), text.end(), expression), std::sregex_iterator()};
}

std::vector<Use> uses(const std::string& text)
{
    std::vector<Use> found;
    for (const std::smatch& match : matches(text, R"(\b(factory|run|table)\.([A-Za-z_]\w*))"))
        found.push_back({match[1], match[2]});
    return found;
}

/// Everything in an example that the type library does not have, or has with another value.
std::vector<std::string> strangers(const std::string& text, const TypeLibraryNames& library)
{
    std::vector<std::string> found;
    for (const Use& use : uses(text)) {
        if (!library.members.at(kObjects.at(use.object)).contains(use.member))
            found.push_back(use.object + "." + use.member);
    }
    for (const std::smatch& match : matches(text, R"(\bQuinmarkRepDLL\.([A-Za-z_]\w*))")) {
        if (!library.constants.contains(match[1]) && !library.types.contains(match[1]))
            found.push_back(match[0]);
    }
    for (const std::smatch& match : matches(text, R"(createReplicationTable\(\$?([A-Z_]+)\b)")) {
        if (!library.constants.contains(match[1]))
            found.push_back(match[1]);
    }
    for (const std::smatch& match : matches(text, R"(\b([A-Z_]{2,}) = (\d+))")) {
        const auto constant = library.constants.find(match[1]);
        if (constant != library.constants.end() && constant->second != std::stol(match[2]))
            found.push_back(match[0]);
    }
    return found;
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    return at == std::string::npos ? "nothing to replace" : text.replace(at, from.size(), to);
}

class ExampleMembers : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        std::ifstream file(std::filesystem::path(EXAMPLES_FOLDER) / GetParam(), std::ios::binary);
        ASSERT_TRUE(file);
        text.assign(std::istreambuf_iterator<char>(file), {});
    }

    Apartment apartment;
    const TypeLibraryNames library = readTypeLibrary(TYPE_LIBRARY);
    std::string text;
};

TEST_P(ExampleMembers, AreInTheTypeLibrary)
{
    EXPECT_THAT(strangers(text, library), IsEmpty());
}

TEST_P(ExampleMembers, MakeAWholeRun)
{
    std::set<std::string> used;
    for (const Use& use : uses(text))
        used.insert(use.object + "." + use.member);
    EXPECT_THAT(
        used, IsSupersetOf({"factory.init", "factory.ensureReplication", "factory.sErrorMessage",
                            "factory.createReplication", "factory.createReplicationTable", "factory.setError",
                            "factory.resetError", "factory.disconnect", "run.SetReady", "run.initNextRun", "run.bError",
                            "run.bReady", "run.go", "run.sErrorMessage", "table.sTable", "table.lCntDestAdd",
                            "table.lCntDestUpdate", "table.lCntDestDelete", "table.lCntConflict"}));
}

TEST_P(ExampleMembers, MisspelledAreFound)
{
    EXPECT_THAT(strangers(replaced(text, "factory.ensureReplication", "factory.ensureReplicaton"), library),
                testing::ElementsAre("factory.ensureReplicaton"));
    EXPECT_THAT(strangers(replaced(text, "run.initNextRun", "run.InitNextRun"), library),
                testing::ElementsAre("run.InitNextRun"));
    EXPECT_THAT(strangers(replaced(text, "table.lCntDestAdd", "table.lCntDestAdded"), library),
                testing::ElementsAre("table.lCntDestAdded"));
}

std::string testName(const testing::TestParamInfo<const char*>& info)
{
    return std::filesystem::path(info.param).extension().string().substr(1);
}

INSTANTIATE_TEST_SUITE_P(, ExampleMembers,
                         testing::Values("replicate.vbs", "replicate.js", "replicate.bas", "replicate.ps1",
                                         "replicate.py", "csharp/Replicate.cs"),
                         testName);

TEST(ExampleConstants, MisspelledOrWithAnotherValueAreFound)
{
    const Apartment apartment;
    const TypeLibraryNames library = readTypeLibrary(TYPE_LIBRARY);
    EXPECT_THAT(strangers("Const ONE_WAY = 2: x = QuinmarkRepDLL.TWO_WAY: createReplicationTable(ONE_WAY", library),
                IsEmpty());
    EXPECT_THAT(strangers("Const ONE_WAY = 3", library), testing::ElementsAre("ONE_WAY = 3"));
    EXPECT_THAT(strangers("QuinmarkRepDLL.ONEWAY", library), testing::ElementsAre("QuinmarkRepDLL.ONEWAY"));
    EXPECT_THAT(strangers("createReplicationTable($ONEWAY, ", library), testing::ElementsAre("ONEWAY"));
}

} // namespace
