// hidl_string, hidl_vec and hidl_handle: ownership, conversions and the
// in-memory layout the wire format depends on.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/HidlSupport.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;

struct RawLayout {
    uint64_t pointer;
    uint32_t size;
    uint8_t owns;
};

RawLayout layoutOf(const void* object) {
    RawLayout raw;
    memcpy(&raw.pointer, object, 8);
    memcpy(&raw.size, static_cast<const uint8_t*>(object) + 8, 4);
    memcpy(&raw.owns, static_cast<const uint8_t*>(object) + 12, 1);
    return raw;
}

TEST(HidlLayout, StringAndVectorKeepPointerSizeAndOwnerFlagWhereTheWireExpectsThem) {
    hidl_string owned("abc");
    RawLayout raw = layoutOf(&owned);
    EXPECT_EQ(raw.pointer, reinterpret_cast<uint64_t>(owned.c_str()));
    EXPECT_EQ(raw.size, 3u);
    EXPECT_EQ(raw.owns, 1);

    static const char kText[] = "external";
    hidl_string external;
    external.setToExternal(kText, 8);
    raw = layoutOf(&external);
    EXPECT_EQ(raw.pointer, reinterpret_cast<uint64_t>(kText));
    EXPECT_EQ(raw.size, 8u);
    EXPECT_EQ(raw.owns, 0);

    hidl_vec<uint32_t> vec{1, 2, 3, 4, 5};
    raw = layoutOf(&vec);
    EXPECT_EQ(raw.pointer, reinterpret_cast<uint64_t>(vec.data()));
    EXPECT_EQ(raw.size, 5u);
    EXPECT_EQ(raw.owns, 1);
    EXPECT_EQ(hidl_string::kOffsetOfBuffer, 0u);
    EXPECT_EQ(hidl_handle::kOffsetOfNativeHandle, 0u);
}

TEST(HidlString, DefaultIsEmptyNonNullAndNotOwned) {
    hidl_string s;
    ASSERT_NE(s.c_str(), nullptr);
    EXPECT_STREQ(s.c_str(), "");
    EXPECT_EQ(s.size(), 0u);
    EXPECT_TRUE(s.empty());
    EXPECT_EQ(layoutOf(&s).owns, 0);

    hidl_string fromNull(static_cast<const char*>(nullptr));
    EXPECT_STREQ(fromNull.c_str(), "");
}

TEST(HidlString, CopiesAreIndependentAndMovesEmptyTheSource) {
    hidl_string a("hello");
    hidl_string b(a);
    EXPECT_NE(a.c_str(), b.c_str());
    EXPECT_EQ(a, b);
    b = "world";
    EXPECT_EQ(a, "hello");

    const char* storage = a.c_str();
    hidl_string c(std::move(a));
    EXPECT_EQ(c.c_str(), storage);
    EXPECT_TRUE(a.empty());  // NOLINT(bugprone-use-after-move)
    EXPECT_STREQ(a.c_str(), "");

    const hidl_string& alias = c;  // hides the self-assignment from the compiler
    c = alias;                     // self-assignment keeps the value
    EXPECT_EQ(c, "hello");
    c = std::move(b);
    EXPECT_EQ(c, "world");
}

TEST(HidlString, ExternalIsBorrowedUntilCopied) {
    char buffer[] = "borrowed";
    hidl_string s;
    s.setToExternal(buffer, 4);
    EXPECT_EQ(s.c_str(), buffer);
    EXPECT_EQ(std::string(s), "borr");

    hidl_string copy(s);  // a copy owns its own terminated data
    EXPECT_NE(copy.c_str(), buffer);
    EXPECT_STREQ(copy.c_str(), "borr");
    buffer[0] = 'X';
    EXPECT_EQ(s, "Xorr");
    EXPECT_EQ(copy, "borr");
}

TEST(HidlString, ConversionsKeepEmbeddedNulsAndCompareByContent) {
    const std::string withNul("a\0b", 3);
    hidl_string s(withNul);
    EXPECT_EQ(s.size(), 3u);
    EXPECT_EQ(std::string(s), withNul);
    EXPECT_EQ(s, withNul);
    EXPECT_NE(s, "a");  // C-string comparison stops at its own NUL
    EXPECT_EQ(s.c_str()[3], '\0');

    EXPECT_LT(hidl_string("ab"), hidl_string("abc"));  // a prefix sorts first

    hidl_string assigned;
    assigned = std::string("from std");
    EXPECT_EQ("from std", assigned);
    assigned = static_cast<const char*>(nullptr);
    EXPECT_TRUE(assigned.empty());
}

TEST(HidlVec, ConvertsAndOwnsOnlyWhatItAllocated) {
    std::vector<int32_t> source{7, 8, 9};
    hidl_vec<int32_t> v(source);
    EXPECT_EQ(std::vector<int32_t>(v), source);

    int32_t external[] = {1, 2};
    hidl_vec<int32_t> borrowed;
    borrowed.setToExternal(external, 2);
    EXPECT_EQ(borrowed.data(), external);
    hidl_vec<int32_t> copy(borrowed);
    EXPECT_NE(copy.data(), external);
    EXPECT_EQ(copy, borrowed);

    copy.resize(4);
    EXPECT_EQ(copy[1], 2);
    EXPECT_EQ(copy[3], 0);

    hidl_vec<int32_t> empty;
    EXPECT_EQ(empty.data(), nullptr);
    EXPECT_EQ(empty.size(), 0u);
}

bool fdIsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

ino_t inodeOf(int fd) {
    struct stat st {};
    fstat(fd, &st);
    return st.st_ino;
}

TEST(HidlHandle, CopyClonesTheFdsAndOwnsTheClone) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    native_handle_t* nh = native_handle_create(1, 1);
    nh->data[0] = fds[0];
    nh->data[1] = 42;

    int clonedFd = -1;
    {
        hidl_handle borrowed(nh);
        EXPECT_EQ(borrowed.getNativeHandle(), nh);
        hidl_handle copy(borrowed);
        ASSERT_NE(copy.getNativeHandle(), nullptr);
        EXPECT_NE(copy.getNativeHandle(), nh);
        clonedFd = copy->data[0];
        EXPECT_NE(clonedFd, fds[0]);
        EXPECT_EQ(inodeOf(clonedFd), inodeOf(fds[0]));
        EXPECT_EQ(copy->data[1], 42);

        hidl_handle moved(std::move(copy));
        EXPECT_EQ(moved->data[0], clonedFd);
        EXPECT_EQ(copy.getNativeHandle(), nullptr);  // NOLINT(bugprone-use-after-move)
    }
    // The owned clone is closed with its last owner; the borrowed original is
    // untouched.
    EXPECT_FALSE(fdIsOpen(clonedFd));
    EXPECT_TRUE(fdIsOpen(fds[0]));

    hidl_handle null;
    hidl_handle nullCopy(null);
    EXPECT_EQ(nullCopy.getNativeHandle(), nullptr);

    native_handle_close(nh);
    native_handle_delete(nh);
    close(fds[1]);
}

TEST(HidlHandle, SetToWithOwnershipClosesOnReassign) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    native_handle_t* nh = native_handle_create(1, 0);
    nh->data[0] = fds[0];
    hidl_handle h;
    h.setTo(nh, true);
    h = static_cast<const native_handle_t*>(nullptr);
    EXPECT_FALSE(fdIsOpen(fds[0]));
    close(fds[1]);
}

}  // namespace
