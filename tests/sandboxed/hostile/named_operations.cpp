#include "named_operations.hpp"

#include <algorithm>
#include <ostream>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "c_list.hpp"
#include "words.hpp"

namespace VeskTest
{

namespace
{

using VESK::Systemd::CommandOptions;

// The forms that many operations have.
using One = bool(const std::string&);
using List = bool(const Words&, Words&);
using ListWithOptions = bool(const Words&, const Words&, Words&);
using COne = int(const char*);
using CGroup = int(VLIBCSzList*, VLIBCSzList**);
using Reason = bool(const std::string&, const std::string&);
using ReasonList = bool(const std::string&, const Words&, Words&);
using CReason = int(const char*, const char*);
using CReasonGroup = int(const char*, VLIBCSzList*, VLIBCSzList**);
template <typename Value>
using Getter = bool(const std::string&, Value&);

constexpr const char* kWords = "std::vector<std::string>";
constexpr const char* kText = "std::string const&";

std::string Symbol(const std::string& function, const std::string& parameters)
{
    return function + "(" + parameters + ")";
}

std::string ListSymbol(const std::string& function, const std::string& before = "")
{
    return Symbol(function, before + kWords + " const&, " + kWords + "&");
}

class Table
{
public:
    Table& Row(const std::string& symbol, Names names, std::function<bool(const std::string&)> call)
    {
        m_rows.push_back({symbol, names, std::move(call)});
        return *this;
    }

    Table& AddOne(const std::string& function, One* one, Names names = Names::OneUnit)
    {
        return Row(Symbol(function, kText), names, one);
    }

    Table& AddList(const std::string& function, List* list, Names names = Names::Units)
    {
        return Row(ListSymbol(function), names, [list](const std::string& name) {
            Words failed;
            return list({name}, failed);
        });
    }

    Table& AddListWithOptions(const std::string& function, ListWithOptions* list)
    {
        return Row(ListSymbol(function, std::string(kWords) + " const&, "), Names::Units,
                   [list](const std::string& name) {
                       Words failed;
                       return list({}, {name}, failed);
                   });
    }

    Table& AddC(const std::string& function, COne* one, Names names = Names::OneUnit)
    {
        return Row(function, names, [one](const std::string& name) { return one(name.c_str()) == 1; });
    }

    // A query, of which -1 is the failure.
    Table& AddCQuery(const std::string& function, COne* one)
    {
        return Row(function, Names::OneUnit,
                   [one](const std::string& name) { return one(name.c_str()) != -1; });
    }

    Table& AddCGroup(const std::string& function, CGroup* group, Names names = Names::Units)
    {
        return Row(function, names, [group](const std::string& name) {
            CList failed;
            return group(CList({name}).Get(), failed.Address()) == 1;
        });
    }

    template <typename Value>
    Table& AddGetter(const std::string& function, Getter<Value>* getter, const std::string& type, Names names)
    {
        return Row(Symbol(function, std::string(kText) + ", " + type + "&"), names,
                   [getter](const std::string& name) {
                       Value value{};
                       return getter(name, value);
                   });
    }

    Table& AddReason(const std::string& function, Reason* one, ReasonList* list)
    {
        const std::string parameters = std::string(kText) + ", " + kText;
        Row(Symbol(function, parameters), Names::OneService,
            [one](const std::string& name) { return one("held", name); });
        Row(Symbol(function, parameters), Names::Reason,
            [one](const std::string& name) { return one(name, "owner"); });
        return Row(ListSymbol(function, std::string(kText) + ", "), Names::Services,
                   [list](const std::string& name) {
                       Words failed;
                       return list("held", {name}, failed);
                   });
    }

    Table& AddCReason(const std::string& function, CReason* one, const std::string& group, CReasonGroup* list)
    {
        Row(function, Names::OneService,
            [one](const std::string& name) { return one("held", name.c_str()) == 1; });
        Row(function, Names::Reason,
            [one](const std::string& name) { return one(name.c_str(), "owner") == 1; });
        return Row(group, Names::Services, [list](const std::string& name) {
            CList failed;
            return list("held", CList({name}).Get(), failed.Address()) == 1;
        });
    }

