#pragma once

#include <string>
#include <vector>

namespace VeskTest
{

using Words = std::vector<std::string>;

inline std::string Joined(const Words& words, const std::string& separator)
{
    std::string text;
    for (const std::string& word : words) {
        text += (&word == words.data() ? "" : separator) + word;
    }
    return text;
}

} // namespace VeskTest
