// Objects shared by the socket tests and their peer program: a test object
// with a small protocol, and the hub the test process serves as context
// object, where peers register what they serve.
#pragma once

#include <hidl_host/SocketTransport.h>
#include <hwbinder/Binder.h>
#include <hwbinder/IPCThreadState.h>
#include <hwbinder/Parcel.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace peer {

using android::OK;
using android::sp;
using android::status_t;
using android::hardware::BHwBinder;
using android::hardware::IBinder;
using android::hardware::IPCThreadState;
using android::hardware::Parcel;

enum Code : uint32_t {
    kEcho = 1,         // int32 v -> v, server pid, calling pid, calling uid
    kRecord = 2,       // oneway int32 v: remembered in arrival order
    kRecorded = 3,     // -> count, 1 when the values were 0, 1, 2, ... in order
    kCallBack = 4,     // binder cb, int32 v -> status, cb's echo of v (from another thread)
    kHold = 6,         // binder: kept until kDropHeld
    kDropHeld = 7,     //
    kCallHeld = 8,     // int32 v -> status, the held object's echo of v
    kNewObject = 9,    // -> a fresh object of this process
    kStats = 10,       // -> exported nodes
    kBlock = 11,       // tells the hub (kNotify) and never answers
    kReturn = 14,      // binder -> the same binder
    kReadFd = 15,      // native handle of one fd -> the int32 read from it
    kSleep = 16,       // int32 ms -> ms, answered after that long
    kMirror = 17,      // int32 size, buffer -> buffer of its bytes each plus one
    kMirrorBack = 18,  // binder cb, int32 size, buffer -> status, cb's kMirror of it
    kRegister = 100,   // hub: int32 tag, binder
    kNotify = 101,     // hub: int32 value
};

inline status_t echoThrough(const sp<IBinder>& target, int32_t value, Parcel* reply) {
    Parcel data;
    data.writeInt32(value);
    return target->transact(kEcho, data, reply);
}