    // A change of a registry, of which the owner's and the volume's names are given.
    Table& AddChange(const std::string& function, Reason* change, const std::string& cFunction,
                     CReason* cChange, Names owner)
    {
        const std::string symbol = Symbol(function, std::string(kText) + ", " + kText);
        Row(symbol, owner, [change](const std::string& name) { return change(name, "/volume1"); });
        Row(symbol, Names::Volume, [change](const std::string& name) { return change("owner", name); });
        Row(cFunction, owner,
            [cChange](const std::string& name) { return cChange(name.c_str(), "/volume1") == 1; });
        return Row(cFunction, Names::Volume,
                   [cChange](const std::string& name) { return cChange("owner", name.c_str()) == 1; });
    }

    std::vector<NamedOperation> Take() { return std::move(m_rows); }

private:
    std::vector<NamedOperation> m_rows;
};

// The name of a function, and the function.
#define VESK_FUNCTION(function) #function, function

void AddActions(Table& table)
{
    table.AddListWithOptions(VESK_FUNCTION(VESKSystemdStartWithOptions))
        .AddList(VESK_FUNCTION(VESKSystemdStart))
        .AddOne(VESK_FUNCTION(VESKSystemdStart))
        .AddOne(VESK_FUNCTION(VESKSystemdStartIrreversibly))
        .AddListWithOptions(VESK_FUNCTION(VESKSystemdStopWithOptions))
        .AddList(VESK_FUNCTION(VESKSystemdStop))
        .AddOne(VESK_FUNCTION(VESKSystemdStop))
        .AddListWithOptions(VESK_FUNCTION(VESKSystemdRestartWithOptions))
        .AddList(VESK_FUNCTION(VESKSystemdRestart))
        .AddOne(VESK_FUNCTION(VESKSystemdRestart))
        .AddListWithOptions(VESK_FUNCTION(VESKSystemdTryRestartWithOptions))
        .AddList(VESK_FUNCTION(VESKSystemdTryRestart))
        .AddOne(VESK_FUNCTION(VESKSystemdTryRestart))
        .AddListWithOptions(VESK_FUNCTION(VESKSystemdReloadWithOptions))
        .AddList(VESK_FUNCTION(VESKSystemdReload))
        .AddOne(VESK_FUNCTION(VESKSystemdReload))
        .AddListWithOptions(VESK_FUNCTION(VESKSystemdReloadOrRestartWithOptions))
        .AddList(VESK_FUNCTION(VESKSystemdReloadOrRestart))
        .AddOne(VESK_FUNCTION(VESKSystemdReloadOrRestart))
        .AddList(VESK_FUNCTION(VESKSystemdStartNoBlock))
        .AddOne(VESK_FUNCTION(VESKSystemdStartNoBlock))
        .AddList(VESK_FUNCTION(VESKSystemdStopNoBlock))
        .AddOne(VESK_FUNCTION(VESKSystemdStopNoBlock))
        .AddList(VESK_FUNCTION(VESKSystemdRestartNoBlock))
        .AddOne(VESK_FUNCTION(VESKSystemdRestartNoBlock))
        .AddList(VESK_FUNCTION(VESKSystemdTryRestartNoBlock))
        .AddOne(VESK_FUNCTION(VESKSystemdTryRestartNoBlock))
        .AddList(VESK_FUNCTION(VESKSystemdReloadNoBlock))
        .AddOne(VESK_FUNCTION(VESKSystemdReloadNoBlock))
        .AddList(VESK_FUNCTION(VESKSystemdReloadOrRestartNoBlock))
        .AddOne(VESK_FUNCTION(VESKSystemdReloadOrRestartNoBlock))
        .AddList(VESK_FUNCTION(VESKSystemdResetFailed))
        .AddList(VESK_FUNCTION(VESKSystemdUninstall))
        .AddOne(VESK_FUNCTION(VESKSystemdUninstall));
}

void AddCActions(Table& table)
{
    table.AddC(VESK_FUNCTION(VESKCSystemdStart))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdStartGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdStartIrreversibly))
        .AddC(VESK_FUNCTION(VESKCSystemdStop))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdStopGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdRestart))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdRestartGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdTryRestart))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdTryRestartGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdReload))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdReloadGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdReloadOrRestart))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdReloadOrRestartGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdStartNoBlock))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdStartGroupNoBlock))
        .AddC(VESK_FUNCTION(VESKCSystemdStopNoBlock))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdStopGroupNoBlock))
        .AddC(VESK_FUNCTION(VESKCSystemdRestartNoBlock))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdRestartGroupNoBlock))
        .AddC(VESK_FUNCTION(VESKCSystemdTryRestartNoBlock))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdTryRestartGroupNoBlock))
        .AddC(VESK_FUNCTION(VESKCSystemdReloadNoBlock))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdReloadGroupNoBlock))
        .AddC(VESK_FUNCTION(VESKCSystemdReloadOrRestartNoBlock))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdReloadOrRestartGroupNoBlock))
        .AddC(VESK_FUNCTION(VESKCSystemdUninstall))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdUninstallGroup));
}

