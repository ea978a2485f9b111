#ifndef TARNBY_TEST_RECORDS_RECORD_CHECKS_H
#define TARNBY_TEST_RECORDS_RECORD_CHECKS_H

#include <string>

#include <gtest/gtest.h>

#include "log_capture.h"
#include "wire.h"

namespace OHOS::TarnbyTest {
// The log tags of the record units.
inline const std::string CLIENT_TAG = "TRBYClient";
inline const std::string COLLABORATION_TAG = "TRBYCollaboration";
inline const std::string VESKOR_TAG = "VeskorManager";

// The line was logged once, at error level, under `tag`.
inline void ExpectErrorLine(const LogCapture &capture, const std::string &message, const std::string &tag)
{
    HiLogRecord line;
    ASSERT_TRUE(capture.Find(message, &line)) << "missing: " << message;
    EXPECT_EQ(line.level, LOG_ERROR) << message;
    EXPECT_EQ(line.tag, tag) << message;
    EXPECT_EQ(capture.Count(message), 1u) << message;
}

// Whatever the point at which the parcel's room runs out inside the record, Marshalling fails with its one line.
inline void ExpectEveryCutFails(const Parcelable &record, const std::string &failureLine, const std::string &tag)
{
    size_t size = MarshalledBytes(record).size();
    ASSERT_GT(size, 0u);
    for (size_t room = 0; room < size; room += sizeof(int32_t)) {
        SCOPED_TRACE("room " + std::to_string(room) + " of " + std::to_string(size));
        Parcel parcel;
        LeaveRoom(parcel, room);
        LogCapture capture;
        EXPECT_FALSE(record.Marshalling(parcel));
        ExpectErrorLine(capture, failureLine, tag);
    }
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_RECORDS_RECORD_CHECKS_H
