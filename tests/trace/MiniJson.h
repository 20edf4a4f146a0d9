// A strict little JSON reader for checking exported traces: the whole text
// must be one valid document (RFC 8259), or parsing fails.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zuv_trace_test {

struct Json {
    enum class Type { kNull, kBool, kNumber, kString, kArray, kObject } type = Type::kNull;
    bool boolean = false;
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

    void space() {
        while (mPos < mText.size() && (mText[mPos] == ' ' || mText[mPos] == '\n' ||
                                       mText[mPos] == '\r' || mText[mPos] == '\t')) {
            ++mPos;
        }
    }
    bool literal(const char* word) {
        const std::string w = word;
        if (mText.compare(mPos, w.size(), w) != 0) return false;
        mPos += w.size();
        return true;
    }

    bool value(Json* out, int depth) {
        if (depth > 64) return false;
        space();
        if (mPos >= mText.size()) return false;
        const char c = mText[mPos];
        if (c == '{') return object(out, depth);
        if (c == '[') return array(out, depth);
        if (c == '"') {
            out->type = Json::Type::kString;
            return string(&out->string);
        }
        if (literal("true")) {
            out->type = Json::Type::kBool;
            out->boolean = true;
            return true;
        }
        if (literal("false")) {
            out->type = Json::Type::kBool;
            return true;
        }
        if (literal("null")) return true;
        return number(out);
    }

    bool object(Json* out, int depth) {
        out->type = Json::Type::kObject;
        ++mPos;
        space();
        if (mPos < mText.size() && mText[mPos] == '}') return ++mPos, true;
        while (true) {
            space();
            std::string key;
            if (mPos >= mText.size() || mText[mPos] != '"' || !string(&key)) return false;
            space();
            if (mPos >= mText.size() || mText[mPos++] != ':') return false;
            if (!value(&out->object[key], depth + 1)) return false;
            space();
            if (mPos >= mText.size()) return false;
            const char c = mText[mPos++];
            if (c == '}') return true;
            if (c != ',') return false;
        }
    }

    bool array(Json* out, int depth) {
        out->type = Json::Type::kArray;
        ++mPos;
        space();
        if (mPos < mText.size() && mText[mPos] == ']') return ++mPos, true;
        while (true) {
            out->array.emplace_back();
            if (!value(&out->array.back(), depth + 1)) return false;
            space();
            if (mPos >= mText.size()) return false;
            const char c = mText[mPos++];
            if (c == ']') return true;
            if (c != ',') return false;
        }
    }

    static void appendUtf8(std::string* out, uint32_t cp) {
        if (cp < 0x80) {
            out->push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            out->push_back(static_cast<char>(0xc0 | (cp >> 6)));
            out->push_back(static_cast<char>(0x80 | (cp & 0x3f)));
        } else if (cp < 0x10000) {
            out->push_back(static_cast<char>(0xe0 | (cp >> 12)));
            out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3f)));
            out->push_back(static_cast<char>(0x80 | (cp & 0x3f)));
        } else {
            out->push_back(static_cast<char>(0xf0 | (cp >> 18)));
            out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3f)));
            out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3f)));
            out->push_back(static_cast<char>(0x80 | (cp & 0x3f)));
        }
    }

    bool hex4(uint32_t* out) {
        if (mPos + 4 > mText.size()) return false;
        *out = 0;
        for (int i = 0; i < 4; ++i) {
            const char h = mText[mPos++];
            uint32_t d;
            if (h >= '0' && h <= '9') {
                d = static_cast<uint32_t>(h - '0');
            } else if (h >= 'a' && h <= 'f') {
                d = static_cast<uint32_t>(h - 'a' + 10);
            } else if (h >= 'A' && h <= 'F') {
                d = static_cast<uint32_t>(h - 'A' + 10);
            } else {
                return false;
            }
            *out = *out * 16 + d;
        }
        return true;
    }

    // Raw bytes must be valid UTF-8 and no control characters.
    bool string(std::string* out) {
        ++mPos;
        while (mPos < mText.size()) {
            const auto c = static_cast<unsigned char>(mText[mPos]);
            if (c == '"') return ++mPos, true;
            if (c < 0x20) return false;
            if (c == '\\') {
                if (++mPos >= mText.size()) return false;
                const char e = mText[mPos++];
                switch (e) {
                    case '"':
                        out->push_back('"');
                        break;
                    case '\\':
                        out->push_back('\\');
                        break;
                    case '/':
                        out->push_back('/');
                        break;
                    case 'b':
                        out->push_back('\b');
                        break;
                    case 'f':
                        out->push_back('\f');
                        break;
                    case 'n':
                        out->push_back('\n');
                        break;
                    case 'r':
                        out->push_back('\r');
                        break;
                    case 't':
                        out->push_back('\t');
                        break;
                    case 'u': {
                        uint32_t cp;
                        if (!hex4(&cp)) return false;
                        if (cp >= 0xd800 && cp <= 0xdbff) {
                            uint32_t low;
                            if (!literal("\\u") || !hex4(&low) || low < 0xdc00 || low > 0xdfff) {
                                return false;
                            }
                            cp = 0x10000 + ((cp - 0xd800) << 10) + (low - 0xdc00);
                        } else if (cp >= 0xdc00 && cp <= 0xdfff) {
                            return false;
                        }
                        appendUtf8(out, cp);
                        break;
                    }
                    default:
                        return false;
                }
                continue;
            }
            size_t len = c < 0x80             ? 1
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
            while (mPos < mText.size() && mText[mPos] >= '0' && mText[mPos] <= '9') ++mPos;
            return mPos > from;
        };
        if (mPos < mText.size() && mText[mPos] == '-') ++mPos;
        if (mPos < mText.size() && mText[mPos] == '0') {
            ++mPos;
        } else if (!digits()) {
            return false;
        }
        if (mPos < mText.size() && mText[mPos] == '.') {
            ++mPos;
            if (!digits()) return false;
        }
        if (mPos < mText.size() && (mText[mPos] == 'e' || mText[mPos] == 'E')) {
            ++mPos;
            if (mPos < mText.size() && (mText[mPos] == '+' || mText[mPos] == '-')) ++mPos;
            if (!digits()) return false;
        }
        out->type = Json::Type::kNumber;
        out->number = std::stod(mText.substr(start, mPos - start));
        return true;
    }

    const std::string& mText;
    size_t mPos = 0;
};

}  // namespace zuv_trace_test
