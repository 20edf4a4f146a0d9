#pragma once

namespace zuv_hidl {

// Prints what the daemon of the runtime directory lists and ends the
// process: 0, or 1 when no daemon answers or a ping failed. `tool` prefixes
// the error messages.
int runList(const char* tool, bool ping, bool debug, bool asJson);

}  // namespace zuv_hidl
