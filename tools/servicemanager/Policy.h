// Which processes may add which services: the host's counterpart of a
// device's service access rules, loaded from a file by the daemon.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace zuv_sm {

// One "allow UID INTERFACE INSTANCE [EXECUTABLE]" line. Patterns use shell
// wildcards (fnmatch); a uid of "*" is any uid.
struct Rule {
    std::optional<uid_t> uid;  // none: any uid
    std::string interface;
    std::string instance;
    std::string executable;  // empty: any executable
};

class Policy {
  public:
    // The rules of path, or nullopt with *error set to "PATH:LINE: what is wrong"
    // (or "PATH: why it cannot be read").
    static std::optional<Policy> load(const std::string& path, std::string* error);

    // Empty when some rule lets the process (uid, executable) add
    // fqName/name; otherwise why not, naming the process.
    std::string check(pid_t pid, uid_t uid, const std::string& fqName,
                      const std::string& name) const;

  private:
    std::vector<Rule> mRules;
};

}  // namespace zuv_sm
