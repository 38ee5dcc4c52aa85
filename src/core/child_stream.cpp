#include "core/child_stream.hpp"

#include <utility>

#include <veskcore.h>

#include "core/text.hpp"

namespace VESK::Systemd
{
namespace
{

FILE* Start(const std::string& strPath, const char* szMode, const Texts& vecCommand)
{
    std::vector<char*> vecArguments;
    vecArguments.reserve(vecCommand.size() + 1);
    for (const std::string& strArgument : vecCommand) {
        // Like execve, the platform takes pointers to non-const and writes through none of them.
        vecArguments.push_back(const_cast<char*>(strArgument.c_str()));
    }
    vecArguments.push_back(nullptr);
    return VLIBCPopenv(strPath.c_str(), szMode, vecArguments.data());
}

} // namespace

ChildStream::ChildStream(const std::string& strPath, const char* szMode, const Texts& vecCommand)
    : m_pStream(Start(strPath, szMode, vecCommand))
{
}

ChildStream::~ChildStream()
{
    if (m_pStream != nullptr) {
        Close();
    }
}

int ChildStream::Close()
{
    return VLIBCPclose(std::exchange(m_pStream, nullptr));
}

} // namespace VESK::Systemd
