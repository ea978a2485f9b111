#ifndef TARNBY_TEST_SERVICE_TEST_BASE_H
#define TARNBY_TEST_SERVICE_TEST_BASE_H

// Fixture for tests that talk to a fake service: every test starts with an empty system ability manager and no
// shared proxy, and leaves them so.
#include <gtest/gtest.h>

#include "fake_tarnby_service.h"
#include "host_samgr.h"
#include "log_capture.h"
#include "tarnby_proxy.h"

namespace OHOS::TarnbyTest {
class ServiceTestBase : public testing::Test {
protected:
    void SetUp() override
    {
        HostSamgr::Reset();
        Tarnby::TarnbyProxy::DestoryInstance();
        service_ = sptr<FakeTarnbyService>::MakeSptr();
        ASSERT_TRUE(service_->Register());
    }
    void TearDown() override
    {
        Tarnby::TarnbyProxy::DestoryInstance();
        HostSamgr::Reset();
    }

    sptr<FakeTarnbyService> service_;
    LogCapture logs_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_SERVICE_TEST_BASE_H
