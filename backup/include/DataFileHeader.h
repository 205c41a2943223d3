#pragma once
// The common header at the head of the display family's data files (yield files, logs,
// boundaries, backups, ...): company mark, header version, two descriptive texts, the
// file-type name, the date of writing and, from header version 2 on, a content-kind byte
// and a 16-byte checksum of the body.
//
// Layout (all texts fixed-width, blank-padded unless said otherwise):
//   0  company (22)      22 versionText (10, "%010lu")   32 application (32)
//   64 manufacturer (32) 96 fileTypeName (32)            128 dateText (16)
//   version 2 only: 144 three 0xFF bytes, 147 contentKind (1, NUL-padded),
//                   148 checksum (16, 0xFF-padded)

#include "FixedText.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace Stream {
class In;
class Out;
} // namespace Stream

class DataFileHeader
{
public:
    // Rows of the file-type table; the index is the header's fileType.
    static constexpr int kFileTypeCount = 30;
    // "Embedded Display Data Backup", the only type a backup file is recognised by.
    static constexpr int kBackupFileType = 24;

    // The table's name for an index, or nullptr outside 0 to 29.
    static const char *FileTypeTableName(int index);
    // First row whose leading characters equal the whole name, -1 if none. The test is a
    // prefix test, so an empty name matches row 0 and "Mark Log File 2" is row 18, not 13.
    static int LookUpFileType(const std::string &name);

    // Length of the common part: 144 for version 1, 164 for version 2, else 0.
    static int HeaderLength(int version);
    // Length of a whole backup header: 188 for version 1, 204 for version 2, else 0.
    static int BackupHeaderLength(int version);

    // The process-wide text a fresh header carries as its application; empty unless set.
    static void SetDefaultApplication(const std::string &text);
    static std::string DefaultApplication();

    // A fresh header for a file-type index (-1 for none): version 1, the company mark, the
    // default application and manufacturer, date "0", content kind " ", no checksum.
    explicit DataFileHeader(int fileType = -1);

    void SetCompany(const char *text) { m_company.Set(text); }
    void SetCompany(const std::string &text) { m_company.Set(text); }
    void SetApplication(const char *text) { m_application.Set(text); }
    void SetApplication(const std::string &text) { m_application.Set(text); }
    void SetManufacturer(const char *text) { m_manufacturer.Set(text); }
    void SetManufacturer(const std::string &text) { m_manufacturer.Set(text); }
    // -1 clears the name; 0 to 29 take the table's name; anything else changes nothing.
    void SetFileType(int index);
    // Sets the name and looks its index up (-1 when in no row).
    void SetFileTypeName(const std::string &name);
    void SetHeaderVersion(unsigned long version);
    void SetContentKind(char kind);
    // At most 16 bytes, up to the first 0x00; trailing 0xFF bytes are dropped.
    void SetChecksum(const std::vector<std::uint8_t> &checksum);
    void SetChecksum(const unsigned char *checksum);
    void SetDateText(const std::string &text) { m_dateText.Set(text); }
    // Seconds since the epoch written as the date; 0 means the time of writing.
    void SetTimestamp(std::int64_t timestamp) { m_timestamp = timestamp; }

    std::string Company() const { return m_company.Value(); }
    std::string VersionText() const { return m_versionText.Value(); }
    std::string Application() const { return m_application.Value(); }
    std::string Manufacturer() const { return m_manufacturer.Value(); }
    std::string FileTypeName() const { return m_fileTypeName.Value(); }
    std::string DateText() const { return m_dateText.Value(); }
    std::string ContentKind() const { return m_contentKind.Value(); }
    // Each copies the text and a terminating NUL into buffer of size bytes; returns the
    // number of characters copied.
    std::size_t Company(char *buffer, std::size_t size) const { return m_company.CopyTo(buffer, size); }
    std::size_t VersionText(char *buffer, std::size_t size) const { return m_versionText.CopyTo(buffer, size); }
    std::size_t Application(char *buffer, std::size_t size) const { return m_application.CopyTo(buffer, size); }
    std::size_t Manufacturer(char *buffer, std::size_t size) const { return m_manufacturer.CopyTo(buffer, size); }
    std::size_t FileTypeName(char *buffer, std::size_t size) const { return m_fileTypeName.CopyTo(buffer, size); }
    std::size_t DateText(char *buffer, std::size_t size) const { return m_dateText.CopyTo(buffer, size); }

    // The checksum as stored: up to 16 bytes, shorter when the digest held a 0x00 byte or
    // ended in 0xFF bytes.
    std::vector<std::uint8_t> Checksum() const;
    // Copies the checksum into buffer (room for 16 bytes); returns its length.
    std::size_t Checksum(unsigned char *buffer) const;

    bool IsValid() const { return m_valid; }
    int HeaderVersion() const { return m_headerVersion; }
    int FileType() const { return m_fileType; }
    bool IsFileType(int index) const { return m_fileType == index; }
    std::int64_t Timestamp() const { return m_timestamp; }

    // Reads the common part from the stream's position. Stops after the company field when
    // it is not the display family's mark. IsValid tells the outcome of the last
    // validating step; stream errors show in the stream's state only.
    void Read(Stream::In &in);
    // Writes the common part, dating it with the timestamp or, when that is 0, the current
    // time (local time, "%m%d%Y%I%M%S%p"), which becomes the header's date text.
    void Write(Stream::Out &out);

    // Compares everything but the timestamp, content kind and checksum.
    friend bool operator==(const DataFileHeader &a, const DataFileHeader &b);

private:
    bool m_valid = true;
    std::int32_t m_headerVersion = 1;
    // 64 bits here, so dates after 2038 still work; only its formatted text is stored.
    std::int64_t m_timestamp = 0;
    std::int32_t m_fileType = -1;
    FixedText<22, ' '> m_company;
    FixedText<10, ' '> m_versionText;
    FixedText<32, ' '> m_application;
    FixedText<32, ' '> m_manufacturer;
    FixedText<32, ' '> m_fileTypeName;
    FixedText<16, ' '> m_dateText;
    FixedText<1, '\0'> m_contentKind;
    FixedText<16, '\xFF'> m_checksum;
};

bool operator==(const DataFileHeader &a, const DataFileHeader &b);
bool operator!=(const DataFileHeader &a, const DataFileHeader &b);
