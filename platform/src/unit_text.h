#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/** The text of unit files, read by systemd's rules. Pure functions. */
namespace VESK::Platform
{

using KeyValues = std::vector<std::pair<std::string, std::string>>;

/** The value that the last assignment to `key` in `section` gives; empty for an assignment of nothing. */
std::optional<std::string> FindSectionValue(std::string_view text, std::string_view section,
                                            std::string_view key);

/** Whether a section of these words can be written so that it reads back, and other lines stay whole. */
bool IsWritableSection(std::string_view section, const KeyValues& values);

/**
 * The text with `section` consisting of `values`: in the place of the first section of this name, or at the
 * end. Every other line stays byte for byte, comments and blank lines of the section itself included.
 */
std::string ReplaceSection(std::string_view text, std::string_view section, const KeyValues& values);

} // namespace VESK::Platform
