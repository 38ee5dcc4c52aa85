// Lines from a stream. A line of what each read gives, letter by letter, then what the stream holds: a letter from
// 'a' on so many bytes, '!' an interruption, '?' an error; as many as there are when no letter is left.
#include "fuzz.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/types.h>

#include "core/line_reader.hpp"

namespace VeskFuzz
{
namespace
{

struct Source {
    std::string_view plan;
    std::string_view rest;
    bool failed = false;
};

ssize_t Give(Source& source, char* buffer, size_t wanted)
{
    const size_t size = std::min(wanted, source.rest.size());
    std::memcpy(buffer, source.rest.data(), size);
    source.rest.remove_prefix(size);
    return static_cast<ssize_t>(size);
}

ssize_t Read(void* cookie, char* buffer, size_t size)
{
    auto& source = *static_cast<Source*>(cookie);
    if (source.plan.empty()) {
        return Give(source, buffer, size);
    }
    const char letter = source.plan.front();
    source.plan.remove_prefix(1);
    if (letter == '!' || letter == '?') {
        source.failed = source.failed || letter == '?';
        errno = letter == '!' ? EINTR : EIO;
        return -1;
    }
    return Give(source, buffer,
                letter < 'a' ? size : std::min<size_t>(size, static_cast<size_t>(letter - 'a') + 1));
}

} // namespace

void Fuzz(std::string_view input)
{
    Source source;
    source.plan = TakeLine(input);
    source.rest = input;
    cookie_io_functions_t functions{};
    functions.read = Read;
    FILE* stream = fopencookie(&source, "r", functions);
    Require(stream != nullptr, "there is a stream");

    Texts lines;
    VESK::Systemd::LineReader reader(stream);
    for (std::string line; reader.Next(line);) {
        lines.push_back(line);
    }
    Require(reader.Failed() == source.failed, "a failure is known, and an interruption is none");
    (void)std::fclose(stream);
    // What a failed stream has given before is given out.
    RequireSame(lines, CutBehindLineFeeds(input.substr(0, input.size() - source.rest.size())), "the lines");
}

} // namespace VeskFuzz
