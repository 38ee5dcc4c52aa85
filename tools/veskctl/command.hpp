#pragma once

/** What veskctl can do, as data: the parser, the help, the man pages and the completion are made from it. */

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/text.hpp"

namespace Veskctl
{

using VESK::Systemd::Texts;

enum class Exit : int { Done = 0, Failed = 1, WrongUse = 2, NotFound = 3, NotPermitted = 4 };

/** What an operand names, which tells the completion what there is to choose from. */
enum class Kind { Unit, Service, Target, Slice, Reason, Volume, Property, Pid, Type, Key, Other };

struct Operand {
    const char* szName;
    Kind kind;
    bool blOptional = false;
    bool blMany = false;
};

struct Option {
    const char* szName;
    const char* szHelp;
    /** What its value is called; null for a flag. */
    const char* szValue = nullptr;
    Kind kind = Kind::Other;
};

/** Whether a verb takes "-- COMMAND...". */
enum class Tail { None, Optional, Required };

/** Who may use a verb. */
enum class For { Everybody, Root };

/** One use of a verb, as it was parsed. */
struct Call {
    Texts vecOperands;
    Texts vecCommand;
    std::map<std::string, std::string> mapOptions;

    bool Has(const std::string& strOption) const { return mapOptions.count(strOption) != 0; }
    std::string Value(const std::string& strOption) const
    {
        return Has(strOption) ? mapOptions.at(strOption) : "";
    }
};

struct Verb {
    /** One word, or two: "volume users". */
    const char* szName;
    const char* szSummary;
    std::vector<Operand> vecOperands;
    std::vector<Option> vecOptions;
    std::function<Exit(const Call&)> run;
    /** More than the summary, in whole sentences; lines that begin with a blank stay as they are. */
    const char* szDetails = "";
    Tail tail = Tail::None;
    For who = For::Everybody;
};

/** Verbs that share a man page. */
struct Group {
    const char* szName;
    const char* szSummary;
    std::vector<Verb> vecVerbs;
};

const std::vector<Group>& Groups();

Group UnitActionGroup();
Group UnitQueryGroup();
Group ReasonGroup();
Group VolumeGroup();
Group TargetGroup();
Group SliceGroup();

constexpr const char* kJsonHelp = "print JSON instead of a table";
inline Option JsonOption()
{
    return {"json", kJsonHelp};
}

/** How a verb is written: "volume unmount [OPTION]... VOLUME... [-- COMMAND...]". */
std::string Usage(const Verb& verb, bool blOptions = true);

/** Calls the verb that the command line names. */
Exit Run(const std::vector<Group>& vecGroups, int nArguments, char** ppArguments);

} // namespace Veskctl
