// Host-only: what the binder layer asks of the transport that serves this
// process's objects, so that it needs none of the transport's insides.
#pragma once

namespace android {
namespace hardware {
namespace host {

class Serving {
  public:
    // Starts the threads the process configured for its pool (at least one);
    // calling it again starts only what is missing.
    virtual void startPool() = 0;
    // Serves on the calling thread until the transport shuts down.
    virtual void join() = 0;

  protected:
    ~Serving() = default;
};

// The process's one serving transport; never destroyed.
Serving& serving();

}  // namespace host
}  // namespace hardware
}  // namespace android
