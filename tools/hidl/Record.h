#pragma once

#include <CLI/CLI.hpp>

namespace zuv_hidl {

// `zuv_hidl record -o FILE -- PROGRAM [ARGS...]`: runs PROGRAM with its calls
// recorded into FILE and exits with PROGRAM's status.
void addRecordCommand(CLI::App& app, int argc, char** argv);

}  // namespace zuv_hidl
