#include "common/JsonUtil.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "hostkit/LogCapture.h"

namespace {

constexpr const char* TAG_WRAPPERCB = "VIRCAMERA_AIDL_WRAPPERCB";
constexpr const char* TAG_MANAGER = "VIRCAMERA_MANAGER";

// The Android log keeps at most 1023 bytes of a line.
std::string LogText(const std::string& text) { return text.substr(0, 1023); }

Json::Value Parse(const std::string& text) {
    Json::Value root;
    EXPECT_EQ(0, JsonUtil::StringToJsonValue(text, root)) << text;
    return root;
}

class JsonUtilTest : public ::testing::Test {
  protected:
    void SetUp() override { hostkit::logs::Clear(); }
};

// ---- StringToJsonValue over hostile text --------------------------------------------

struct ParseCase {
    std::string name;
    std::string text;
    int result;
};

void PrintTo(const ParseCase& c, std::ostream* out) { *out << c.name; }

class StringToJsonValueTest : public ::testing::TestWithParam<ParseCase> {
  protected:
    void SetUp() override { hostkit::logs::Clear(); }
};

TEST_P(StringToJsonValueTest, AnswersWithResultAndWarning) {
    Json::Value root;
    EXPECT_EQ(GetParam().result, JsonUtil::StringToJsonValue(GetParam().text, root));
    const size_t warnings = GetParam().result == 0 ? 0u : 1u;
    HOSTKIT_EXPECT_LOG_COUNT(warnings, ANDROID_LOG_WARN, TAG_WRAPPERCB,
                             LogText("StringToJsonValue convert " + GetParam().text + " failed."));
    EXPECT_EQ(warnings, hostkit::logs::Lines().size());
}

INSTANTIATE_TEST_SUITE_P(
        HostileText, StringToJsonValueTest,
        ::testing::Values(
                ParseCase{"Empty", "", -1}, ParseCase{"LoneCarriageReturn", "\r", -1},
                ParseCase{"NotJson", "not json", -1}, ParseCase{"OpenBrace", "{", -1},
                ParseCase{"TruncatedMember", "{\"a\":", -1},
                ParseCase{"TruncatedArray", "[1,2", -1},
                ParseCase{"UnterminatedString", "{\"a\":\"abc", -1},
                ParseCase{"NonUtf8Bytes", "\xff\xfe\x80", -1},
                ParseCase{"BadEscape", "{\"a\":\"\\q\"}", -1},
                ParseCase{"NonUtf8InsideString", "{\"a\":\"\xff\xfe\"}", 0},
                ParseCase{"Object", "{\"type\":\"VIRTUAL\"}", 0}, ParseCase{"Number", "5", 0}),
        [](const ::testing::TestParamInfo<ParseCase>& info) { return info.param.name; });

// ---- member readers over hostile roots ------------------------------------------------

enum class Reader { STRING, INT, ARRAY };

struct MemberCase {
    std::string name;
    Reader reader;
    std::string root;
    std::string key;
    std::string warning;  // "" when none is expected
};

void PrintTo(const MemberCase& c, std::ostream* out) { *out << c.name; }

class MemberReaderTest : public ::testing::TestWithParam<MemberCase> {
  protected:
    void SetUp() override { hostkit::logs::Clear(); }
};

TEST_P(MemberReaderTest, AnswersDefaultWithExactWarning) {
    const MemberCase& c = GetParam();
    const Json::Value root = Parse(c.root);
    hostkit::logs::Clear();
    const char* tag = TAG_MANAGER;
    switch (c.reader) {
        case Reader::STRING:
            EXPECT_EQ("", JsonUtil::JsonParseString(root, c.key));
            break;
        case Reader::INT:
            tag = TAG_WRAPPERCB;
            EXPECT_EQ(-999999, JsonUtil::JsonParseInt(root, c.key));
            break;
        case Reader::ARRAY:
            EXPECT_TRUE(JsonUtil::JsonParseArrayStr(root, c.key).empty());
            break;
    }
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, tag, c.warning);
    EXPECT_EQ(1u, hostkit::logs::Lines().size());
}

const std::string S = "JsonParseString convert failed. because ";
const std::string I = "JsonParseInt convert failed. because ";
const std::string A = "JsonParseArrayStr convert failed. because ";

