#include <cerrno>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <veskcore.h>

#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "memory_fault.hpp"

// What is left when memory ends in the midst of a call.

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

const std::string kPath = "/run/files/file";
// More than any call here takes.
constexpr int kMostAllocations = 100;

std::string Written(VLIBCSzHash* hash)
{
    MakeFolder("/run/files");
    RemoveAll(kPath);
    EXPECT_EQ(VLIBCFileAddSection(kPath.c_str(), "X", hash, 0), 0);
    return ReadText(kPath);
}

TEST(MemoryEnds, WhileAKeyIsSetAndTheTableIsAsBefore)
{
    // Longer than what a string holds in itself.
    const std::string key(100, 'k');
    const std::string value(100, 'v');
    bool hasSucceeded = false;
    for (int allocations = 0; !hasSucceeded; ++allocations) {
        ASSERT_LT(allocations, kMostAllocations);
        VLIBCSzHash* hash = VLIBCSzHashAlloc(0);
        ASSERT_EQ(VLIBCSzHashSetValue(&hash, "first", "1"), 0);
        VLIBCErrSetEx(0, "", 0);
        {
            const AllocationFault fault(allocations);
            hasSucceeded = VLIBCSzHashSetValue(&hash, key.c_str(), value.c_str()) == 0;
        }
        if (!hasSucceeded) {
            EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_MEMORY);
            EXPECT_EQ(Written(hash), "[X]\nfirst=1\n") << allocations;
        }
        EXPECT_EQ(VLIBCSzHashSetValue(&hash, "last", "2"), 0);
        EXPECT_EQ(VLIBCSzHashSetValue(&hash, key.c_str(), "3"), 0);
        const std::string own = key + "=3\n";
        EXPECT_EQ(Written(hash), "[X]\nfirst=1\n" + (hasSucceeded ? own + "last=2\n" : "last=2\n" + own));
        VLIBCSzHashFree(hash);
    }
}

TEST(MemoryEnds, WhileAChildIsStartedAndNothingIsLeft)
{
    const char* words[] = {"/bin/true", nullptr};
    auto* const argv = const_cast<char* const*>(words);
    const auto before = OpenDescriptors();
    bool hasSucceeded = false;
    for (int allocations = 0; !hasSucceeded; ++allocations) {
        ASSERT_LT(allocations, kMostAllocations);
        VLIBCErrSetEx(0, "", 0);
        FILE* stream = nullptr;
        int result = -1;
        {
            const AllocationFault fault(allocations);
            stream = VLIBCPopenv("/bin/true", "r", argv);
        }
        hasSucceeded = stream != nullptr;
        if (!hasSucceeded) {
            EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_MEMORY);
        } else {
            EXPECT_EQ(VLIBCPclose(stream), 0);
        }
        {
            const AllocationFault fault(allocations);
            result = VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr);
        }
        EXPECT_TRUE(result == 0 || VLIBCErrGet() == VLIBC_ERR_MEMORY);
        EXPECT_EQ(OpenDescriptors(), before) << allocations;
        EXPECT_THAT(ListChildren().zombies, IsEmpty());
    }
}

} // namespace
} // namespace VeskTest
