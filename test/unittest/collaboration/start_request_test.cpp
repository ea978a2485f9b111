// What each start request carries, as the service reads it: the local end, the target records, the inner callback
// and the optional extra data or raw bytes, in wire order, and which arguments are refused before anything is sent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collaboration_fixture.h"

namespace OHOS::TarnbyTest {
namespace {
using StartRequestTest = CollaborationTest;
constexpr Answer ANSWER{0, 31};
const std::pair<int32_t, int32_t> INVALID{1001, 0};
const std::pair<int32_t, int32_t> WRITE_FAILED{1007, 0};

TEST_F(StartRequestTest, LocalSystemAbilityStartCarriesItsFieldsInOrder)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);

    EXPECT_EQ(Ability().StartCollaboration(5520, PeerAbility(), "extra=1"), ANSWER);
    ExpectOneEnvelope(SUB_START);
    StartRequest request = Only(StartRequests());
    EXPECT_EQ(request.localTargetType, 0);
    EXPECT_EQ(request.localId, 5520);
    EXPECT_EQ(request.target, PeerAbilityOnWire());
    EXPECT_NE(request.callback, nullptr);
    EXPECT_EQ(request.extraData, std::optional<std::string>("extra=1"));
    EXPECT_EQ(request.leftover, 0u);
    EXPECT_TRUE(Logged("enter", LOG_ERROR));
}

TEST_F(StartRequestTest, StartWithoutExtraDataEndsAtTheCallback)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);

    EXPECT_EQ(Ability().StartCollaboration(5521, PeerSystemAbility()), ANSWER);
    StartRequest request = Only(StartRequests());
    EXPECT_EQ(request.localTargetType, 0);
    EXPECT_EQ(request.localId, 5521);
    EXPECT_EQ(request.target, PeerSystemAbilityOnWire());
    EXPECT_NE(request.callback, nullptr);
    EXPECT_FALSE(request.extraData.has_value());
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(StartRequestTest, LocalAbilityStartCarriesBundleAndAbilityNames)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);
    // This overload accepts a target on no particular device.
    auto target = sptr<Tarnby::TargetInfo>::MakeSptr("com.example.peer", "PeerAbility", Tarnby::ABILITY_TARGET);

    EXPECT_EQ(Ability().StartCollaboration("com.example.local", "LocalAbility", target, "{\"k\":1}"), ANSWER);
    ExpectOneEnvelope(SUB_START);
    StartRequest request = Only(StartRequests());
    EXPECT_EQ(request.localTargetType, 1);
    EXPECT_EQ(request.bundleName, "com.example.local");
    EXPECT_EQ(request.abilityName, "LocalAbility");
    EXPECT_EQ(request.target, PresentTarget("", 1, "com.example.peer", "PeerAbility", 0));
    EXPECT_NE(request.callback, nullptr);
    EXPECT_EQ(request.extraData, std::optional<std::string>("{\"k\":1}"));
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(StartRequestTest, MissingTargetsAreRefusedBeforeSending)
{
    auto anonymous = sptr<Tarnby::TargetInfo>::MakeSptr(4700);

    EXPECT_EQ(Ability().StartCollaboration(1, nullptr, "x"), INVALID);
    EXPECT_EQ(Ability().StartCollaboration(1, anonymous, "x"), INVALID); // a system-ability start needs a device
    EXPECT_EQ(Ability().StartCollaboration("b", "a", nullptr, "x"), INVALID);
    EXPECT_EQ(Ability().StartCollaboration(nullptr, PeerAbility(), "x", 1), INVALID);
    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), nullptr, "x", 1), INVALID);
    EXPECT_EQ(service_->RequestCount(), 0u);
    EXPECT_EQ(logs_.Count("targetInfo is null"), 5u);
}

