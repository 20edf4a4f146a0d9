// A file descriptor with one owner: closed when the owner goes, moved, never
// copied. Every descriptor the runtime holds is held in one of these.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace android {
namespace hardware {
namespace host {

class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : mFd(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : mFd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return mFd; }
    bool valid() const { return mFd >= 0; }
    explicit operator bool() const { return valid(); }

    // Gives the descriptor up without closing it.
    int release() { return std::exchange(mFd, -1); }
    // Closes what is held (keeping errno: a close on the way out must not
    // hide the failure being reported) and holds fd instead.
    void reset(int fd = -1) {
        const int old = std::exchange(mFd, fd);
        if (old >= 0) {
            const int saved = errno;
            ::close(old);
            errno = saved;
        }
    }

  private:
    int mFd = -1;
};

}  // namespace host
}  // namespace hardware
}  // namespace android
