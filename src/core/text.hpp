#pragma once

#include <string>
#include <vector>

namespace VESK::Systemd
{

using Texts = std::vector<std::string>;

/** The texts with `szSeparator` between them, as names stand in log lines. */
std::string Joined(const Texts& vecTexts, const char* szSeparator = ", ");

/** The text without white space at either end. */
std::string Trimmed(const std::string& strText);

/** The pieces of a text, as Split finds them; throws std::bad_alloc, with errno set, where that fails. */
Texts Pieces(const std::string& strText, const char* szDelimiters);

/** What the kernel takes of a text: up to its first zero byte. */
std::string BeforeZero(const std::string& strText);

} // namespace VESK::Systemd
