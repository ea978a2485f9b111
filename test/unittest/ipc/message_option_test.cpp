// MessageOption keeps what it is built with, only adds flags, and clamps wait times set later.
#include <gtest/gtest.h>

#include "message_option.h"

namespace OHOS::TarnbyTest {
TEST(MessageOptionTest, DefaultsAreSynchronousWithEightSeconds)
{
    MessageOption option;
    EXPECT_EQ(option.GetFlags(), 0);
    EXPECT_EQ(option.GetWaitTime(), 8);
    EXPECT_EQ(MessageOption::TF_ASYNC, 1);
    EXPECT_EQ(MessageOption::TF_ACCEPT_FDS, 0x10);
}

TEST(MessageOptionTest, ConstructorKeepsValuesUnchecked)
{
    EXPECT_EQ(MessageOption(1, 5000).GetWaitTime(), 5000);
    EXPECT_EQ(MessageOption(0, -4).GetWaitTime(), -4);
    EXPECT_EQ(MessageOption(0x11, 8).GetFlags(), 0x11);
}

TEST(MessageOptionTest, SetFlagsOnlyAdds)
{
    MessageOption option(MessageOption::TF_ASYNC);
    option.SetFlags(MessageOption::TF_SYNC);
    EXPECT_EQ(option.GetFlags(), MessageOption::TF_ASYNC);
    option.SetFlags(MessageOption::TF_ACCEPT_FDS);
    EXPECT_EQ(option.GetFlags(), MessageOption::TF_ASYNC | MessageOption::TF_ACCEPT_FDS);
}

TEST(MessageOptionTest, SetWaitTimeClampsToTheDefaultAndTheMaximum)
{
    MessageOption option;
    option.SetWaitTime(0);
    EXPECT_EQ(option.GetWaitTime(), 8);
    option.SetWaitTime(-1);
    EXPECT_EQ(option.GetWaitTime(), 8);
    option.SetWaitTime(1);
    EXPECT_EQ(option.GetWaitTime(), 1);
    option.SetWaitTime(3000);
    EXPECT_EQ(option.GetWaitTime(), 3000);
    option.SetWaitTime(3001);
    EXPECT_EQ(option.GetWaitTime(), 3000);
}
} // namespace OHOS::TarnbyTest