void AddUnitFileStates(Table& table)
{
    table.AddList(VESK_FUNCTION(VESKSystemdEnable))
        .AddOne(VESK_FUNCTION(VESKSystemdEnable))
        .AddList(VESK_FUNCTION(VESKSystemdEnableInGenerator))
        .AddOne(VESK_FUNCTION(VESKSystemdEnableInGenerator))
        .AddList(VESK_FUNCTION(VESKSystemdDisable))
        .AddOne(VESK_FUNCTION(VESKSystemdDisable))
        .AddList(VESK_FUNCTION(VESKSystemdDisableInGenerator))
        .AddOne(VESK_FUNCTION(VESKSystemdDisableInGenerator))
        .AddList(VESK_FUNCTION(VESKSystemdReenable))
        .AddOne(VESK_FUNCTION(VESKSystemdReenable))
        .AddList(VESK_FUNCTION(VESKSystemdMask))
        .AddOne(VESK_FUNCTION(VESKSystemdMask))
        .AddOne(VESK_FUNCTION(VESKSystemdMaskRunTime))
        .AddList(VESK_FUNCTION(VESKSystemdUnmask))
        .AddOne(VESK_FUNCTION(VESKSystemdUnmask))
        .AddOne(VESK_FUNCTION(VESKSystemdUnmaskRunTime))
        .AddC(VESK_FUNCTION(VESKCSystemdEnable))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdEnableGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdEnableInGenerator))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdEnableGroupInGenerator))
        .AddC(VESK_FUNCTION(VESKCSystemdDisable))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdDisableGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdDisableInGenerator))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdDisableGroupInGenerator))
        .AddC(VESK_FUNCTION(VESKCSystemdReenable))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdReenableGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdMask))
        .AddC(VESK_FUNCTION(VESKCSystemdMaskRunTime))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdMaskGroup))
        .AddC(VESK_FUNCTION(VESKCSystemdUnmask))
        .AddC(VESK_FUNCTION(VESKCSystemdUnmaskRunTime))
        .AddCGroup(VESK_FUNCTION(VESKCSystemdUnmaskGroup));
}

template <typename Change>
void AddUnitFileChange(Table& table, const std::string& function, Change* change)
{
    const std::string words = kWords;
    table.Row(Symbol(function, words + " const&, VESK::Systemd::CommandOptions const&, " + words + "&"),
              Names::Units, [change](const std::string& name) {
                  Words failed;
                  return change({name}, CommandOptions(), failed);
              });
}

template <typename Change>
void AddInternalUnitFileChange(Table& table, const std::string& function, Change* change)
{
    const std::string words = kWords;
    table.Row(Symbol(function, words + " const&, " + words + " const&, " + words + "&, bool"), Names::Units,
              [change](const std::string& name) {
                  Words failed;
                  return change({}, {name}, failed, true);
              });
}

