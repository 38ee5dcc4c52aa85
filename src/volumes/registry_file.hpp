#pragma once

#include <string>

namespace VESK::Systemd
{

enum class RegistryFile {
    Read,
    Missing,
    Unreadable,
};

/** Reads a registry file. One that is no regular file, or too large for a registry, cannot be read. */
RegistryFile RegistryFileRead(const std::string& strPath, std::string& strText);

/** A file that is to take another's place. What is left of it at the end of the scope is removed. */
class ReplacingFile
{
public:
    /** How far the other file's place was taken. */
    enum class Result {
        Done,
        NotRenamed,
        NotSynced, ///< taken, but what comes after a power cut is not known
    };

    /** `strFolder` ends with a slash. */
    ReplacingFile(const std::string& strFolder, const std::string& strFile);
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    const std::string& PathGet() const { return m_strPath; }

    /** Writes it so that it is on the disk, with the owner and the permissions of the file that it replaces, if any. */
    bool Dump(const std::string& strText) const;

    /** Takes the other's place so that the disk holds the one or the other, whenever the power goes. Sets errno. */
    Result TakePlace() const;

private:
    std::string m_strFolder;
    std::string m_strReplaced;
    std::string m_strPath;
};

} // namespace VESK::Systemd
