#include "vesksystemd.hpp"

#include "core/child_stream.hpp"
#include "core/line_reader.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

namespace VESK::Systemd
{
namespace
{

Texts CommandOf(const std::string& strPath, const Texts& vecArguments)
{
    Texts vecCommand{strPath};
    vecCommand.insert(vecCommand.end(), vecArguments.begin(), vecArguments.end());
    return vecCommand;
}

/** Reads a stream to its end; false, with what could be read, when that failed. */
bool ReadAll(FILE* pStream, std::string& strOutput)
{
    LineReader reader(pStream);
    for (std::string strLine; reader.Next(strLine);) {
        strOutput += strLine;
    }
    return !reader.Failed();
}

} // namespace

boost::optional<int> Executor::Execute(const std::string& strPath, const Texts& vecArguments)
{
    if (strPath.empty()) {
        VESK_LOG(LOG_ERR, "%s:%d Bad executable path", VESK_HERE);
        return boost::none;
    }
    m_strPath = strPath;
    m_vecArguments = vecArguments;

    ChildStream child(m_strPath, "r", CommandOf(m_strPath, m_vecArguments));
    if (child.Get() == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d Fail to execute [%s]", VESK_HERE, GetCommandLine().c_str());
        return boost::none;
    }
    std::string strOutput;
    const bool blRead = ReadAll(child.Get(), strOutput);
    m_strOutput = std::move(strOutput);
    if (!blRead) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to read error output", VESK_HERE);
    }
    const int nStatus = child.Close();
    if ((nStatus & 0x7F) != 0) {
        VESK_LOG(LOG_ERR, "%s:%d Execution is not completed, status: [%d], command: [%s]", VESK_HERE, nStatus,
                 GetCommandLine().c_str());
        return boost::none;
    }
    return (nStatus >> 8) & 0xFF;
}

bool Executor::ReadOutput(FILE* pStream)
{
    if (pStream == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d Bad file descriptor", VESK_HERE);
        return false;
    }
    std::string strOutput;
    ReadAll(pStream, strOutput);
    m_strOutput = std::move(strOutput);
    return true;
}

std::string Executor::GetCommandLine() const
{
    return Joined(CommandOf(m_strPath, m_vecArguments), " ");
}

const std::string& Executor::GetOutput() const
{
    return m_strOutput;
}

} // namespace VESK::Systemd
