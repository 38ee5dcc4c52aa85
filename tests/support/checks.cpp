#include "checks.hpp"

#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "children.hpp"
#include "error.hpp"
#include "files.hpp"

namespace VeskTest
{

namespace
{

void BecomeUser(uid_t user)
{
    VeskGround::Require(setgroups(0, nullptr), "drop", "groups");
    VeskGround::Require(setresgid(user, user, user), "become group", std::to_string(user));
    VeskGround::Require(setresuid(user, user, user), "become user", std::to_string(user));
}

} // namespace

void ExpectInChild(const std::function<void()>& body)
{
    EXPECT_EQ(RunInChild([&] {
                  body();
                  return ::testing::Test::HasFailure() ? 1 : 0;
              }),
              Exited(0));
}

void ExpectAsUser(uid_t user, const std::function<void()>& body)
{
    ExpectInChild([&] {
        BecomeUser(user);
        body();
    });
}

bool CanBecomeOtherUsers()
{
    return RunInChild([] {
               BecomeUser(4711);
               return 0;
           }) == Exited(0);
}

void AddUser(const std::string& name, uid_t user, const std::string& realName)
{
    const std::string number = std::to_string(user);
    WriteText("/etc/passwd", ReadText("/etc/passwd") + name + ":x:" + number + ":" + number + ":" + realName +
                                 ":/:/bin/sh\n");
}

} // namespace VeskTest
