// The families of unit actions, each a row: what systemctl is asked for, what is logged, and the functions.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <iosfwd>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

namespace VeskTest
{

using Words = std::vector<std::string>;

// How a family tells its outcome.
enum class Style {
    NamedUnitsFail, // those that systemctl names
    AllUnitsFail,   // whatever systemctl names; the units are marked and the run is measured
    Mask            // the same without marks, in lines of its own, and judged by the list of failed units
};

// What a family says and does. The texts stand behind "vesksystemd: [units] ".
struct ActionRow {
    const char* name;
    const char* verb;
    const char* file;
    const char* begin;
    const char* done;
    const char* failed; // in front of ": ret=[...], reason:\n..."
    const char* notRun;

    bool (*withOptions)(const Words&, const Words&, Words&);
    bool (*list)(const Words&, Words&);
    bool (*one)(const std::string&);
    int (*cOne)(const char*);
    int (*cGroup)(VLIBCSzList*, VLIBCSzList**);

    Words options{};                      // those that the forms without options pass
    const char* conflictingJob = nullptr; // the job that makes the runner refuse the verb while booting
    const char* ownFile = nullptr;        // that of the functions, where it is not the family's
    Style style = Style::NamedUnitsFail;

    // The source file that refuses a unit or a null pointer.
    const char* FileOfForms() const { return ownFile != nullptr ? ownFile : file; }

    // The units that count as failed after a run on UNITS of which systemctl named some.
    Words FailedOf(const Words& units, const Words& named) const
    {
        return style == Style::NamedUnitsFail ? named : units;
    }
};

const std::vector<ActionRow>& ActionRows();

const ActionRow& ActionRowOf(const std::string& name);

// One of the functions of a family.
enum class Form { WithOptions, List, OneUnit, COneUnit, CGroup };

struct ActionForm {
    ActionRow row;
    Form form;

    bool IsC() const { return form == Form::COneUnit || form == Form::CGroup; }

    // Calls a form that takes a list. A C form gets FAILED as its list and gives it back.
    bool OnUnits(const Words& units, Words& failed) const;

    // Calls any form; one that takes a list gets a list of one unit.
    bool OnUnit(const std::string& unit) const;
};

std::ostream& operator<<(std::ostream& stream, const ActionRow& row);
std::ostream& operator<<(std::ostream& stream, const ActionForm& form);

// The functions that exist, of all families that the condition holds for.
using RowCondition = std::function<bool(const ActionRow&)>;
std::vector<ActionForm> FormsOnUnits(const RowCondition& condition = nullptr);
std::vector<ActionForm> FormsOnOneUnit(const RowCondition& condition = nullptr);
std::vector<ActionForm> AllForms(const RowCondition& condition = nullptr);
std::vector<ActionRow> RowsWhere(const RowCondition& condition);

// For INSTANTIATE_TEST_SUITE_P.
struct ParamName {
    std::string operator()(const ::testing::TestParamInfo<ActionRow>& info) const;
    std::string operator()(const ::testing::TestParamInfo<ActionForm>& info) const;
};

} // namespace VeskTest
