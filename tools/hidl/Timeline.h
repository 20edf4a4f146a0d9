#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace zuv_hidl {

// The traces of several processes (Chrome trace JSON, as the runtime writes
// them) as one timeline: lanes per process and thread, sections, and the
// links from each client section to the server section it caused. Throws
// std::runtime_error naming a file that cannot be read.
nlohmann::json buildTimeline(const std::vector<std::string>& traceFiles);

// One self-contained HTML page drawing that timeline.
std::string timelineHtml(const nlohmann::json& timeline);

}  // namespace zuv_hidl
