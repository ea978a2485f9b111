// The surface-transfer family (request code 601): the event id is the sub type itself, and only 10001 carries a code.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "callback_wire.h"
#include "log_capture.h"
#include "log_expect.h"

namespace OHOS::Tarnby {
namespace {
using namespace TarnbyTest;

class SurfaceCallbackTest : public testing::Test {
protected:
    sptr<HookRecorder> hooks_ = sptr<HookRecorder>::MakeSptr(17);
    MessageParcel reply_;
    LogCapture logs_;
};

TEST_F(SurfaceCallbackTest, PlainEventsCarryCodeZeroAndTheSubTypeAsEventId)
{
    for (uint32_t subServiceType : {40001u, 40002u}) {
        MessageParcel reply;
        EXPECT_EQ(hooks_->Deliver(
                      SURFACE_CODE, subServiceType, [](MessageParcel &data) { data.WriteString("extra"); }, reply),
                  17);
        EXPECT_TRUE(ReplyIs(reply, 17));
    }
    EXPECT_EQ(hooks_->Calls(), (std::vector<std::string>{"OnEvent(0, 40001, extra)", "OnEvent(0, 40002, extra)"}));
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "---code = 0, eventId = 40002"));
}

TEST_F(SurfaceCallbackTest, EventWithCodeReadsTheCodeBeforeTheString)
{
    EXPECT_EQ(hooks_->Deliver(
                  SURFACE_CODE, 10001,
                  [](MessageParcel &data) {
                      data.WriteUint32(77);
                      data.WriteString("extra");
                  },
                  reply_),
              17);
    EXPECT_EQ(hooks_->Calls(), std::vector<std::string>{"OnEvent(77, 10001, extra)"});
    EXPECT_TRUE(ReplyIs(reply_, 17));
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "---code = 77, eventId = 10001"));
}

TEST_F(SurfaceCallbackTest, OtherSubTypesAreRefusedWithNothingWritten)
{
    for (uint32_t subServiceType : {10002u, 40000u, 40003u, 504u}) {
        EXPECT_EQ(hooks_->Deliver(
                      SURFACE_CODE, subServiceType, [](MessageParcel &data) { data.WriteString("extra"); }, reply_),
                  1005)
            << subServiceType;
    }
    EXPECT_TRUE(hooks_->Calls().empty());
    EXPECT_EQ(reply_.GetDataSize(), 0u);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "Unsupport type"));
}
} // namespace
} // namespace OHOS::Tarnby
