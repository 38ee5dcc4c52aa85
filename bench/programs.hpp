// Programs that a row runs beside the library.
#pragma once

#include <string>
#include <vector>

namespace VeskBench
{

using Words = std::vector<std::string>;

// The program's own words as exec wants them; valid as long as the words are.
std::vector<char*> Argv(const Words& words);

// Starts the program with posix_spawn, waits, and gives its exit status; what it prints goes to /dev/null.
int RunProgram(const Words& words);

// Ways to start a program, read what it prints to its end and wait for it. They throw unless it prints something and
// ends with 0.
void ReadWithLibrary(const Words& words);
void ReadWithVfork(const Words& words);
void ReadWithPosixSpawn(const Words& words);
void ReadWithPopen(const Words& words);

// The lines that a program prints, read with getline. Whatever it ends with.
Words ReadLines(const Words& words);

} // namespace VeskBench
