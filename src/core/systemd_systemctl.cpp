#include "vesksystemd.hpp"

#include <array>
#include <chrono>
#include <exception>
#include <optional>
#include <unistd.h>
#include <utility>

#include <veskbootseq.h>

#include "core/child_stream.hpp"
#include "core/line_reader.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

using Callback = std::function<bool(int, const Texts&)>;

namespace VESK::Systemd
{

class CommandOptionsImp
{
public:
    bool blRunTime = false;
    bool blNoReload = false;
};

CommandOptions::CommandOptions()
    : m_pImp(std::make_unique<CommandOptionsImp>())
{
}

CommandOptions::CommandOptions(CommandOptions&& other) noexcept = default;

CommandOptions& CommandOptions::operator=(CommandOptions&& other) noexcept = default;

CommandOptions::~CommandOptions() = default;

void CommandOptions::SetRunTime()
{
    if (m_pImp != nullptr) {
        m_pImp->blRunTime = true;
    }
}

void CommandOptions::SetNoReload()
{
    if (m_pImp != nullptr) {
        m_pImp->blNoReload = true;
    }
}

CommandOptionsImp* CommandOptions::GetImp() const
{
    return m_pImp.get();
}

void GetEnableDisableOptions(const CommandOptions& options, Texts& vecOut)
{
    const CommandOptionsImp* pImp = options.GetImp();
    if (pImp == nullptr) {
        return;
    }
    if (pImp->blRunTime) {
        vecOut.emplace_back("--runtime");
    }
    if (pImp->blNoReload) {
        vecOut.emplace_back("--no-reload");
    }
}

SystemctlOptsBuilder& SystemctlOptsBuilder::SetCmdOpts(const Texts* pCmdOpts)
{
    m_opts.pCmdOpts = pCmdOpts;
    return *this;
}

SystemctlOptsBuilder& SystemctlOptsBuilder::SetCalRunTime(bool blCalRunTime)
{
    m_opts.blCalRunTime = blCalRunTime;
    return *this;
}

SystemctlOptsBuilder& SystemctlOptsBuilder::SetForceSystem(bool blForceSystem)
{
    m_opts.blForceSystem = blForceSystem;
    return *this;
}

SystemctlOpts SystemctlOptsBuilder::Build() const
{
    return m_opts;
}

} // namespace VESK::Systemd

namespace
{

constexpr const char* kSystemctl = "/usr/bin/systemctl";

/** What the platform makes of a verb while a listed unit has a job queued. */
enum class Policy { RefuseOnStartJob, RefuseOnStopJob, RefuseOnAnyJob, DoNotBlock };

constexpr std::array<std::pair<const char*, Policy>, 4> kPolicies{{
    {"start", Policy::RefuseOnStartJob},
    {"stop", Policy::RefuseOnStopJob},
    {"restart", Policy::RefuseOnAnyJob},
    {"reload", Policy::DoNotBlock},
}};

enum class Verdict { Run, RunWithoutBlocking, Refuse };

std::optional<Policy> PolicyGet(const std::string& strVerb)
{
    for (const auto& [szVerb, policy] : kPolicies) {
        if (strVerb == szVerb) {
            return policy;
        }
    }
    return std::nullopt;
}

bool IsPolicyInForce()
{
    const int nBootStep = VESKSystemGetBootStep();
    return (nBootStep >= 0 && nBootStep <= 3) || nBootStep == 5;
}

bool IsConflict(Policy policy, JobType type)
{
    switch (policy) {
    case Policy::RefuseOnStartJob:
        return type == JobType::Start;
    case Policy::RefuseOnStopJob:
        return type == JobType::Stop;
    case Policy::RefuseOnAnyJob:
    case Policy::DoNotBlock:
        return true;
    }
    return false;
}

Verdict ServiceControlVerdict(const std::string& strVerb, const Texts& vecUnits)
{
    const std::optional<Policy> policy = PolicyGet(strVerb);
    if (!policy || !IsPolicyInForce()) {
        return Verdict::Run;
    }
    for (const std::string& strUnit : vecUnits) {
        JobInfo info;
        if (!VESKSystemdIntJobGet(strUnit, info) || !IsConflict(*policy, info.type)) {
            continue;
        }
        if (*policy == Policy::DoNotBlock) {
            return Verdict::RunWithoutBlocking;
        }
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: unit is in job list: [%s]", VESK_HERE,
                 info.ToString().c_str());
        return Verdict::Refuse;
    }
    return Verdict::Run;
}

