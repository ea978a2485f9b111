// The emulator's side of the wire, checked with hand-made requests and a hand-written callback object: malformed
// requests are refused without harm, and the callbacks it sends carry their fields in wire order.
#include <map>

#include "collaboration_ability.h"
#include "emulator_fixture.h"
#include "ipc_object_stub.h"

namespace OHOS::TarnbyTest {
namespace {
using TarnbyEmulator::EMU_ERR_MALFORMED;
using TarnbyEmulator::EMU_ERR_UNKNOWN_OPERATION;
using TarnbyEmulator::EMU_ERR_WRONG_TOKEN;
using TarnbyEmulator::EMU_OK;

// A client callback object that decodes what the emulator sends with the test's own reads.
class CapturingStub : public IPCObjectStub {
public:
    using Decoder = std::function<void(uint32_t code, MessageParcel &data)>;
    explicit CapturingStub(Decoder decoder) : IPCObjectStub(CALLBACK_TOKEN), decoder_(std::move(decoder)) {}

    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        decoder_(code, data);
        reply.WriteInt32(0);
        return 0;
    }

private:
    Decoder decoder_;
};

class ProtocolTest : public EmulatorTest {
protected:
    // The int32 status at the head of the reply to a hand-made request, or the send status if there is no reply.
    int32_t Answer(uint32_t code, const std::function<void(MessageParcel &)> &fill)
    {
        MessageParcel reply;
        int status = SendRaw(code, fill, reply);
        return reply.GetDataSize() == 0 ? status : reply.ReadInt32();
    }
    bool StillServes()
    {
        return Tarnby::CollaborationAbility::GetInstance().RegisterCollaborationCallback(
                   Target("Probe"), sptr<RecordingCallback>::MakeSptr()) == EMU_OK;
    }
};

TEST_F(ProtocolTest, WrongTokenIsRefusedAtTheIpcLevel)
{
    MessageParcel reply;
    int status = SendRaw(
        101,
        [](MessageParcel &data) {
            data.WriteInterfaceToken(CALLBACK_TOKEN);
            data.WriteUint32(103);
        },
        reply);
    EXPECT_EQ(status, EMU_ERR_WRONG_TOKEN);
    EXPECT_EQ(reply.GetDataSize(), 0U);
    HiLogRecord line;
    ASSERT_TRUE(logs_.Find("request refused with 290001: wrong interface token \"ohos.ITarnby.ITarnbyCallback\" on "
                           "request 101",
                           &line));
    EXPECT_EQ(line.level, LOG_ERROR);
    EXPECT_EQ(line.tag, "TRBYEmulator");
    EXPECT_TRUE(StillServes());
}

TEST_F(ProtocolTest, TruncatedRequestsAreRefusedAndNamed)
{
    struct Case {
        uint32_t code;
        std::function<void(MessageParcel &)> fill;
        std::string problem;
    };
    const std::vector<Case> cases = {
        {101,
         [](MessageParcel &d) {
             d.WriteInterfaceToken(SERVICE_TOKEN);
             d.WriteUint32(103);
         },
         "request 101: subServiceType missing"},
        {101,
         [](MessageParcel &d) {
             WriteEnvelope(d, 103, 7);
             d.WriteInt32(0);
         },
         "StartCollaboration: localId missing"},
        {101,
         [](MessageParcel &d) {
             WriteEnvelope(d, 103, 7);
             d.WriteInt32(0);
             d.WriteInt32(1);
             d.WriteInt32(0);
         },
         "StartCollaboration: target absent"},
        {101,
         [](MessageParcel &d) {
             WriteEnvelope(d, 103, 23);
             WriteAbilityTarget(d, "b", "a");
         },
         "RegisterCollaborationCallback: callback missing"},
        // A length beyond what the parcel holds must not size anything.
        {101,
         [](MessageParcel &d) {
             WriteEnvelope(d, 103, 13);
             d.WriteInt32(1);
             d.WriteUint32(4000000);
             d.WriteInt32(0);
         },
         "SendCollaborationData: data missing"},
        {101,
         [](MessageParcel &d) {
             WriteEnvelope(d, 103, 13);
             d.WriteInt32(1);
             d.WriteUint32(0x3FF001);
         },
         "SendCollaborationData: dataLen out of range"},
        {101,
         [](MessageParcel &d) {
             WriteEnvelope(d, 104, 27);
             d.WriteString("peer");
             d.WriteString("speaker");
         },
         "InitAudioTransfer: businessType missing"},
        {601,
         [](MessageParcel &d) {
             WriteEnvelope(d, 105, 19);
             d.WriteString("a");
             d.WriteString("b");
         },
         "StartSurfaceTransfer: connId missing"},
    };
    for (const Case &item : cases) {
        logs_.Clear();
        EXPECT_EQ(Answer(item.code, item.fill), EMU_ERR_MALFORMED) << item.problem;
        EXPECT_TRUE(logs_.Find("request refused with 290002: " + item.problem)) << item.problem;
    }
    EXPECT_EQ(emulator_.EventsOfKind("request.rejected").size(), cases.size());
    EXPECT_TRUE(emulator_.Sessions().empty());
    EXPECT_TRUE(StillServes());
}

TEST_F(ProtocolTest, UnknownOperationsAreRefused)
{
    auto envelope = [](uint32_t service, uint32_t sub, uint32_t operate) {
        return [=](MessageParcel &d) {
            d.WriteInterfaceToken(SERVICE_TOKEN);
            for (uint32_t field : {service, sub, operate, 0U, 0U}) {
                d.WriteUint32(field);
            }
        };
    };
    EXPECT_EQ(Answer(101, envelope(103, 99, 0)), EMU_ERR_UNKNOWN_OPERATION);
    EXPECT_EQ(Answer(601, envelope(103, 7, 0)), EMU_ERR_UNKNOWN_OPERATION); // right operation, wrong request code
    EXPECT_EQ(Answer(101, envelope(105, 17, 0)), EMU_ERR_UNKNOWN_OPERATION);
    EXPECT_EQ(Answer(101, envelope(103, 8, 1)), EMU_ERR_UNKNOWN_OPERATION); // qualifiers are always 0
    EXPECT_EQ(Answer(501, envelope(103, 8, 0)), EMU_ERR_UNKNOWN_OPERATION);
    EXPECT_TRUE(logs_.Find("request refused with 290003: request 101 (103/99/0/0/0) names no operation"));
    EXPECT_TRUE(StillServes());
}

TEST_F(ProtocolTest, CallbacksCarryTheirFieldsInWireOrder)
{
    std::mutex mutex;
    std::map<std::string, std::vector<int64_t>> seen; // what each kind of call carried, in order
    std::string payload;
    std::string surfaceExtra;
    auto stub = sptr<CapturingStub>::MakeSptr([&](uint32_t code, MessageParcel &data) {
        std::lock_guard<std::mutex> lock(mutex);
        if (data.ReadInterfaceToken() != CALLBACK_TOKEN) {
            seen["wrong token"] = {code};
        } else if (code == 103 && seen.count("answer") == 0) {
            seen["answer"] = {data.ReadInt32(), data.ReadInt32()};
        } else if (code == 103) {
            int32_t type = data.ReadInt32();
            int32_t session = data.ReadInt32();
            uint32_t len = data.ReadUint32();
            const uint8_t *bytes = data.ReadUnpadBuffer(len);
            payload.assign(reinterpret_cast<const char *>(bytes), bytes == nullptr ? 0 : len);
            seen["message"] = {type, session, len};
        } else if (code == 601) {
            std::vector<int64_t> fields;
            for (int i = 0; i < 5; ++i) {
                fields.push_back(data.ReadUint32());
            }
            surfaceExtra = data.ReadString();
            seen["surface"] = fields;
        }
    });
    ASSERT_EQ(Answer(101,
                     [&](MessageParcel &d) {
                         WriteEnvelope(d, 103, 23);
                         WriteAbilityTarget(d, "com.example.peer", "Raw");
                         d.WriteRemoteObject(stub);
                     }),
              EMU_OK);
    ASSERT_EQ(Answer(101,
                     [&](MessageParcel &d) {
                         WriteEnvelope(d, 103, 7);
                         d.WriteInt32(0);
                         d.WriteInt32(4700);
                         WriteAbilityTarget(d, "com.example.peer", "Raw");
                         d.WriteRemoteObject(stub);
                     }),
              EMU_OK);
    ASSERT_TRUE(emulator_.WaitForEvent("session.answered", 2000ms));
    std::vector<int32_t> sessions = emulator_.Sessions();
    ASSERT_EQ(sessions.size(), 1U);
    const int32_t session = sessions[0];
    ASSERT_EQ(Answer(101,
                     [&](MessageParcel &d) {
                         WriteEnvelope(d, 103, 13);
                         d.WriteInt32(session);
                         d.WriteUint32(5);
                         d.WriteUnpadBuffer("bytes", 5);
                     }),
              EMU_OK);

    int32_t connId = Answer(601, [&](MessageParcel &d) {
        WriteEnvelope(d, 105, 17);
        d.WriteInt32(3);
        for (const char *text : {"a", "b", "c", "d"}) {
            d.WriteString(text);
        }
        d.WriteInt32(9);
        d.WriteUint32(2);
        d.WriteBuffer("xy", 2);
        d.WriteRemoteObject(stub);
    });
    ASSERT_GT(connId, 0);
    EXPECT_NE(connId, session); // ids are fresh across kinds
    ASSERT_EQ(Answer(601,
                     [&](MessageParcel &d) {
                         WriteEnvelope(d, 105, 19);
                         d.WriteString("first");
                         d.WriteString("second");
                         d.WriteInt32(connId);
                     }),
              EMU_OK);

    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(seen.count("wrong token"), 0U);
    EXPECT_EQ(seen["answer"], (std::vector<int64_t>{EMU_OK, session}));
    EXPECT_EQ(seen["message"], (std::vector<int64_t>{104, session, 5}));
    EXPECT_EQ(payload, "bytes");
    EXPECT_EQ(seen["surface"], (std::vector<int64_t>{105, 40001, 0, 0, 0}));
    EXPECT_EQ(surfaceExtra, "{\"connId\":" + std::to_string(connId) + ",\"state\":\"started\"}");
    EXPECT_EQ(emulator_.SurfaceState(connId), TarnbyEmulator::TransferState::STARTED);
}
} // namespace
} // namespace OHOS::TarnbyTest
