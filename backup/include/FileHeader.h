#pragma once
// The header at the head of a display data backup file: the common data-file header
// (version 2 by default, file type "Embedded Display Data Backup") followed by the
// backup's identity. The archive body starts right after it, at HeaderLength():
//
//   version 2: common part (164), product (16), productCode (u32), variant (16),
//              minimumSoftwareVersion (u32)                           -> 204 bytes
//   version 1: common part (144), 4-byte trailer whose third byte is the content kind
//              and must be 1, then the same identity fields            -> 188 bytes
//
// Numbers are unsigned 32-bit little-endian; texts are blank-padded.

#include "DataFileHeader.h"
#include "FixedText.h"

#include <cstdint>
#include <string>
#include <vector>

class QIODevice;
class QString;

namespace Stream {
class In;
class Out;
} // namespace Stream

namespace Backup {

class FileHeader
{
public:
    enum Status {
        Ok = 0,
        // The common header's file type is not "Embedded Display Data Backup".
        NotABackup = 1,
        ProductCodeMismatch = 2,
        // The stream failed or ended too early (a header with no body after it included),
        // a version-1 content kind was not 1, or identity fields were missing on writing.
        StreamError = 3,
        ProductMismatch = 4,
        VariantMismatch = 5,
        // The running software is older than the backup's minimum version.
        SoftwareTooOld = 6,
    };

    FileHeader();
    FileHeader(const FileHeader &) = default;
    FileHeader &operator=(const FileHeader &) = default;
    virtual ~FileHeader();

    // The common part a backup header is written with: file type 24, content kind 2 for
    // version 2, sixteen 0xFF bytes as checksum, dated when written.
    static DataFileHeader NewBackupRecord(unsigned long headerVersion = 2);

    // Writes a new file at path: a version-2 header made by NewBackupRecord, then this
    // header's identity. With any identity field missing (empty text, zero number) the
    // status is StreamError and no file is created. A file that cannot be opened is
    // passed over silently.
    void WriteFileHeader(const QString &path);
    // Writes a header with the given common part (header version 1 or 2) at the device's
    // current position, for tools that record the body's digest or make the older layout.
    // StreamError for missing identity, another header version or a failing device.
    Status WriteFileHeader(QIODevice *device, DataFileHeader record);

    // Validates a header that was read against the running display: product and variant
    // (at most 16 characters, white space trimmed), minimum software version (packed
    // number, compared by SwVersion::Value), product code. Returns the status, which a
    // failed read keeps.
    Status Check(const std::string &product, std::uint32_t productCode,
                 const std::string &variant, std::uint32_t softwareVersion);

    // Judges whether the archive body of the backup file at path is intact, for a header
    // read from that file: header version 1 by testing the body as a gzip stream (the
    // test program's exit code is not judged), any other version by the body's MD5 digest
    // against the stored checksum, compared over the stored length only (an empty one
    // matches any completed digest). Blocks the calling thread until the check has ended.
    // Defined in the data-check library above the archive jobs (backup/datacheck, target
    // qvb_backup_datacheck), which callers of this operation link.
    bool VerifyData(const QString &path) const;

    Status GetStatus() const { return m_status; }
    // Bytes from the start of the file to the archive body; 0 until a backup header with
    // header version 1 or 2 has been read.
    std::uint32_t HeaderLength() const { return m_headerLength; }
    int HeaderVersion() const { return m_record.HeaderVersion(); }
    // The body's MD5 digest as stored (see DataFileHeader::Checksum): possibly shorter
    // than 16 bytes, and empty when the header carries none.
    std::vector<std::uint8_t> Checksum() const { return m_record.Checksum(); }
    const DataFileHeader &Record() const { return m_record; }

    std::uint8_t ContentKind() const { return m_contentKind; }
    std::string Product() const { return m_product.Value(); }
    std::uint32_t ProductCode() const { return m_productCode; }
    std::string Variant() const { return m_variant.Value(); }
    std::uint32_t MinimumSoftwareVersion() const { return m_minimumSoftwareVersion; }

    void SetProduct(const std::string &product) { m_product.Set(product); }
    void SetProductCode(std::uint32_t code) { m_productCode = code; }
    void SetVariant(const std::string &variant) { m_variant.Set(variant); }
    void SetMinimumSoftwareVersion(std::uint32_t packed) { m_minimumSoftwareVersion = packed; }

private:
    friend Status ReadFileHeader(FileHeader &header, QIODevice *device);

    void Read(Stream::In &in);
    bool HasIdentity() const;
    void WriteIdentity(Stream::Out &out) const;

    std::uint8_t m_contentKind = 0;
    FixedText<16, ' '> m_product;
    std::uint32_t m_productCode = 0;
    FixedText<16, ' '> m_variant;
    std::uint32_t m_minimumSoftwareVersion = 0;
    DataFileHeader m_record;
    std::uint32_t m_headerLength = 0;
    // Set by the first read or write.
    Status m_status = StreamError;
};

// Reads a backup header from the device's current position into header and returns its
// status. Fields not reached by a read that stops early keep their values.
//
// A version-2 header whose content-kind byte is 0 makes this throw std::out_of_range
// ("basic_string::at"): the display family's readers have always let that escape, so a
// caller that must survive any file catches it.
FileHeader::Status ReadFileHeader(FileHeader &header, QIODevice *device);

} // namespace Backup
