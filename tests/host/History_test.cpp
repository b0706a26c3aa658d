#include "History.h"

#include "HostError.h"

#include "support/TemporaryFolder.h"
#include "text.h"

#include <fstream>
#include <gmock/gmock.h>

using nlohmann::ordered_json;

namespace {

class HistoryFile : public testing::Test
{
protected:
    HistoryFile() { configuration_.logFile = toUtf8(folder_.file(L"replication.log")); }

    Configuration of(enumReplicationUniqueId site) const
    {
        Configuration configuration = configuration_;
        configuration.site = site;
        return configuration;
    }

    void addRun(enumReplicationUniqueId site, const std::string& recorded)
    {
        History history(of(site));
        history.noteWriting();
        history.noteRecords({std::string(3000, 'x')}, nullptr);
        EXPECT_TRUE(history.end({{"tables", ordered_json::array()}, {"recorded", recorded}}, 2, 1));
    }

    std::filesystem::path file() const { return folder_.file(L"replication.history.jsonl"); }
    unsigned long long size() const { return exists(file()) ? file_size(file()) : 0; }

    RecordedError known(enumReplicationUniqueId site, const std::string& error) const
    {
        return {History::read(of(site)), error};
    }

private:
    const TemporaryFolder folder_;
    Configuration configuration_;
};

} // namespace

TEST_F(HistoryFile, KnowsHowTheLastRunOfTheSameTwoDatabasesLeftTheInterval)
{
    const auto ofLaptop = [this](const char* dsn) {
        Configuration configuration = of(OFFICES);
        configuration.localIsSource = true;
        configuration.destination.dsn = dsn;
        return configuration;
    };
    const auto addRunOf = [&](const char* laptop, const ordered_json& lastTimestamp) {
        History history(ofLaptop(laptop));
        history.noteWriting();
        history.noteRecords(ordered_json::array(), lastTimestamp);
        EXPECT_TRUE(history.end({{"tables", ordered_json::array()}}, 0, 1));
    };
    const auto left = [&](const char* laptop) {
        const Configuration configuration = ofLaptop(laptop);
        return lastTimestampLeft(configuration, History::read(configuration));
    };
    addRunOf("One", "2026-11-15T12:00:00");
    addRunOf("Two", "2026-11-16T12:00:00");
    addRunOf("One", nullptr);
    EXPECT_EQ(left("One"), 46341.5);
    EXPECT_EQ(left("Two"), 46342.5);
    EXPECT_EQ(left("Three"), std::nullopt);
}

TEST_F(HistoryFile, ThatHasGrownLargeKeepsItsLastRunsAndTheConflictsOfEachSitesLast)
{
    addRun(LAPTOP, "the laptop's");
    for (int run = 1; size() <= 1 << 20; ++run)
        addRun(OFFICES, "run " + std::to_string(run));
    const size_t runs = History::read(of(OFFICES)).size();
    ASSERT_GT(runs, 300U);
    addRun(OFFICES, "the last");
    EXPECT_LT(size(), 200'000U);
    EXPECT_EQ(History::read(of(OFFICES)).size(), runs + 1);
    EXPECT_EQ(known(OFFICES, "the last").conflicts.size(), 1U);
    EXPECT_EQ(known(LAPTOP, "the laptop's").conflicts.size(), 1U);
    EXPECT_TRUE(known(OFFICES, "run 1").at.is_null());
}

TEST_F(HistoryFile, HasNoOtherWriterWhileARunGoesOn)
{
    const History history(of(OFFICES));
    EXPECT_THROW(History(of(LAPTOP)), HostError);
}

// A viewer without the right to take it away keeps a file in its place.
TEST_F(HistoryFile, ThatSomebodyReadsIsNotShortenedAndNothingIsLeftBeside)
{
    for (int run = 1; size() <= 1 << 20; ++run)
        addRun(OFFICES, "run " + std::to_string(run));
    const size_t runs = History::read(of(OFFICES)).size();
    const auto large = size();
    {
        std::ifstream reader(file());
        ASSERT_TRUE(reader.is_open());
        addRun(OFFICES, "meanwhile");
    }
    EXPECT_GT(size(), large);
    EXPECT_EQ(History::read(of(OFFICES)).size(), runs + 1);
    EXPECT_FALSE(std::filesystem::exists(file() += L".new"));
    addRun(OFFICES, "the last");
    EXPECT_LT(size(), 200'000U);
}

// Each conflict of a bad night is in it: trying them one by one took minutes.
TEST_F(HistoryFile, LineThatWasBrokenOffWithinManyConflictsIsReadAtOnce)
{
    {
        History history(of(OFFICES));
        history.noteWriting();
        history.noteRecords(std::vector<std::string>(30'000, "{00000000-0000-0000-0000-000000000000}"), nullptr);
    }
    std::filesystem::resize_file(file(), size() - 60);
    const ordered_json runs = History::read(of(OFFICES));
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_TRUE(runs[0].contains("writing_since"));
    EXPECT_FALSE(runs[0].contains("conflicts"));
}

TEST_F(HistoryFile, TellsTheErrorInShort)
{
    std::string text;
    for (int count = 0; count < 300; ++count)
        text += "\xC3\xA4\xC3\xB6";
    EXPECT_TRUE(History(of(OFFICES)).end({{"error", {{"text", "x" + text}}}}, 1, 1));
    const std::string error = History::read(of(OFFICES))[0]["error"];
    EXPECT_LT(error.size(), 510U);
    EXPECT_TRUE(isUtf8(error));
}
