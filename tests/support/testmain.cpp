// The test programs that read the driver log start it before any test runs.
#include <gtest/gtest.h>

#include "testmachine.h"

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testsupport::TestMachine::Get();
    const int result = RUN_ALL_TESTS();
    testsupport::TestMachine::Get().Remove();
    return result;
}
