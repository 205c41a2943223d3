// Version and identifier texts as they come from files and other programs: any text gives
// an answer, never a crash, and what parses prints to a text that parses to the same.

#include "FuzzSupport.h"
#include "Guid.h"
#include "QtStream.h"
#include "Version.h"

#include <QBuffer>
#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {


} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size > 256)
        return -1;
    const std::string text(reinterpret_cast<const char *>(data), size);

    SwVersion version;
    const bool parsed = version.Parse(text);
    Require(parsed || version.Packed() == 0xFFFFFFFFu);
    (void)version.Value();
    // A version with neither major, minor nor revision set prints as "Unknown", by design.
    if (parsed && version.IsValid()) {
        SwVersion again;
        Require(again.Parse(version.ToString()));
        Require(again == version && again.Value() == version.Value());
        Require(SwVersion(version.Packed()) == version);
    }

    Guid guid;
    if (guid.FromString(text)) {
        const std::string printed = guid.ToString();
        Require(printed.size() == 38);
        Guid again;
        Require(again.FromString(printed) && again == guid);
    }
    // The record form: sixteen bytes in, the same sixteen bytes out.
    if (size >= 16) {
        QBuffer in;
        in.setData(QByteArray(text.data(), 16));
        in.open(QIODevice::ReadOnly);
        Guid record;
        {
            Stream::QtIn stream(&in);
            record.Read(stream);
        }
        QBuffer out;
        out.open(QIODevice::WriteOnly);
        {
            Stream::QtOut stream(&out);
            record.Write(stream);
        }
        Require(out.data() == QByteArray(text.data(), 16));
    }
    return 0;
}
