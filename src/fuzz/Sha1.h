// SHA-1 of a byte string as 40 hex digits: libFuzzer names a crash input by
// it, and the recording of the same calls is named alike. No allocation, so a
// signal handler may call it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zuv_fuzz_service {

inline void sha1Hex(const uint8_t* data, size_t size, char out[41]) {
    uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    auto rotl = [](uint32_t x, int n) { return (x << n) | (x >> (32 - n)); };
    auto block = [&](const uint8_t* b) {
        uint32_t w[80];
        for (int i = 0; i < 16; ++i)
            w[i] = uint32_t(b[4 * i]) << 24 | uint32_t(b[4 * i + 1]) << 16 |
                   uint32_t(b[4 * i + 2]) << 8 | uint32_t(b[4 * i + 3]);
        for (int i = 16; i < 80; ++i) w[i] = rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
        uint32_t a = h[0], b1 = h[1], c = h[2], d = h[3], e = h[4];
        for (int i = 0; i < 80; ++i) {
            uint32_t f, k;
            if (i < 20) {
                f = (b1 & c) | (~b1 & d);
                k = 0x5A827999;
            } else if (i < 40) {
                f = b1 ^ c ^ d;
                k = 0x6ED9EBA1;
            } else if (i < 60) {
                f = (b1 & c) | (b1 & d) | (c & d);
                k = 0x8F1BBCDC;
            } else {
                f = b1 ^ c ^ d;
                k = 0xCA62C1D6;
            }
            const uint32_t t = rotl(a, 5) + f + e + k + w[i];
            e = d;
            d = c;
            c = rotl(b1, 30);
            b1 = a;
            a = t;
        }
        h[0] += a;
        h[1] += b1;
        h[2] += c;
        h[3] += d;
        h[4] += e;
    };
    size_t i = 0;
    for (; i + 64 <= size; i += 64) block(data + i);
    uint8_t tail[128] = {};
    const size_t rest = size - i;
    if (rest != 0) memcpy(tail, data + i, rest);
    tail[rest] = 0x80;
    const size_t total = rest + 9 <= 64 ? 64 : 128;
    const uint64_t bits = uint64_t(size) * 8;
    for (int j = 0; j < 8; ++j) tail[total - 1 - j] = uint8_t(bits >> (8 * j));
    block(tail);
    if (total == 128) block(tail + 64);
    static const char kHex[] = "0123456789abcdef";
    for (int j = 0; j < 20; ++j) {
        const uint8_t byte = uint8_t(h[j / 4] >> (24 - 8 * (j % 4)));
        out[2 * j] = kHex[byte >> 4];
        out[2 * j + 1] = kHex[byte & 15];
    }
    out[40] = '\0';
}

}  // namespace zuv_fuzz_service
