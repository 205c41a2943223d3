// The data files' common header, read from any bytes: never a crash, and a header that
// was read whole writes back (the date rewritten from its timestamp) to one that reads
// the same.

#include "FuzzSupport.h"
#include "DataFileHeader.h"
#include "QtStream.h"

#include <QBuffer>
#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {


bool Read(DataFileHeader &header, const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    Stream::QtIn in(&buffer);
    header.Read(in);
    return in.IsOk();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Dates are local time; one fixed zone keeps every run alike.
    setenv("TZ", "UTC", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size > 4096)
        return -1;
    DataFileHeader header;
    const bool whole = Read(header, QByteArray(reinterpret_cast<const char *>(data), int(size)));
    // Every accessor on whatever was read.
    char text[64];
    header.Company(text, sizeof text);
    header.DateText(text, sizeof text);
    unsigned char checksum[16];
    Require(header.Checksum(checksum) <= 16 && header.Checksum().size() <= 16);
    Require(DataFileHeader::LookUpFileType(header.FileTypeName()) == header.FileType() || !header.IsValid()
            || !whole);
    (void)DataFileHeader::FileTypeTableName(header.FileType());
    if (!whole || !header.IsValid() || (header.HeaderVersion() != 1 && header.HeaderVersion() != 2))
        return 0;

    QBuffer out;
    out.open(QIODevice::WriteOnly);
    DataFileHeader written = header;
    {
        Stream::QtOut stream(&out);
        written.Write(stream);
        Require(stream.IsOk());
    }
    Require(out.data().size() == DataFileHeader::HeaderLength(header.HeaderVersion()));
    DataFileHeader again;
    Require(Read(again, out.data()));
    Require(again.HeaderVersion() == header.HeaderVersion() && again.FileType() == header.FileType());
    Require(again.Company() == header.Company() && again.VersionText() == header.VersionText()
            && again.Application() == header.Application() && again.Manufacturer() == header.Manufacturer()
            && again.FileTypeName() == header.FileTypeName());
    Require(again.ContentKind() == header.ContentKind() && again.Checksum() == header.Checksum());
    // The date comes back as it was, four year digits written whatever the year (a year
    // beyond 9999 does not fit the field and is not written at all).
    const std::time_t seconds = static_cast<std::time_t>(header.Timestamp());
    struct tm calendar = {};
    if (header.Timestamp() != 0 && gmtime_r(&seconds, &calendar) && calendar.tm_year + 1900 >= 0
        && calendar.tm_year + 1900 <= 9999)
        Require(again.Timestamp() == header.Timestamp());
    return 0;
}
