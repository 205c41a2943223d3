#include "MD5.h"

#include <algorithm>
#include <memory>
#include <cstring>

// A straight, fully unrolled RFC 1321 core. The round functions use the usual
// equivalent forms with one operation fewer (F and G as selects written with XOR),
// message words are assembled from bytes so the code is correct on any byte order
// (compilers turn the assembly into a single load on little-endian hosts), and whole
// blocks are transformed straight from the caller's data without copying.

namespace Archive {
namespace {

inline std::uint32_t LoadLittleEndian(const unsigned char *p)
{
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16
           | std::uint32_t(p[3]) << 24;
}

inline void StoreLittleEndian(unsigned char *p, std::uint32_t value)
{
    p[0] = static_cast<unsigned char>(value);
    p[1] = static_cast<unsigned char>(value >> 8);
    p[2] = static_cast<unsigned char>(value >> 16);
    p[3] = static_cast<unsigned char>(value >> 24);
}

inline std::uint32_t RotateLeft(std::uint32_t value, int bits)
{
    return (value << bits) | (value >> (32 - bits));
}

#define F(x, y, z) ((z) ^ ((x) & ((y) ^ (z))))
#define G(x, y, z) ((y) ^ ((z) & ((x) ^ (y))))
#define H(x, y, z) ((x) ^ (y) ^ (z))
#define I(x, y, z) ((y) ^ ((x) | ~(z)))
#define STEP(f, a, b, c, d, xt, s)          \
    do {                                    \
        (a) += f((b), (c), (d)) + (xt);     \
        (a) = RotateLeft((a), (s)) + (b);   \
    } while (false)
// G's two terms never share a bit, so they can be added separately; the term without b
// is then computed while the previous step is still running.
#define STEP_G(a, b, c, d, xt, s)                   \
    do {                                            \
        (a) += ((c) & ~(d)) + (xt);                 \
        (a) += (b) & (d);                           \
        (a) = RotateLeft((a), (s)) + (b);           \
    } while (false)

// Transforms `blocks` consecutive 64-byte blocks starting at data.
void Transform(std::uint32_t state[4], const unsigned char *data, std::size_t blocks)
{
    std::uint32_t a = state[0];
    std::uint32_t b = state[1];
    std::uint32_t c = state[2];
    std::uint32_t d = state[3];
    std::uint32_t x[16];

    for (; blocks > 0; --blocks, data += 64) {
        for (int i = 0; i < 16; ++i)
            x[i] = LoadLittleEndian(data + 4 * i);

        const std::uint32_t aa = a, bb = b, cc = c, dd = d;
        STEP(F, a, b, c, d, x[0] + 0xd76aa478u, 7);
        STEP(F, d, a, b, c, x[1] + 0xe8c7b756u, 12);
        STEP(F, c, d, a, b, x[2] + 0x242070dbu, 17);
        STEP(F, b, c, d, a, x[3] + 0xc1bdceeeu, 22);
        STEP(F, a, b, c, d, x[4] + 0xf57c0fafu, 7);
        STEP(F, d, a, b, c, x[5] + 0x4787c62au, 12);
        STEP(F, c, d, a, b, x[6] + 0xa8304613u, 17);
        STEP(F, b, c, d, a, x[7] + 0xfd469501u, 22);
        STEP(F, a, b, c, d, x[8] + 0x698098d8u, 7);
        STEP(F, d, a, b, c, x[9] + 0x8b44f7afu, 12);
        STEP(F, c, d, a, b, x[10] + 0xffff5bb1u, 17);
        STEP(F, b, c, d, a, x[11] + 0x895cd7beu, 22);
        STEP(F, a, b, c, d, x[12] + 0x6b901122u, 7);
        STEP(F, d, a, b, c, x[13] + 0xfd987193u, 12);
        STEP(F, c, d, a, b, x[14] + 0xa679438eu, 17);
        STEP(F, b, c, d, a, x[15] + 0x49b40821u, 22);
        STEP_G(a, b, c, d, x[1] + 0xf61e2562u, 5);
        STEP_G(d, a, b, c, x[6] + 0xc040b340u, 9);
        STEP_G(c, d, a, b, x[11] + 0x265e5a51u, 14);
        STEP_G(b, c, d, a, x[0] + 0xe9b6c7aau, 20);
        STEP_G(a, b, c, d, x[5] + 0xd62f105du, 5);
        STEP_G(d, a, b, c, x[10] + 0x02441453u, 9);
        STEP_G(c, d, a, b, x[15] + 0xd8a1e681u, 14);
        STEP_G(b, c, d, a, x[4] + 0xe7d3fbc8u, 20);
        STEP_G(a, b, c, d, x[9] + 0x21e1cde6u, 5);
        STEP_G(d, a, b, c, x[14] + 0xc33707d6u, 9);
        STEP_G(c, d, a, b, x[3] + 0xf4d50d87u, 14);
        STEP_G(b, c, d, a, x[8] + 0x455a14edu, 20);
        STEP_G(a, b, c, d, x[13] + 0xa9e3e905u, 5);
        STEP_G(d, a, b, c, x[2] + 0xfcefa3f8u, 9);
        STEP_G(c, d, a, b, x[7] + 0x676f02d9u, 14);
        STEP_G(b, c, d, a, x[12] + 0x8d2a4c8au, 20);
        STEP(H, a, b, c, d, x[5] + 0xfffa3942u, 4);
        STEP(H, d, a, b, c, x[8] + 0x8771f681u, 11);
        STEP(H, c, d, a, b, x[11] + 0x6d9d6122u, 16);
        STEP(H, b, c, d, a, x[14] + 0xfde5380cu, 23);
        STEP(H, a, b, c, d, x[1] + 0xa4beea44u, 4);
        STEP(H, d, a, b, c, x[4] + 0x4bdecfa9u, 11);
        STEP(H, c, d, a, b, x[7] + 0xf6bb4b60u, 16);
        STEP(H, b, c, d, a, x[10] + 0xbebfbc70u, 23);
        STEP(H, a, b, c, d, x[13] + 0x289b7ec6u, 4);
        STEP(H, d, a, b, c, x[0] + 0xeaa127fau, 11);
        STEP(H, c, d, a, b, x[3] + 0xd4ef3085u, 16);
        STEP(H, b, c, d, a, x[6] + 0x04881d05u, 23);
        STEP(H, a, b, c, d, x[9] + 0xd9d4d039u, 4);
        STEP(H, d, a, b, c, x[12] + 0xe6db99e5u, 11);
        STEP(H, c, d, a, b, x[15] + 0x1fa27cf8u, 16);
        STEP(H, b, c, d, a, x[2] + 0xc4ac5665u, 23);
        STEP(I, a, b, c, d, x[0] + 0xf4292244u, 6);
        STEP(I, d, a, b, c, x[7] + 0x432aff97u, 10);
        STEP(I, c, d, a, b, x[14] + 0xab9423a7u, 15);
        STEP(I, b, c, d, a, x[5] + 0xfc93a039u, 21);
        STEP(I, a, b, c, d, x[12] + 0x655b59c3u, 6);
        STEP(I, d, a, b, c, x[3] + 0x8f0ccc92u, 10);
        STEP(I, c, d, a, b, x[10] + 0xffeff47du, 15);
        STEP(I, b, c, d, a, x[1] + 0x85845dd1u, 21);
        STEP(I, a, b, c, d, x[8] + 0x6fa87e4fu, 6);
        STEP(I, d, a, b, c, x[15] + 0xfe2ce6e0u, 10);
        STEP(I, c, d, a, b, x[6] + 0xa3014314u, 15);
        STEP(I, b, c, d, a, x[13] + 0x4e0811a1u, 21);
        STEP(I, a, b, c, d, x[4] + 0xf7537e82u, 6);
        STEP(I, d, a, b, c, x[11] + 0xbd3af235u, 10);
        STEP(I, c, d, a, b, x[2] + 0x2ad7d2bbu, 15);
        STEP(I, b, c, d, a, x[9] + 0xeb86d391u, 21);

        a += aa;
        b += bb;
        c += cc;
        d += dd;
    }

    state[0] = a;
    state[1] = b;
    state[2] = c;
    state[3] = d;
}

#undef F
#undef G
#undef H
#undef I
#undef STEP
#undef STEP_G

} // namespace

void MD5Init(MD5Context &context)
{
    context.state[0] = 0x67452301u;
    context.state[1] = 0xefcdab89u;
    context.state[2] = 0x98badcfeu;
    context.state[3] = 0x10325476u;
    context.bitCount = 0;
}

void MD5Update(MD5Context &context, const void *data, std::size_t length)
{
    const unsigned char *input = static_cast<const unsigned char *>(data);
    std::size_t used = static_cast<std::size_t>((context.bitCount >> 3) & 63);
    context.bitCount += static_cast<std::uint64_t>(length) << 3;

    if (used != 0) {
        const std::size_t room = 64 - used;
        if (length < room) {
            std::memcpy(context.buffer + used, input, length);
            return;
        }
        std::memcpy(context.buffer + used, input, room);
        Transform(context.state, context.buffer, 1);
        input += room;
        length -= room;
    }
    const std::size_t blocks = length / 64;
    if (blocks > 0) {
        Transform(context.state, input, blocks);
        input += blocks * 64;
        length -= blocks * 64;
    }
    if (length > 0)
        std::memcpy(context.buffer, input, length);
}

void MD5Final(MD5Context &context, unsigned char digest[16])
{
    const std::uint64_t bits = context.bitCount;
    const std::size_t used = static_cast<std::size_t>((bits >> 3) & 63);

    // Padding: one 0x80 byte, zeros up to 56 mod 64, then the bit count little-endian.
    unsigned char tail[72];
    std::memset(tail, 0, sizeof tail);
    tail[0] = 0x80;
    const std::size_t padding = used < 56 ? 56 - used : 120 - used;
    StoreLittleEndian(tail + padding, static_cast<std::uint32_t>(bits));
    StoreLittleEndian(tail + padding + 4, static_cast<std::uint32_t>(bits >> 32));
    MD5Update(context, tail, padding + 8);

    for (int i = 0; i < 4; ++i)
        StoreLittleEndian(digest + 4 * i, context.state[i]);
    std::memset(&context, 0, sizeof context);
}

MD5Outcome MD5UpdateToEnd(MD5Context &context, const MD5Source &source)
{
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[source.readSize]);
    std::uint64_t digested = 0;
    for (;;) {
        const std::int64_t count = source.read(buffer.get(), source.readSize);
        if (count < 0)
            return MD5Outcome::ReadFailed;
        if (count == 0)
            return MD5Outcome::Complete;
        for (std::size_t at = 0; at < static_cast<std::size_t>(count); at += source.pieceSize) {
            const std::size_t size = std::min(source.pieceSize, static_cast<std::size_t>(count) - at);
            MD5Update(context, buffer.get() + at, size);
            digested += size;
            if (source.afterPiece && !source.afterPiece(digested))
                return MD5Outcome::Stopped;
        }
    }
}

bool StoredDigestMatches(const unsigned char *stored, std::size_t storedLength, const unsigned char computed[16])
{
    return storedLength <= 16 && std::equal(stored, stored + storedLength, computed);
}

} // namespace Archive