template <typename Query>
void AddQuery(Table& table, const std::string& function, Query* query)
{
    table.Row(Symbol(function, kText), Names::OneUnit,
              [query](const std::string& name) { return query(name) != -1; });
}

void AddStates(Table& table)
{
    AddQuery(table, VESK_FUNCTION(VESKSystemdActiveStatusGet));
    AddQuery(table, VESK_FUNCTION(VESKSystemdActiveStatusGetSystem));
    AddQuery(table, VESK_FUNCTION(VESKSystemdLoadStatusGet));
    AddQuery(table, VESK_FUNCTION(VESKSystemdEnableStatusGet));
    AddQuery(table, VESK_FUNCTION(VESKSystemdEnableStatusGetSystem));
    AddQuery(table, VESK_FUNCTION(VESKSystemdEnableStatusGetInGenerator));
    table
        .Row(Symbol("VESKSystemdEnableStatusGetWithOptions",
                    std::string(kWords) + " const&, std::string const&"),
             Names::OneUnit,
             [](const std::string& name) { return VESKSystemdEnableStatusGetWithOptions({}, name) != -1; })
        .AddCQuery(VESK_FUNCTION(VESKCSystemdActiveStatusGet))
        .AddCQuery(VESK_FUNCTION(VESKCSystemdActiveStatusGetSystem))
        .AddCQuery(VESK_FUNCTION(VESKCSystemdLoadStatusGet))
        .AddCQuery(VESK_FUNCTION(VESKCSystemdEnableStatusGet))
        .AddCQuery(VESK_FUNCTION(VESKCSystemdEnableStatusGetSystem))
        .AddCQuery(VESK_FUNCTION(VESKCSystemdEnableStatusGetInGenerator))
        .AddOne(VESK_FUNCTION(VESKSystemdIsJobEnqueued))
        .AddC(VESK_FUNCTION(VESKCSystemdIsJobEnqueued))
        .AddGetter<VESK::Systemd::JobInfo>(VESK_FUNCTION(VESKSystemdIntJobGet), "VESK::Systemd::JobInfo",
                                           Names::OneUnit);
}

using Show = bool(const std::string&, const std::string&, std::string&);

void AddShow(Table& table, const std::string& function, Show* show)
{
    const std::string symbol = Symbol(function, "std::string const&, std::string const&, std::string&");
    table.Row(symbol, Names::OneUnit, [show](const std::string& name) {
        std::string value;
        return show(name, "Id", value);
    });
    table.Row(symbol, Names::OneUnit, [show](const std::string& name) {
        std::string value;
        return show("owner", name, value);
    });
}

bool Judge(int exitCode, const Words&)
{
    return exitCode == 0;
}

void AddRunner(Table& table)
{
    const std::string callback = "std::function<bool (int, std::vector<std::string> const&)>&&";
    const std::string words = std::string(kWords) + " const&, ";
    table
        .Row(Symbol("VESKSystemdSystemctl", "std::string const&, " + words + callback), Names::Units,
             [](const std::string& name) { return VESKSystemdSystemctl("cat", {name}, Judge); })
        .Row(Symbol("VESKSystemdSystemctl", "std::string const&, " + words + words + callback), Names::Units,
             [](const std::string& name) { return VESKSystemdSystemctl("cat", {"--all"}, {name}, Judge); })
        .Row(Symbol("VESKSystemdSystemctlUltron",
                    "std::string const&, VESK::Systemd::SystemctlOpts const&, " + words + callback),
             Names::Units, [](const std::string& name) {
                 return VESKSystemdSystemctlUltron("cat", VESK::Systemd::SystemctlOpts(), {name}, Judge);
             });
}

