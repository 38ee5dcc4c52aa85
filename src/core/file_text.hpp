#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "core/unique_fd.hpp"

namespace VESK::Systemd
{

/** read(), which is begun again when a signal handler of the caller cuts it short. */
ssize_t ReadSome(int fd, char* pBuffer, size_t cbBuffer);

/** Takes a piece of a file; returns whether more are wanted. */
using PieceTaker = std::function<bool(std::string_view svPiece)>;

/**
 * Hands what is left of an open file to `take` piece by piece, each of whole lines, until that returns false. False,
 * with errno set, when the file cannot be read to its end, as that of a process that ends meanwhile.
 */
bool PiecesRead(int fd, const PieceTaker& take);

/** The same for a file that it opens, or fails to, likewise with errno set. A pipe is not waited for. */
bool FilePiecesRead(const std::string& strPath, const PieceTaker& take);

/** Opens a file to read from it; a terminal does not become the caller's, and a pipe is not waited for. */
UniqueFd FileOpen(const std::string& strPath);

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