INSTANTIATE_TEST_SUITE_P(
        HostileRoots, MemberReaderTest,
        ::testing::Values(
                MemberCase{"StringMissing", Reader::STRING, "{\"type\":\"VIRTUAL\"}", "deviceId",
                           S + "no member deviceId"},
                MemberCase{"StringNullRoot", Reader::STRING, "null", "type", S + "no member type"},
                MemberCase{"StringArrayRoot", Reader::STRING, "[1]", "type", S + "no member type"},
                MemberCase{"StringNumberRoot", Reader::STRING, "7", "type", S + "no member type"},
                MemberCase{"StringTextRoot", Reader::STRING, "\"type\"", "type",
                           S + "no member type"},
                MemberCase{"StringNull", Reader::STRING, "{\"type\":null}", "type",
                           S + "member type is null"},
                MemberCase{"StringIsInt", Reader::STRING, "{\"type\":1}", "type",
                           S + "member type type err 1"},
                MemberCase{"StringIsBool", Reader::STRING, "{\"type\":true}", "type",
                           S + "member type type err 5"},
                MemberCase{"StringIsObject", Reader::STRING, "{\"type\":{}}", "type",
                           S + "member type type err 7"},
                MemberCase{"IntMissing", Reader::INT, "{}", "cameraCount",
                           I + "no member cameraCount"},
                MemberCase{"IntArrayRoot", Reader::INT, "[]", "cameraCount",
                           I + "no member cameraCount"},
                MemberCase{"IntNull", Reader::INT, "{\"cameraCount\":null}", "cameraCount",
                           I + "member cameraCount is null"},
                MemberCase{"IntIsString", Reader::INT, "{\"cameraCount\":\"2\"}", "cameraCount",
                           I + "member cameraCount type err 4"},
                MemberCase{"IntAbove32Bits", Reader::INT, "{\"n\":3000000000}", "n",
                           I + "member n type err 2"},
                MemberCase{"IntBelow32Bits", Reader::INT, "{\"n\":-3000000000}", "n",
                           I + "member n type err 1"},
                MemberCase{"IntFraction", Reader::INT, "{\"n\":1.5}", "n",
                           I + "member n type err 3"},
                MemberCase{"IntHuge", Reader::INT, "{\"n\":1e300}", "n", I + "member n type err 3"},
                MemberCase{"IntIsArray", Reader::INT, "{\"n\":[1]}", "n",
                           I + "member n type err 6"},
                MemberCase{"ArrayMissing", Reader::ARRAY, "{}", "vectorObj",
                           A + "no member vectorObj"},
                MemberCase{"ArrayNull", Reader::ARRAY, "{\"vectorObj\":null}", "vectorObj",
                           A + "member vectorObj is null"},
                MemberCase{"ArrayIsString", Reader::ARRAY, "{\"vectorObj\":\"17\"}", "vectorObj",
                           A + "member vectorObj type err 4"},
                MemberCase{"ArrayIsObject", Reader::ARRAY, "{\"vectorObj\":{\"0\":\"a\"}}",
                           "vectorObj", A + "member vectorObj type err 7"}),
        [](const ::testing::TestParamInfo<MemberCase>& info) { return info.param.name; });

// ---- successful reads and writing -----------------------------------------------------

TEST_F(JsonUtilTest, ReadsMembersOfTheRightType) {
    const Json::Value root =
            Parse("{\"type\":\"VIRTUAL\",\"n\":-2147483648,\"m\":2147483647,\"f\":3.0,\"e\":\"\"}");
    hostkit::logs::Clear();
    EXPECT_EQ("VIRTUAL", JsonUtil::JsonParseString(root, "type"));
    EXPECT_EQ(-2147483647 - 1, JsonUtil::JsonParseInt(root, "n"));
    EXPECT_EQ(2147483647, JsonUtil::JsonParseInt(root, "m"));
    EXPECT_EQ(3, JsonUtil::JsonParseInt(root, "f"));  // an integral number is an int
    EXPECT_EQ("", JsonUtil::JsonParseString(root, "e"));
    EXPECT_TRUE(hostkit::logs::Lines().empty());
}

TEST_F(JsonUtilTest, ArrayKeepsStringsAndSkipsOthers) {
    const Json::Value root = Parse("{\"vectorObj\":[\"17\",5,null,\"30000,30000\",[1],{}]}");
    hostkit::logs::Clear();
    EXPECT_EQ((std::vector<std::string>{"17", "30000,30000"}),
              JsonUtil::JsonParseArrayStr(root, "vectorObj"));
    const std::string prefix = "JsonParseArrayStr convert failed. because arr member type err ";
    for (const char* type : {"1", "0", "6", "7"}) {
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, TAG_MANAGER, prefix + type);
    }
    EXPECT_EQ(4u, hostkit::logs::Lines().size());
}

