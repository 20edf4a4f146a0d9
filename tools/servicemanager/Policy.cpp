#include "Policy.h"

#include <fnmatch.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace zuv_sm {

namespace {

std::optional<uid_t> parseUid(const std::string& text, bool* ok) {
    *ok = true;
    if (text == "*") return std::nullopt;
    char* end = nullptr;
    errno = 0;
    unsigned long n = std::strtoul(text.c_str(), &end, 10);
    if (!text.empty() && *end == '\0' && errno == 0 && n < UINT_MAX && text[0] != '-') {
        return static_cast<uid_t>(n);
    }
    if (const passwd* user = getpwnam(text.c_str()); user != nullptr) return user->pw_uid;
    *ok = false;
    return std::nullopt;
}

bool matches(const std::string& pattern, const std::string& value) {
    return fnmatch(pattern.c_str(), value.c_str(), 0) == 0;
}

// What /proc says the process runs; empty when it cannot be read (gone, or
// not ours to look at).
std::string executableOf(pid_t pid) {
    char buffer[PATH_MAX];
    const std::string link = "/proc/" + std::to_string(pid) + "/exe";
    ssize_t n = readlink(link.c_str(), buffer, sizeof(buffer) - 1);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

}  // namespace

std::optional<Policy> Policy::load(const std::string& path, std::string* error) {
    std::ifstream in(path);
    if (!in) {
        *error = path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    Policy policy;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        auto fail = [&](const std::string& what) {
            *error = path + ":" + std::to_string(number) + ": " + what;
            return std::nullopt;
        };
        if (size_t hash = line.find('#'); hash != std::string::npos) line.erase(hash);
        std::istringstream words(line);
        std::vector<std::string> fields;
        for (std::string w; words >> w;) fields.push_back(w);
        if (fields.empty()) continue;
        if (fields[0] != "allow") return fail("expected \"allow\", found \"" + fields[0] + "\"");
        if (fields.size() < 4 || fields.size() > 5) {
            return fail("expected \"allow UID INTERFACE INSTANCE [EXECUTABLE]\"");
        }
        bool ok = false;
        Rule rule;
        rule.uid = parseUid(fields[1], &ok);
        if (!ok) return fail("\"" + fields[1] + "\" is neither a uid, a user nor \"*\"");
        rule.interface = fields[2];
        rule.instance = fields[3];
        if (fields.size() == 5) {
            if (fields[4][0] != '/' && fields[4] != "*") {
                return fail("the executable \"" + fields[4] + "\" is not an absolute path");
            }
            if (fields[4] != "*") rule.executable = fields[4];
        }
        policy.mRules.push_back(std::move(rule));
    }
    if (in.bad()) {
        *error = path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    return policy;
}

std::string Policy::check(pid_t pid, uid_t uid, const std::string& fqName,
                          const std::string& name) const {
    std::string exe;
    bool exeRead = false;
    for (const Rule& rule : mRules) {
        if (rule.uid && *rule.uid != uid) continue;
        if (!matches(rule.interface, fqName) || !matches(rule.instance, name)) continue;
        if (rule.executable.empty()) return {};
        if (!exeRead) {
            exe = executableOf(pid);
            exeRead = true;
        }
        if (!exe.empty() && matches(rule.executable, exe)) return {};
    }
    if (!exeRead) exe = executableOf(pid);
    return "pid " + std::to_string(pid) + " (uid " + std::to_string(uid) + ", executable " +
           (exe.empty() ? std::string("unknown") : exe) + ") may not add " + fqName + "/" + name;
}

}  // namespace zuv_sm
