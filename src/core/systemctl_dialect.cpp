#include "core/systemctl_dialect.hpp"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "vesksystemd.hpp"

#include "core/unit_names.hpp"

namespace VESK::Systemd
{
namespace
{

using Fields = std::vector<std::string_view>;

constexpr const char* kListJobs = "list-jobs";
constexpr const char* kListUnitFiles = "list-unit-files";

/** Exit codes of the platform's "list-jobs": its success, and what none of its failures is mistaken for. */
constexpr int kJobsListed = 1;
constexpr int kJobsNotListed = 255;

constexpr std::string_view kBlanks = " \t\r\n\v\f";

/** The fields of a line, whatever blanks are around them. */
Fields FieldsOf(std::string_view svLine)
{
    Fields fields;
    while (true) {
        svLine.remove_prefix(std::min(svLine.find_first_not_of(kBlanks), svLine.size()));
        if (svLine.empty()) {
            return fields;
        }
        fields.push_back(svLine.substr(0, svLine.find_first_of(kBlanks)));
        svLine.remove_prefix(fields.back().size());
    }
}

bool IsOf(std::string_view svText, std::string_view svCharacters)
{
    return svText.find_first_not_of(svCharacters) == std::string_view::npos;
}

/** A row of "list-jobs": number, unit, type and state of a job. */
bool IsJob(const Fields& fields)
{
    return fields.size() == 4 && IsOf(fields[0], "0123456789");
}

bool IsPreset(std::string_view svField)
{
    return svField == "enabled" || svField == "disabled" || svField == "ignored" || svField == "-" ||
           svField == "n/a";
}

/** A row of "list-unit-files": a unit file, its state and, since 245, its preset. */
bool IsUnitFile(const Fields& fields)
{
    return (fields.size() == 2 || (fields.size() == 3 && IsPreset(fields[2]))) &&
           UnitTypes().count(UnitTypeGet(std::string(fields[0]))) != 0 &&
           IsOf(fields[1], "abcdefghijklmnopqrstuvwxyz-");
}

/** The first fields of a row as the platform writes them, with the row's line feed if it has one. */
std::string Row(const Fields& fields, size_t nFields, const std::string& strLine)
{
    std::string strRow(fields[0]);
    for (size_t i = 1; i < nFields; ++i) {
        strRow.append(" ").append(fields[i]);
    }
    return strLine.back() == '\n' ? strRow + "\n" : strRow;
}

/** Rewrites the lines that are rows with so many of their fields. */
void RowsRewrite(Texts& vecLines, bool (*isRow)(const Fields&), size_t nFields)
{
    for (std::string& strLine : vecLines) {
        const Fields fields = FieldsOf(strLine);
        if (isRow(fields)) {
            strLine = Row(fields, nFields, strLine);
        }
    }
}

Answer JobsInDialect(Answer answer)
{
    if (answer.blKilled) {
        return answer;
    }
    if (answer.nExitCode == 0) {
        RowsRewrite(answer.vecLines, IsJob, 4);
        answer.nExitCode = kJobsListed;
    } else if (answer.nExitCode == kJobsListed) {
        answer.nExitCode = kJobsNotListed;
    }
    return answer;
}

/** The name with its type, which is that of a service unless it has one. */
std::string Completed(const std::string& strUnit)
{
    const bool blNoName = strUnit.empty() || strUnit.find_first_of("/*?[") != std::string::npos;
    return blNoName ? strUnit : NormalizedUnitNameGet(strUnit);
}

} // namespace

Request RequestInDialect(Request request, SystemdKind kind)
{
    const bool blJobs = request.strVerb == kListJobs;
    if (kind == SystemdKind::Platform || (!blJobs && request.strVerb != kListUnitFiles)) {
        return request;
    }
    if (blJobs) {
        std::transform(request.vecUnits.begin(), request.vecUnits.end(), request.vecUnits.begin(), Completed);
    }
    request.vecOptions.emplace_back("--full");
    return request;
}

Answer AnswerInDialect(const Request& request, Answer answer, SystemdKind kind)
{
    if (kind == SystemdKind::Platform || !answer.blGiven) {
        return answer;
    }
    if (request.strVerb == kListJobs) {
        return JobsInDialect(std::move(answer));
    }
    if (request.strVerb == kListUnitFiles && answer.IsSuccess()) {
        RowsRewrite(answer.vecLines, IsUnitFile, 2);
    }
    return answer;
}

bool DisablePassesOverMasked(SystemdKind kind)
{
    return kind == SystemdKind::Current;
}

} // namespace VESK::Systemd
