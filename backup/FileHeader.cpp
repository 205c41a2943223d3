#include "FileHeader.h"

#include "QtStream.h"
#include "Version.h"

#include <QFile>
#include <QString>

#include <algorithm>
#include <cctype>

namespace Backup {

namespace {

// The content kind a version-1 trailer must carry, and the one new headers are written with.
constexpr std::uint8_t kVersion1ContentKind = 1;
constexpr char kWrittenContentKind = 0x02;

// At most the field's width, white space trimmed at both ends, as the identity fields are
// compared.
std::string ExpectedIdentity(const std::string &text)
{
    std::string value = text.substr(0, 16);
    const auto notSpace = [](unsigned char c) { return !std::isspace(c); };
    const auto first = std::find_if(value.begin(), value.end(), notSpace);
    const auto last = std::find_if(value.rbegin(), value.rend(), notSpace).base();
    return first < last ? std::string(first, last) : std::string();
}

} // namespace

FileHeader::FileHeader()
    : m_record(-1)
{
}

FileHeader::~FileHeader() = default;

DataFileHeader FileHeader::NewBackupRecord(unsigned long headerVersion)
{
    DataFileHeader record(-1);
    record.SetHeaderVersion(headerVersion);
    record.SetFileType(DataFileHeader::kBackupFileType);
    record.SetContentKind(kWrittenContentKind);
    return record;
}

void FileHeader::Read(Stream::In &in)
{
    m_record.Read(in);
    if (!m_record.IsFileType(DataFileHeader::kBackupFileType)) {
        m_status = NotABackup;
        return;
    }

    const int version = m_record.HeaderVersion();
    if (const int length = DataFileHeader::BackupHeaderLength(version))
        m_headerLength = static_cast<std::uint32_t>(length);

    if (version == 1) {
        std::uint8_t ignored = 0;
        in.Read(ignored);
        in.Read(ignored);
        in.Read(m_contentKind);
        if (m_contentKind != kVersion1ContentKind) {
            m_status = StreamError;
            return;
        }
        in.Read(ignored);
    } else {
        const std::string kind = m_record.ContentKind();
        // A file that ended inside the common part also leaves the text empty; the status
        // check below reports that. Only a real 0 byte escapes, as std::out_of_range; the
        // restore driver catches it (see docs/behaviour.md).
        if (!kind.empty() || in.IsOk())
            m_contentKind = static_cast<std::uint8_t>(kind.at(0));
    }

    m_product.Read(in);
    in.Read(m_productCode);
    m_variant.Read(in);
    in.Read(m_minimumSoftwareVersion);

    // The archive body must follow: a file that ends with its header is as broken as one
    // that ends inside it.
    m_status = in.IsOk() && !in.AtEnd() ? Ok : StreamError;
}

bool FileHeader::HasIdentity() const
{
    return !m_product.IsEmpty() && m_productCode != 0 && !m_variant.IsEmpty()
        && m_minimumSoftwareVersion != 0;
}

void FileHeader::WriteIdentity(Stream::Out &out) const
{
    m_product.Write(out);
    out.Write(m_productCode);
    m_variant.Write(out);
    out.Write(m_minimumSoftwareVersion);
}

void FileHeader::WriteFileHeader(const QString &path)
{
    m_status = Ok;
    if (!HasIdentity()) {
        m_status = StreamError;
        return;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    Stream::QtOut out(&file);
    // Whatever record this header holds, a new backup carries a fresh one.
    DataFileHeader record = NewBackupRecord(2);
    record.Write(out);
    WriteIdentity(out);
}

FileHeader::Status FileHeader::WriteFileHeader(QIODevice *device, DataFileHeader record)
{
    const int version = record.HeaderVersion();
    if (!HasIdentity() || (version != 1 && version != 2)) {
        m_status = StreamError;
        return m_status;
    }
    Stream::QtOut out(device);
    record.Write(out);
    if (version == 1) {
        const std::uint8_t ignored = 0;
        out.Write(ignored);
        out.Write(ignored);
        out.Write(kVersion1ContentKind);
        out.Write(ignored);
    }
    WriteIdentity(out);
    m_status = out.IsOk() ? Ok : StreamError;
    return m_status;
}

FileHeader::Status FileHeader::Check(const std::string &product, std::uint32_t productCode,
                                     const std::string &variant, std::uint32_t softwareVersion)
{
    if (m_status != Ok)
        return m_status;
    if (ExpectedIdentity(product) != m_product.Value())
        m_status = ProductMismatch;
    else if (ExpectedIdentity(variant) != m_variant.Value())
        m_status = VariantMismatch;
    else if (SwVersion(softwareVersion, std::string()).Value()
             < SwVersion(m_minimumSoftwareVersion, std::string()).Value())
        m_status = SoftwareTooOld;
    else if (productCode != m_productCode)
        m_status = ProductCodeMismatch;
    return m_status;
}

FileHeader::Status ReadFileHeader(FileHeader &header, QIODevice *device)
{
    Stream::QtIn in(device);
    header.Read(in);
    return header.m_status;
}

} // namespace Backup
