// What is on the disk when the power goes at any point of a change: the old file or the new one.
#include <algorithm>
#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "../hostile/hostile_ground.hpp"
#include "disk_record.hpp"
#include "files.hpp"
#include "paths.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsSubsetOf;
using ::testing::Not;
using Kind = DiskCall::Kind;
using Calls = std::vector<DiskCall>;

struct Change {
    const char* name;
    std::string folder;
    std::string file;
    std::string oldText; // empty for no file
    std::function<bool()> run;
};

std::ostream& operator<<(std::ostream& stream, const Change& change)
{
    return stream << change.name;
}

const std::string kVolumes = "[\n\t\"/volume1\"\n]\n";

bool Register()
{
    return VESKSystemdVolumeRegister("plain", "/volume3");
}

bool Unregister()
{
    return VESKSystemdVolumeUnregister("plain", "/volume1");
}

bool AddSection()
{
    return VESK::Systemd::AddUnitSection(kRunUnits, "plain.service", "Unit", {{"After", "a.service"}});
}

std::string Folder(const char* folder)
{
    return std::string(folder) + "/";
}

const Change kChanges[] = {
    {"Register", Folder(kRegister), RegisterOf("plain.service"), kVolumes, Register},
    {"RegisterFirst", Folder(kRegister), RegisterOf("plain.service"), "", Register},
    {"Unregister", Folder(kRegister), RegisterOf("plain.service"), kVolumes, Unregister},
    {"PackageRegister", PackageRegisterFolder("plain") + "/", PackageRegisterFolder("plain") + "/reg_volume",
     kVolumes, [] { return VESKSystemdPackageVolumeRegister("plain", "/volume3"); }},
    {"AddSection", Folder(kRunUnits), std::string(kRunUnits) + "/plain.service",
     "[Unit]\nAfter=b.service\n[Service]\nType=simple\n", AddSection},
    {"AddFirstSection", Folder(kRunUnits), std::string(kRunUnits) + "/plain.service", "", AddSection},
};

class PowerCut : public ::testing::TestWithParam<Change>
{
protected:
    PowerCut()
    {
        m_ground.Reset("plain");
        MakeFolder(GetParam().folder);
        if (!GetParam().oldText.empty()) {
            WriteText(GetParam().file, GetParam().oldText);
            m_old = "\"" + GetParam().oldText + "\"";
            m_before[GetParam().file] = GetParam().oldText;
        }
        m_calls = RecordDiskCalls(GetParam().folder, [] { GetParam().run(); });
        m_new = "\"" + ReadText(GetParam().file) + "\"";
    }

    std::set<std::string> TextsAfter(const Calls& calls, std::size_t count) const
    {
        return TextsAfterPowerCut(m_before, calls, count, GetParam().file);
    }

    // All texts that a disk may hold, at whatever point the power goes.
    std::set<std::string> TextsAnywhere(const Calls& calls) const
    {
        std::set<std::string> texts;
        for (std::size_t count = 0; count <= calls.size(); ++count) {
            texts.merge(TextsAfter(calls, count));
        }
        return texts;
    }

    Calls Without(Kind kind) const
    {
        Calls calls = m_calls;
        calls.erase(
            std::remove_if(calls.begin(), calls.end(), [&](const DiskCall& c) { return c.kind == kind; }),
            calls.end());
        return calls;
    }

    HostileGround m_ground;
    std::map<std::string, std::string> m_before;
    std::string m_old;
    std::string m_new;
    Calls m_calls;
};

TEST_P(PowerCut, AtAnyPointLeavesTheOldFileOrTheNewOne)
{
    ASSERT_NE(m_new, m_old);
    for (std::size_t count = 0; count <= m_calls.size(); ++count) {
        SCOPED_TRACE(count == 0 ? "before all" : "after " + ShownCall(m_calls[count - 1]));
        EXPECT_THAT(TextsAfter(m_calls, count), IsSubsetOf({m_old, m_new}));
    }
}

TEST_P(PowerCut, BehindTheOperationLeavesTheNewFile)
{
    EXPECT_THAT(TextsAfter(m_calls, m_calls.size()), ElementsAre(m_new));
}

TEST_P(PowerCut, WouldLeaveAnotherFileWithoutTheSyncs)
{
    EXPECT_THAT(TextsAnywhere(Without(Kind::SyncFile)), Not(IsSubsetOf({m_old, m_new})));
    const Calls unsynced = Without(Kind::SyncFolder);
    EXPECT_THAT(TextsAfter(unsynced, unsynced.size()), ::testing::Contains(m_old));
}

INSTANTIATE_TEST_SUITE_P(Of, PowerCut, ::testing::ValuesIn(kChanges),
                         [](const auto& row) { return row.param.name; });

} // namespace
} // namespace VeskTest
