#include "common/JsonDepth.h"

#include <algorithm>
#include <vector>

namespace JsonUtil {

namespace {

enum class Token {
    OBJECT_BEGIN,
    OBJECT_END,
    ARRAY_BEGIN,
    ARRAY_END,
    STRING,  // a value, or an object's member name
    SCALAR,  // number, true, false or null
    ARRAY_SEPARATOR,
    MEMBER_SEPARATOR,
    COMMENT,
    END_OF_STREAM,
    ERROR,
};

// Json::Reader's tokenizer: the same token boundaries and the same verdicts on whether a
// token is well formed. Values are not decoded.
class Tokenizer {
  public:
    explicit Tokenizer(const std::string& text) : mText(text) {}

    // Reads the next token into `token`; false (and ERROR) for a malformed one.
    bool Read(Token& token) {
        SkipSpaces();
        mStart = mPos;
        bool ok = true;
        switch (Next()) {
            case '{': token = Token::OBJECT_BEGIN; break;
            case '}': token = Token::OBJECT_END; break;
            case '[': token = Token::ARRAY_BEGIN; break;
            case ']': token = Token::ARRAY_END; break;
            case '"':
                token = Token::STRING;
                ok = ReadString();
                break;
            case '/':
                token = Token::COMMENT;
                ok = ReadComment();
                break;
            case '0': case '1': case '2': case '3': case '4':
            case '5': case '6': case '7': case '8': case '9': case '-':
                token = Token::SCALAR;
                ReadNumber();
                break;
            case 't':
                token = Token::SCALAR;
                ok = Match("rue");
                break;
            case 'f':
                token = Token::SCALAR;
                ok = Match("alse");
                break;
            case 'n':
                token = Token::SCALAR;
                ok = Match("ull");
                break;
            case ',': token = Token::ARRAY_SEPARATOR; break;
            case ':': token = Token::MEMBER_SEPARATOR; break;
            case '\0': token = Token::END_OF_STREAM; break;  // the end, or a NUL byte
            default: ok = false; break;
        }
        if (!ok) token = Token::ERROR;
        return ok;
    }

    // Reads tokens while they are well-formed comments; false when one is malformed.
    bool ReadSkippingComments(Token& token) {
        bool ok = Read(token);
        while (ok && token == Token::COMMENT) ok = Read(token);
        return ok;
    }

    // The reader's test for an empty array after '[': only whitespace, then ']' (which
    // is consumed). A comment makes the array non-empty.
    bool EmptyArrayEnds() {
        SkipSpaces();
        if (mPos == mText.size() || mText[mPos] != ']') return false;
        ++mPos;
        return true;
    }

    size_t TokenStart() const { return mStart; }
    size_t TokenEnd() const { return mPos; }

  private:
    char Next() { return mPos < mText.size() ? mText[mPos++] : '\0'; }

    void SkipSpaces() {
        while (mPos < mText.size()) {
            const char c = mText[mPos];
            if (c != ' ' && c != '\t' && c != '\r' && c != '\n') break;
            ++mPos;
        }
    }

    // The rest of a literal; nothing is consumed when it does not follow.
    bool Match(const char* rest) {
        size_t length = 0;
        for (; rest[length] != '\0'; ++length) {
            if (mPos + length >= mText.size() || mText[mPos + length] != rest[length]) return false;
        }
        mPos += length;
        return true;
    }

    bool ReadString() {
        char c = '\0';
        while (mPos < mText.size()) {
            c = Next();
            if (c == '\\') {
                Next();  // the escaped character, whatever it is
            } else if (c == '"') {
                break;
            }
        }
        return c == '"';
    }

    bool ReadComment() {
        const char c = Next();
        if (c == '*') return ReadBlockComment();
        if (c == '/') return ReadLineComment();
        return false;
    }

    // As the reader does it: "/*/" is a complete comment, an unterminated one is not.
    bool ReadBlockComment() {
        while (mPos + 1 < mText.size()) {
            const char c = Next();
            if (c == '*' && mText[mPos] == '/') break;
        }
        return Next() == '/';
    }

    bool ReadLineComment() {
        while (mPos < mText.size()) {
            const char c = Next();
            if (c == '\n') break;
            if (c == '\r') {
                if (mPos < mText.size() && mText[mPos] == '\n') ++mPos;
                break;
            }
        }
        return true;
    }

    // Digits, an optional fraction and an optional exponent; whether they make a number
    // is decided later, by decoding.
    void ReadNumber() {
        size_t next = mPos;
        const auto step = [this, &next]() {
            mPos = next;
            return next < mText.size() ? mText[next++] : '\0';
        };
        const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
        char c = '0';  // stands for the character already read
        while (isDigit(c)) c = step();
        if (c == '.') {
            c = step();
            while (isDigit(c)) c = step();
        }
        if (c == 'e' || c == 'E') {
            c = step();
            if (c == '+' || c == '-') c = step();
            while (isDigit(c)) c = step();
        }
    }

