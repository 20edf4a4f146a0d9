// Status text, the fatal rules of Return, and the reply-status wire format.
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/Status.h>
#include <hwbinder/Parcel.h>

#include <cstring>
#include <vector>

namespace {

using android::hardware::Parcel;
using android::hardware::Return;
using android::hardware::Status;
using android::hardware::Void;

TEST(Status, DescriptionNamesExceptionTransportErrorAndMessage) {
    EXPECT_TRUE(Status::ok().isOk());
    Status npe = Status::fromExceptionCode(Status::EX_NULL_POINTER, "no callback");
    EXPECT_FALSE(npe.isOk());
    EXPECT_EQ(npe.transactionError(), android::OK);
    EXPECT_NE(npe.description().find("EX_NULL_POINTER"), std::string::npos);
    EXPECT_NE(npe.description().find("no callback"), std::string::npos);

    Status dead = Status::fromStatusT(android::DEAD_OBJECT);
    EXPECT_EQ(dead.exceptionCode(), Status::EX_TRANSACTION_FAILED);
    EXPECT_EQ(dead.transactionError(), android::DEAD_OBJECT);
    EXPECT_NE(dead.description().find("EX_TRANSACTION_FAILED"), std::string::npos);
    EXPECT_NE(dead.description().find("DEAD_OBJECT"), std::string::npos);

    EXPECT_TRUE(Status::fromStatusT(android::OK).isOk());
    // A transport failure named only by its exception still carries an error.
    EXPECT_NE(Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED).transactionError(),
              android::OK);
    EXPECT_NE(Status::fromExceptionCode(-77).description().find("-77"), std::string::npos);
    EXPECT_NE(android::hardware::statusToString(-12345).find("-12345"), std::string::npos);
}

TEST(Return, CheckedOrOkReturnsDieQuietly) {
    { Return<void> ok = Void(); }
    { Return<int> value(5); }
    {
        Return<void> failed(Status::fromStatusT(android::DEAD_OBJECT));
        EXPECT_TRUE(failed.isDeadObject());
    }
    {
        Return<int> failed(Status::fromExceptionCode(Status::EX_ILLEGAL_STATE));
        EXPECT_EQ(failed.withDefault(-1), -1);
    }
    {
        Return<int> value(7);
        EXPECT_EQ(static_cast<int>(value), 7);
        Return<int> moved(std::move(value));  // the moved-from shell stays quiet
        EXPECT_TRUE(moved.isOk());
    }
    {
        Return<void> failed(Status::fromExceptionCode(Status::EX_SECURITY));
        Return<void> taken(std::move(failed));
        taken.setChecked();
    }
}

using ReturnDeathTest = ::testing::Test;

TEST_F(ReturnDeathTest, UncheckedFailureEndsTheProcessNamingTheStatus) {
    EXPECT_DEATH(
            { Return<void> r(Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "sensor gone")); },
            "EX_ILLEGAL_STATE.*sensor gone");
    EXPECT_DEATH({ Return<int> r(Status::fromStatusT(android::DEAD_OBJECT)); }, "DEAD_OBJECT");
    // Overwriting an unchecked failure drops it just the same.
    EXPECT_DEATH(
            {
                Return<void> r(Status::fromExceptionCode(Status::EX_SECURITY, "first"));
                r = Void();
            },
            "EX_SECURITY.*first");
}

TEST_F(ReturnDeathTest, ValueOfFailedReturnAndAssertOkAreFatal) {
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

std::vector<uint8_t> bytesOf(const Parcel& p) {
    return std::vector<uint8_t>(p.data(), p.data() + p.dataSize());
}

TEST(StatusParcel, ExceptionWithMessageIsCodeThenString16) {
    Parcel p;
    ASSERT_EQ(writeToParcel(Status::fromExceptionCode(Status::EX_NULL_POINTER, "x"), &p),
              android::OK);
    const std::vector<uint8_t> expected{0xfc, 0xff, 0xff, 0xff,   // -4
                                        0x01, 0x00, 0x00, 0x00,   // length 1
                                        'x',  0x00, 0x00, 0x00};  // 'x', NUL
    EXPECT_EQ(bytesOf(p), expected);

    Parcel odd;  // two UTF-16 units plus NUL need padding to 8 bytes
    ASSERT_EQ(writeToParcel(Status::fromExceptionCode(Status::EX_SECURITY, "ab"), &odd),
              android::OK);
    const std::vector<uint8_t> expectedOdd{0xff, 0xff, 0xff, 0xff, 0x02, 0x00, 0x00, 0x00,
                                           'a',  0x00, 'b',  0x00, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(bytesOf(odd), expectedOdd);

    Parcel none;
    ASSERT_EQ(writeToParcel(Status::ok(), &none), android::OK);
    EXPECT_EQ(bytesOf(none), std::vector<uint8_t>(4, 0));
}

TEST(StatusParcel, TransportFailureIsNeverWritten) {
    Parcel p;
    EXPECT_EQ(writeToParcel(Status::fromStatusT(android::DEAD_OBJECT), &p), android::DEAD_OBJECT);
    EXPECT_EQ(p.dataSize(), 0u);
}

TEST(StatusParcel, ReadsBackWhatWasWrittenAndRefusesTruncation) {
    Parcel p;
    ASSERT_EQ(writeToParcel(Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT, "bad key"), &p),
              android::OK);
    p.setDataPosition(0);
    Status s;
    ASSERT_EQ(readFromParcel(&s, p), android::OK);
    EXPECT_EQ(s.exceptionCode(), Status::EX_ILLEGAL_ARGUMENT);
    EXPECT_STREQ(s.exceptionMessage(), "bad key");

    // Codes from the wire are taken as they are, even unknown ones.
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

    Parcel empty;
    EXPECT_EQ(readFromParcel(&s, empty), android::NOT_ENOUGH_DATA);
}

}  // namespace
