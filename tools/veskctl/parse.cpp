#include "command.hpp"

#include <algorithm>
#include <iostream>
#include <memory>
#include <syslog.h>

#include <CLI/CLI.hpp>

#include "help.hpp"
#include "output.hpp"

namespace Veskctl
{
namespace
{

/** A verb among the parser's own, with what was given to it. */
struct Parsed {
    const Verb* pVerb = nullptr;
    CLI::App* pApp = nullptr;
    std::vector<std::string> vecOperands;
    std::map<std::string, std::string> mapValues;
    std::map<std::string, CLI::Option*> mapOptions;
};

using Verbs = std::vector<std::unique_ptr<Parsed>>;

void Prepare(CLI::App& app)
{
    app.set_help_flag();
    app.add_flag("--help,-h");
    app.add_flag("--verbose");
    // After a verb a word is a name, though there may be a verb of that name too.
    app.require_subcommand(0, 1);
}

/** The parser's command for a verb; that of its first word is made with the first verb that has it. */
CLI::App* CommandAdd(CLI::App& app, const std::string& strName)
{
    const size_t nBlank = strName.find(' ');
    if (nBlank == std::string::npos) {
        return app.add_subcommand(strName);
    }
    const std::string strFirst = strName.substr(0, nBlank);
    const auto vecSame = app.get_subcommands([&](CLI::App* pApp) { return pApp->get_name() == strFirst; });
    CLI::App* pFirst = vecSame.empty() ? app.add_subcommand(strFirst) : vecSame[0];
    if (vecSame.empty()) {
        Prepare(*pFirst);
    }
    return pFirst->add_subcommand(strName.substr(nBlank + 1));
}

std::unique_ptr<Parsed> VerbAdd(CLI::App& app, const Verb& verb)
{
    auto parsed = std::make_unique<Parsed>();
    parsed->pVerb = &verb;
    parsed->pApp = CommandAdd(app, verb.szName);
    Prepare(*parsed->pApp);
    parsed->pApp->add_option("operands", parsed->vecOperands);
    for (const Option& option : verb.vecOptions) {
        const std::string strFlag = std::string("--") + option.szName;
        parsed->mapOptions[option.szName] =
            option.szValue == nullptr ? parsed->pApp->add_flag(strFlag)
                                      : parsed->pApp->add_option(strFlag, parsed->mapValues[option.szName]);
    }
    return parsed;
}

Verbs VerbsAdd(CLI::App& app, const std::vector<Group>& vecGroups)
{
    Verbs vecVerbs;
    for (const Group& group : vecGroups) {
        for (const Verb& verb : group.vecVerbs) {
            vecVerbs.push_back(VerbAdd(app, verb));
        }
    }
    return vecVerbs;
}

Call CallOf(const Parsed& parsed, const Texts& vecTail)
{
    Call call;
    call.vecOperands = parsed.vecOperands;
    Texts& vecRest = parsed.pVerb->tail == Tail::None ? call.vecOperands : call.vecCommand;
    vecRest.insert(vecRest.end(), vecTail.begin(), vecTail.end());
    for (const auto& [strName, pOption] : parsed.mapOptions) {
        if (pOption->count() != 0) {
            const auto value = parsed.mapValues.find(strName);
            call.mapOptions[strName] = value == parsed.mapValues.end() ? "" : value->second;
        }
    }
    return call;
}

Exit WrongUse(const std::string& strWhat, const std::string& strCommand)
{
    Complain(strWhat + "; see: veskctl " + (strCommand.empty() ? "" : strCommand + " ") + "--help");
    return Exit::WrongUse;
}

/** What is wrong with the operands; empty when nothing is. */
std::string OperandsError(const Verb& verb, const Call& call)
{
    const auto nNeeded = std::count_if(verb.vecOperands.begin(), verb.vecOperands.end(),
                                       [](const Operand& operand) { return !operand.blOptional; });
    const auto isMany = [](const Operand& operand) { return operand.blMany; };
    const bool blMany = std::any_of(verb.vecOperands.begin(), verb.vecOperands.end(), isMany);
    const size_t nGiven = call.vecOperands.size();
    if (nGiven < static_cast<size_t>(nNeeded)) {
        return std::string(verb.vecOperands[nGiven].szName) + " is missing";
    }
    if (!blMany && nGiven > verb.vecOperands.size()) {
        return "'" + call.vecOperands.back() + "' is too much";
    }
    if (verb.tail == Tail::Required && call.vecCommand.empty()) {
        return "-- COMMAND... is missing";
    }
    const bool blEmpty = std::count(call.vecOperands.begin(), call.vecOperands.end(), "") != 0;
    return blEmpty ? "an empty name names nothing" : "";
}

Exit VerbRun(const Parsed& parsed, const Texts& vecTail)
{
    const Verb& verb = *parsed.pVerb;
    if (parsed.pApp->count("--help") != 0) {
        std::cout << VerbHelp(verb);
        return Exit::Done;
    }
    const Call call = CallOf(parsed, vecTail);
    const std::string strError = OperandsError(verb, call);
    if (!strError.empty()) {
        return WrongUse(strError, verb.szName);
    }
    return verb.who == For::Everybody || IsPermitted(verb.szName) ? verb.run(call) : Exit::NotPermitted;
}

/** What there is to say without a verb: all of them, or those that begin with the one word given. */
Exit NoVerb(const CLI::App& app, const std::vector<Group>& vecGroups)
{
    const auto vecWords = app.get_subcommands();
    if (vecWords.empty() && app.count("--version") != 0) {
        Say(std::string("veskctl ") + VESKCTL_VERSION);
        return Exit::Done;
    }
    const bool blAsked = app.count("--help") != 0 || (!vecWords.empty() && vecWords[0]->count("--help") != 0);
    (blAsked ? std::cout : std::cerr) << Overview(vecGroups, vecWords.empty() ? "" : vecWords[0]->get_name());
    return blAsked ? Exit::Done : Exit::WrongUse;
}

bool IsVerbose(const CLI::App& app)
{
    const auto vecWords = app.get_subcommands();
    return app.count("--verbose") != 0 || (!vecWords.empty() && IsVerbose(*vecWords[0]));
}

/** Splits the command line at "--"; the parser wants its part in reverse. */
std::pair<Texts, Texts> ArgumentsSplit(int nArguments, char** ppArguments)
{
    const Texts vecAll(ppArguments + std::min(nArguments, 1), ppArguments + nArguments);
    const auto dashes = std::find(vecAll.begin(), vecAll.end(), "--");
    Texts vecFirst(vecAll.begin(), dashes);
    std::reverse(vecFirst.begin(), vecFirst.end());
    return {vecFirst, dashes == vecAll.end() ? Texts() : Texts(dashes + 1, vecAll.end())};
}

/** What is wrong with a command line, in reverse, whose first word is no verb; empty for others. */
std::string UnknownVerb(const CLI::App& app, const Texts& vecArguments)
{
    const auto isWord = [](const std::string& strArgument) { return strArgument.compare(0, 1, "-") != 0; };
    const auto word = std::find_if(vecArguments.rbegin(), vecArguments.rend(), isWord);
    const auto isNamed = [&](const CLI::App* pVerb) { return pVerb->get_name() == *word; };
    return word == vecArguments.rend() || !app.get_subcommands(isNamed).empty()
               ? ""
               : "'" + *word + "' is no verb";
}

} // namespace

Exit Run(const std::vector<Group>& vecGroups, int nArguments, char** ppArguments)
{
    CLI::App app;
    Prepare(app);
    app.add_flag("--version");
    const Verbs vecVerbs = VerbsAdd(app, vecGroups);
    const auto [vecArguments, vecTail] = ArgumentsSplit(nArguments, ppArguments);
    try {
        app.parse(Texts(vecArguments));
    } catch (const CLI::ParseError& error) {
        const std::string strUnknown = UnknownVerb(app, vecArguments);
        return WrongUse(strUnknown.empty() ? error.what() : strUnknown, "");
    }
    openlog("veskctl", IsVerbose(app) ? LOG_PERROR : 0, LOG_USER);
    const auto isNamed = [](const auto& parsed) { return parsed->pApp->parsed(); };
    const auto verb = std::find_if(vecVerbs.begin(), vecVerbs.end(), isNamed);
    return verb == vecVerbs.end() ? NoVerb(app, vecGroups) : VerbRun(**verb, vecTail);
}

} // namespace Veskctl
