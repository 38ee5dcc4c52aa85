#include <gmock/gmock.h>

#include "action_rows.hpp"

#include <algorithm>
#include <ostream>
#include <utility>

#include "c_list.hpp"

namespace VeskTest
{

namespace
{

const char* FormName(Form form)
{
    constexpr const char* kNames[] = {"WithOptions", "List", "OneUnit", "COneUnit", "CGroup"};
    return kNames[static_cast<int>(form)];
}

std::vector<ActionForm> Without(std::vector<ActionForm> forms,
                                const std::function<bool(const ActionForm&)>& left)
{
    forms.erase(std::remove_if(forms.begin(), forms.end(), left), forms.end());
    return forms;
}

bool CallGroup(const ActionRow& row, const Words& units, Words& failed)
{
    const CList listOfUnits(units);
    CList listOfFailed(failed);
    const int result = row.cGroup(listOfUnits.Get(), listOfFailed.Address());
    EXPECT_THAT(result, ::testing::AnyOf(0, 1));
    EXPECT_EQ(listOfUnits.Items(), units);
    failed = listOfFailed.Items();
    return result == 1;
}

} // namespace

bool ActionForm::OnUnits(const Words& units, Words& failed) const
{
    switch (form) {
    case Form::WithOptions:
        return row.withOptions({}, units, failed);
    case Form::CGroup:
        return CallGroup(row, units, failed);
    default:
        return row.list(units, failed);
    }
}

bool ActionForm::OnUnit(const std::string& unit) const
{
    if (form == Form::OneUnit) {
        return row.one(unit);
    }
    if (form == Form::COneUnit) {
        const int result = row.cOne(unit.c_str());
        EXPECT_THAT(result, ::testing::AnyOf(0, 1));
        return result == 1;
    }
    Words failed;
    return OnUnits({unit}, failed);
}

std::ostream& operator<<(std::ostream& stream, const ActionRow& row)
{
    return stream << row.name;
}

std::ostream& operator<<(std::ostream& stream, const ActionForm& form)
{
    return stream << form.row.name << FormName(form.form);
}

const ActionRow& ActionRowOf(const std::string& name)
{
    const std::vector<ActionRow>& rows = ActionRows();
    return *std::find_if(rows.begin(), rows.end(), [&](const ActionRow& row) { return row.name == name; });
}

std::vector<ActionForm> AllForms(const RowCondition& condition)
{
    std::vector<ActionForm> result;
    for (const ActionRow& row : RowsWhere(condition)) {
        const std::pair<Form, bool> forms[] = {{Form::WithOptions, row.withOptions != nullptr},
                                               {Form::List, row.list != nullptr},
                                               {Form::OneUnit, row.one != nullptr},
                                               {Form::COneUnit, row.cOne != nullptr},
                                               {Form::CGroup, row.cGroup != nullptr}};
        for (const auto& [form, exists] : forms) {
            if (exists) {
                result.push_back({row, form});
            }
        }
    }
    return result;
}

std::vector<ActionForm> FormsOnUnits(const RowCondition& condition)
{
    return Without(AllForms(condition), &ActionForm::IsOnOneUnit);
}

std::vector<ActionForm> FormsOnOneUnit(const RowCondition& condition)
{
    return Without(AllForms(condition), std::not_fn(&ActionForm::IsOnOneUnit));
}

std::vector<ActionRow> RowsWhere(const RowCondition& condition)
{
    std::vector<ActionRow> result;
    for (const ActionRow& row : ActionRows()) {
        if (condition == nullptr || condition(row)) {
            result.push_back(row);
        }
    }
    return result;
}

std::string ParamName::operator()(const ::testing::TestParamInfo<ActionRow>& info) const
{
    return info.param.name;
}

std::string ParamName::operator()(const ::testing::TestParamInfo<ActionForm>& info) const
{
    return info.param.row.name + "_" + FormName(info.param.form);
}

} // namespace VeskTest
