#pragma once

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <string>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** The entries of a folder, in the order in which the system gives them, without "." and "..". */
class Directory
{
public:
    explicit Directory(const std::string& strPath)
        : m_pDirectory(opendir(strPath.c_str()))
        , m_nError(m_pDirectory == nullptr ? errno : 0)
    {
    }

    /** 0, or why the folder could not be opened, or not be read to its end: to be asked again at the end. */
    int Error() const { return m_nError; }

    /** The next entry's name, valid until the next call; null at the end, and for a folder that is not open.
     */
    const char* Next();

    /** The descriptor of the open folder, owned by this object. */
    int Descriptor() const { return dirfd(m_pDirectory.get()); }

private:
    struct Closer {
        void operator()(DIR* pDirectory) const { closedir(pDirectory); }
    };
    std::unique_ptr<DIR, Closer> m_pDirectory;
    int m_nError;
};

/** Appends the names of a folder's entries that are not hidden; 0, or why these are not all. */
int VisibleEntriesAppend(const std::string& strFolder, Texts& vecNames);

/** Whether such an error leaves open what is in a folder. After any other there is nothing that the caller may see. */
bool LeavesEntriesOpen(int nError);

} // namespace VESK::Systemd
