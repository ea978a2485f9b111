// The extra-info JSON helpers and the exported extra-info keys.
#include <gtest/gtest.h>

#include <string>

#include "veskor_info.h"
#include "veskor_json_utils.h"
#include "json/json.h"

namespace OHOS::Tarnby {
namespace {
TEST(ExtraInfoJsonTest, FdExistsOnlyAsAMemberOfAnObject)
{
    for (std::string yes : {R"({"fd":1})", R"({"a":2, "fd":null})", R"( {"fd":"x"} )"}) {
        EXPECT_TRUE(VeskorJsonUtils::IsFdExist(yes)) << yes;
    }
    for (std::string no : {"", R"({"fdx":1})", R"([{"fd":1}])", R"("fd")", "42", R"({"fd":)", "{'fd':1}"}) {
        EXPECT_FALSE(VeskorJsonUtils::IsFdExist(no)) << no;
    }
}

TEST(ExtraInfoJsonTest, FdIsSetInJsoncppsStyledForm)
{
    std::string extraInfo = R"({"fd":0})";
    EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(extraInfo, 37), "{\n\t\"fd\" : 37\n}\n");
    std::string withoutFd = R"({})";
    EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(withoutFd, -1), "{\n\t\"fd\" : -1\n}\n");
}

TEST(ExtraInfoJsonTest, OtherMembersAreKept)
{
    std::string extraInfo = R"({"b":[1,2],"fd":5,"a":{"n":"x"}})";
    Json::Value expected;
    expected["b"].append(1);
    expected["b"].append(2);
    expected["fd"] = 9;
    expected["a"]["n"] = "x";
    EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(extraInfo, 9), expected.toStyledString());
}

TEST(ExtraInfoJsonTest, UnusableTextIsReturnedByteForByte)
{
    for (std::string text : {"", "[1,2]", "42", R"("text")", R"({"fd": )", "not json at all", "null"}) {
        EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(text, 37), text);
    }
}

// Both parsers throw past their nesting limit; the helpers answer as for any text they cannot parse.
TEST(ExtraInfoJsonTest, TextTooDeepForTheParsersIsUnusable)
{
    for (std::string deep :
         {R"({"fd":)" + std::string(1000, '[') + std::string(1000, ']') + "}", std::string(100000, '[')}) {
        EXPECT_FALSE(VeskorJsonUtils::IsFdExist(deep));
        EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(deep, 37), deep);
        Json::Value root;
        EXPECT_FALSE(JsonUtils::StringToJsonInternal(deep, &root));
    }
}

TEST(ExtraInfoJsonTest, StringToJsonLeavesTheRootAloneForAnEmptyString)
{
    Json::Value root = 5;
    EXPECT_FALSE(JsonUtils::StringToJsonInternal("", &root));
    EXPECT_EQ(root, Json::Value(5));
    EXPECT_TRUE(JsonUtils::StringToJsonInternal(R"({"k":[true]})", &root));
    EXPECT_TRUE(root["k"][0].asBool());
    EXPECT_FALSE(JsonUtils::StringToJsonInternal("{", &root));
}

TEST(ExtraInfoJsonTest, ExportedKeys)
{
    EXPECT_EQ(VeskorInfo::EXTRA_PRIVATE_PID, "privatePid");
    EXPECT_EQ(VeskorInfo::EXTRA_PRIVATE_UID, "privateUid");
}
} // namespace
} // namespace OHOS::Tarnby
