// Reading exported traces back in the trace tests, with nlohmann-json (a
// strict parser: invalid JSON or UTF-8 fails the test).
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace zuv_trace_test {

using Json = nlohmann::json;

// The slices of one getConfigValue through the loopback transport.
const std::string kClient = "IZuvExtendedFingerprint::getConfigValue (client)";
const std::string kServer = "IZuvExtendedFingerprint::getConfigValue (server)";
const std::vector<std::string> kOneCall = {"B " + kClient, "B " + kServer, "E " + kServer,
                                           "E " + kClient};

// The document's traceEvents; fails the test when the text is not valid JSON
// or lacks the array.
inline std::vector<Json> traceEvents(const std::string& text) {
    const Json doc = Json::parse(text, nullptr, /*allow_exceptions=*/false);
    EXPECT_FALSE(doc.is_discarded()) << "not valid JSON:\n" << text;
    const bool ok = doc.is_object() && doc.contains("traceEvents") && doc["traceEvents"].is_array();
    EXPECT_TRUE(ok);
    return ok ? doc["traceEvents"].get<std::vector<Json>>() : std::vector<Json>{};
}

inline std::string otherData(const std::string& text, const std::string& key) {
    const Json doc = Json::parse(text, nullptr, false);
    if (!doc.is_object() || !doc.contains("otherData")) return "";
    return doc["otherData"].value(key, "");
}

// "<ph> <name>" of the events of one category, in file order.
inline std::vector<std::string> slices(const std::vector<Json>& events, const std::string& cat) {
    std::vector<std::string> out;
    for (const Json& e : events) {
        if (e.value("cat", "") == cat) out.push_back(e.value("ph", "") + " " + e.value("name", ""));
    }
    return out;
}

}  // namespace zuv_trace_test
