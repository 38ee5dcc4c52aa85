// Job records and their words, on texts alone.
#include <gmock/gmock.h>
#include <optional>
#include <random>
#include <syslog.h>
#include <vesksystemd.hpp>

#include "grouped_locale.hpp"

namespace VeskTest
{
namespace
{

using VESK::Systemd::JobInfo;
using VESK::Systemd::JobInfoParse;
using VESK::Systemd::JobState;
using VESK::Systemd::JobStringMap;
using VESK::Systemd::JobType;

// A line with a bad id is logged, which is no business of the machine that runs the test.
class JobLine : public ::testing::Test
{
protected:
    JobLine() { setlogmask(LOG_MASK(LOG_DEBUG)); }

    // The record as text with numbers for its words; nothing for a line that is refused.
    static std::optional<std::string> Parsed(const std::string& line)
    {
        JobInfo info;
        if (!JobInfoParse(line, info)) {
            return std::nullopt;
        }
        return std::to_string(info.id) + "|" + info.unit + "|" + std::to_string(static_cast<int>(info.type)) +
               "|" + std::to_string(static_cast<int>(info.state));
    }
};

TEST_F(JobLine, HasFourFields)
{
    EXPECT_EQ(Parsed("12 a.service start running"), "12|a.service|1|1");
    EXPECT_EQ(Parsed("7 b@x.socket stop waiting\n"), "7|b@x.socket|2|2");
}

TEST_F(JobLine, MayHaveBlanksAroundIt)
{
    EXPECT_EQ(Parsed(" \t12 a start running\r\n"), "12|a|1|1");
}

TEST_F(JobLine, IsRefusedWithAnyOtherNumberOfFields)
{
    for (const char* line : {"", "\n", "   ", "12", "12 a.service start", "12 a.service start running more",
                             "12  a.service start running", "12 a.service start  running",
                             "12\ta.service\tstart\trunning", "No jobs running.", "1 2"}) {
        EXPECT_EQ(Parsed(line), std::nullopt) << line;
    }
}

TEST_F(JobLine, LeavesTheRecordAloneWhenItIsRefused)
{
    JobInfo info{5, "before", JobType::Stop, JobState::Waiting};
    EXPECT_FALSE(JobInfoParse("12 a start", info));
    EXPECT_EQ(info.ToString(), "5 before stop waiting");
}

TEST_F(JobLine, ReplacesAllOfTheRecord)
{
    JobInfo info{5, "before", JobType::Stop, JobState::Waiting};
    EXPECT_TRUE(JobInfoParse("x a restart gone", info));
    EXPECT_EQ(info.ToString(), "0 a unknow unknow");
}

TEST_F(JobLine, HasTypeAndStateZeroForAnyOtherWord)
{
    EXPECT_EQ(Parsed("12 a restart running"), "12|a|0|1");
    EXPECT_EQ(Parsed("12 a start done"), "12|a|1|0");
    EXPECT_EQ(Parsed("12 a Start RUNNING"), "12|a|0|0");
    EXPECT_EQ(Parsed("12 a unknow unknow"), "12|a|0|0");
    EXPECT_EQ(Parsed("12 a running start"), "12|a|0|0");
}

TEST_F(JobLine, HasIdZeroForAFieldThatIsNoNumber)
{
    EXPECT_EQ(Parsed("abc a start running"), "0|a|1|1");
    EXPECT_EQ(Parsed("%s a start running"), "0|a|1|1");
    EXPECT_EQ(Parsed("- a start running"), "0|a|1|1");
    EXPECT_EQ(Parsed(std::string(100, '9') + " a start running"), "0|a|1|1");
}

TEST_F(JobLine, HasTheNumberThatItsIdBeginsWith)
{
    EXPECT_EQ(Parsed("12abc a start running"), "12|a|1|1");
    EXPECT_EQ(Parsed("007 a start running"), "7|a|1|1");
    EXPECT_EQ(Parsed("0x10 a start running"), "0|a|1|1");
    EXPECT_EQ(Parsed("+3 a start running"), "3|a|1|1");
    EXPECT_EQ(Parsed("4294967295 a start running"), "4294967295|a|1|1");
}

TEST_F(JobLine, MayHoldAnyBytesInAName)
{
    EXPECT_EQ(Parsed("1 %s%n\xff start running"), "1|%s%n\xff|1|1");
    EXPECT_EQ(Parsed(std::string("1 a\0b start running", 19)), std::string("1|a\0b|1|1", 9));
    const std::string name(1000000, 'n');
    EXPECT_EQ(Parsed("1 " + name + " start running"), "1|" + name + "|1|1");
}

// A number is read as the C library reads one: a sign, then digits, and nothing that 64 bits cannot hold.
uint32_t ExpectedId(const std::string& field)
{
    const bool negative = field[0] == '-';
    uint64_t id = 0;
    for (const char digit : field.substr(negative ? 1 : 0)) {
        if (digit < '0' || digit > '9') {
            break;
        }
        const auto value = static_cast<uint64_t>(digit - '0');
        if (id > (UINT64_MAX - value) / 10) {
            return 0;
        }
        id = id * 10 + value;
    }
    return static_cast<uint32_t>(negative ? 0 - id : id);
}

// The same by other means: cuts at each blank, by hand.
std::optional<std::string> Expected(const std::string& line)
{
    const size_t first = line.find_first_not_of(" \t\n\v\f\r");
    if (first == std::string::npos) {
        return std::nullopt;
    }
    std::vector<std::string> fields(1);
    for (const char letter : line.substr(first, line.find_last_not_of(" \t\n\v\f\r") + 1 - first)) {
        if (letter == ' ') {
            fields.emplace_back();
        } else {
            fields.back() += letter;
        }
    }
    if (fields.size() != 4) {
        return std::nullopt;
    }
    const int type = fields[2] == "start" ? 1 : fields[2] == "stop" ? 2 : 0;
    const int state = fields[3] == "running" ? 1 : fields[3] == "waiting" ? 2 : 0;
    return std::to_string(ExpectedId(fields[0])) + "|" + fields[1] + "|" + std::to_string(type) + "|" +
           std::to_string(state);
}

TEST_F(JobLine, IsReadAsByHandWhateverItHolds)
{
    const std::vector<std::string> pieces{" ",     " ",    " ",       "  ",      "\t",     "\n",   "12",
                                          "start", "stop", "running", "waiting", "a.unit", "7x",   "%s",
                                          "\xff",  "-",    "restart", ".",       "unknow", "\\x2d"};
    std::mt19937 random(20240229); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lines each time
    std::uniform_int_distribution<size_t> anyPiece(0, pieces.size() - 1);
    std::uniform_int_distribution<int> anyCount(0, 12);
    int accepted = 0;
    for (int round = 0; round < 50000; ++round) {
        std::string line;
        for (int count = anyCount(random); count > 0; --count) {
            line += pieces[anyPiece(random)];
        }
        const std::optional<std::string> expected = Expected(line);
        accepted += expected ? 1 : 0;
        ASSERT_EQ(Parsed(line), expected) << ::testing::PrintToString(line);
    }
    EXPECT_GT(accepted, 1000);
}

TEST(JobRecord, IsAStartThatRunsWhenItIsFresh)
{
    const JobInfo info;
    EXPECT_EQ(info.id, 0U);
    EXPECT_EQ(info.unit, "");
    EXPECT_EQ(info.type, JobType::Start);
    EXPECT_EQ(info.state, JobState::Running);
    EXPECT_EQ(info.ToString(), "0  start running");
}

TEST(JobRecord, DoesNotDependOnHowTheProgramsLocaleWritesNumbers)
{
    const GroupedLocale locale;
    const JobInfo info{1234, "a.service", JobType::Stop, JobState::Waiting};
    EXPECT_EQ(info.ToString(), "1234 a.service stop waiting");
}

TEST(JobRecord, IsWrittenWithItsWords)
{
    EXPECT_EQ((JobInfo{12, "a.service", JobType::Stop, JobState::Waiting}.ToString()),
              "12 a.service stop waiting");
    EXPECT_EQ((JobInfo{4294967295, "%1% %s", JobType::Unknown, JobState::Unknown}.ToString()),
              "4294967295 %1% %s unknow unknow");
}

TEST(JobRecord, IsEmptyWhenAValueHasNoWord)
{
    setlogmask(LOG_MASK(LOG_DEBUG));
    EXPECT_EQ((JobInfo{1, "a", static_cast<JobType>(3), JobState::Running}.ToString()), "");
    EXPECT_EQ((JobInfo{1, "a", JobType::Start, static_cast<JobState>(-1)}.ToString()), "");
}

TEST(JobWords, GoBothWays)
{
    const std::vector<std::pair<JobType, std::string>> types{
        {JobType::Unknown, "unknow"}, {JobType::Start, "start"}, {JobType::Stop, "stop"}};
    for (const auto& [type, word] : types) {
        std::string foundWord;
        auto foundType = static_cast<JobType>(9);
        EXPECT_TRUE(JobStringMap::TypeToString(type, foundWord));
        EXPECT_TRUE(JobStringMap::StringToType(word, foundType));
        EXPECT_EQ(foundWord, word);
        EXPECT_EQ(foundType, type);
    }
    const std::vector<std::pair<JobState, std::string>> states{
        {JobState::Unknown, "unknow"}, {JobState::Running, "running"}, {JobState::Waiting, "waiting"}};
    for (const auto& [state, word] : states) {
        std::string foundWord;
        auto foundState = static_cast<JobState>(9);
        EXPECT_TRUE(JobStringMap::StateToString(state, foundWord));
        EXPECT_TRUE(JobStringMap::StringToState(word, foundState));
        EXPECT_EQ(foundWord, word);
        EXPECT_EQ(foundState, state);
    }
}

TEST(JobWords, AreNotFoundForOthersAndLeaveTheOutputAlone)
{
    std::string word = "before";
    JobType type = JobType::Stop;
    JobState state = JobState::Waiting;
    EXPECT_FALSE(JobStringMap::TypeToString(static_cast<JobType>(3), word));
    EXPECT_FALSE(JobStringMap::StateToString(static_cast<JobState>(-1), word));
    for (const char* other : {"", "unknown", "Start", "start ", "reload"}) {
        EXPECT_FALSE(JobStringMap::StringToType(other, type)) << other;
        EXPECT_FALSE(JobStringMap::StringToState(other, state)) << other;
    }
    EXPECT_EQ(word, "before");
    EXPECT_EQ(type, JobType::Stop);
    EXPECT_EQ(state, JobState::Waiting);
}

} // namespace
} // namespace VeskTest
