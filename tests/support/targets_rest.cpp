#include "targets_rest.hpp"

#include <gtest/gtest.h>

#include "children.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "process_list.hpp"

namespace VeskTest
{

void ExpectTargetsAtRest()
{
    EXPECT_FALSE(Exists(kFlag));
    for (const char* lock : {kOperationLock, kActionLock, kIsolateLock}) {
        EXPECT_TRUE(IsLockFree(lock)) << lock;
    }
    EXPECT_TRUE(Eventually([] {
        return OtherProcessesOfThisProgram().empty() &&
               ProcessesThatRun("vesk-systemd-status-monitor.sh").empty() && IsLockFree(kExitLock);
    }));
}

} // namespace VeskTest
