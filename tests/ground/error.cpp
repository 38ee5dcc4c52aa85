#include "error.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <unistd.h>

namespace VeskGround
{

namespace
{

std::string Text(const std::string& what, const std::string& path, int error)
{
    return what + " " + path + ": " + std::strerror(error);
}

bool IsRefusal(int error)
{
    constexpr std::array<int, 7> refusals = {EPERM, EACCES, ENOSYS, ENODEV, EINVAL, ENOSPC, EUSERS};
    return std::find(refusals.begin(), refusals.end(), error) != refusals.end();
}

} // namespace

void PrintError(const std::string& line)
{
    const std::string text = line + "\n";
    [[maybe_unused]] const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
}

void ThrowErrno(const std::string& what, const std::string& path)
{
    throw Error(Text(what, path, errno), kExitSetupFailed);
}

void ThrowRefused(const std::string& what, const std::string& path)
{
    const int error = errno;
    throw Error(Text(what, path, error), IsRefusal(error) ? kExitUnsupported : kExitSetupFailed);
}

} // namespace VeskGround
