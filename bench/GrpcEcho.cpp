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

    grpc::Status CallBytes(grpc::ServerContext*, const BytesMessage* request,
                           BytesMessage* reply) override {
        reply->set_data(request->data());
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
    BytesMessage bytes;  // kept between calls, so the row pays for no allocation of its own
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

bool GrpcEchoClient::callBytes(size_t size, uint8_t mark) {
    std::string* data = mImpl->bytes.mutable_data();
    if (size == 0) return false;
    if (data->size() != size) data->resize(size);
    (*data)[0] = (*data)[size - 1] = static_cast<char>(mark);
    grpc::ClientContext context;
    BytesMessage reply;
    if (!mImpl->stub->CallBytes(&context, mImpl->bytes, &reply).ok()) return false;
    const std::string& answer = reply.data();
    return answer.size() == size && answer[0] == static_cast<char>(mark) &&
           answer[size - 1] == static_cast<char>(mark);
}

}  // namespace zuv_bench
