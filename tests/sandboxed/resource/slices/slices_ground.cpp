#include "slices_ground.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kHierarchies[] = {"/sys/fs/cgroup/systemd", "/sys/fs/cgroup/veskmonitor"};

} // namespace

std::string InSystemd(const std::string& cgroup)
{
    return std::string(kHierarchies[0]) + "/" + cgroup;
}

std::string InMonitor(const std::string& cgroup)
{
    return std::string(kHierarchies[1]) + "/" + cgroup;
}

SlicesTest::SlicesTest()
    : m_before(Holdings::Now())
{
    for (const char* hierarchy : kHierarchies) {
        RemoveAll(hierarchy);
        MakeFolder(hierarchy);
    }
    VLIBCErrSetEx(0, "", 0);
}

void SlicesTest::TearDown()
{
    EXPECT_EQ(Holdings::Now(), m_before);
}

void SlicesTest::ExpectError(int code, const std::string& file)
{
    EXPECT_EQ(VLIBCErrGet(), code);
    EXPECT_EQ(VLIBCErrorGetFile(), file);
    EXPECT_GT(VLIBCErrorGetLine(), 0);
}

void SlicesTest::ExpectNoError()
{
    EXPECT_EQ(VLIBCErrGet(), 0);
}

} // namespace VeskTest
