#include "vesksystemd.hpp"

#include "core/text.hpp"

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
