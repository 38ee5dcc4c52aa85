// Expectations that have to be met in a process of their own.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

namespace VeskTest
{

// Runs BODY in a forked child; its failed expectations, and any other end than its own, fail the test here.
void ExpectInChild(const std::function<void()>& body);

// The same as another user. Needs CanBecomeOtherUsers().
void ExpectAsUser(uid_t user, const std::function<void()>& body);

// Not so in a sandbox that an ordinary user started: it knows that one user only.
bool CanBecomeOtherUsers();

// Gives a user an entry in /etc/passwd. Only inside a sandbox.
void AddUser(const std::string& name, uid_t user, const std::string& realName = "");

} // namespace VeskTest