TEST_F(JsonUtilTest, WritesCompactTextWithoutNewline) {
    Json::Value value;
    value["notifyKey"] = 101;
    value["notifyMsgData"] = "x";
    std::string text = "old";
    EXPECT_EQ(0, JsonUtil::JsonValueToString(value, text));
    EXPECT_EQ("{\"notifyKey\":101,\"notifyMsgData\":\"x\"}", text);
    EXPECT_EQ(0, JsonUtil::JsonValueToString(Json::Value(), text));
    EXPECT_EQ("null", text);
    EXPECT_EQ(0, JsonUtil::JsonValueToString(Json::Value(Json::arrayValue), text));
    EXPECT_EQ("[]", text);
    EXPECT_TRUE(hostkit::logs::Lines().empty());
}

TEST_F(JsonUtilTest, TextSurvivesRoundTrip) {
    const std::string original = "{\"a\":[\"x\",1,null],\"b\":{\"c\":\"\\u00e9\\n\"}}";
    std::string written;
    JsonUtil::JsonValueToString(Parse(original), written);
    std::string again;
    JsonUtil::JsonValueToString(Parse(written), again);
    EXPECT_EQ(written, again);
    EXPECT_EQ("x", Parse(written)["a"][0].asString());
}

// ---- ReadIntMembers: the tree-free reading of a flat object of ints ------------------

const std::string KEY_A = "a";
const std::string KEY_B = "bb";
const std::string* const KEYS[] = {&KEY_A, &KEY_B};

// Whenever the fast reading answers, it answers what the general path reads; on the
// caller's usual texts it must answer.
struct FlatCase {
    std::string text;
    bool fast;
};

void PrintTo(const FlatCase& c, std::ostream* out) { *out << c.text; }

class ReadIntMembersTest : public JsonUtilTest, public ::testing::WithParamInterface<FlatCase> {};

TEST_P(ReadIntMembersTest, AnswersOnlyWhatTheGeneralPathReads) {
    const FlatCase& c = GetParam();
    int values[2] = {0, 0};
    const bool fast = JsonUtil::ReadIntMembers(c.text, KEYS, values);
    EXPECT_EQ(c.fast, fast);
    if (!fast) return;
    EXPECT_TRUE(hostkit::logs::Lines().empty());
    Json::Value root;
    ASSERT_EQ(0, JsonUtil::StringToJsonValue(c.text, root));
    EXPECT_EQ(JsonUtil::JsonParseInt(root, KEY_A), values[0]);
    EXPECT_EQ(JsonUtil::JsonParseInt(root, KEY_B), values[1]);
    EXPECT_TRUE(hostkit::logs::Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReadIntMembersTest,
    ::testing::Values(FlatCase{R"({"a":1,"bb":2})", true}, FlatCase{" \t\r\n{ \"bb\" : -7 ,\n\"a\":0 }\n", true},
                      FlatCase{R"({"a":2147483647,"bb":-2147483648,"c":-0})", true},
                      FlatCase{R"({"a":2147483648,"bb":2})", false}, FlatCase{R"({"a":-2147483649,"bb":2})", false},
                      FlatCase{R"({"a":01,"bb":2})", false}, FlatCase{R"({"a":1.0,"bb":2})", false},
                      FlatCase{R"({"a":1e2,"bb":2})", false}, FlatCase{R"({"a":1,"bb":2,"a":3})", false},
                      FlatCase{R"({"a":1})", false}, FlatCase{R"({"a":"1","bb":2})", false},
                      FlatCase{R"({"a":1,"bb":2,"c":true})", false}, FlatCase{R"({"a":1,"bb":2} x)", false},
                      FlatCase{R"({"a":1,"bb":2,})", false}, FlatCase{R"({"\u0061":1,"bb":2})", false},
                      FlatCase{R"({"a":1,/*c*/"bb":2})", false}, FlatCase{R"({"a":-,"bb":2})", false},
                      FlatCase{R"([{"a":1,"bb":2}])", false}, FlatCase{"", false}, FlatCase{"{", false}));

}  // namespace