void AddReasons(Table& table)
{
    table
        .AddReason("VESKSystemdServiceStopByReason", VESKSystemdServiceStopByReason,
                   VESKSystemdServiceStopByReason)
        .AddReason("VESKSystemdServiceStartByReason", VESKSystemdServiceStartByReason,
                   VESKSystemdServiceStartByReason)
        .AddReason("VESKSystemdServiceReasonRemove", VESKSystemdServiceReasonRemove,
                   VESKSystemdServiceReasonRemove)
        .AddCReason(VESK_FUNCTION(VESKCSystemdServiceStopByReason),
                    VESK_FUNCTION(VESKCSystemdServiceStopGroupByReason))
        .AddCReason(VESK_FUNCTION(VESKCSystemdServiceStartByReason),
                    VESK_FUNCTION(VESKCSystemdServiceStartGroupByReason))
        .AddCReason(VESK_FUNCTION(VESKCSystemdServiceReasonRemove),
                    VESK_FUNCTION(VESKCSystemdServiceReasonRemoveGroup))
        .AddGetter<Words>(VESK_FUNCTION(VESKSystemdServiceReasonList), kWords, Names::OneService)
        .Row("VESKCSystemdServiceReasonList", Names::OneService, [](const std::string& name) {
            CList reasons;
            return VESKCSystemdServiceReasonList(name.c_str(), reasons.Address()) == 1;
        });
}

void AddReasonHelpers(Table& table)
{
    using namespace VESK::Systemd;
    const std::string words = kWords;
    const std::string symbol =
        Symbol("VESK::Systemd::UnlinkReasons",
               std::string(kText) + ", " + words + " const&, " + words + "&, " + words + "&");
    table
        .Row(symbol, Names::Services,
             [](const std::string& name) {
                 Words cleared;
                 Words failed;
                 return UnlinkReasons("held", {name}, cleared, failed);
             })
        .AddOne("VESK::Systemd::CheckServiceHasReason", CheckServiceHasReason, Names::Services)
        .AddOne("VESK::Systemd::IsEnableStatusChanged", IsEnableStatusChanged, Names::Mark)
        .Row(Symbol("VESK::Systemd::SetEnableStatusChanged", kText), Names::Mark,
             [](const std::string& name) {
                 SetEnableStatusChanged(name);
                 return true;
             });
}

template <typename Query>
void AddRegistryQuery(Table& table, const std::string& function, Query* query)
{
    const std::string symbol = Symbol(function, std::string(kText) + ", " + kWords + " const&");
    table.Row(symbol, Names::Queried, [query](const std::string& name) { return query(name, {"/volume1"}); });
    table.Row(symbol, Names::QueriedVolume,
              [query](const std::string& name) { return query("owner", {name}); });
}

void AddRegistries(Table& table)
{
    table
        .AddChange(VESK_FUNCTION(VESKSystemdVolumeRegister), VESK_FUNCTION(VESKCSystemdVolumeRegister),
                   Names::RegisteredUnit)
        .AddChange(VESK_FUNCTION(VESKSystemdVolumeUnregister), VESK_FUNCTION(VESKCSystemdVolumeUnregister),
                   Names::RegisteredUnit)
        .AddChange(VESK_FUNCTION(VESKSystemdPackageVolumeRegister),
                   VESK_FUNCTION(VESKCSystemdPackageVolumeRegister), Names::Package)
        .AddChange(VESK_FUNCTION(VESKSystemdPackageVolumeUnregister),
                   VESK_FUNCTION(VESKCSystemdPackageVolumeUnregister), Names::Package);
    AddRegistryQuery(table, VESK_FUNCTION(VESKSystemdVolumeIsRegisteredByUnit));
    AddRegistryQuery(table, VESK_FUNCTION(VESKSystemdVolumeIsRegisteredByPackage));
}

bool Unmounted(void* /*argument*/)
{
    return true;
}

