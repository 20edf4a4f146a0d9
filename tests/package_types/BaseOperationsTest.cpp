// The base operations every interface of the package answers locally, with
// its own descriptor and hash.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/misc.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "TestNames.h"

namespace {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_death_recipient;
using ::android::hidl::base::V1_0::DebugInfo;
using ::testing::ElementsAre;

using Hash = std::array<uint8_t, 32>;

Hash hashFromHex(const std::string& hex) {
    Hash hash{};
    for (size_t i = 0; i < hash.size(); ++i) {
        hash[i] = static_cast<uint8_t>(std::stoul(hex.substr(2 * i, 2), nullptr, 16));
    }
    return hash;
}

const char kBaseHash[] = "ec7fd79ed02dfa85bc499426adae3ebe23ef0524f3cd6957139324b83b18ca4c";

// Each interface's descriptor and hash.
template <typename Mock>
const char* const kIdentity[2] = {};
template <>
const char* const kIdentity<fp::MockZuvExtendedFingerprint>[2] = {
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint",
        "7a603395cc5f4754d82af8c9b9cb5202b6ece595b46fdc6715a835287c5d313a"};
template <>
const char* const kIdentity<fp::MockZuvExtendedFingerprintCallback>[2] = {
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprintCallback",
        "ed2f99e64ac9288f8b6ba19ae48b1cad204c5584152e32704f36a118495aaec0"};
template <>
const char* const kIdentity<fp::MockDaxAndroidServices>[2] = {
        "vendor.zuv.hardware.fingerprint@1.0::IDaxAndroidServices",
        "6a72d94f767d808a71a49cc31be0f4484e14664570f8a65d6f7045190bc75e92"};

struct CountingRecipient : hidl_death_recipient {
    void serviceDied(uint64_t, const ::android::wp<IBase>&) override { ++deaths; }
    int deaths = 0;
};

std::atomic<int> gSyspropChanges{0};
// libutils keeps every registration, so register once per process.
void watchSyspropChanges() {
    [[maybe_unused]] static const bool registered = [] {
        ::android::add_sysprop_change_callback([] { ++gSyspropChanges; }, 0);
        return true;
    }();
}

template <typename Mock>
class BaseOperationsTest : public ::testing::Test {
  protected:
    // Called through IBase, as the proxies, stubs and the registry do.
    sp<IBase> object_ = new ::testing::NiceMock<Mock>();
};

using Interfaces =
        ::testing::Types<fp::MockZuvExtendedFingerprint, fp::MockZuvExtendedFingerprintCallback,
                         fp::MockDaxAndroidServices>;
TYPED_TEST_SUITE(BaseOperationsTest, Interfaces, );

TYPED_TEST(BaseOperationsTest, IdentityIsOwnDescriptorAndHashThenTheBase) {
    IBase& object = *this->object_;
    std::vector<std::string> chain;
    std::string descriptor;
    std::vector<Hash> hashes;
    DebugInfo info{};
    int calls = 0;
    auto onChain = [&](const hidl_vec<hidl_string>& names) {
        for (const hidl_string& name : names) chain.push_back(name);
        ++calls;
    };
    auto onHashes = [&](const hidl_vec<hidl_array<uint8_t, 32>>& got) {
        for (const auto& hash : got) hashes.push_back(hash);
        ++calls;
    };
    EXPECT_TRUE(object.interfaceChain(onChain).isOk());
    EXPECT_TRUE(object.interfaceDescriptor([&](const hidl_string& d) {
                          descriptor = d, ++calls;
                      }).isOk());
    EXPECT_TRUE(object.getHashChain(onHashes).isOk());
    EXPECT_TRUE(object.getDebugInfo([&](const DebugInfo& d) { info = d, ++calls; }).isOk());
    EXPECT_EQ(4, calls);  // each callback exactly once
    EXPECT_THAT(chain, ElementsAre(kIdentity<TypeParam>[0], IBase::descriptor));
    EXPECT_EQ(kIdentity<TypeParam>[0], descriptor);
    EXPECT_THAT(hashes, ElementsAre(hashFromHex(kIdentity<TypeParam>[1]), hashFromHex(kBaseHash)));
    // A local object knows no process or address.
    EXPECT_EQ(-1, info.pid);
    EXPECT_EQ(0u, info.ptr);
    EXPECT_EQ(DebugInfo::Architecture::IS_64BIT, info.arch);
}

TYPED_TEST(BaseOperationsTest, DeathRecipientsAreAnsweredButNotKept) {
    sp<CountingRecipient> recipient = new CountingRecipient();

    // Return<bool> converts only when OK and dies otherwise.
    EXPECT_FALSE(this->object_->linkToDeath(nullptr, 42));
    EXPECT_TRUE(this->object_->linkToDeath(recipient, 42));
    EXPECT_FALSE(this->object_->unlinkToDeath(nullptr));
    EXPECT_TRUE(this->object_->unlinkToDeath(recipient));

    // Nothing was registered: the object holds no reference and dying tells
    // nobody.
    EXPECT_EQ(1, recipient->getStrongCount());
    this->object_.clear();
    EXPECT_EQ(0, recipient->deaths);
}

TYPED_TEST(BaseOperationsTest, SyspropsChangeReachesTheProcessCallbacks) {
    watchSyspropChanges();
    const int before = gSyspropChanges;
    EXPECT_TRUE(this->object_->notifySyspropsChanged().isOk());
    EXPECT_EQ(before + 1, gSyspropChanges);
}

}  // namespace
