#pragma once
// Identifier of the display's stored objects: a 16-byte UUID (libuuid) with a braced
// lower-case text form, "{00112233-4455-6677-8899-aabbccddeeff}", and a record form that
// follows the GUID layout, its first three fields little-endian.

#include <uuid/uuid.h>

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Stream {
class In;
class Out;
} // namespace Stream

class Guid
{
public:
    // The null identifier (all zero bytes).
    Guid();
    Guid(const Guid &other);
    Guid &operator=(const Guid &other);

    // Replaces the identifier with a newly generated one and returns it.
    Guid Generate();
    bool IsNull() const;
    void Clear();

    // "{" + the 36-character canonical form + "}", 38 characters.
    std::string ToString() const;
    // Accepts the 36-character canonical form, or that form after "{" or "(" (whatever
    // follows it is not examined). A text shorter than 36 characters, or a longer one that
    // does not start with "{" or "(", returns false and leaves the identifier unchanged; a
    // canonical part that does not parse returns false and leaves the null identifier.
    bool FromString(const std::string &text);
    bool FromString(const char *text);

    // Record form: 16 bytes in two raw blocks of 8. A short read leaves the null identifier.
    void Read(Stream::In &in);
    void Write(Stream::Out &out) const;

    // The first four bytes as a little-endian number, for hashed containers.
    std::uint32_t Hash() const;

    // The bytes in libuuid's order, that of the canonical text.
    std::array<std::uint8_t, 16> Bytes() const;

    friend bool operator==(const Guid &a, const Guid &b);
    friend bool operator<(const Guid &a, const Guid &b);

private:
    uuid_t m_id;
};

bool operator==(const Guid &a, const Guid &b);
bool operator!=(const Guid &a, const Guid &b);
// Unsigned byte order of the 16 bytes.
bool operator<(const Guid &a, const Guid &b);

inline uint qHash(const Guid &guid, uint seed = 0)
{
    return guid.Hash() ^ seed;
}

namespace std {
template <>
struct hash<Guid>
{
    std::size_t operator()(const Guid &guid) const noexcept { return guid.Hash(); }
};
} // namespace std
