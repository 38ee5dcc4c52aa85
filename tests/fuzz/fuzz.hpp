#pragma once

#include <string>
#include <string_view>
#include <vector>

/**
 * A target is a source NAME_fuzz.cpp that defines Fuzz. It gives the input to the code under test and to a
 * plain definition of what that code does, and requires that both come to the same.
 */
namespace VeskFuzz
{

using Texts = std::vector<std::string>;

/** One input. */
void Fuzz(std::string_view input);

/** Ends the program as a finding when `holds` is false. */
void Require(bool holds, const char* what);

/** The text with what cannot be printed as \xNN, within quotes. */
std::string Quoted(std::string_view text);

/** Ends the program as a finding, and shows both, when the texts are not the same. */
void RequireSame(const std::string& actual, const std::string& expected, const char* what);
void RequireSame(const Texts& actual, const Texts& expected, const char* what);
void RequireSame(unsigned long long actual, unsigned long long expected, const char* what);

/**
 * Takes what is before the next line feed, and the line feed, from the front of the input; all of an input
 * without one. Inputs begin with lines of their own for what else the code under test is given.
 */
std::string_view TakeLine(std::string_view& input);

/** What the kernel takes of a text: up to its first zero byte. */
std::string BeforeZero(std::string_view text);

/** The pieces between the separators, one at least. */
Texts Cut(std::string_view text, char separator);

/** The lines with their line feeds; the last one may have none. */
Texts CutBehindLineFeeds(std::string_view text);

/** The text without the white space of the C locale at its ends. */
std::string Stripped(std::string_view text);

} // namespace VeskFuzz