bool PassesOverStoppingUnits(const std::string& strVerb)
{
    return strVerb == "try-restart" || strVerb == "reload";
}

bool IsGoingToStop(const std::string& strUnit)
{
    JobInfo info;
    if (!VESKSystemdIntJobGet(strUnit, info) || info.type != JobType::Stop) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] type [%d] state [%d] is going to stop.", VESK_HERE,
             strUnit.c_str(), static_cast<int>(info.type), static_cast<int>(info.state));
    return true;
}

Texts UnitsThatStay(const Texts& vecUnits)
{
    Texts vecStaying;
    for (const std::string& strUnit : vecUnits) {
        if (!IsGoingToStop(strUnit)) {
            vecStaying.push_back(strUnit);
        }
    }
    return vecStaying;
}

std::string CommandLine(const Texts& vecCommand)
{
    return Joined(vecCommand, " ");
}

/** Runs the command to its end; the exit code. */
int Run(const Texts& vecCommand, Texts& vecLines)
{
    ChildStream child(kSystemctl, "rB", vecCommand);
    if (child.Get() == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: fail to execute [%s].", VESK_HERE,
                 CommandLine(vecCommand).c_str());
        throw std::exception();
    }
    LineReader reader(child.Get());
    for (std::string strLine; reader.Next(strLine);) {
        vecLines.push_back(std::move(strLine));
    }
    return (child.Close() >> 8) & 0xFF;
}

int RunMeasured(const Texts& vecCommand, Texts& vecLines)
{
    const auto begin = std::chrono::steady_clock::now();
    const int nExitCode = Run(vecCommand, vecLines);
    const std::chrono::nanoseconds elapsed = std::chrono::steady_clock::now() - begin;
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Execute time for [%s] is %lld ms", VESK_HERE,
             CommandLine(vecCommand).c_str(), static_cast<long long>(elapsed.count() / 1000000));
    return nExitCode;
}

void Append(Texts& vecTo, const Texts& vecFrom)
{
    vecTo.insert(vecTo.end(), vecFrom.begin(), vecFrom.end());
}

} // namespace

bool VESKSystemdSystemctlUltron(const std::string& strGivenVerb, const SystemctlOpts& opts,
                                const Texts& vecGivenUnits, Callback&& callback)
{
    // What is checked here is what the program gets, and no more is logged.
    const std::string strVerb = BeforeZero(strGivenVerb);
    const Texts vecUnits = NamesGet(vecGivenUnits);
    Texts vecCommand{kSystemctl, strVerb};
    if (!opts.blForceSystem && getuid() != 0) {
        vecCommand.emplace_back("--user");
        VESKSystemdPutEnvByPAMSystemd();
    }
    if (opts.pCmdOpts != nullptr) {
        Append(vecCommand, NamesGet(*opts.pCmdOpts));
    }
    const Verdict verdict = ServiceControlVerdict(strVerb, vecUnits);
    if (verdict == Verdict::RunWithoutBlocking) {
        vecCommand.emplace_back("--no-block");
    }
    if (PassesOverStoppingUnits(strVerb)) {
        const Texts vecStaying = UnitsThatStay(vecUnits);
        if (vecStaying.empty()) {
            return callback(0, {});
        }
        Append(vecCommand, vecStaying);
    } else {
        Append(vecCommand, vecUnits);
    }
    if (verdict == Verdict::Refuse) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Skip execute by service control policy: [%s]", VESK_HERE,
                 CommandLine(vecCommand).c_str());
        throw std::exception();
    }
    Texts vecLines;
    const int nExitCode = opts.blCalRunTime ? RunMeasured(vecCommand, vecLines) : Run(vecCommand, vecLines);
    return callback(nExitCode, vecLines);
}

bool VESKSystemdSystemctl(const std::string& strVerb, const Texts& vecCommandOptions, const Texts& vecUnits,
                          Callback&& callback)
{
    SystemctlOpts opts;
    opts.pCmdOpts = &vecCommandOptions;
    return VESKSystemdSystemctlUltron(strVerb, opts, vecUnits, std::move(callback));
}

bool VESKSystemdSystemctl(const std::string& strVerb, const Texts& vecUnits, Callback&& callback)
{
    return VESKSystemdSystemctlUltron(strVerb, SystemctlOpts(), vecUnits, std::move(callback));
}
