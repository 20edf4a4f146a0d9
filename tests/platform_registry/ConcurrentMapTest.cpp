#include <gtest/gtest.h>
#include <hidl/ConcurrentMap.h>
#include <hidl/Static.h>

#include <functional>
#include <memory>
#include <string>

using android::hardware::ConcurrentMap;

namespace {

TEST(ConcurrentMap, SetReplacesAndReleasesTheOldValue) {
    ConcurrentMap<std::string, std::shared_ptr<int>> map;
    auto first = std::make_shared<int>(1);
    std::weak_ptr<int> firstWeak = first;
    map.set("k", std::move(first));
    EXPECT_EQ(*map.get("k", nullptr), 1);
    map.set("k", std::make_shared<int>(2));
    EXPECT_TRUE(firstWeak.expired());
    EXPECT_EQ(*map.get("k", nullptr), 2);
    EXPECT_EQ(map.size(), 1u);

    EXPECT_EQ(map.erase("k"), 1u);
    EXPECT_EQ(map.erase("k"), 0u);
    auto def = std::make_shared<int>(9);
    EXPECT_EQ(map.get("k", def), def);
}

// A value whose destruction uses the same map (a constructor function holding
// the last reference to something that unregisters itself) must not deadlock.
TEST(ConcurrentMap, ReplacedValueMayUseTheMapWhileBeingDestroyed) {
    using Map = ConcurrentMap<std::string, std::function<void()>>;
    Map map;
    struct Reenter {
        Map* map;
        ~Reenter() {
            if (map) map->erase("other");
        }
    };
    auto guard = std::make_shared<Reenter>(Reenter{nullptr});
    guard->map = &map;
    map.set("other", [] {});
    map.set("k", [guard] {});
    guard.reset();
    map.set("k", [] {});  // destroys the lambda holding the last Reenter
    EXPECT_FALSE(map.contains("other"));
}

TEST(ConstructorMaps, AreProcessWideAndKeyedByDescriptor) {
    using android::hardware::details::getBnConstructorMap;
    using android::hardware::details::getBsConstructorMap;
    EXPECT_EQ(&getBnConstructorMap(), &getBnConstructorMap());
    EXPECT_EQ(&getBsConstructorMap(), &getBsConstructorMap());

    const std::string key = "vendor.zuv.test@1.0::IConstructorMapProbe";
    int calls = 0;
    getBnConstructorMap().set(std::string(key), [&calls](void*) {
        ++calls;
        return android::sp<android::hardware::IBinder>();
    });
    auto fn = getBnConstructorMap().get(key, nullptr);
    ASSERT_TRUE(fn);
    fn(nullptr);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(getBsConstructorMap().contains(key));
    getBnConstructorMap().erase(key);
    EXPECT_FALSE(getBnConstructorMap().get(key, nullptr));
}

}  // namespace
