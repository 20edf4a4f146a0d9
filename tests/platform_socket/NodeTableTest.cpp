// The exporter's bookkeeping: who may call which node, and when a node's
// object is let go.
#include <gtest/gtest.h>

#include "PeerObjects.h"
#include "socket/NodeTable.h"

namespace {

using android::sp;
using android::wp;
using android::hardware::BHwBinder;
using android::hardware::host::socket::NodeTable;

TEST(NodeTableTest, OnlyHoldersFindANodeAndTheLastReleaseLetsItGo) {
    NodeTable table;
    std::vector<sp<BHwBinder>> released;
    wp<BHwBinder> weak;
    uint64_t id;
    {
        sp<BHwBinder> object = new peer::TestObject();
        weak = object;
        id = table.grant(object, 100);
        EXPECT_NE(id, 0u);
        EXPECT_EQ(table.grant(object, 100), id);  // same object, same node
        EXPECT_NE(table.grant(new peer::TestObject(), 100), id);
    }
    EXPECT_NE(table.find(id, 100), nullptr);
    EXPECT_EQ(table.find(id, 200), nullptr);
    EXPECT_EQ(table.find(id ^ 1, 100), nullptr);

    // Only a holder can pass it on.
    EXPECT_EQ(table.grantOnBehalf(id, 200, 300), android::PERMISSION_DENIED);
    EXPECT_EQ(table.grantOnBehalf(id, 100, 200), android::OK);
    EXPECT_NE(table.find(id, 200), nullptr);

    // 100 holds two references: one release keeps it.
    table.release(id, 100, 1, &released);
    EXPECT_NE(table.find(id, 100), nullptr);
    table.release(id, 100, 5, &released);
    EXPECT_EQ(table.find(id, 100), nullptr);
    EXPECT_FALSE(table.holdsAny(100) && table.nodeCount() == 1);
    EXPECT_TRUE(released.empty());

    table.release(id, 999, 1, &released);  // never held: ignored
    table.dropHolder(200, &released);
    ASSERT_EQ(released.size(), 1u);
    released.clear();
    EXPECT_EQ(weak.promote(), nullptr);
    EXPECT_FALSE(table.holdsAny(200));
}

TEST(NodeTableTest, DeadHolderDropsEverythingItHeld) {
    NodeTable table;
    std::vector<sp<BHwBinder>> released;
    sp<BHwBinder> shared = new peer::TestObject();
    const uint64_t a = table.grant(shared, 1);
    table.grant(shared, 2);
    const uint64_t b = table.grant(new peer::TestObject(), 1);
    EXPECT_EQ(table.grantCount(), 3u);
    table.dropHolder(1, &released);
    EXPECT_EQ(released.size(), 1u);  // b; a is still held by 2
    EXPECT_EQ(table.find(b, 1), nullptr);
    EXPECT_NE(table.find(a, 2), nullptr);
    EXPECT_EQ(table.nodeCount(), 1u);
}

}  // namespace
