// The backup file header as the restore reads it from a file it was handed: any bytes
// must give a status, never a crash. A header that reads as Ok must have been read whole,
// and written back by the header's own writer it must read the same again.

#include "FuzzSupport.h"
#include "FileHeader.h"

#include <QBuffer>
#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {


bool Read(Backup::FileHeader &header, const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    try {
        Backup::ReadFileHeader(header, &buffer);
    } catch (const std::out_of_range &) {
        // A version-2 content kind of 0 escapes as this, as documented in FileHeader.h;
        // the restore driver catches it.
        return false;
    }
    // Ok says nothing of the version: a header of another version than 1 or 2 reads as
    // Ok with no length (the restore then reads the body from the file's start).
    const int version = header.HeaderVersion();
    if (header.GetStatus() == Backup::FileHeader::Ok && (version == 1 || version == 2))
        Require(buffer.pos() == qint64(header.HeaderLength()));
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size > 4096)
        return -1;
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    Backup::FileHeader header;
    if (!Read(header, bytes) || header.GetStatus() != Backup::FileHeader::Ok)
        return 0;
    const int version = header.HeaderVersion();
    if (version != 1 && version != 2)
        return 0;
    Require(header.HeaderLength() == std::uint32_t(DataFileHeader::BackupHeaderLength(version)));
    (void)header.Check("Talon", 1, "Standard", 0x01000000);

    // Written back with the record it came with: only the date is new.
    Backup::FileHeader copy;
    copy.SetProduct(header.Product());
    copy.SetProductCode(header.ProductCode());
    copy.SetVariant(header.Variant());
    copy.SetMinimumSoftwareVersion(header.MinimumSoftwareVersion());
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    if (copy.WriteFileHeader(&out, header.Record()) != Backup::FileHeader::Ok)
        return 0; // identity incomplete: the writer refuses, as it should
    QByteArray written = out.data();
    Require(written.size() == int(header.HeaderLength()));
    written.append('x'); // a body must follow
    Backup::FileHeader again;
    Require(Read(again, written));
    Require(again.GetStatus() == Backup::FileHeader::Ok);
    Require(again.HeaderVersion() == version);
    Require(again.Product() == header.Product() && again.Variant() == header.Variant());
    Require(again.ProductCode() == header.ProductCode());
    Require(again.MinimumSoftwareVersion() == header.MinimumSoftwareVersion());
    Require(again.ContentKind() == header.ContentKind());
    Require(again.Checksum() == header.Checksum());
    const DataFileHeader &a = header.Record(), &b = again.Record();
    Require(a.Company() == b.Company() && a.Application() == b.Application()
            && a.Manufacturer() == b.Manufacturer() && a.FileTypeName() == b.FileTypeName());
    return 0;
}
