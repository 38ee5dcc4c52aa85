#include "glob_fault.hpp"

#include <dlfcn.h>
#include <optional>

namespace VeskTest
{

namespace
{

struct Question {
    std::optional<int> answer;
    std::string pattern;
    int flags = 0;
    bool hadCallback = false;
};

Question& Last()
{
    static Question question;
    return question;
}

} // namespace

GlobFault::GlobFault(int answer)
{
    Last().answer = answer;
}

GlobFault::~GlobFault()
{
    Last().answer.reset();
}

const std::string& GlobFault::Pattern()
{
    return Last().pattern;
}

int GlobFault::Flags()
{
    return Last().flags;
}

bool GlobFault::HadCallback()
{
    return Last().hadCallback;
}

} // namespace VeskTest

using ErrorCallback = int (*)(const char*, int);

extern "C" [[gnu::visibility("default")]] int glob(const char* pattern, int flags, ErrorCallback callback,
                                                   glob_t* result) noexcept
{
    VeskTest::Question& last = VeskTest::Last();
    last.pattern = pattern;
    last.flags = flags;
    last.hadCallback = callback != nullptr;
    if (last.answer) {
        return *last.answer;
    }
    using Glob = int (*)(const char*, int, ErrorCallback, glob_t*);
    static const auto real = reinterpret_cast<Glob>(dlsym(RTLD_NEXT, "glob"));
    return real(pattern, flags, callback, result);
}