void AddVolumes(Table& table)
{
    table
        .Row(Symbol("_VESKSystemdVolumeUnmountAction",
                    std::string(kWords) + " const&, std::function<bool ()>&&"),
             Names::MountPath,
             [](const std::string& name) {
                 return _VESKSystemdVolumeUnmountAction({name}, [] { return true; });
             })
        .Row("VESKCSystemdVolumeUnmountAction", Names::MountPath,
             [](const std::string& name) {
                 return VESKCSystemdVolumeUnmountAction(name.c_str(), Unmounted, nullptr) == 1;
             })
        .Row("VESKCSystemdVolumeGroupUnmountAction", Names::MountPath,
             [](const std::string& name) {
                 return VESKCSystemdVolumeGroupUnmountAction(CList({name}).Get(), Unmounted, nullptr) == 1;
             })
        .AddGetter<Words>(VESK_FUNCTION(VESKSystemdServiceListByMntPath), kWords, Names::MountPath)
        .Row("VESKCSystemdServiceListByMntPath", Names::MountPath, [](const std::string& name) {
            CList services;
            return VESKCSystemdServiceListByMntPath(name.c_str(), services.Address()) == 1;
        });
}

using Isolate = bool(const std::string&, VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT*);
using IsolateWithOptions = bool(const std::string&, const VESK::Systemd::IsolateOptions&,
                                VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT*);

void AddIsolation(Table& table, const std::string& function, Isolate* isolate,
                  IsolateWithOptions* withOptions)
{
    const std::string result = "VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT*";
    table
        .Row(Symbol(function, std::string(kText) + ", " + result), Names::Target,
             [isolate](const std::string& name) { return isolate(name, nullptr); })
        .Row(Symbol(function, std::string(kText) + ", VESK::Systemd::IsolateOptions const&, " + result),
             Names::Target, [withOptions](const std::string& name) {
                 return withOptions(name, VESK::Systemd::IsolateOptions(), nullptr);
             });
}

void AddTargets(Table& table)
{
    AddIsolation(table, "VESKSystemdIsolateTarget", VESKSystemdIsolateTarget, VESKSystemdIsolateTarget);
    AddIsolation(table, "VESKSystemdIntIsolateTarget", VESKSystemdIntIsolateTarget,
                 VESKSystemdIntIsolateTarget);
    table
        .Row(Symbol("_VESKSystemdIsolateTargetAction", std::string(kText) + ", std::function<bool ()>&&"),
             Names::Target,
             [](const std::string& name) {
                 return _VESKSystemdIsolateTargetAction(name, [] { return true; });
             })
        .Row("VESKCSystemdIsolateTargetAction", Names::Target,
             [](const std::string& name) {
                 return VESKCSystemdIsolateTargetAction(name.c_str(), [] { return 1; });
             })
        .AddOne(VESK_FUNCTION(VESKSystemdDefaultTargetSet))
        .AddOne(VESK_FUNCTION(VESKSystemdDefaultTargetSetInGenerator))
        .AddC(VESK_FUNCTION(VESKCSystemdDefaultTargetSet))
        .AddC(VESK_FUNCTION(VESKCSystemdDefaultTargetSetInGenerator))
        .Row(Symbol("VESKSystemdIntDefaultTargetSet", std::string(kWords) + " const&, std::string const&"),
             Names::OneUnit, [](const std::string& name) { return VESKSystemdIntDefaultTargetSet({}, name); })
        .AddGetter<Words>(VESK_FUNCTION(VESKSystemdTargetCarriesGet), kWords, Names::UnitFile);
}

template <typename Value>
void AddFlag(Table& table, const std::string& function, Getter<bool>* getter, const std::string& cFunction,
             int (*cGetter)(const char*, Value*))
{
    table.AddGetter<bool>(function, getter, "bool", Names::UnitFile)
        .Row(cFunction, Names::UnitFile, [cGetter](const std::string& name) {
            Value value{};
            return cGetter(name.c_str(), &value) == 1;
        });
}

void AddText(Table& table, const std::string& function, Getter<std::string>* getter,
             const std::string& cFunction, int (*cGetter)(const char*, char*, size_t))
{
    table.AddGetter<std::string>(function, getter, "std::string", Names::UnitFile)
        .Row(cFunction, Names::UnitFile, [cGetter](const std::string& name) {
            char value[256];
            return cGetter(name.c_str(), value, sizeof value) == 1;
        });
}

