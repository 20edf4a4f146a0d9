// hidl_string, hidl_vec and hidl_handle: ownership and conversions. The
// in-memory layout the wire format copies is pinned by the wire-bytes test.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "TestNames.h"

namespace {

TEST(HidlString, CopiesOwnMovesEmptyTheSourceAndBorrowedDataStaysBorrowed) {
    char buffer[] = "borrowed";
    hidl_string borrowed;
    borrowed.setToExternal(buffer, 4);
    hidl_string copy(borrowed);  // a copy owns its own terminated data
    EXPECT_STREQ(copy.c_str(), "borr");
    buffer[0] = 'X';
    EXPECT_EQ(borrowed, "Xorr");
    EXPECT_EQ(copy, "borr");

    const char* storage = copy.c_str();
    hidl_string moved(std::move(copy));
    EXPECT_EQ(moved.c_str(), storage);
    EXPECT_STREQ(copy.c_str(), "");    // NOLINT(bugprone-use-after-move)
    const hidl_string& alias = moved;  // hides the self-assignment from the compiler
    moved = alias;
    EXPECT_EQ(moved, "borr");

    const std::string withNul("a\0b", 3);
    hidl_string s(withNul);
    EXPECT_EQ(std::string(s), withNul);
    EXPECT_NE(s, "a");  // C-string comparison stops at its own NUL
    EXPECT_EQ(s.c_str()[3], '\0');
    EXPECT_LT(hidl_string("ab"), hidl_string("abc"));
    EXPECT_STREQ(hidl_string(static_cast<const char*>(nullptr)).c_str(), "");  // never null
}

TEST(HidlVec, CopiesOfBorrowedDataOwnTheirCopy) {
    int32_t external[] = {1, 2};
    hidl_vec<int32_t> borrowed;
    borrowed.setToExternal(external, 2);
    hidl_vec<int32_t> copy(borrowed);
    EXPECT_NE(copy.data(), external);
    EXPECT_EQ(copy, borrowed);
    copy.resize(4);
    EXPECT_EQ(std::vector<int32_t>(copy), (std::vector<int32_t>{1, 2, 0, 0}));
    EXPECT_EQ(hidl_vec<int32_t>().data(), nullptr);
}

bool fdIsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

TEST(HidlHandle, CopyClonesTheFdsAndClosesOnlyWhatItOwns) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    native_handle_t* nh = native_handle_create(1, 1);
    nh->data[0] = fds[0];
    nh->data[1] = 42;

    int clonedFd = -1;
    {
        hidl_handle borrowed(nh);
        hidl_handle copy(borrowed);
        ASSERT_NE(copy.getNativeHandle(), nh);
        clonedFd = copy->data[0];
        EXPECT_NE(clonedFd, fds[0]);
        EXPECT_EQ(copy->data[1], 42);
        hidl_handle moved(std::move(copy));
        EXPECT_EQ(moved->data[0], clonedFd);
        EXPECT_EQ(copy.getNativeHandle(), nullptr);  // NOLINT(bugprone-use-after-move)
    }
    EXPECT_FALSE(fdIsOpen(clonedFd));
    EXPECT_TRUE(fdIsOpen(fds[0]));

    hidl_handle owner;
    owner.setTo(nh, true);
    owner = static_cast<const native_handle_t*>(nullptr);  // closes and frees nh
    EXPECT_FALSE(fdIsOpen(fds[0]));
    close(fds[1]);
}

}  // namespace
