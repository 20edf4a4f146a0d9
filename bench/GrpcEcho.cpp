#include "GrpcEcho.h"

#include <grpcpp/grpcpp.h>

#include "echo.grpc.pb.h"

namespace zuv_bench {
namespace {

class EchoService final : public Echo::Service {
    grpc::Status Call(grpc::ServerContext*, const EchoMessage* request,
                      EchoMessage* reply) override {
        reply->set_value(request->value());
        return grpc::Status::OK;
    }
};

}  // namespace

int runGrpcEchoServer(const std::string& path, void (*ready)()) {
    EchoService service;
    grpc::ServerBuilder builder;
    builder.AddListeningPort("unix:" + path, grpc::InsecureServerCredentials());
    builder.RegisterService(&service);
    std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
    if (server == nullptr) return 1;
    ready();
    server->Wait();
    return 0;
}

struct GrpcEchoClient::Impl {
    std::unique_ptr<Echo::Stub> stub;
};

GrpcEchoClient::GrpcEchoClient(const std::string& path) : mImpl(new Impl) {
    mImpl->stub =
            Echo::NewStub(grpc::CreateChannel("unix:" + path, grpc::InsecureChannelCredentials()));
}

GrpcEchoClient::~GrpcEchoClient() = default;

bool GrpcEchoClient::call(int32_t value) {
    grpc::ClientContext context;
    EchoMessage request, reply;
    request.set_value(value);
    return mImpl->stub->Call(&context, request, &reply).ok() && reply.value() == value;
}

}  // namespace zuv_bench
