#include "socket/Translators.h"

#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <unistd.h>

#include <cstring>

#include "socket/Runtime.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

status_t SendTranslator::flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) {
    if (BHwBinder* local = binder->localBinder(); local != nullptr) {
        if (!mRuntime.ensureListening()) return FAILED_TRANSACTION;
        uint64_t node = 0;
        // The context object is open to everyone under node 0.
        if (!mRuntime.isContextObject(local)) {
            node = mRuntime.grantNode(sp<BHwBinder>(local), mTo);
            mGranted.push_back(node);
        }
        table.push_back({kSenderNode, 0, node});
        *type = BINDER_TYPE_BINDER;
    } else {
        BpHwBinder* remote = binder->remoteBinder();
        ProxyTarget target;
        if (remote == nullptr || remote->transport() != mRuntime.link() ||
            !mRuntime.proxyTarget(remote->handle(), &target)) {
            // Proxies of other transports (loopback) cannot cross.
            return INVALID_OPERATION;
        }
        if (target.peer->pid() == mTo) {
            table.push_back({kReceiverNode, 0, target.node});
        } else {
            // The owner lets the receiver hold the node before it learns of it.
            if (target.node != 0) {
                status_t err = mRuntime.requestGrant(target.peer, target.node, mTo);
                if (err != OK) return err;
            }
            table.push_back({kThirdNode, target.peer->pid(), target.node});
        }
        *type = BINDER_TYPE_HANDLE;
    }
    *ref = table.size();
    return OK;
}

void SendTranslator::rollback() {
    for (uint64_t node : mGranted) mRuntime.releaseNode(node, mTo, 1);
    mGranted.clear();
}

void ReceiveTranslator::resolve(const uint8_t* table, size_t count) {
    mResolved.resize(count);
    for (size_t i = 0; i < count; ++i) {
        BinderRef ref;
        memcpy(&ref, table + i * sizeof(ref), sizeof(ref));
        switch (ref.kind) {
            case kSenderNode:
                mResolved[i] = mRuntime.proxyFor(mFrom, ref.node, 1);
                break;
            case kReceiverNode:
                mResolved[i] = mRuntime.findHome(ref.node);
                break;
            case kThirdNode:
                if (ref.pid == mFrom) {
                    mResolved[i] = mRuntime.proxyFor(mFrom, ref.node, 1);
                } else if (ref.pid == getpid()) {
                    mResolved[i] = mRuntime.findHome(ref.node);
                } else if (ref.pid > 0) {
                    mResolved[i] = mRuntime.proxyFor(ref.pid, ref.node, 1);
                }
                break;
            default:
                break;
        }
    }
}

status_t ReceiveTranslator::unflattenBinder(uint32_t, uint64_t ref, sp<IBinder>* out) {
    if (ref == 0 || ref > mResolved.size()) return BAD_VALUE;
    if (mResolved[ref - 1] == nullptr) return PERMISSION_DENIED;
    *out = mResolved[ref - 1];
    return OK;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