void AddFlags(Table& table)
{
    AddFlag(table, VESK_FUNCTION(VESKSystemdIsSupportGet), VESK_FUNCTION(VESKCSystemdIsSupportGet));
    AddFlag(table, VESK_FUNCTION(VESKSystemdIsDefaultEnableGet),
            VESK_FUNCTION(VESKCSystemdIsDefaultEnableGet));
    AddFlag(table, VESK_FUNCTION(VESKSystemdInfoCenterDisplayGet),
            VESK_FUNCTION(VESKCSystemdInfoCenterDislayGet));
    AddFlag(table, VESK_FUNCTION(VESKSystemdNanoUpdateDislayGet),
            VESK_FUNCTION(VESKCSystemdNanoUpdateDislayGet));
    AddFlag(table, VESK_FUNCTION(VESKSystemdSupportOneClickEnableGet),
            VESK_FUNCTION(VESKCSystemdSupportOneClickEnableGet));
    table.AddGetter<bool>(VESK_FUNCTION(VESKSystemdServiceSkipListByMntPath), "bool", Names::UnitFile);
}

void AddKeys(Table& table)
{
    AddText(table, VESK_FUNCTION(VESKSystemdNameGet), VESK_FUNCTION(VESKCSystemdNameGet));
    AddText(table, VESK_FUNCTION(VESKSystemdNameI18nGet), VESK_FUNCTION(VESKCSystemdNameI18nGet));
    table.AddGetter<Words>(VESK_FUNCTION(VESKSystemdFirewallSectionsGet), kWords, Names::UnitFile)
        .AddGetter<Words>(VESK_FUNCTION(VESKSystemdPackedInGet), kWords, Names::UnitFile)
        .AddGetter<Words>(VESK_FUNCTION(VESKSystemdBelongsToGet), kWords, Names::UnitFile)
        .AddGetter<VESK_SYSTEMD_VOLUME_DEPENDENCY>(VESK_FUNCTION(VESKSystemdVolumeDependencyGet),
                                                   "VESK_SYSTEMD_VOLUME_DEPENDENCY", Names::UnitFile)
        .Row("VESKCSystemdVolumeDependencyGet", Names::UnitFile,
             [](const std::string& name) {
                 VESK_SYSTEMD_VOLUME_DEPENDENCY dependency{};
                 return VESKCSystemdVolumeDependencyGet(name.c_str(), &dependency) == 1;
             })
        .Row("VESKCSystemdFirewallSectionsGet", Names::UnitFile,
             [](const std::string& name) {
                 CList sections;
                 return VESKCSystemdFirewallSectionsGet(name.c_str(), sections.Address()) == 1;
             })
        .Row("VESKSystemdIconGet(std::string, VESK::Systemd::Icon&)", Names::UnitFile,
             [](const std::string& name) {
                 VESK::Systemd::Icon icon;
                 return VESKSystemdIconGet(name, icon);
             });
}

// Those that throw where there is no unit file.
template <typename Read>
bool Reads(const Read& read)
{
    try {
        return !read().empty();
    } catch (const std::runtime_error&) {
        return false;
    }
}

void AddUnitFiles(Table& table)
{
    using namespace VESK::Systemd;
    const std::string text = kText;
    table
        .Row(Symbol("VESK::Systemd::UnitPathGet", text), Names::UnitFile,
             [](const std::string& name) { return Reads([&] { return UnitPathGet(name); }); })
        .Row(Symbol("VESK::Systemd::UnitSectionKeyGet", text + ", " + text + ", " + text), Names::UnitFile,
             [](const std::string& name) {
                 return Reads([&] { return UnitSectionKeyGet(name, "X-Veskline", "Name"); });
             })
        .Row(Symbol("VESK::Systemd::XVesklineKeyGet", text + ", " + text), Names::UnitFile,
             [](const std::string& name) { return Reads([&] { return XVesklineKeyGet(name, "Name"); }); })
        .Row(Symbol("VESK::Systemd::Slice::Slice", text), Names::UnitFile, [](const std::string& name) {
            try {
                return Slice(name).NameGet() == "Plain";
            } catch (const std::exception&) {
                return false;
            }
        });
}

