#include <gmock/gmock.h>
#include <string>

#include "error.hpp"
#include "marker.hpp"

namespace
{

const std::string kTier = VESK_TEST_TIER;

// These tests write below /run, /etc and /usr and kill processes: never on a machine that is in use.
bool MayRunHere()
{
    return kTier == "pure" || ::testing::GTEST_FLAG(list_tests) || VeskGround::IsInside(kTier);
}

} // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    if (!MayRunHere()) {
        VeskGround::PrintError("These tests run only in the " + kTier +
                               " test ground: use ctest, or see docs/testing.md.");
        return 2;
    }
    return RUN_ALL_TESTS();
}
