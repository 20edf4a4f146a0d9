// The gRPC echo peer, kept behind this header so that the rest of the
// benchmark builds without gRPC.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zuv_bench {

// Serves the echo service on the Unix socket path; calls ready once it does.
int runGrpcEchoServer(const std::string& path, void (*ready)());

class GrpcEchoClient {
  public:
    explicit GrpcEchoClient(const std::string& path);
    ~GrpcEchoClient();
    // A synchronous unary call; false unless the value came back.
    bool call(int32_t value);
    // The same with size bytes each way; false unless they came back with
    // mark at both ends.
    bool callBytes(size_t size, uint8_t mark);

  private:
    struct Impl;
    std::unique_ptr<Impl> mImpl;
};

}  // namespace zuv_bench
