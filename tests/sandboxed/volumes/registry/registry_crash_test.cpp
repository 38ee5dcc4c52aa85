// The order in which a file is replaced, and a death at each step of it.

#include <csignal>
#include <unistd.h>

#include "checks.hpp"
#include "children.hpp"
#include "error.hpp"
#include "file_calls.hpp"
#include "file_locks.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAreArray;
using ::testing::ValuesIn;

using RegistryCrash = RegistryReplacement;

// When the power goes, the disk holds what was synced, and of the rest any part.
TEST_P(RegistryCrash, OfThePowerFindsTheOldFileOrTheNewOneOnTheDisk)
{
    FileCalls calls;
    EXPECT_TRUE(Run());
    EXPECT_THAT(
        calls.Take(),
        ElementsAreArray({"open " + file, "unlink " + Temporary(file), "open " + Temporary(file),
                          "chmod " + Temporary(file), "write " + Temporary(file), "sync " + Temporary(file),
                          "open " + folder + "/", "rename " + Temporary(file) + " " + file, "sync " + folder,
                          "unlink " + Temporary(file)}));
}

TEST_P(RegistryCrash, OfThePowerFindsTheNewFileWithItsOwnerAndMode)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    VeskGround::Require(chown(file.c_str(), 4711, 4712), "change the owner of", file);
    FileCalls calls;
    EXPECT_TRUE(Run());
    EXPECT_THAT(calls.Take(),
                ElementsAreArray({"open " + file, "unlink " + Temporary(file), "open " + Temporary(file),
                                  "chown " + Temporary(file), "chmod " + Temporary(file),
                                  "write " + Temporary(file), "sync " + Temporary(file),
                                  "open " + folder + "/", "rename " + Temporary(file) + " " + file,
                                  "sync " + folder, "unlink " + Temporary(file)}));
}

TEST_P(RegistryCrash, OfThePowerFindsTheWholeNewFileAlsoAfterShortWrites)
{
    FileCalls calls;
    calls.WriteAtMost(5);
    bool synced = false;
    calls.Before([&](const std::string& call) {
        EXPECT_FALSE(synced && call == "write " + Temporary(file));
        if (call == "sync " + Temporary(file)) {
            synced = true;
            EXPECT_EQ(ReadText(Temporary(file)), newText);
            EXPECT_EQ(ReadText(file), oldText);
        }
    });
    EXPECT_TRUE(Run());
    EXPECT_TRUE(synced);
    EXPECT_EQ(ReadText(file), newText);
}

TEST_P(RegistryCrash, AtAnyStepLeavesTheOldFileOrTheNewOneAndNoLock)
{
    int steps = 0;
    int found = 0;
    Ending ending = Signalled(SIGKILL);
    for (int last = 1; ending == Signalled(SIGKILL); ++last) {
        SCOPED_TRACE("killed before step " + std::to_string(last));
        WriteText(file, oldText);
        ending = RunInChild([&] {
            FileCalls calls;
            calls.WriteAtMost(5);
            calls.Before([&, count = 0](const std::string&) mutable {
                if (++count == last) {
                    raise(SIGKILL);
                }
            });
            return Run() ? 0 : 1;
        });
        EXPECT_TRUE(IsLockFree(kLock));
        const std::string text = ReadText(file);
        EXPECT_TRUE(text == oldText || text == newText) << text;
        EXPECT_FALSE(found > 0 && text == oldText);
        found += text == newText ? 1 : 0;
        steps = last;
        EXPECT_TRUE(Run()) << "the next one is not disturbed";
        EXPECT_EQ(ReadText(file), newText);
    }
    EXPECT_EQ(ending, Exited(0));
    EXPECT_GT(steps, 12);
    EXPECT_EQ(found, 3) << "before the sync of the folder, before the last unlink, and not at all";
}

INSTANTIATE_TEST_SUITE_P(Of, RegistryCrash, ValuesIn(Changes()), NameOf<Change>);

} // namespace
} // namespace VeskTest
