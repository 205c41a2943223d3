#include "Guid.h"

#include "Stream.h"

#include <cstring>

namespace {

constexpr std::size_t kCanonicalLength = 36;

// Record bytes 0 to 7 come from these identifier bytes: the first three fields of the GUID
// layout are little-endian, while libuuid keeps them in text order.
constexpr int kRecordOrder[8] = {3, 2, 1, 0, 5, 4, 7, 6};

} // namespace

Guid::Guid()
{
    uuid_clear(m_id);
}

Guid::Guid(const Guid &other)
{
    uuid_copy(m_id, other.m_id);
}

Guid &Guid::operator=(const Guid &other)
{
    if (this != &other)
        uuid_copy(m_id, other.m_id);
    return *this;
}

Guid Guid::Generate()
{
    uuid_clear(m_id);
    uuid_generate(m_id);
    return *this;
}

bool Guid::IsNull() const
{
    return uuid_is_null(m_id) != 0;
}

void Guid::Clear()
{
    uuid_clear(m_id);
}

std::string Guid::ToString() const
{
    char canonical[kCanonicalLength + 1];
    uuid_unparse(m_id, canonical);
    std::string text;
    text.reserve(kCanonicalLength + 2);
    text += '{';
    text += canonical;
    text += '}';
    return text;
}

bool Guid::FromString(const std::string &text)
{
    if (text.size() < kCanonicalLength)
        return false;
    if (text.size() == kCanonicalLength) {
        if (uuid_parse(text.c_str(), m_id) == 0)
            return true;
        uuid_clear(m_id);
        return false;
    }
    if (text[0] != '{' && text[0] != '(')
        return false;
    return FromString(text.substr(1, kCanonicalLength));
}

bool Guid::FromString(const char *text)
{
    return text != nullptr && FromString(std::string(text));
}

void Guid::Read(Stream::In &in)
{
    unsigned char block[8];
    if (in.Read(static_cast<void *>(block), 8u) < 8) {
        uuid_clear(m_id);
        return;
    }
    for (int i = 0; i < 8; ++i)
        m_id[kRecordOrder[i]] = block[i];
    if (in.Read(static_cast<void *>(m_id + 8), 8u) < 8)
        uuid_clear(m_id);
}

void Guid::Write(Stream::Out &out) const
{
    unsigned char block[8];
    for (int i = 0; i < 8; ++i)
        block[i] = m_id[kRecordOrder[i]];
    out.Write(static_cast<const void *>(block), 8u);
    out.Write(static_cast<const void *>(m_id + 8), 8u);
}

std::uint32_t Guid::Hash() const
{
    return std::uint32_t(m_id[0]) | std::uint32_t(m_id[1]) << 8 | std::uint32_t(m_id[2]) << 16
        | std::uint32_t(m_id[3]) << 24;
}

std::array<std::uint8_t, 16> Guid::Bytes() const
{
    std::array<std::uint8_t, 16> bytes;
    std::memcpy(bytes.data(), m_id, bytes.size());
    return bytes;
}

bool operator==(const Guid &a, const Guid &b)
{
    return uuid_compare(a.m_id, b.m_id) == 0;
}

bool operator!=(const Guid &a, const Guid &b)
{
    return !(a == b);
}

bool operator<(const Guid &a, const Guid &b)
{
    return uuid_compare(a.m_id, b.m_id) < 0;
}
