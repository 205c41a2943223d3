#pragma once
// The MD5 message digest of RFC 1321 as three plain functions over a small context:
// initialise, feed data of any length in any number of pieces, finalise into 16 bytes.
// The result does not depend on the host's byte order.

#include <cstddef>
#include <cstdint>
#include <functional>

namespace Archive {

struct MD5Context
{
    std::uint32_t state[4];
    std::uint64_t bitCount;      // message length in bits, modulo 2^64
    unsigned char buffer[64];    // a started, not yet complete 64-byte block
};

void MD5Init(MD5Context &context);
void MD5Update(MD5Context &context, const void *data, std::size_t length);
// Writes the digest to digest[0..15]. The context must be initialised again before reuse.
void MD5Final(MD5Context &context, unsigned char digest[16]);

// How a digest reads its data to the end: `read` fills up to `size` bytes and returns the
// count, 0 at the end, less than 0 on failure; `afterPiece`, given the bytes digested so
// far, runs after every piece of at most `pieceSize` bytes and stops the digest by
// returning false (a cancel request).
struct MD5Source
{
    std::function<std::int64_t(unsigned char *buffer, std::size_t size)> read;
    std::size_t readSize;
    std::size_t pieceSize;
    std::function<bool(std::uint64_t digested)> afterPiece;
};
enum class MD5Outcome { Complete, ReadFailed, Stopped };

// Digests everything `source` delivers, in order, into `context` (initialised by the
// caller, finalised by the caller).
MD5Outcome MD5UpdateToEnd(MD5Context &context, const MD5Source &source);

// Whether a digest stored in a backup header matches the computed one. The header keeps
// the digest as a fixed text: a 0x00 byte ends it early and trailing 0xFF bytes are
// trimmed on reading, so only its stored length is compared, and an empty one matches
// (see docs/behaviour.md).
bool StoredDigestMatches(const unsigned char *stored, std::size_t storedLength, const unsigned char computed[16]);

} // namespace Archive
