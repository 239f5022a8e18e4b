// StringToJsonValue near Json::Reader's nesting limit, held to Debian's jsoncpp: what the
// reader accepts is accepted with the same tree, a parse error leaves the same partial
// tree, and what would take the reader past its limit (an exception here, an abort on a
// device) is refused with the usual warning.
#include <android/log.h>
#include <gtest/gtest.h>
#include <json/value.h>
#include <pthread.h>

#include <ostream>
#include <string>
#include <vector>

#include "JsonReference.h"
#include "common/JsonUtil.h"
#include "hostkit/LogCapture.h"

namespace {

constexpr const char* TAG_WRAPPERCB = "VIRCAMERA_AIDL_WRAPPERCB";

std::string Repeat(const std::string& piece, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += piece;
    return text;
}

// How the containers around a value alternate; objects hold their child under "a".
enum class Shape { ARRAYS, OBJECTS, ARRAY_FIRST, OBJECT_FIRST };

// The opening and the closing of `depth` containers of `shape`.
struct Containers {
    std::string open;
    std::string close;
};

Containers Nesting(Shape shape, size_t depth) {
    Containers containers;
    for (size_t i = 0; i < depth; ++i) {
        bool array = shape == Shape::ARRAYS;
        if (shape == Shape::ARRAY_FIRST) array = i % 2 == 0;
        if (shape == Shape::OBJECT_FIRST) array = i % 2 == 1;
        containers.open += array ? "[" : "{\"a\":";
        containers.close.insert(containers.close.begin(), array ? ']' : '}');
    }
    return containers;
}

// `inner` inside `depth` containers of `shape`.
std::string Nest(Shape shape, size_t depth, const std::string& inner) {
    const Containers containers = Nesting(shape, depth);
    return containers.open + inner + containers.close;
}

// The warning for `text`: the log takes it up to a NUL byte and keeps at most 1023 bytes.
std::string Warning(const std::string& text) {
    return ("StringToJsonValue convert " + text.substr(0, text.find('\0')) + " failed.").substr(0, 1023);
}

// Short enough for a failure message.
std::string Excerpt(const std::string& text) {
    if (text.size() <= 120) return text;
    return text.substr(0, 50) + " ... " + text.substr(text.size() - 50) + " (" + std::to_string(text.size()) +
           " bytes)";
}

// What jsoncpp did, for checking that generated inputs reach every outcome.
struct Outcomes {
    size_t threw = 0;
    size_t parsed = 0;
    size_t failed = 0;
};

// StringToJsonValue answers `text` exactly as jsoncpp does and refuses with its one
// warning (and an untouched root) what jsoncpp throws on.
void ExpectSameAsJsoncpp(const std::string& text, Outcomes* outcomes = nullptr) {
    SCOPED_TRACE(Excerpt(text));
    const JsonReference reference = ParseWithJsoncpp(text);
    if (outcomes != nullptr) {
        ++(reference.threw ? outcomes->threw : reference.parsed ? outcomes->parsed : outcomes->failed);
    }
    hostkit::logs::Clear();
    Json::Value root;
    const int result = JsonUtil::StringToJsonValue(text, root);
    if (reference.threw) {
        EXPECT_EQ(-1, result);
        EXPECT_TRUE(root.isNull());
    } else {
        EXPECT_EQ(reference.parsed ? 0 : -1, result);
        EXPECT_EQ("", JsonDifference(reference.root, root));
    }
    const size_t warnings = result == 0 ? 0u : 1u;
    EXPECT_EQ(warnings, hostkit::logs::Count(ANDROID_LOG_WARN, TAG_WRAPPERCB, Warning(text)));
    EXPECT_EQ(warnings, hostkit::logs::Lines().size());
}

// ---- named cases at the limit ----------------------------------------------------------

struct NestingCase {
    std::string name;
    std::string text;
    int result;
    bool refused;      // nothing stored: the reader would have thrown
    std::string root;  // the root written compactly, when short enough to state
};

void PrintTo(const NestingCase& c, std::ostream* out) { *out << c.name; }

class NestingLimitTest : public ::testing::TestWithParam<NestingCase> {};

TEST_P(NestingLimitTest, AnswersLikeJsoncpp) {
    const NestingCase& c = GetParam();
    hostkit::logs::Clear();
    Json::Value root;
    EXPECT_EQ(c.result, JsonUtil::StringToJsonValue(c.text, root));
    EXPECT_EQ(c.refused, root.isNull());
    if (!c.root.empty()) {
        std::string written;
        JsonUtil::JsonValueToString(root, written);
        EXPECT_EQ(c.root, written);
    }
    HOSTKIT_EXPECT_LOG_COUNT(c.result == 0 ? 0u : 1u, ANDROID_LOG_WARN, TAG_WRAPPERCB, Warning(c.text));
    ExpectSameAsJsoncpp(c.text);
}

const std::string DEEPEST_ARRAYS = Nest(Shape::ARRAYS, 999, "[]");  // 1,000 levels

INSTANTIATE_TEST_SUITE_P(
        AtTheLimit, NestingLimitTest,
        ::testing::Values(
                NestingCase{"Arrays1000", DEEPEST_ARRAYS, 0, false, ""},
                NestingCase{"Arrays1001", Nest(Shape::ARRAYS, 1000, "[]"), -1, true, ""},
                NestingCase{"Objects1000", Nest(Shape::OBJECTS, 999, "{}"), 0, false, ""},
                NestingCase{"Objects1001", Nest(Shape::OBJECTS, 1000, "{}"), -1, true, ""},
                NestingCase{"Mixed1000", Nest(Shape::ARRAY_FIRST, 999, "{}"), 0, false, ""},
                NestingCase{"Mixed1001", Nest(Shape::OBJECT_FIRST, 1000, "[]"), -1, true, ""},
                NestingCase{"ScalarInside999Arrays", Nest(Shape::ARRAYS, 999, "1"), 0, false, ""},
                NestingCase{"ScalarInside1000Arrays", Nest(Shape::ARRAYS, 1000, "1"), -1, true, ""},
                NestingCase{"MemberInside999Objects", Nest(Shape::OBJECTS, 999, "\"x\""), 0, false, ""},
                NestingCase{"MemberInside1000Objects", Nest(Shape::OBJECTS, 1000, "\"x\""), -1, true, ""},
                // Unclosed: the reader fails at the end, or throws before it gets there.
                NestingCase{"Unclosed999", Repeat("[", 999), -1, false, ""},
                NestingCase{"Unclosed1000", Repeat("[", 1000), -1, true, ""},
                // Only whitespace keeps an array empty; an object skips comments too.
                NestingCase{"WhitespaceInDeepestArray", Nest(Shape::ARRAYS, 999, "[ \t\r\n]"), 0, false, ""},
                NestingCase{"CommentInDeepestArray", Nest(Shape::ARRAYS, 999, "[/**/]"), -1, true, ""},
                NestingCase{"CommentInDeepestObject", Nest(Shape::ARRAYS, 999, "{ /* } */ }"), 0, false, ""},
                // Brackets in strings and comments are no nesting.
                NestingCase{"BracketsInDeepestString", Nest(Shape::ARRAYS, 999, "\"[[{{\""), 0, false, ""},
                NestingCase{"BracketsInDeepestComments", Nest(Shape::ARRAYS, 999, "/*[[*/ 1 //{{\n"), 0, false,
                            ""},
                NestingCase{"BracketInNameAtTheLimit", Nest(Shape::ARRAYS, 999, "{\"[\":1}"), -1, true, ""},
                NestingCase{"EscapedQuoteBeforeTheLimit", "[\"\\\"]\"," + DEEPEST_ARRAYS + "]", -1, true, ""},
                NestingCase{"ClosingBracketInCommentBeforeTheLimit", "[/* ] */" + DEEPEST_ARRAYS + "]", -1, true,
                            ""},
                NestingCase{"ClosingBracketInLineCommentBeforeTheLimit", "[// ]\n" + DEEPEST_ARRAYS + "]", -1,
                            true, ""},
                // The reader stops after the root: whatever follows is never read as JSON.
                NestingCase{"DeepTailAfterObject", "{}" + Repeat("[", 1001), 0, false, "{}"},
                NestingCase{"DeepTailAfterNumber", "1 " + Nest(Shape::OBJECTS, 2000, "[]"), 0, false, "1"},
                NestingCase{"DeepTailAfterComment", "[] // x\n" + Repeat("{\"a\":", 1001), 0, false, "[]"},
                // An error before the limit is an ordinary failure with a partial root.
                NestingCase{"BadEscapeBeforeTheLimit", "[\"\\q\"," + Repeat("[", 1001), -1, false, "[null]"},
                NestingCase{"BadNameAtTheLimit", Nest(Shape::ARRAYS, 999, "{\"\\q\":1}"), -1, false, ""},
                NestingCase{"MissingColonAtTheLimit", Nest(Shape::ARRAYS, 999, "{\"a\" 1}"), -1, false, ""},
                NestingCase{"CommentBeforeColonAtTheLimit", Nest(Shape::ARRAYS, 999, "{\"a\" /**/ : 1}"), -1,
                            false, ""},
                NestingCase{"MissingMemberShallow", "{\"a\":1,\"b\":", -1, false, "{\"a\":1,\"b\":null}"},
                NestingCase{"MissingCommaShallow", "[1 2]", -1, false, "[1]"}),
        [](const ::testing::TestParamInfo<NestingCase>& info) { return info.param.name; });

// ---- generated inputs around the limit, against jsoncpp --------------------------------

// What can stand innermost: empty containers in every spelling, scalars, brackets that
// do not nest, and the errors the reader can meet on the way to the limit.
const std::vector<std::string> INNERMOST = {
        "", "[]", "{}", "[ \n]", "[/**/]", "[//\n]", "{ /**/ }", "1", "-", "tru", "\"[[{{\"", "\"\\\"]]}\"",
        "/* ]] */ 2", "// }}\n 3", "{\"\\q\":1}", "{\"a\" 1}", "{\"a\" /**/ : 1}", "{\"\":1,}", "{\"a\":1,}",
        "[1,]", "{\"a\":1 /**/ \"b\":2}", "x", "\"open", "/* open", std::string("\0[", 2)};

// What can follow the nested containers: nothing, their closing, their closing and
// something the reader must not read, or not all of the closing.
enum class Tail { NONE, CLOSED, DEEP_TAIL, COMMENT_TAIL, HALF_CLOSED };

std::string Document(Shape shape, size_t depth, const std::string& inner, Tail tail) {
    const Containers containers = Nesting(shape, depth);
    const std::string open = containers.open + inner;
    switch (tail) {
        case Tail::NONE: return open;
        case Tail::CLOSED: return open + containers.close;
        case Tail::DEEP_TAIL: return open + containers.close + Repeat("[", 1001);
        case Tail::COMMENT_TAIL: return open + containers.close + " /* tail */ // more\n" + Repeat("{\"a\":", 1001);
        case Tail::HALF_CLOSED: return open + containers.close.substr(0, depth / 2);
    }
    return open;
}

TEST(JsonNestingTest, GeneratedDocumentsNearTheLimitMatchJsoncpp) {
    const Shape shapes[] = {Shape::ARRAYS, Shape::OBJECTS, Shape::ARRAY_FIRST, Shape::OBJECT_FIRST};
    const Tail otherTails[] = {Tail::NONE, Tail::DEEP_TAIL, Tail::COMMENT_TAIL, Tail::HALF_CLOSED};
    Outcomes outcomes;
    for (size_t depth = 998; depth <= 1002; ++depth) {
        for (size_t shape = 0; shape < 4; ++shape) {
            for (size_t inner = 0; inner < INNERMOST.size(); ++inner) {
                // Every document closed, and in turn each other tail: every depth and shape
                // meets every tail without the whole product.
                const Tail other = otherTails[(depth + shape + inner) % 4];
                for (Tail tail : {Tail::CLOSED, other}) {
                    ExpectSameAsJsoncpp(Document(shapes[shape], depth, INNERMOST[inner], tail), &outcomes);
                    if (HasFailure()) return;  // one input is enough to look at
                }
            }
        }
    }
    // The inputs reach all three outcomes, each many times.
    EXPECT_LT(100u, outcomes.threw);
    EXPECT_LT(100u, outcomes.parsed);
    EXPECT_LT(100u, outcomes.failed);
}

// Strings and comments before the nesting hide brackets, quotes and line ends.
TEST(JsonNestingTest, StringsAndCommentsBeforeTheLimitMatchJsoncpp) {
    const std::vector<std::string> leads = {
            "\"]\",",      "\"\\\"]\",", "\"\\\\\",",   "\"\\\\\\\"]\",", "/* ] */",   "/*]*/",
            "// ]\n",      "// ]\r",     "// ]\r\n",   "/* * / ] */",     "\"/*\",",   "\"//\",",
            "{\"]\":\"[\"},", "/***/",   "\"\\u005d\",", "\"}\" ,",        "/*/ ] */",
            // Objects the reader takes although they are not JSON.
            "{\"\":1,},", "{\"a\":1 /**/ \"b\":2},", "{\"a\":1 /**/ /x \"b\":2},"};
    Outcomes outcomes;
    for (const std::string& lead : leads) {
        // Inside the outer container: at the limit with 998 levels, past it with 999.
        for (size_t depth : {998, 999}) {
            for (const char* inner : {"[]", "1"}) {
                ExpectSameAsJsoncpp("[" + lead + Nest(Shape::ARRAYS, depth, inner) + "]", &outcomes);
                ExpectSameAsJsoncpp("{\"k\":" + lead + Nest(Shape::OBJECTS, depth, inner) + "}", &outcomes);
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_LT(20u, outcomes.threw);
    EXPECT_LT(20u, outcomes.parsed);
}

// ---- stack use -------------------------------------------------------------------------

// A binder thread on a device has a 1 MiB stack. jsoncpp recurses for every level when it
// parses, copies, writes and destroys a tree: the deepest documents it accepts must fit.
// (Measured, release build: about 520 KB for 1,000 levels of objects, 375 KB for arrays;
// ASan adds little, as jsoncpp itself is not instrumented; TSan's allocator runs on the caller's
// stack at every allocation jsoncpp makes, so that build gets the room its runtime needs.)
#if defined(__SANITIZE_THREAD__)
constexpr size_t kBinderThreadStack = 4 * 1024 * 1024;
#else
constexpr size_t kBinderThreadStack = 1024 * 1024;
#endif

TEST(JsonNestingTest, DeepestDocumentsFitABinderThreadStack) {
    struct Work {
        std::vector<std::string> texts;
        std::vector<int> results;
        std::vector<size_t> written;
    } work;
    work.texts = {DEEPEST_ARRAYS, Nest(Shape::OBJECTS, 999, "{}"), Nest(Shape::OBJECT_FIRST, 999, "[]"),
                  Nest(Shape::OBJECTS, 999, "\"x\""), Nest(Shape::ARRAYS, 1000, "[]"), Repeat("{\"a\":", 100000)};
    pthread_attr_t attr;
    ASSERT_EQ(0, pthread_attr_init(&attr));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attr, kBinderThreadStack));
    auto body = [](void* arg) -> void* {
        auto* out = static_cast<Work*>(arg);
        for (const std::string& text : out->texts) {
            Json::Value root;
            out->results.push_back(JsonUtil::StringToJsonValue(text, root));
            const Json::Value copy = root;
            std::string written;
            JsonUtil::JsonValueToString(copy, written);
            out->written.push_back(written.size());
        }
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, &attr, body, &work));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    pthread_attr_destroy(&attr);
    EXPECT_EQ((std::vector<int>{0, 0, 0, 0, -1, -1}), work.results);
    ASSERT_EQ(work.texts.size(), work.written.size());
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(work.texts[i].size(), work.written[i]);  // compact input
}

}  // namespace
