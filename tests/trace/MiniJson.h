// Reading exported traces back in the trace tests: a strict little JSON
// reader (the whole text must be one valid RFC 8259 document, or parsing
// fails) and helpers over the trace's events.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zuv_trace_test {

struct Json {
    enum class Type { kNull, kBool, kNumber, kString, kArray, kObject } type = Type::kNull;
    double number = 0;
    std::string string;
    std::vector<Json> array;
    std::map<std::string, Json> object;

    const Json* get(const std::string& key) const {
        auto it = object.find(key);
        return it == object.end() ? nullptr : &it->second;
    }
    std::string str(const std::string& key) const {
        const Json* v = get(key);
        return v != nullptr && v->type == Type::kString ? v->string : std::string();
    }
    double num(const std::string& key) const {
        const Json* v = get(key);
        return v != nullptr && v->type == Type::kNumber ? v->number : -1;
    }
};

class JsonReader {
  public:
    static std::optional<Json> parse(const std::string& text) {
        JsonReader r(text);
        Json value;
        if (!r.value(&value, 0)) return std::nullopt;
        r.space();
        if (r.mPos != text.size()) return std::nullopt;
        return value;
    }

  private:
    explicit JsonReader(const std::string& text) : mText(text) {}

    bool more() const { return mPos < mText.size(); }
    void space() {
        while (more() && std::strchr(" \n\r\t", mText[mPos]) != nullptr && mText[mPos] != 0) ++mPos;
    }
    bool literal(const std::string& w) {
        if (mText.compare(mPos, w.size(), w) != 0) return false;
        mPos += w.size();
        return true;
    }

    bool value(Json* out, int depth) {
        space();
        if (depth > 64 || !more()) return false;
        const char c = mText[mPos];
        if (c == '{' || c == '[') return container(out, depth, c == '{');
        if (c == '"') return out->type = Json::Type::kString, string(&out->string);
        if (literal("true") || literal("false")) return out->type = Json::Type::kBool, true;
        if (literal("null")) return true;
        return number(out);
    }

    bool container(Json* out, int depth, bool isObject) {
        out->type = isObject ? Json::Type::kObject : Json::Type::kArray;
        const char close = isObject ? '}' : ']';
        ++mPos;
        space();
        if (more() && mText[mPos] == close) return ++mPos, true;
        while (true) {
            Json* slot;
            if (isObject) {
                space();
                std::string key;
                if (!more() || mText[mPos] != '"' || !string(&key)) return false;
                space();
                if (!more() || mText[mPos++] != ':') return false;
                slot = &out->object[key];
            } else {
                slot = &out->array.emplace_back();
            }
            if (!value(slot, depth + 1)) return false;
            space();
            if (!more()) return false;
            const char c = mText[mPos++];
            if (c == close) return true;
            if (c != ',') return false;
        }
    }

    bool hex4(uint32_t* out) {
        if (mPos + 4 > mText.size()) return false;
        const std::string digits = mText.substr(mPos, 4);
        if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
        *out = static_cast<uint32_t>(std::stoul(digits, nullptr, 16));
        mPos += 4;
        return true;
    }

    static void appendUtf8(std::string* out, uint32_t cp) {
        if (cp < 0x80) return out->push_back(static_cast<char>(cp));
        const int extra = cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
        out->push_back(static_cast<char>(((0xff00 >> (extra + 1)) & 0xff) | (cp >> (6 * extra))));
        for (int i = extra - 1; i >= 0; --i) {
            out->push_back(static_cast<char>(0x80 | ((cp >> (6 * i)) & 0x3f)));
        }
    }

    // Raw bytes must be valid UTF-8 and no control characters.
    bool string(std::string* out) {
        static const std::string kEscapes = "\"\"\\\\//b\bf\fn\nr\rt\t";
        ++mPos;
        while (more()) {
            const auto c = static_cast<unsigned char>(mText[mPos]);
            if (c == '"') return ++mPos, true;
            if (c < 0x20) return false;
            if (c == '\\') {
                if (++mPos >= mText.size()) return false;
                const char e = mText[mPos++];
                uint32_t cp, low;
                if (e != 'u') {
                    size_t at = kEscapes.find(e);
                    if (at == std::string::npos || at % 2 != 0) return false;
                    out->push_back(kEscapes[at + 1]);
                } else if (!hex4(&cp) || (cp >= 0xdc00 && cp <= 0xdfff)) {
                    return false;
                } else if (cp >= 0xd800 && cp <= 0xdbff) {
                    if (!literal("\\u") || !hex4(&low) || low < 0xdc00 || low > 0xdfff)
                        return false;
                    appendUtf8(out, 0x10000 + ((cp - 0xd800) << 10) + (low - 0xdc00));
                } else {
                    appendUtf8(out, cp);
                }
                continue;
            }
            const size_t len = c < 0x80             ? 1
                               : (c & 0xe0) == 0xc0 ? 2
                               : (c & 0xf0) == 0xe0 ? 3
                               : (c & 0xf8) == 0xf0 ? 4
                                                    : 0;
            if (len == 0 || mPos + len > mText.size() || (len == 2 && c < 0xc2)) return false;
            for (size_t k = 1; k < len; ++k) {
                if ((static_cast<unsigned char>(mText[mPos + k]) & 0xc0) != 0x80) return false;
            }
            out->append(mText, mPos, len);
            mPos += len;
        }
        return false;
    }

    bool number(Json* out) {
        const size_t start = mPos;
        auto digits = [&] {
            const size_t from = mPos;
            while (more() && mText[mPos] >= '0' && mText[mPos] <= '9') ++mPos;
            return mPos > from;
        };
        literal("-");
        if (!literal("0") && !digits()) return false;
        if (literal(".") && !digits()) return false;
        if (literal("e") || literal("E")) {
            if (!literal("+")) literal("-");
            if (!digits()) return false;
        }
        out->type = Json::Type::kNumber;
        out->number = std::stod(mText.substr(start, mPos - start));
        return true;
    }

    const std::string& mText;
    size_t mPos = 0;
};

// The document's traceEvents; fails the test when the text is not valid JSON
// or lacks the array.
inline std::vector<Json> traceEvents(const std::string& text) {
    auto doc = JsonReader::parse(text);
    EXPECT_TRUE(doc.has_value()) << "not valid JSON:\n" << text;
    const Json* events = doc ? doc->get("traceEvents") : nullptr;
    EXPECT_TRUE(events != nullptr && events->type == Json::Type::kArray);
    return events != nullptr ? events->array : std::vector<Json>{};
}

inline std::string otherData(const std::string& text, const std::string& key) {
    auto doc = JsonReader::parse(text);
    const Json* other = doc ? doc->get("otherData") : nullptr;
    return other != nullptr ? other->str(key) : "";
}

// "<ph> <name>" of the events of one category, in file order.
inline std::vector<std::string> slices(const std::vector<Json>& events, const std::string& cat) {
    std::vector<std::string> out;
    for (const Json& e : events) {
        if (e.str("cat") == cat) out.push_back(e.str("ph") + " " + e.str("name"));
    }
    return out;
}

}  // namespace zuv_trace_test
