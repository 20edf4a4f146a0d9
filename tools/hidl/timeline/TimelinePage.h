#pragma once

#include <string_view>

namespace zuv_hidl {

// The timeline page (page.html with page.js inline), with @DATA@ where the
// timeline's JSON goes.
std::string_view timelinePage();

}  // namespace zuv_hidl
