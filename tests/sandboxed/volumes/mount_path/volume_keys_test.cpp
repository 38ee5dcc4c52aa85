// The keys of a unit file that tell how a unit uses volumes.

#include "library_log.hpp"
#include "next_function.hpp"
#include "syslog_capture.hpp"
#include "unit_files.hpp"

#include <vesksystemd.hpp>

namespace
{

// Another platform than the bundled one might throw anything.
bool platformThrows = false;

} // namespace

int VLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* buffer, int size)
{
    if (platformThrows) {
        throw 42;
    }
    static const auto real =
        VeskTest::NextFunction<decltype(VLIBCFileGetSectionValue)>("VLIBCFileGetSectionValue");
    return real(path, section, key, buffer, size);
}

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kDependencyFile = "systemd_volume_dependency_get.cpp";
constexpr const char* kSkipFile = "systemd_service_skip_list_by_mount_path.cpp";

class VolumeKeys : public ::testing::Test
{
protected:
    ~VolumeKeys() override { platformThrows = false; }

    static void WriteKeys(const std::string& lines, const std::string& unit = "foo.service")
    {
        WriteUnitFile(UnitFolder::Usr, unit, "[Unit]\nVolumeDependency=all\n[X-Veskline]\n" + lines);
    }

    // Both forms, which agree, with the result first: -1 for a failure that leaves the value alone.
    static int Dependency(const std::string& unit = "foo")
    {
        for (const auto before : {VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE, VESK_SYSTEMD_VOLUME_DEPENDENCY_ALL,
                                  VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL}) {
            VESK_SYSTEMD_VOLUME_DEPENDENCY found = before;
            VESK_SYSTEMD_VOLUME_DEPENDENCY foundByC = before;
            const bool result = VESKSystemdVolumeDependencyGet(unit, found);
            EXPECT_EQ(VESKCSystemdVolumeDependencyGet(unit.c_str(), &foundByC), result ? 1 : 0);
            EXPECT_EQ(foundByC, found);
            if (!result) {
                EXPECT_EQ(found, before);
            } else if (before == VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL) {
                return found;
            }
        }
        return -1;
    }

    SyslogCapture log;
};

TEST_F(VolumeKeys, HaveThreeWordsForADependency)
{
    EXPECT_EQ(VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE, 0);
    EXPECT_EQ(VESK_SYSTEMD_VOLUME_DEPENDENCY_ALL, 1);
    EXPECT_EQ(VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL, 2);
    for (const auto& [word, value] :
         std::vector<std::pair<const char*, int>>{{"none", 0}, {"all", 1}, {"partial", 2}, {" all ", 1}}) {
        WriteKeys(std::string("VolumeDependency=") + word + "\n");
        EXPECT_EQ(Dependency(), value) << word;
        EXPECT_EQ(Dependency("foo.service"), value) << word;
    }
}

TEST_F(VolumeKeys, MeanNoDependencyWithAnyOtherWord)
{
    for (const char* word :
         {"", "Partial", "ALL", "All", "alle", "al", "all,partial", "all partial", "1", "2", "%s"}) {
        WriteKeys(std::string("VolumeDependency=") + word + "\n");
        EXPECT_EQ(Dependency(), 0) << word;
    }
    WriteKeys("Other=all\n");
    EXPECT_EQ(Dependency(), 0) << "without the key; that of another section does not count";
}

TEST_F(VolumeKeys, OfAnInstanceAreThoseOfItsTemplate)
{
    WriteKeys("VolumeDependency=partial\nSkipListByMntPath=yes\n", "bar@.service");
    EXPECT_EQ(Dependency("bar@one.service"), 2);
    bool skip = false;
    EXPECT_TRUE(VESKSystemdServiceSkipListByMntPath("bar@one.service", skip));
    EXPECT_TRUE(skip);
}

TEST_F(VolumeKeys, FailAndChangeNothingForAUnitWithoutAFile)
{
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(Dependency("no-such"), -1);
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    for (const bool before : {false, true}) {
        bool skip = before;
        EXPECT_FALSE(VESKSystemdServiceSkipListByMntPath("no-such", skip));
        EXPECT_EQ(skip, before);
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(VolumeKeys, LetAServiceBeLeftOutByYes)
{
    for (const auto& [value, expected] : std::vector<std::pair<const char*, bool>>{{"yes", true},
                                                                                   {" yes ", true},
                                                                                   {"Yes", false},
                                                                                   {"true", false},
                                                                                   {"1", false},
                                                                                   {"no", false},
                                                                                   {"", false}}) {
        WriteKeys(std::string("SkipListByMntPath=") + value + "\n");
        bool skip = !expected;
        EXPECT_TRUE(VESKSystemdServiceSkipListByMntPath("foo", skip)) << value;
        EXPECT_EQ(skip, expected) << value;
    }
    WriteKeys("");
    bool skip = true;
    EXPECT_TRUE(VESKSystemdServiceSkipListByMntPath("foo.service", skip));
    EXPECT_FALSE(skip);
}

TEST_F(VolumeKeys, RefuseAnEmptyUnit)
{
    auto dependency = VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL;
    bool skip = true;
    VLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(VESKSystemdVolumeDependencyGet("", dependency));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), kDependencyFile);
    VLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(VESKSystemdServiceSkipListByMntPath("", skip));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), kSkipFile);
    EXPECT_EQ(dependency, VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL);
    EXPECT_TRUE(skip);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kDependencyFile, "!strUnit.empty()"),
                                        RefusedArgument(kSkipFile, "!strService.empty()")));
}

TEST_F(VolumeKeys, RefuseANullInTheCForm)
{
    auto dependency = VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL;
    EXPECT_EQ(VESKCSystemdVolumeDependencyGet(nullptr, nullptr), 0);
    EXPECT_EQ(VESKCSystemdVolumeDependencyGet("", nullptr), 0);
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(VESKCSystemdVolumeDependencyGet("", &dependency), 0);
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_EQ(dependency, VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kDependencyFile, "nullptr != szUnit"),
                                        RefusedArgument(kDependencyFile, "nullptr != pDependency"),
                                        RefusedArgument(kDependencyFile, "!strUnit.empty()")));
}

TEST_F(VolumeKeys, LetAnExceptionThatIsNoStandardOnePassOnButNotThroughTheCForm)
{
    WriteKeys("VolumeDependency=all\n");
    platformThrows = true;
    auto dependency = VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL;
    bool skip = true;
    EXPECT_THROW(VESKSystemdVolumeDependencyGet("foo", dependency), int);
    EXPECT_THROW(VESKSystemdServiceSkipListByMntPath("foo", skip), int);
    EXPECT_EQ(VESKCSystemdVolumeDependencyGet("foo", &dependency), 0);
    EXPECT_EQ(dependency, VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL);
    EXPECT_TRUE(skip);
}

} // namespace
} // namespace VeskTest
