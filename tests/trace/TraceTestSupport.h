// Reading exported traces back in the trace tests.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MiniJson.h"

namespace zuv_trace_test {

// The document's traceEvents; fails the test when the text is not valid JSON
// or lacks the array.
inline std::vector<Json> traceEvents(const std::string& text) {
    auto doc = JsonReader::parse(text);
    EXPECT_TRUE(doc.has_value()) << "not valid JSON:\n" << text;
    if (!doc) return {};
    const Json* events = doc->get("traceEvents");
    EXPECT_TRUE(events != nullptr && events->type == Json::Type::kArray);
    return events != nullptr ? events->array : std::vector<Json>{};
}

inline std::string otherData(const std::string& text, const std::string& key) {
    auto doc = JsonReader::parse(text);
    if (!doc || doc->get("otherData") == nullptr) return "";
    return doc->get("otherData")->str(key);
}

// "<ph> <name>" of the events of one category, in file order; tid 0 takes
// every thread.
inline std::vector<std::string> slices(const std::vector<Json>& events, const std::string& cat,
                                       long tid = 0) {
    std::vector<std::string> out;
    for (const Json& e : events) {
        if (e.str("cat") != cat) continue;
        if (tid != 0 && static_cast<long>(e.num("tid")) != tid) continue;
        out.push_back(e.str("ph") + " " + e.str("name"));
    }
    return out;
}

}  // namespace zuv_trace_test
