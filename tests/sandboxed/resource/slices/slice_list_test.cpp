// The names of the monitored slices, and the list in C that is another one.

#include <cerrno>
#include <filesystem>

#include "c_list.hpp"
#include "call_faults.hpp"
#include "platform_spy.hpp"
#include "slices_ground.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr const char* kListFile = "systemd_slice_list.cpp";

using SliceNames = SlicesTest;

TEST_F(SliceNames, AreThoseOfTheMonitorsFolders)
{
    for (const char* folder :
         {"a.slice", "b-c.slice", "d\\x2de.slice", "a.service", "slice", "x.slice.d", "nested/n.slice"}) {
        MakeFolder(InMonitor(folder));
    }
    WriteText(InMonitor("tasks"), "1\n");
    MakeFolder(InSystemd("systemd.slice"));
    Words slices;
    EXPECT_TRUE(VESKSystemdSliceList(slices));
    EXPECT_THAT(slices, UnorderedElementsAre("a.slice", "b-c.slice", "d\\x2de.slice"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(SliceNames, ComeInTheFoldersOrderAfterThoseThatWereThere)
{
    for (int number = 0; number < 30; ++number) {
        MakeFolder(InMonitor(std::to_string(number * 7 % 30) + ".slice"));
    }
    Words expected = {"before"};
    for (const auto& entry : std::filesystem::directory_iterator(InMonitor(""))) {
        expected.push_back(entry.path().filename());
    }
    Words slices = {"before"};
    EXPECT_TRUE(VESKSystemdSliceList(slices));
    EXPECT_EQ(slices, expected);
}

TEST_F(SliceNames, AreMany)
{
    for (int number = 0; number < 1000; ++number) {
        MakeFolder(InMonitor(std::to_string(number) + ".slice"));
    }
    Words slices;
    EXPECT_TRUE(VESKSystemdSliceList(slices));
    EXPECT_EQ(std::set<std::string>(slices.begin(), slices.end()).size(), 1000U);
    EXPECT_EQ(slices.size(), 1000U);
}

TEST_F(SliceNames, AreAFailureWhenThereIsNone)
{
    Words slices = {"before"};
    MakeFolder(InMonitor("a.service"));
    EXPECT_FALSE(VESKSystemdSliceList(slices));
    RemoveAll(InMonitor(""));
    EXPECT_FALSE(VESKSystemdSliceList(slices));
    EXPECT_THAT(slices, ElementsAre("before"));
    EXPECT_THAT(log.Take(), IsEmpty());
    ExpectNoError();
}

TEST_F(SliceNames, AreAFailureWhenTheFolderCannotBeSearched)
{
    MakeFolder(InMonitor("a.slice"));
    Words slices = {"before"};
    PlatformSpy spy;
    for (const int error : {EMFILE, ENFILE, ENOMEM, EIO, EACCES, ENOENT, ENOTDIR}) {
        spy.HideFolder("/sys/fs/cgroup/veskmonitor", error);
        EXPECT_FALSE(VESKSystemdSliceList(slices)) << error;
    }
    EXPECT_THAT(slices, ElementsAre("before"));
}

class SliceNamesInC : public SlicesTest
{
protected:
    void List(const std::string& text, int exitCode = 0)
    {
        systemctl.On({"list-unit-files", "--no-legend", "--root=/.", "--type", "service"})
            .Stdout(text)
            .Exit(exitCode);
    }

    ScriptedSystemctl systemctl;
};

TEST_F(SliceNamesInC, AreThoseOfTheServices)
{
    MakeFolder(InMonitor("a.slice"));
    List("a.service static\nc.service enabled\n");
    CList list({"before"});
    EXPECT_EQ(VESKCSystemdSliceList(list.Address()), 1);
    Words services;
    EXPECT_TRUE(VESKSystemdServiceList(services));
    EXPECT_THAT(services, UnorderedElementsAre("a", "c"));
    services.insert(services.begin(), "before");
    EXPECT_EQ(list.Items(), services);
}

TEST_F(SliceNamesInC, FailWithTheServices)
{
    MakeFolder(InMonitor("a.slice"));
    List("", 1);
    CList list({"before"});
    EXPECT_EQ(VESKCSystemdSliceList(list.Address()), 0);
    EXPECT_THAT(list.Items(), ElementsAre("before"));
}

TEST_F(SliceNamesInC, AreAFailureWhenTheListCannotTakeThemAll)
{
    List("a.service static\nc.service enabled\n");
    CList list({"before"});
    const PushFault fault(1);
    EXPECT_EQ(VESKCSystemdSliceList(list.Address()), 0);
}

TEST_F(SliceNamesInC, AreRefusedWithoutAList)
{
    EXPECT_EQ(VESKCSystemdSliceList(nullptr), 0);
    ExpectError(kInvalidArgument, kListFile);
    VLIBCErrSetEx(0, "", 0);
    VLIBCSzList* list = nullptr;
    EXPECT_EQ(VESKCSystemdSliceList(&list), 0);
    ExpectError(kInvalidArgument, kListFile);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kListFile, "nullptr != ppListSlices"),
                                        RefusedArgument(kListFile, "nullptr != *ppListSlices")));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

} // namespace
} // namespace VeskTest
