#include <gtest/gtest.h>
#include <hidl/ConcurrentMap.h>

#include <functional>
#include <memory>
#include <string>

using android::hardware::ConcurrentMap;

namespace {

// A value whose destruction uses the same map (a constructor function holding
// the last reference to something that unregisters itself) must not deadlock,
// and replacing a value must release the old one.
TEST(ConcurrentMap, ReplacedValueIsReleasedAndMayUseTheMapWhileDying) {
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
    std::weak_ptr<Reenter> weak = guard;
    map.set("other", [] {});
    map.set("k", [guard] {});
    guard.reset();
    map.set("k", [] {});  // destroys the lambda holding the last Reenter
    EXPECT_TRUE(weak.expired());
    EXPECT_FALSE(map.contains("other"));
    EXPECT_EQ(map.erase("k"), 1u);
    EXPECT_EQ(map.erase("k"), 0u);
}

}  // namespace
