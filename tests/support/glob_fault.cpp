#include "glob_fault.hpp"

#include <optional>

#include "next_function.hpp"

namespace VeskTest
{

namespace
{

struct Question {
    std::optional<int> answer;
    std::string ending;
    std::string pattern;
    int flags = 0;
    bool hadCallback = false;
};

Question& Last()
{
    static Question question;
    return question;
}

bool EndsWith(const std::string& text, const std::string& ending)
{
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

} // namespace

GlobFault::GlobFault(int answer, const std::string& ending)
{
    Last().answer = answer;
    Last().ending = ending;
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

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones
extern "C" [[gnu::visibility("default")]] int glob(const char* pattern, int flags, ErrorCallback callback,
                                                   glob_t* result) noexcept
{
    VeskTest::Question& last = VeskTest::Last();
    last.pattern = pattern;
    last.flags = flags;
    last.hadCallback = callback != nullptr;
    if (last.answer && VeskTest::EndsWith(last.pattern, last.ending)) {
        return *last.answer;
    }
    using Glob = int(const char*, int, ErrorCallback, glob_t*);
    static const auto real = VeskTest::NextFunction<Glob>("glob");
    return real(pattern, flags, callback, result);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
