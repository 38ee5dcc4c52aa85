#include <gtest/gtest.h>
#include <random>
#include <string>
#include <syslog.h>
#include <vector>
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using Words = std::vector<std::string>;

// These tests need no sandbox, so what is found on the way is not to end up in the machine's log.
class NothingLogged
{
public:
    NothingLogged()
        : m_before(setlogmask(LOG_MASK(LOG_DEBUG)))
    {
    }
    ~NothingLogged() { setlogmask(m_before); }
    NothingLogged(const NothingLogged&) = delete;
    NothingLogged& operator=(const NothingLogged&) = delete;

private:
    int m_before;
};

const Words kPieces = {"Failed to ",
                       "Failed",
                       "start",
                       " ",
                       ":",
                       "Job for ",
                       "A dependency job for ",
                       " failed.",
                       " canceled.",
                       "foo",
                       "foo.service",
                       "bar.socket",
                       "\n",
                       "(",
                       "[",
                       "*",
                       "\\",
                       "\xff",
                       std::string(1, '\0'),
                       ".",
                       ".service"};

std::string RandomLine(std::mt19937& random)
{
    std::string line;
    for (auto pieces = random() % 12; pieces > 0; --pieces) {
        line += kPieces[random() % kPieces.size()];
    }
    return line;
}

TEST(FailedUnitsGet, NamesOnlyUnitsOfTheCallerWhateverTheLinesSay)
{
    const NothingLogged quiet;
    std::mt19937 random(20240301); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lines each time
    std::size_t found = 0;
    for (int round = 0; round < 1000; ++round) {
        const Words lines{RandomLine(random), RandomLine(random)};
        Words failed;
        VESK::Systemd::FailedUnitsGet({"foo", "bar.socket"}, lines, failed);
        ASSERT_LE(failed.size(), lines.size());
        for (const std::string& unit : failed) {
            ASSERT_TRUE(unit == "foo" || unit == "bar.socket") << unit;
        }
        found += failed.size();
    }
    EXPECT_GT(found, 0U) << "or the lines would be nothing like systemctl's";
}

TEST(FailedUnitsGet, FindsAUnitInTheMiddleOfRandomText)
{
    const NothingLogged quiet;
    std::mt19937 random(20240302); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lines each time
    for (int round = 0; round < 200; ++round) {
        std::string noise(random() % 200, '\0');
        for (char& character : noise) {
            character = static_cast<char>('!' + random() % 14);
        }
        Words failed;
        VESK::Systemd::FailedUnitsGet({"foo"}, {noise + "Job for foo.service canceled." + noise}, failed);
        ASSERT_EQ(failed, Words{"foo"}) << noise;
    }
}

} // namespace
} // namespace VeskTest