void AddSlices(Table& table)
{
    using namespace VESK::Systemd;
    const std::string text = kText;
    const std::string move = Symbol("VESK::Systemd::MoveToCgroupSlice", text + ", " + text);
    // Behind a zero byte it would be no part of the name.
    const auto slice = [](std::string name) {
        return name.insert(std::min(name.find('\0'), name.size()), ".slice");
    };
    table
        .Row(move, Names::Slice,
             [slice](const std::string& name) { return MoveToCgroupSlice(slice(name), "veskmonitor"); })
        .Row(move, Names::Hierarchy,
             [](const std::string& name) { return MoveToCgroupSlice("owner.slice", name); })
        .Row(Symbol("VESKSystemdCgroupMonitorSliceMove", text), Names::Slice,
             [slice](const std::string& name) { return VESKSystemdCgroupMonitorSliceMove(slice(name)); })
        .Row(Symbol("VESKSystemdCgroupSystemdSliceMove", text), Names::Slice,
             [slice](const std::string& name) { return VESKSystemdCgroupSystemdSliceMove(slice(name)); })
        .Row("VESKCSystemdCgroupMonitorSliceMove", Names::Slice,
             [slice](const std::string& name) {
                 return VESKCSystemdCgroupMonitorSliceMove(slice(name).c_str()) == 1;
             })
        .Row("VESKCSystemdCgroupSystemdSliceMove", Names::Slice,
             [slice](const std::string& name) {
                 return VESKCSystemdCgroupSystemdSliceMove(slice(name).c_str()) == 1;
             })
        .AddOne(VESK_FUNCTION(VESKSystemdKillSlice), Names::KilledSlice)
        .Row("VESK::Systemd::Slice::ProcessList(std::string const&, std::set<VESK::Systemd::Process, "
             "std::less<VESK::Systemd::Process>, std::allocator<VESK::Systemd::Process> >&)",
             Names::Group,
             [](const std::string& name) {
                 std::set<Process> processes;
                 return Slice::ProcessList(name, processes);
             })
        .Row(Symbol("VESKSystemdCgroupPathnameGet", "int, " + text + ", std::string&"), Names::Group,
             [](const std::string& name) {
                 std::string path;
                 return VESKSystemdCgroupPathnameGet(getpid(), name, path);
             });
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const NamedOperation& operation)
{
    return stream << operation.symbol;
}

std::string OperationName(const NamedOperation& operation)
{
    std::string name = operation.symbol.substr(0, operation.symbol.find('('));
    std::replace(name.begin(), name.end(), ':', '_');
    return name;
}

const std::vector<NamedOperation>& NamedOperations()
{
    static const std::vector<NamedOperation> operations = [] {
        Table table;
        AddActions(table);
        AddCActions(table);
        AddUnitFileStates(table);
        AddUnitFileChange(table, VESK_FUNCTION(VESKSystemdEnableWithOptions));
        AddUnitFileChange(table, VESK_FUNCTION(VESKSystemdDisableWithOptions));
        AddInternalUnitFileChange(table, VESK_FUNCTION(VESKSystemdEnableWithOptionsInternal));
        AddInternalUnitFileChange(table, VESK_FUNCTION(VESKSystemdDisableWithOptionsInternal));
        AddStates(table);
        AddShow(table, VESK_FUNCTION(VESKSystemdShow));
        AddShow(table, VESK_FUNCTION(VESKSystemdShowSystem));
        AddRunner(table);
        AddReasons(table);
        AddReasonHelpers(table);
        AddRegistries(table);
        AddVolumes(table);
        AddTargets(table);
        AddFlags(table);
        AddKeys(table);
        AddUnitFiles(table);
        AddSlices(table);
        return table.Take();
    }();
    return operations;
}

} // namespace VeskTest