    const std::string& mText;
    size_t mPos = 0;
    size_t mStart = 0;
};

// An array or object the reader is inside.
struct Open {
    bool object;
    // The reader takes '}' where a member name is due only while the object's latest
    // name is "" (at first it has none): {} and, oddly, {"":1,} are complete objects.
    bool nameEmpty;
    // Array: where it starts. Object: where its latest name ends.
    size_t cut;
};

// Where the reader is between tokens: about to read a value, a member name, or what
// follows a value it has just read; or where the walk ends.
enum class Step { VALUE, NAME, AFTER_VALUE, STOPPED, AT_LIMIT };

// Mirrors Json::Reader's readValue, readArray and readObject with an explicit stack and
// follows the path the reader takes while it meets no error. Where the reader would
// stop with an error this walk stops too; where only decoding a string or number could
// fail, it goes on as if decoding succeeded: the prefix parse settles those cases.
class ReaderWalk {
  public:
    explicit ReaderWalk(const std::string& text) : mTokens(text) {}

    size_t Cut() {
        Step step = Step::VALUE;
        while (step != Step::STOPPED && step != Step::AT_LIMIT) {
            switch (step) {
                case Step::VALUE: step = Value(); break;
                case Step::NAME: step = Name(); break;
                default: step = AfterValue(); break;
            }
        }
        // At the limit: cut before the array, so the reader stops where it would expect
        // it; or after the object's name, so it stops where it would expect ':'.
        return step == Step::AT_LIMIT ? mOpen.back().cut : std::string::npos;
    }

  private:
    Step Value() {
        if (mOpen.size() >= READER_STACK_LIMIT) return Step::AT_LIMIT;
        Token token = Token::ERROR;
        do {
            mTokens.Read(token);
        } while (token == Token::COMMENT);
        switch (token) {
            case Token::OBJECT_BEGIN:
                mOpen.push_back({true, true, 0});
                return Step::NAME;
            case Token::ARRAY_BEGIN:
                mOpen.push_back({false, false, mTokens.TokenStart()});
                if (!mTokens.EmptyArrayEnds()) return Step::VALUE;
                mOpen.pop_back();
                return Step::AFTER_VALUE;
            case Token::STRING:
            case Token::SCALAR:
                return Step::AFTER_VALUE;
            default:
                return Step::STOPPED;
        }
    }

    Step Name() {
        Token token = Token::ERROR;
        if (!mTokens.ReadSkippingComments(token)) return Step::STOPPED;
        Open& object = mOpen.back();
        if (token == Token::OBJECT_END && object.nameEmpty) {
            mOpen.pop_back();
            return Step::AFTER_VALUE;
        }
        if (token != Token::STRING) return Step::STOPPED;
        object.nameEmpty = mTokens.TokenEnd() - mTokens.TokenStart() == 2;  // ""
        object.cut = mTokens.TokenEnd();
        // No comment may stand between a name and its ':'.
        if (!mTokens.Read(token) || token != Token::MEMBER_SEPARATOR) return Step::STOPPED;
        return Step::VALUE;
    }

    Step AfterValue() {
        if (mOpen.empty()) return Step::STOPPED;  // the root is complete: the rest is never read
        return mOpen.back().object ? AfterMember() : AfterElement();
    }

    Step AfterElement() {
        Token token = Token::ERROR;
        if (!mTokens.ReadSkippingComments(token)) return Step::STOPPED;
        if (token == Token::ARRAY_SEPARATOR) return Step::VALUE;
        if (token != Token::ARRAY_END) return Step::STOPPED;
        mOpen.pop_back();
        return Step::AFTER_VALUE;
    }

    Step AfterMember() {
        Token token = Token::ERROR;
        if (!mTokens.Read(token)) return Step::STOPPED;
        if (token != Token::OBJECT_END && token != Token::ARRAY_SEPARATOR && token != Token::COMMENT) {
            return Step::STOPPED;
        }
        // After a comment the reader takes any token, even a malformed one, as the
        // separator: only '}' ends the object.
        if (token == Token::COMMENT) mTokens.ReadSkippingComments(token);
        if (token != Token::OBJECT_END) return Step::NAME;
        mOpen.pop_back();
        return Step::AFTER_VALUE;
    }

    Tokenizer mTokens;
    std::vector<Open> mOpen;  // the containers the reader is inside, innermost last
};

}  // namespace

size_t ReaderLimitCut(const std::string& text) {
    // Each open value is one '[' or '{' of the text: with fewer, the limit is out of reach
    // and the walk (with its allocations) can be spared.
    const auto openers = std::count_if(text.begin(), text.end(), [](char c) { return c == '[' || c == '{'; });
    if (static_cast<size_t>(openers) < READER_STACK_LIMIT) return std::string::npos;
    return ReaderWalk(text).Cut();
}

}  // namespace JsonUtil
