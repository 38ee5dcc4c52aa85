// Calls of the C library and of PAM that fail on demand, in the test program and in all libraries it uses.
// For failures that no state of a sandbox brings about.
#pragma once

#include <string>

namespace VeskTest
{

// While it lives, calls of that kind fail.
class CLibraryFault
{
public:
    enum Kind {
        Strdup,   // ENOMEM
        Dirname,  // null, EINVAL
        Putenv,   // ENOMEM, for one name only
        Getpwuid, // EIO
        Getdelim, // ENOMEM
        PamStart, // no handle, PAM_SYSTEM_ERR
        PamGetenvlist,
        PamEnd,       // ends the session, and says PAM_SYSTEM_ERR
        Regcomp,      // REG_ESPACE, as in a whole program with kNoPatterns in its environment
        Regexec,      // REG_ESPACE
        RegexecGroup, // a match, whose first group took no part
        KindCount
    };

    static constexpr const char* kNoPatterns = "VESK_TEST_NO_PATTERNS";

    // NAME is the variable that cannot be set.
    explicit CLibraryFault(Kind kind, const char* name = nullptr);
    ~CLibraryFault();
    CLibraryFault(const CLibraryFault&) = delete;
    CLibraryFault& operator=(const CLibraryFault&) = delete;

    // The status that the last PAM transaction was ended with; -1 when there was none.
    static int StatusOfPamEnd();

private:
    Kind m_kind;
};

} // namespace VeskTest
