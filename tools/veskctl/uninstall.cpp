#include "uninstall.hpp"

#include <algorithm>
#include <unistd.h>

#include <vesksystemd.hpp>

#include "core/file_system.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "unit_state.hpp"
#include "units/unit_uninstall.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

struct UnitFile {
    std::string strUnit;
    std::string strPath;
    bool blShared = false;
};

using Files = std::vector<UnitFile>;

/** Whether a unit's file is also that of others: of the instances of a template, or of the unit that this one is a
 * second name for. */
bool IsFileShared(const std::string& strUnit, const std::string& strPath)
{
    return BaseName(strPath) != strUnit;
}

/** Whether a drop-in is for more units than this: "service.d", "foo-.service.d", "foo@.service.d". */
bool IsDropInShared(const std::string& strUnit, const std::string& strPath)
{
    return BaseName(strPath.substr(0, strPath.rfind('/'))) != strUnit + ".d";
}

void FilesAdd(const std::string& strGiven, Files& vecFiles)
{
    const std::string strUnit = NormalizedUnitNameGet(strGiven);
    UnitPaths paths;
    if (!UnitPathsGet(strGiven, paths)) {
        throw std::runtime_error(strGiven + ": its files cannot be found out; systemctl did not answer");
    }
    for (const std::string& strPath : paths.vecUnitFiles) {
        vecFiles.push_back({strUnit, strPath, IsFileShared(strUnit, strPath)});
    }
    for (const std::string& strPath : paths.vecDropIns) {
        vecFiles.push_back({strUnit, strPath, IsDropInShared(strUnit, strPath)});
    }
}

bool IsDeleted(const UnitFile& file, const Call& call)
{
    return !file.blShared || call.Has("shared");
}

void PlanPrint(const Files& vecFiles, const Call& call)
{
    Json::Value list(Json::arrayValue);
    Table table({"UNIT", "FILE", "DELETED"});
    for (const UnitFile& file : vecFiles) {
        const bool blDeleted = IsDeleted(file, call);
        Json::Value value;
        value["unit"] = file.strUnit;
        value["file"] = file.strPath;
        value["shared"] = file.blShared;
        value["deleted"] = blDeleted;
        list.append(value);
        const std::string strShared = file.blShared ? ", shared with other units" : "";
        table.Row(
            {file.strUnit, file.strPath,
             blDeleted ? Cell("yes" + strShared, Colour::Bad) : Cell("no" + strShared, Colour::Notice)});
    }
    call.Has("json") ? PrintJson(list) : table.Print();
}

Texts MissingUnits(const Texts& vecUnits)
{
    Texts vecMissing;
    for (const std::string& strUnit : vecUnits) {
        if (!UnitStateGet(strUnit).IsKnown()) {
            vecMissing.push_back(strUnit);
        }
    }
    return vecMissing;
}

Exit Uninstall(const Call& call, const Files& vecFiles)
{
    std::set<std::string> setKept;
    for (const UnitFile& file : vecFiles) {
        if (!IsDeleted(file, call)) {
            setKept.insert(file.strPath);
        }
    }
    Texts vecFailed;
    const std::string strWhat = "uninstall " + Joined(call.vecOperands, " ");
    const bool blDone =
        WithProgress(strWhat, [&] { return UninstallExcept(setKept, call.vecOperands, vecFailed); });
    return blDone ? Exit::Done : UnitsFailed("uninstall", vecFailed);
}

Exit UninstallRun(const Call& call)
{
    if (!call.Has("yes") && !call.Has("dry-run") && !IsTerminal(STDIN_FILENO)) {
        Complain("there is no terminal to ask on; --yes goes on without asking");
        return Exit::WrongUse;
    }
    const Texts vecMissing = MissingUnits(call.vecOperands);
    if (!vecMissing.empty()) {
        Complain(Joined(vecMissing) + ": no such unit; nothing was done");
        return Exit::NotFound;
    }
    Files vecFiles;
    for (const std::string& strUnit : call.vecOperands) {
        FilesAdd(strUnit, vecFiles);
    }
    PlanPrint(vecFiles, call);
    if (call.Has("dry-run")) {
        return Exit::Done;
    }
    const std::string strQuestion = "Stop and uninstall " + Joined(call.vecOperands, " ") + "?";
    if (!call.Has("yes") && !IsConfirmed(strQuestion)) {
        Complain("nothing was done");
        return Exit::Failed;
    }
    return Uninstall(call, vecFiles);
}

} // namespace

Verb UninstallVerb()
{
    return {
        "uninstall",
        "stop units and delete their files for good",
        {{"UNIT", Kind::Unit, false, true}},
        {{"dry-run", "only show the files that would be deleted"},
         {"yes", "do not ask"},
         {"shared", "delete also the files that other units share"},
         JsonOption()},
        UninstallRun,
        "First shows the files that will be deleted, then asks. The file of a template and drop-ins for more "
        "than one unit are left unless --shared is given.",
        Tail::None,
        For::Root};
}

} // namespace Veskctl
