#include "unit_keys.hpp"

#include <vesksystemd.hpp>

#include "output.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

using Flag = bool (*)(const std::string&, bool&);
using List = bool (*)(const std::string&, Texts&);

struct FlagKey {
    const char* szKey;
    Flag get;
};

struct ListKey {
    const char* szKey;
    List get;
};

constexpr FlagKey kFlags[] = {
    {"DefaultEnable", VESKSystemdIsDefaultEnableGet},
    {"InfoCenterDisplay", VESKSystemdInfoCenterDisplayGet},
    {"NanoUpdateDisplay", VESKSystemdNanoUpdateDislayGet},
    {"SkipListByMntPath", VESKSystemdServiceSkipListByMntPath},
    {"Support", VESKSystemdIsSupportGet},
    {"SupportOneClickEnable", VESKSystemdSupportOneClickEnableGet},
};

constexpr ListKey kLists[] = {
    {"BelongsTo", VESKSystemdBelongsToGet},
    {"Carries", VESKSystemdTargetCarriesGet},
    {"FirewallSections", VESKSystemdFirewallSectionsGet},
    {"PackedIn", VESKSystemdPackedInGet},
};

constexpr const char* kTexts[] = {
    "AppId",      "IconCls",         "IconName", "Master", "Name", "NameI18n", "SliceKillTimeoutSec",
    "SupportKey", "VolumeDependency"};

/** All keys that the library knows, as it reads them. */
Json::Value KeysGet(const std::string& strUnit)
{
    Json::Value keys(Json::objectValue);
    for (const char* szKey : kTexts) {
        keys[szKey] = XVesklineKeyGet(strUnit, szKey);
    }
    for (const FlagKey& flag : kFlags) {
        bool blValue = false;
        flag.get(strUnit, blValue);
        keys[flag.szKey] = blValue;
    }
    for (const ListKey& list : kLists) {
        Texts vecItems;
        list.get(strUnit, vecItems);
        keys[list.szKey] = JsonList(vecItems);
    }
    return keys;
}

Cell KeyCell(const Json::Value& value)
{
    if (value.isBool()) {
        return value.asBool() ? Cell("yes", Colour::Good) : Cell("no", Colour::Faint);
    }
    if (value.isString()) {
        return value.asString();
    }
    std::string strItems;
    for (const Json::Value& item : value) {
        strItems += (strItems.empty() ? "" : " ") + item.asString();
    }
    return strItems;
}

bool HasFile(const std::string& strUnit, std::string& strPath)
{
    try {
        strPath = UnitPathGet(strUnit);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

Exit KeysRun(const Call& call)
{
    const std::string& strUnit = call.vecOperands[0];
    Json::Value value;
    value["unit"] = NormalizedUnitNameGet(strUnit);
    try {
        value["keys"] = KeysGet(strUnit);
    } catch (const std::exception&) {
        Complain(strUnit + ": no unit file; 'veskctl list' shows the units that have one");
        return Exit::NotFound;
    }
    std::string strPath;
    value["file"] = HasFile(strUnit, strPath) ? strPath : "";
    if (call.Has("json")) {
        PrintJson(value);
        return Exit::Done;
    }
    Table table({"KEY", "VALUE"});
    for (const std::string& strKey : value["keys"].getMemberNames()) {
        table.Row({strKey, KeyCell(value["keys"][strKey])});
    }
    table.Print();
    return Exit::Done;
}

} // namespace

Verb KeysVerb()
{
    return {"keys",
            "show the keys of the section X-Veskline of a unit's file",
            {{"UNIT", Kind::Unit}},
            {JsonOption()},
            KeysRun};
}

} // namespace Veskctl
