#pragma once

/** Work that must come to its end: an interruption is told to it, and ends neither it nor what it runs. */

#include <functional>
#include <string>
#include <vector>

#include "command.hpp"

namespace Veskctl
{

/**
 * Does the work in a child that the signals of the terminal do not reach. SIGINT, SIGTERM and SIGHUP, sent to this
 * process, are passed on to it, where they make IsInterrupted true and do nothing else.
 */
Exit Shielded(const std::function<Exit()>& work);

/** Whether a signal asked for the end. */
bool IsInterrupted();

/** The command as exec takes it; valid as long as `vecCommand` is. */
std::vector<char*> ArgumentsOf(const Texts& vecCommand);

/**
 * Runs a command that has the terminal meanwhile, and gives its exit code: 128 and the number for a signal, 127 for
 * one that cannot be run, which is told. An interruption that reaches this process is passed on to it.
 */
int CommandRun(const Texts& vecCommand);

/** The same for who only asks whether it went well; tells when it did not. */
bool CommandDone(const Texts& vecCommand);

} // namespace Veskctl
