// Processes that are killed before and after each of their system calls, while they change what is kept in files.
#include <climits>
#include <gmock/gmock.h>
#include <iostream>
#include <vesksystemd.hpp>

#include "../hostile/hostile_ground.hpp"
#include "children.hpp"
#include "faulty_run.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "killed_process.hpp"
#include "paths.hpp"
#include "process_list.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

struct Change {
    const char* name;
    std::function<void()> prepare;
    std::function<bool()> run;
};

std::ostream& operator<<(std::ostream& stream, const Change& change)
{
    return stream << change.name;
}

void PrepareRegistries()
{
    WriteText(RegisterOf("plain.service"), "[\n\t\"/volume1\",\n\t\"/volume2\"\n]\n");
    WriteText(PackageRegisterFolder("plain") + "/reg_volume", "[\n\t\"/volume1\",\n\t\"/volume2\"\n]\n");
}

void PrepareReasons()
{
    WriteText(ReasonsOf("plain.service") + "/held", "");
    WriteText(ReasonsOf("plain.service") + "/other", "");
}

void PrepareUnit()
{
    WriteUnitFile(UnitFolder::Run, "plain.service", "[Unit]\nAfter=old.service\n[Service]\nType=simple\n");
    WriteDropIn(UnitFolder::Run, "plain.service", "a.conf", "[Unit]\n");
    WriteText(MarkOf("plain.service"), "");
    PrepareReasons();
}

bool AddSection()
{
    return VESK::Systemd::AddUnitSection(kRunUnits, "plain.service", "Unit", {{"After", "a.service"}});
}

const Change kChanges[] = {
    {"Register", PrepareRegistries, [] { return VESKSystemdVolumeRegister("plain", "/volume3"); }},
    {"Unregister", PrepareRegistries, [] { return VESKSystemdVolumeUnregister("plain", "/volume1"); }},
    {"PackageRegister", PrepareRegistries,
     [] { return VESKSystemdPackageVolumeRegister("plain", "/volume3"); }},
    {"PackageUnregister", PrepareRegistries,
     [] { return VESKSystemdPackageVolumeUnregister("plain", "/volume1"); }},
    {"StopByReason", PrepareReasons, [] { return VESKSystemdServiceStopByReason("new", "plain"); }},
    {"StartByReason", PrepareReasons, [] { return VESKSystemdServiceStartByReason("held", "plain"); }},
    {"ReasonRemove", PrepareReasons, [] { return VESKSystemdServiceReasonRemove("held", "plain"); }},
    {"AddUnitSection", PrepareUnit, AddSection},
    {"Uninstall", PrepareUnit, [] { return VESKSystemdUninstall("plain"); }},
};

constexpr int kStride = 11;

bool IsTemporary(const std::string& path)
{
    return path.find(".tmp") != std::string::npos;
}

bool IsLock(const std::string& path)
{
    return path.rfind(kLockFolder, 0) == 0 || path == kRunFolder;
}

class KilledChange : public ::testing::TestWithParam<Change>
{
protected:
    KilledChange()
    {
        m_ground.Systemctl()
            .OnLeading({"show", "--property=FragmentPath"})
            .Stdout("FragmentPath=/run/systemd/system/plain.service\n"
                    "DropInPaths=/run/systemd/system/plain.service.d/a.conf\n");
    }

    void Prepare()
    {
        m_ground.Reset("plain");
        GetParam().prepare();
        m_before = TreeNow();
    }

    // Each file is the old or the new one; one that was to take its place may stay.
    void ExpectOldOrNew()
    {
        EXPECT_TRUE(
            Eventually([] { return OtherProcessesOfThisProgram().empty() && IsLockFree(kRegisterLock); }));
        for (const auto& [path, shown] : ChangesBetween(m_before, TreeNow())) {
            const auto expected = m_new.find(path);
            const bool isNew = expected != m_new.end() && expected->second == shown;
            EXPECT_TRUE(isNew || IsLock(path) || IsTemporary(path)) << path << " became: " << shown;
        }
    }

    // The next one is not disturbed.
    void ExpectNewAfterAnother()
    {
        EXPECT_TRUE(GetParam().run());
        const Tree changes = ChangesBetween(m_before, TreeNow());
        for (const auto& [path, shown] : m_new) {
            const auto found = changes.find(path);
            EXPECT_TRUE(IsLock(path) || (found != changes.end() && found->second == shown)) << path;
        }
    }

    HostileGround m_ground;
    Tree m_before;
    Tree m_new;
};

TEST_P(KilledChange, LeavesTheOldFilesOrTheNewOnesAndNoLock)
{
    Prepare();
    ASSERT_TRUE(GetParam().run());
    m_new = ChangesBetween(m_before, TreeNow());
    Prepare();
    const auto run = [] { GetParam().run(); };
    const int steps = KillAtStep(INT_MAX, run);
    int changed = 0;
    // The last ones are those after the change.
    for (int step = steps; step > 0; step -= HasAllFaults() ? 1 : kStride) {
        SCOPED_TRACE("killed at step " + std::to_string(step));
        Prepare();
        KillAtStep(step, run);
        ExpectOldOrNew();
        changed += ChangesBetween(m_before, TreeNow()).empty() ? 0 : 1;
        ExpectNewAfterAnother();
    }
    std::cout << GetParam().name << ": " << steps << " steps\n";
    EXPECT_GT(steps, 20);
    EXPECT_GT(changed, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, KilledChange, ::testing::ValuesIn(kChanges),
                         [](const auto& row) { return row.param.name; });

} // namespace
} // namespace VeskTest
