#include "Version.h"

#include <cctype>
#include <cstring>
#include <sstream>
#include <utility>

namespace {
constexpr std::uint8_t kNotSet = 255;
}

const char *const Version::UnknownText = "Unknown";

Version::Version()
    : Version(kNotSet, kNotSet, kNotSet, kNotSet)
{
}

Version::Version(std::uint8_t major, std::uint8_t minor, std::uint8_t revision,
                 std::uint8_t build)
    : m_major(major)
    , m_minor(minor)
    , m_revision(revision)
    , m_build(build)
{
}

Version::Version(std::uint32_t packed)
    : Version(static_cast<std::uint8_t>(packed >> 24), static_cast<std::uint8_t>(packed >> 16),
              static_cast<std::uint8_t>(packed >> 8), static_cast<std::uint8_t>(packed))
{
}

Version::Version(const std::uint32_t *packed)
{
    unsigned char bytes[4];
    std::memcpy(bytes, packed, sizeof bytes);
    SetComponents(bytes[0], bytes[1], bytes[2], bytes[3]);
}

Version::~Version() = default;

void Version::SetComponents(std::uint8_t major, std::uint8_t minor, std::uint8_t revision,
                            std::uint8_t build)
{
    m_major = major;
    m_minor = minor;
    m_revision = revision;
    m_build = build;
}

std::uint32_t Version::Packed() const
{
    return (std::uint32_t(m_major) << 24) + (std::uint32_t(m_minor) << 16)
        + (std::uint32_t(m_revision) << 8) + std::uint32_t(m_build);
}

bool Version::IsValid() const
{
    return m_major != kNotSet || m_minor != kNotSet || m_revision != kNotSet;
}

std::string Version::ComponentText() const
{
    std::string text = std::to_string(m_major) + '.' + std::to_string(m_minor) + '.'
        + std::to_string(m_revision);
    if (m_build != 0)
        text += '.' + std::to_string(m_build);
    return text;
}

std::string Version::ToString() const
{
    return IsValid() ? ComponentText() : std::string(UnknownText);
}

bool Version::Parse(const std::string &text)
{
    std::istringstream in(text);
    std::uint8_t components[4] = {0, 0, 0, 0};
    int count = 0;
    bool ok = true;
    while (true) {
        const int next = in.peek();
        if (next == std::char_traits<char>::eof() || !std::isdigit(next)) {
            ok = false;
            break;
        }
        long value = -1;
        in >> value;
        if (in.fail() || value < 0 || value > 255) {
            ok = false;
            break;
        }
        components[count] = static_cast<std::uint8_t>(value);
        if (!in.eof() && in.peek() == '.')
            in.get();
        ++count;
        if (in.eof() || count == 4)
            break;
    }
    if (ok)
        SetComponents(components[0], components[1], components[2], components[3]);
    else
        SetComponents(kNotSet, kNotSet, kNotSet, kNotSet);
    return ok;
}

bool operator==(const Version &a, const Version &b)
{
    return a.Major() == b.Major() && a.Minor() == b.Minor() && a.Revision() == b.Revision()
        && a.Build() == b.Build();
}

bool operator!=(const Version &a, const Version &b)
{
    return !(a == b);
}

bool operator<(const Version &a, const Version &b)
{
    return a.Value() < b.Value();
}

bool operator<=(const Version &a, const Version &b)
{
    return a.Value() <= b.Value();
}

bool operator>(const Version &a, const Version &b)
{
    return a.Value() > b.Value();
}

bool operator>=(const Version &a, const Version &b)
{
    return a.Value() >= b.Value();
}

// ---- SwVersion ----

SwVersion::SwVersion(std::uint8_t major, std::uint8_t minor, std::uint8_t revision,
                     std::uint8_t build, std::string text)
    : Version(major, minor, revision, build)
    , m_text(std::move(text))
{
}

SwVersion::SwVersion(std::uint32_t packed, std::string text)
    : Version(packed)
    , m_text(std::move(text))
{
}

SwVersion::SwVersion(const std::uint32_t *packed, std::string text)
    : Version(packed)
    , m_text(std::move(text))
{
}

SwVersion::~SwVersion() = default;

std::string SwVersion::ToString() const
{
    if (!IsValid())
        return UnknownText;
    std::string text = ComponentText();
    if (Revision() != 0 && !m_text.empty())
        text += '-' + m_text;
    return text;
}

std::uint32_t SwVersion::Value() const
{
    const std::uint32_t revision = Revision() == 0 ? 0xFF00u : std::uint32_t(Revision()) << 8;
    const std::uint32_t build = Build() == 0 ? 0xFFu : std::uint32_t(Build());
    return (std::uint32_t(Major()) << 24) + (std::uint32_t(Minor()) << 16) + revision + build;
}
