// Status text, the fatal rules of Return, and the reply-status wire format.
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>

#include <vector>

#include "TestNames.h"

namespace {

bool mentions(const Status& s, const char* text) {
    return s.description().find(text) != std::string::npos;
}

TEST(Status, DescriptionNamesExceptionTransportErrorAndMessage) {
    Status npe = Status::fromExceptionCode(Status::EX_NULL_POINTER, "no callback");
    EXPECT_EQ(npe.transactionError(), android::OK);
    EXPECT_TRUE(mentions(npe, "EX_NULL_POINTER") && mentions(npe, "no callback"));

    Status dead = Status::fromStatusT(android::DEAD_OBJECT);
    EXPECT_EQ(dead.exceptionCode(), Status::EX_TRANSACTION_FAILED);
    EXPECT_TRUE(mentions(dead, "EX_TRANSACTION_FAILED") && mentions(dead, "DEAD_OBJECT"));
    EXPECT_TRUE(Status::fromStatusT(android::OK).isOk());
    // A transport failure named only by its exception still carries an error.
    EXPECT_NE(Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED).transactionError(),
              android::OK);
    EXPECT_TRUE(mentions(Status::fromExceptionCode(-77), "-77"));
}

TEST(Return, CheckedOrOkReturnsDieQuietly) {
    { Return<void> ok = Void(); }
    { EXPECT_TRUE(Return<void>(Status::fromStatusT(android::DEAD_OBJECT)).isDeadObject()); }
    { EXPECT_EQ(Return<int>(Status::fromExceptionCode(Status::EX_SECURITY)).withDefault(-1), -1); }
    {
        Return<void> failed(Status::fromExceptionCode(Status::EX_SECURITY));
        Return<void> taken(std::move(failed));  // the moved-from shell stays quiet
        taken.setChecked();
    }
}

using ReturnDeathTest = ::testing::Test;

// An unchecked failure dropped at the end of its scope: ProxyDeathTest's
// UncheckedFailureFromADeadPeerEndsTheProcessNamingTheCall.
TEST_F(ReturnDeathTest, OverwrittenFailureValueOfFailureAndAssertOkAreFatal) {
    // Overwriting an unchecked failure drops it just the same.
    EXPECT_DEATH(
            {
                Return<void> r(Status::fromExceptionCode(Status::EX_SECURITY, "first"));
                r = Void();
            },
            "EX_SECURITY.*first");
    EXPECT_DEATH(
            {
                Return<int> r(Status::fromExceptionCode(Status::EX_NULL_POINTER, "null"));
                int v = r;
                (void)v;
            },
            "EX_NULL_POINTER.*null");
    EXPECT_DEATH(
            {
                Return<void> r(Status::fromStatusT(android::FAILED_TRANSACTION));
                r.assertOk();
            },
            "FAILED_TRANSACTION");
}

std::vector<uint8_t> written(const Status& s) {
    Parcel p;
    EXPECT_EQ(writeToParcel(s, &p), android::OK);
    return std::vector<uint8_t>(p.data(), p.data() + p.dataSize());
}

TEST(StatusParcel, ExceptionIsCodeThenPaddedString16) {
    EXPECT_EQ(written(Status::fromExceptionCode(Status::EX_NULL_POINTER, "x")),
              (std::vector<uint8_t>{0xfc, 0xff, 0xff, 0xff, 1, 0, 0, 0, 'x', 0, 0, 0}));
    EXPECT_EQ(
            written(Status::fromExceptionCode(Status::EX_SECURITY, "ab")),
            (std::vector<uint8_t>{0xff, 0xff, 0xff, 0xff, 2, 0, 0, 0, 'a', 0, 'b', 0, 0, 0, 0, 0}));
    EXPECT_EQ(written(Status::ok()), std::vector<uint8_t>(4, 0));

    Parcel p;  // a transport failure is never written
    EXPECT_EQ(writeToParcel(Status::fromStatusT(android::DEAD_OBJECT), &p), android::DEAD_OBJECT);
    EXPECT_EQ(p.dataSize(), 0u);
}

TEST(StatusParcel, UnknownCodesAreReadAsTheyAreAndTruncationIsRefused) {
    Status s;
    Parcel custom;
    custom.writeInt32(-42);
    custom.writeString16(nullptr, 0);  // the null string
    custom.setDataPosition(0);
    ASSERT_EQ(readFromParcel(&s, custom), android::OK);
    EXPECT_EQ(s.exceptionCode(), -42);
    EXPECT_STREQ(s.exceptionMessage(), "");

    Parcel truncated;
    truncated.writeInt32(Status::EX_SECURITY);
    truncated.writeInt32(10);  // claims ten characters that never come
    truncated.setDataPosition(0);
    EXPECT_NE(readFromParcel(&s, truncated), android::OK);
    EXPECT_EQ(readFromParcel(&s, Parcel()), android::NOT_ENOUGH_DATA);
}

}  // namespace
