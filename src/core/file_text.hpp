#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace VESK::Systemd
{

/** read(), which is begun again when a signal handler of the caller cuts it short. */
ssize_t ReadSome(int fd, char* pBuffer, size_t cbBuffer);

/**
 * Hands a file to `take` piece by piece, each of whole lines, until that returns false. False, with errno set,
 * when the file cannot be opened or not be read to its end, as that of a process that ends meanwhile. A pipe is
 * not waited for.
 */
bool FilePiecesRead(const std::string& strPath, const std::function<bool(std::string_view svPiece)>& take);

/** Reads all of a file likewise; `strText` stays as it is when that fails. */
bool FileRead(const std::string& strPath, std::string& strText);

/** The lines of a text, without their line feeds. */
class Lines
{
public:
    explicit Lines(std::string_view svText)
        : m_svRest(svText)
    {
    }

    /** The next line; false at the end. */
    bool Next(std::string_view& svLine);

private:
    std::string_view m_svRest;
};

} // namespace VESK::Systemd