class TestObject : public BHwBinder {
  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override {
        int32_t v = 0;
        switch (code) {
            case kEcho:
                data.readInt32(&v);
                reply->writeInt32(v);
                reply->writeInt32(getpid());
                reply->writeInt32(IPCThreadState::self()->getCallingPid());
                reply->writeInt32(static_cast<int32_t>(IPCThreadState::self()->getCallingUid()));
                break;
            case kRecord: {
                data.readInt32(&v);
                std::lock_guard<std::mutex> lock(mLock);
                mRecorded.push_back(v);
                return OK;
            }
            case kRecorded: {
                std::lock_guard<std::mutex> lock(mLock);
                bool inOrder = true;
                for (size_t i = 0; i < mRecorded.size(); ++i) {
                    inOrder = inOrder && mRecorded[i] == static_cast<int32_t>(i);
                }
                reply->writeInt32(static_cast<int32_t>(mRecorded.size()));
                reply->writeInt32(inOrder ? 1 : 0);
                break;
            }
            case kCallBack:  // on this process's pool, not the serving thread
            case kCallHeld: {
                sp<IBinder> target;
                if (code == kCallBack) data.readStrongBinder(&target);
                data.readInt32(&v);
                if (code == kCallHeld) {
                    std::lock_guard<std::mutex> lock(mLock);
                    if (!mHeld.empty()) target = mHeld.back();
                }
                Parcel echoed;
                status_t err = android::BAD_VALUE;
                std::thread([&] { err = target ? echoThrough(target, v, &echoed) : err; }).join();
                reply->writeInt32(err);
                for (int i = 0; i < 4; ++i) {
                    int32_t field = -1;
                    echoed.readInt32(&field);
                    reply->writeInt32(field);
                }
                break;
            }
            case kHold: {
                sp<IBinder> held;
                data.readStrongBinder(&held);
                std::lock_guard<std::mutex> lock(mLock);
                mHeld.push_back(held);
                break;
            }
            case kDropHeld: {
                std::vector<sp<IBinder>> dropped;
                {
                    std::lock_guard<std::mutex> lock(mLock);
                    dropped.swap(mHeld);
                }
                break;
            }
            case kNewObject:
                reply->writeStrongBinder(new TestObject());
                break;
            case kStats:
                reply->writeInt32(static_cast<int32_t>(
                        android::hardware::host::socketTransportStats().exportedNodes));
                break;
            case kBlock: {
                sp<IBinder> hub = android::hardware::host::getContextObject();
                Parcel note, ignored;
                note.writeInt32(getpid());
                if (hub != nullptr) hub->transact(kNotify, note, &ignored);
                for (;;) pause();
            }
            case kSleep:
                data.readInt32(&v);
                std::this_thread::sleep_for(std::chrono::milliseconds(v));
                reply->writeInt32(v);
                break;
            case kReadFd: {
                const native_handle_t* handle = nullptr;
                status_t err = data.readNativeHandleNoDup(&handle);
                if (err != OK) return err;
                int32_t got = -1;
                if (handle == nullptr || handle->numFds != 1 ||
                    ::read(handle->data[0], &got, sizeof(got)) != sizeof(got)) {
                    return android::BAD_VALUE;
                }
                reply->writeInt32(got);
                break;
            }
            case kMirror:
            case kMirrorBack: {  // the latter: a large call back to the caller while it waits
                sp<IBinder> cb;
                if (code == kMirrorBack) data.readStrongBinder(&cb);
                int32_t size = 0;
                data.readInt32(&size);
                size_t handle;
                const void* bytes = nullptr;
                status_t err = data.readBuffer(static_cast<size_t>(size), &handle, &bytes);
                if (err != OK || (code == kMirrorBack && cb == nullptr)) return android::BAD_VALUE;
                // The reply points into out: answered before out goes.
                std::vector<uint8_t> out(static_cast<const uint8_t*>(bytes),
                                         static_cast<const uint8_t*>(bytes) + size);
                if (code == kMirror) {
                    for (uint8_t& b : out) ++b;
                } else {
                    Parcel there, back;
                    there.writeInt32(size);
                    there.writeBuffer(out.data(), out.size(), &handle);
                    err = cb->transact(kMirror, there, &back);
                    const void* mirrored = nullptr;
                    if (err == OK) err = back.readBuffer(out.size(), &handle, &mirrored);
                    if (err == OK) memcpy(out.data(), mirrored, out.size());
                    reply->writeInt32(err);
                }
                reply->writeBuffer(out.data(), out.size(), &handle);
                if (callback != nullptr) callback(*reply);
                return OK;
            }
            case kReturn: {
                sp<IBinder> binder;
                data.readStrongBinder(&binder);
                reply->writeStrongBinder(binder);
                break;
            }
            default:
                return BHwBinder::onTransact(code, data, reply, flags, callback);
        }
        if (callback != nullptr) callback(*reply);
        return OK;
    }

  private:
    std::mutex mLock;
    std::vector<int32_t> mRecorded;
    std::vector<sp<IBinder>> mHeld;
};

// Served by the test process: peers register their objects under a tag and
// report progress; the test waits for both.
class Hub : public TestObject {
  public:
    sp<IBinder> waitFor(int32_t tag, std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mHubLock);
        mChanged.wait_for(lock, timeout, [&] { return mRegistered.count(tag) != 0; });
        auto it = mRegistered.find(tag);
        if (it == mRegistered.end()) return nullptr;
        sp<IBinder> binder = it->second;
        mRegistered.erase(it);
        return binder;
    }

    bool waitForNote(int32_t value, std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mHubLock);
        return mChanged.wait_for(lock, timeout, [&] { return mNotes.count(value) != 0; });
    }

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override {
        int32_t value = 0;
        if (code == kRegister) {
            sp<IBinder> binder;
            data.readInt32(&value);
            status_t err = data.readStrongBinder(&binder);
            if (err != OK) return err;
            std::lock_guard<std::mutex> lock(mHubLock);
            mRegistered[value] = binder;
        } else if (code == kNotify) {
            data.readInt32(&value);
            std::lock_guard<std::mutex> lock(mHubLock);
            mNotes.insert({value, 1});
        } else {
            return TestObject::onTransact(code, data, reply, flags, callback);
        }
        mChanged.notify_all();
        if (callback != nullptr) callback(*reply);
        return OK;
    }

  private:
    std::mutex mHubLock;
    std::condition_variable mChanged;
    std::map<int32_t, sp<IBinder>> mRegistered;
    std::map<int32_t, int> mNotes;
};

}  // namespace peer
