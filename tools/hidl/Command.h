// A zuv_hidl command kept in a file of its own: it adds its subcommand and
// options to the app and says how to run once they are parsed.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace zuv_hidl {

struct Command {
    CLI::App* app = nullptr;
    std::function<int()> run;  // the exit status
};

Command addReplayCommand(CLI::App& app);
Command addMockCommand(CLI::App& app);
Command addCorpusCommand(CLI::App& app);

}  // namespace zuv_hidl
