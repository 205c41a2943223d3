#pragma once
// Four-part version numbers (major.minor.revision.build, each 0 to 255) as the display
// software numbers its releases.
//
// A component of 255 means "not set". Records convert between a packed 32-bit number (major
// in the top byte), a dotted text and the four components. Ordering is by Value(), in which
// a zero revision or build ranks above every numbered one: 5.2.0.0 is the release that
// 5.2.1.7 led up to, so a backup asking for 5.2 is not restorable by a 5.2.1 pre-release.

#include <cstdint>
#include <string>

class Version
{
public:
    // The text that stands for a version that is not set.
    static const char *const UnknownText;

    // All four components not set.
    Version();
    Version(std::uint8_t major, std::uint8_t minor, std::uint8_t revision, std::uint8_t build);
    explicit Version(std::uint32_t packed);
    // The four bytes as they lie in memory, in the order major, minor, revision, build.
    explicit Version(const std::uint32_t *packed);
    virtual ~Version();

    // "Unknown" when not valid; else major.minor.revision, then .build when build is not 0.
    virtual std::string ToString() const;
    // The ordering value; operators <, <=, >, >= compare it.
    virtual std::uint32_t Value() const = 0;

    // Parses a dotted text of one to four components ("5.2" gives 5.2.0.0). On failure all
    // components become 255 and false is returned. A suffix such as "-beta" must be split
    // off first; characters after a fourth component are ignored.
    bool Parse(const std::string &text);

    std::uint8_t Major() const { return m_major; }
    std::uint8_t Minor() const { return m_minor; }
    std::uint8_t Revision() const { return m_revision; }
    std::uint8_t Build() const { return m_build; }
    void SetComponents(std::uint8_t major, std::uint8_t minor, std::uint8_t revision,
                       std::uint8_t build);

    // The components as they are, major in the top byte.
    std::uint32_t Packed() const;
    // Set when major, minor or revision is set; build does not count.
    bool IsValid() const;

protected:
    Version(const Version &) = default;
    Version &operator=(const Version &) = default;

    // The dotted components without any suffix, as ToString prints them.
    std::string ComponentText() const;

private:
    std::uint8_t m_major;
    std::uint8_t m_minor;
    std::uint8_t m_revision;
    std::uint8_t m_build;
};

// Equality compares the four components only (not a SwVersion's text).
bool operator==(const Version &a, const Version &b);
bool operator!=(const Version &a, const Version &b);
bool operator<(const Version &a, const Version &b);
bool operator<=(const Version &a, const Version &b);
bool operator>(const Version &a, const Version &b);
bool operator>=(const Version &a, const Version &b);

// A software version: the four components plus a free-form suffix such as a build tag.
class SwVersion : public Version
{
public:
    SwVersion() = default;
    SwVersion(std::uint8_t major, std::uint8_t minor, std::uint8_t revision, std::uint8_t build,
              std::string text = std::string());
    explicit SwVersion(std::uint32_t packed, std::string text = std::string());
    explicit SwVersion(const std::uint32_t *packed, std::string text = std::string());
    SwVersion(const SwVersion &) = default;
    SwVersion &operator=(const SwVersion &) = default;
    ~SwVersion() override;

    // As Version::ToString, then "-" and the text when the revision is not 0 and the text
    // is not empty: 5.2.1.7-beta, but 5.2.0.3 whatever the text.
    std::string ToString() const override;
    // A zero revision counts as 0xFF, a zero build as 0xFF: releases rank above the
    // numbered revisions and builds before them.
    std::uint32_t Value() const override;

    const std::string &Text() const { return m_text; }
    void SetText(const std::string &text) { m_text = text; }

private:
    std::string m_text;
};
