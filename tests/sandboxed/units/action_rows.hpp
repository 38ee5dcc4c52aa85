// The families of unit actions, each a row: what systemctl is asked for, what is logged, and the functions.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <iosfwd>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "words.hpp"

namespace VeskTest
{

// How a family tells its outcome.
enum class Style {
    NamedUnitsFail, // those that systemctl names
    AllUnitsFail,   // whatever systemctl names; the units are marked and the run is measured
    Mask            // the same without marks, in lines of its own, and judged by the list of failed units
};

// What a family says and does. The texts stand behind "vesksystemd: [units] ".
struct ActionRow {
    std::string name;
    std::string verb;
    std::string file;
    std::string begin;
    std::string done;
    std::string failed; // in front of ": ret=[...], reason:\n..."
    std::string notRun;
    Style style = Style::NamedUnitsFail;

    Words options;              // those that the forms without options pass
    std::string conflictingJob; // the job that makes the runner refuse the verb while booting
    std::string fileOfForms;    // the source file that refuses a unit or a null pointer

    bool (*withOptions)(const Words&, const Words&, Words&) = nullptr;
    bool (*list)(const Words&, Words&) = nullptr;
    bool (*one)(const std::string&) = nullptr;
    int (*cOne)(const char*) = nullptr;
    int (*cGroup)(VLIBCSzList*, VLIBCSzList**) = nullptr;

    bool NamesFailed() const { return style == Style::NamedUnitsFail; }
    bool IsMeasured() const { return !NamesFailed(); }
    bool SetsMarks() const { return style == Style::AllUnitsFail; }
    bool IsMask() const { return style == Style::Mask; }
    bool CanBeRefused() const { return !conflictingJob.empty(); }
    bool IsRecorded() const { return verb == "start" || verb == "stop"; }

    // The runner asks for the jobs of these units, and passes over those that are going to stop.
    bool PassesOver() const { return verb == "try-restart" || verb == "reload"; }

    // The units that count as failed after a run on UNITS of which systemctl named some.
    Words FailedOf(const Words& units, const Words& named) const { return NamesFailed() ? named : units; }
};

const std::vector<ActionRow>& ActionRows();

const ActionRow& ActionRowOf(const std::string& name);

// One of the functions of a family.
enum class Form { WithOptions, List, OneUnit, COneUnit, CGroup };

struct ActionForm {
    ActionRow row;
    Form form;

    bool IsC() const { return form == Form::COneUnit || form == Form::CGroup; }
    bool IsOnOneUnit() const { return form == Form::OneUnit || form == Form::COneUnit; }

    // Calls a form that takes a list. A C form gets FAILED as its list and gives it back.
    bool OnUnits(const Words& units, Words& failed) const;

    // Calls any form; one that takes a list gets a list of one unit.
    bool OnUnit(const std::string& unit) const;
};

std::ostream& operator<<(std::ostream& stream, const ActionRow& row);
std::ostream& operator<<(std::ostream& stream, const ActionForm& form);

// The functions that exist, of all families that the condition holds for; &ActionRow::cGroup means those that have
// one.
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
