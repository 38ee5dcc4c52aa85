// What is refused before anything is done.

#include "paths.hpp"
#include "platform_spy.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

constexpr int kOtherError = 0x1234;

class RegistryArguments : public RegistryChange
{
protected:
    RegistryArguments() { VLIBCErrSetEx(kOtherError, "other.c", 7); }

    // The line of the check, the error at that line, and that nothing was begun.
    void ExpectRefusal(const std::string& condition)
    {
        const std::vector<SyslogLine> lines = log.Take();
        ASSERT_THAT(lines, ElementsAre(RefusedArgument(kFile, condition)));
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        EXPECT_EQ(VLIBCErrorGetFile(), std::string(kFile));
        EXPECT_EQ(VLIBCErrorGetLine(), lines[0].line);
        EXPECT_THAT(m_spy.Locks(), IsEmpty());
        EXPECT_FALSE(Exists(kRunFolder));
        EXPECT_FALSE(Exists("/usr/vesk/etc"));
        EXPECT_THAT(ListFolder("/var/packages/foo"), IsEmpty());
        VLIBCErrSetEx(kOtherError, "other.c", 7);
    }

    void ExpectRefusal(const std::string& owner, const std::string& volume, const std::string& condition)
    {
        SCOPED_TRACE("[" + owner + "] [" + volume + "]");
        EXPECT_FALSE(GetParam().run(owner, volume));
        ExpectRefusal(condition);
        EXPECT_EQ(GetParam().cForm(owner.c_str(), volume.c_str()), 0);
        ExpectRefusal(condition);
    }

    void ExpectRefusalOfPointers(const char* owner, const char* volume, const std::string& condition)
    {
        EXPECT_EQ(GetParam().cForm(owner, volume), 0);
        ExpectRefusal(condition);
    }

private:
    PlatformSpy m_spy;
};

TEST_P(RegistryArguments, AreRefusedInTheirOrder)
{
    const std::string owner = std::string("!str") + GetParam().Owner() + ".empty()";
    ExpectRefusal("", "", owner);
    ExpectRefusal("", "volume1/", owner);
    ExpectRefusal("foo", "", "!strVolume.empty()");
    ExpectRefusal("foo", "volume1/", "'/' == strVolume.front()");
    ExpectRefusal("foo", "volume1", "'/' == strVolume.front()");
    ExpectRefusal("foo", " /volume1", "'/' == strVolume.front()");
    ExpectRefusal("foo", "/", "'/' != strVolume.back()");
    ExpectRefusal("foo", "//", "'/' != strVolume.back()");
    ExpectRefusal("foo", "/volume1/", "'/' != strVolume.back()");
}

TEST_P(RegistryArguments, MayNotLeadOutOfTheFolder)
{
    const std::string condition = std::string("IsEntryName(str") + GetParam().Owner() + ")";
    for (const char* owner : {"..", ".", "/", "../foo", "foo/..", "foo/../../../tmp"}) {
        ExpectRefusal(owner, "volume1", condition);
    }
    EXPECT_FALSE(GetParam().run(std::string("..\0foo", 6), "/volume1"));
    ExpectRefusal(condition);
    EXPECT_FALSE(GetParam().run(std::string(4, '\0'), "/volume1"));
    ExpectRefusal(std::string("!str") + GetParam().Owner() + ".empty()");
}

TEST_P(RegistryArguments, AreCheckedBeforeThePackageIs)
{
    ExpectRefusal("missing", "volume1", "'/' == strVolume.front()");
}

TEST_P(RegistryArguments, OfCMayNotBeNull)
{
    const std::string owner = std::string("nullptr != sz") + GetParam().Owner();
    ExpectRefusalOfPointers(nullptr, nullptr, owner);
    ExpectRefusalOfPointers(nullptr, "/volume1", owner);
    ExpectRefusalOfPointers("foo", nullptr, "nullptr != szVolume");
    ExpectRefusalOfPointers("", nullptr, "nullptr != szVolume");
}

INSTANTIATE_TEST_SUITE_P(Of, RegistryArguments, ValuesIn(Changes()), NameOf<Change>);

} // namespace
} // namespace VeskTest
