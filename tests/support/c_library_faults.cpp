#include "c_library_faults.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libgen.h>
#include <pwd.h>
#include <regex.h>
#include <security/pam_appl.h>

#include "next_function.hpp"

namespace
{

using VeskTest::CLibraryFault;

// Looked at from the first call of the program on, before anything is constructed.
std::array<bool, CLibraryFault::KindCount> active;
const char* variable = nullptr;
int statusOfPamEnd = -1;

bool SetsTheVariable(const char* text)
{
    const std::size_t length = std::strlen(variable);
    return std::strncmp(text, variable, length) == 0 && text[length] == '=';
}

} // namespace

#define ORIGINAL(name) VeskTest::NextFunction<decltype(name)>(#name)

// In place of the libraries' own, for which they have to be seen.
#pragma GCC visibility push(default)
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones

extern "C" {

char* strdup(const char* text) noexcept
{
    if (active[CLibraryFault::Strdup]) {
        errno = ENOMEM;
        return nullptr;
    }
    return ORIGINAL(strdup)(text);
}

char* dirname(char* path) noexcept
{
    if (active[CLibraryFault::Dirname]) {
        errno = EINVAL;
        return nullptr;
    }
    return ORIGINAL(dirname)(path);
}

int putenv(char* text) noexcept
{
    if (active[CLibraryFault::Putenv] && SetsTheVariable(text)) {
        errno = ENOMEM;
        return -1;
    }
    return ORIGINAL(putenv)(text);
}

int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** result)
{
    if (active[CLibraryFault::Getpwuid]) {
        *result = nullptr;
        return EIO;
    }
    return ORIGINAL(getpwuid_r)(user, entry, buffer, size, result);
}

ssize_t getdelim(char** line, size_t* size, int end, FILE* stream)
{
    if (active[CLibraryFault::Getdelim]) {
        errno = ENOMEM;
        return -1;
    }
    return ORIGINAL(getdelim)(line, size, end, stream);
}

int pam_start(const char* service, const char* user, const pam_conv* conversation, pam_handle_t** handle)
{
    if (active[CLibraryFault::PamStart]) {
        *handle = nullptr;
        return PAM_SYSTEM_ERR;
    }
    return ORIGINAL(pam_start)(service, user, conversation, handle);
}

char** pam_getenvlist(pam_handle_t* handle)
{
    return active[CLibraryFault::PamGetenvlist] ? nullptr : ORIGINAL(pam_getenvlist)(handle);
}

int pam_end(pam_handle_t* handle, int status)
{
    statusOfPamEnd = status;
    const int result = ORIGINAL(pam_end)(handle, status);
    return active[CLibraryFault::PamEnd] ? PAM_SYSTEM_ERR : result;
}

int regcomp(regex_t* regex, const char* pattern, int flags)
{
    const bool fails = active[CLibraryFault::Regcomp] || std::getenv(CLibraryFault::kNoPatterns) != nullptr;
    return fails ? int{REG_ESPACE} : ORIGINAL(regcomp)(regex, pattern, flags);
}

int regexec(const regex_t* regex, const char* text, size_t count, regmatch_t* matches, int flags)
{
    if (active[CLibraryFault::Regexec]) {
        return REG_ESPACE;
    }
    const int result = ORIGINAL(regexec)(regex, text, count, matches, flags);
    if (result == 0 && active[CLibraryFault::RegexecGroup] && count > 1) {
        matches[1] = {-1, -1};
    }
    return result;
}

} // extern "C"

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
#pragma GCC visibility pop

namespace VeskTest
{

CLibraryFault::CLibraryFault(Kind kind, const char* name)
    : m_kind(kind)
{
    variable = name;
    active[kind] = true;
}

CLibraryFault::~CLibraryFault()
{
    active[m_kind] = false;
}

int CLibraryFault::StatusOfPamEnd()
{
    return statusOfPamEnd;
}

} // namespace VeskTest