TEST_F(StartRequestTest, ExtraDataOutsideTheAcceptedSizesIsLeftOut)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);
    const std::string tooLong(MAX_DATA_LEN, 'x');

    EXPECT_EQ(Ability().StartCollaboration(7, PeerAbility(), ""), ANSWER);
    EXPECT_EQ(Ability().StartCollaboration(7, PeerAbility(), tooLong), ANSWER);
    EXPECT_EQ(Ability().StartCollaboration("com.example.local", "LocalAbility", PeerAbility(), tooLong), ANSWER);
    auto requests = StartRequests();
    ASSERT_EQ(requests.size(), 3u);
    for (const auto &request : requests) {
        EXPECT_NE(request.callback, nullptr);
        EXPECT_FALSE(request.extraData.has_value());
        EXPECT_EQ(request.leftover, 0u);
    }
    EXPECT_FALSE(logs_.Find("data write failed"));
}

TEST_F(StartRequestTest, LongestExtraDataGoesThrough)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);
    const std::string longest(MAX_DATA_LEN - 1, 'y');
    const std::string longestNamed = std::string(MAX_DATA_LEN - 2, 'z') + "!";

    EXPECT_EQ(Ability().StartCollaboration(7, PeerAbility(), longest), ANSWER);
    EXPECT_EQ(Ability().StartCollaboration("com.example.local", "LocalAbility", PeerAbility(), longestNamed), ANSWER);
    auto requests = StartRequests();
    ASSERT_EQ(requests.size(), 2u);
    ASSERT_TRUE(requests[0].extraData.has_value());
    EXPECT_TRUE(*requests[0].extraData == longest) << "extra data of " << requests[0].extraData->size() << " bytes";
    ASSERT_TRUE(requests[1].extraData.has_value());
    EXPECT_TRUE(*requests[1].extraData == longestNamed);
    EXPECT_EQ(requests[1].localTargetType, 1);
}

TEST_F(StartRequestTest, StartWithDataCarriesBothTargetsCallbackLengthAndBytes)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);
    const std::vector<char> bytes = {'h', 'e', 'l', 'l', 'o'};

    EXPECT_EQ(Ability().StartCollaboration(PeerSystemAbility(), PeerAbility(), bytes.data(), bytes.size()), ANSWER);
    ExpectOneEnvelope(SUB_START_WITH_DATA);
    StartRequest request = Only(StartRequests());
    EXPECT_EQ(request.srcTarget, PeerSystemAbilityOnWire());
    EXPECT_EQ(request.dstTarget, PeerAbilityOnWire());
    EXPECT_NE(request.callback, nullptr);
    EXPECT_EQ(request.dataLen, 5u);
    EXPECT_TRUE(SameBytes(request.data, bytes));
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(StartRequestTest, StartWithoutBufferSendsTheLengthAlone)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);

    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerAbility(), nullptr, 10), ANSWER);
    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerAbility(), "ignored", 0), ANSWER);
    auto requests = StartRequests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].dataLen, 10u);
    EXPECT_EQ(requests[1].dataLen, 0u);
    for (const auto &request : requests) {
        EXPECT_NE(request.callback, nullptr);
        EXPECT_FALSE(request.data.has_value());
        EXPECT_EQ(request.leftover, 0u);
    }
}

TEST_F(StartRequestTest, LargestStartDataGoesThrough)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, ANSWER);
    const std::vector<char> bytes = Pattern(MAX_DATA_LEN, 3);

    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerSystemAbility(), bytes.data(), bytes.size()), ANSWER);
    StartRequest request = Only(StartRequests());
    EXPECT_EQ(request.dataLen, MAX_DATA_LEN);
    EXPECT_TRUE(SameBytes(request.data, bytes));
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(StartRequestTest, StartDataOverTheLimitIsRefused)
{
    const std::vector<char> bytes(MAX_DATA_LEN + 1, 'q');

    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerAbility(), bytes.data(), bytes.size()), WRITE_FAILED);
    EXPECT_EQ(service_->RequestCount(), 0u);
    EXPECT_TRUE(Logged("dataLen write failed", LOG_ERROR, "TRBYCollProc"));
}
} // namespace
} // namespace OHOS::TarnbyTest
