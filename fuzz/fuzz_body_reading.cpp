// The archive body read two ways that must agree: (a) as the extraction job reads it
// (archive/ExtractArchive.cpp, UnpackEntries: the body source over a descriptor, a
// compressed body decompressed by the decompression stage on a thread of its own ahead of
// a second reader) and (b) by libarchive alone over the same bytes in memory. Entry names,
// each entry's data and the verdict (read to the archive's end, or failed) must be the
// same, and the body's digest fed by the job's reading must be the MD5 of the body.
// Nothing is written to disk: each entry's data is read and hashed instead.

#include "BodySource.h"
#include "DecompressionStage.h"
#include "Handles.h"
#include "MD5.h"
#include "ThreadLocale.h"

#include <archive.h>
#include <archive_entry.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using Archive::Detail::BodySource;
using Archive::Detail::DecompressionStage;
using Archive::Detail::Reader;

// A run stays fast: a small input may still be a compression bomb or list many entries.
constexpr std::size_t kMaximumInput = 1024 * 1024;
constexpr std::size_t kMaximumEntries = 256;
constexpr std::uint64_t kMaximumData = 8 * 1024 * 1024;
// The body lies after a backup header's worth of bytes, as in a backup file, so the
// source's offsets relative to the body's start are exercised.
constexpr std::size_t kHeaderLength = 204;

struct Transcript
{
    // One line per entry: name, bytes of data, their hash, and the read's error code.
    std::vector<std::string> entries;
    bool complete = false;
    bool capped = false;
    std::string error;
};

void Walk(struct archive *reader, Transcript &transcript)
{
    std::uint64_t total = 0;
    std::vector<char> buffer(64 * 1024);
    struct archive_entry *entry = nullptr;
    int status = ARCHIVE_OK;
    // Any code but ARCHIVE_OK ends the entries, a warning included, as in the job.
    while ((status = archive_read_next_header(reader, &entry)) == ARCHIVE_OK) {
        if (transcript.entries.size() == kMaximumEntries || total >= kMaximumData) {
            transcript.capped = true;
            return;
        }
        const char *name = archive_entry_pathname(entry);
        std::uint64_t size = 0, hash = 14695981039346656037ull; // FNV-1a
        la_ssize_t count = 0;
        while (total < kMaximumData && (count = archive_read_data(reader, buffer.data(), buffer.size())) > 0) {
            for (la_ssize_t i = 0; i < count; ++i)
                hash = (hash ^ static_cast<unsigned char>(buffer[i])) * 1099511628211ull;
            size += std::uint64_t(count);
            total += std::uint64_t(count);
        }
        transcript.entries.push_back(std::string(name ? name : "(no name)") + " " + std::to_string(size) + " "
                                     + std::to_string(hash) + " " + std::to_string(count < 0 ? count : 0));
    }
    transcript.complete = status == ARCHIVE_EOF;
    const char *text = archive_error_string(reader);
    transcript.error = text ? text : "";
}

// (a) The job's way.
Transcript ReadAsTheJob(const std::uint8_t *data, std::size_t size)
{
    Transcript transcript;
    const int fd = memfd_create("body", 0);
    if (fd < 0)
        std::abort();
    const std::string header(kHeaderLength, 'H');
    if (write(fd, header.data(), header.size()) != ssize_t(header.size())
        || write(fd, data, size) != ssize_t(size)
        || lseek(fd, off_t(kHeaderLength), SEEK_SET) != off_t(kHeaderLength))
        std::abort();
    {
        const bool staged = DecompressionStage::Worthwhile() && DecompressionStage::IsCompressed(fd, kHeaderLength);
        BodySource source(fd, true, staged ? BodySource::kStreamingBlockSize : BodySource::kDirectBlockSize, staged);
        // Small blocks, so that reads end in many more places than with the job's sizes.
        Archive::Detail::BodyReading reading = Archive::Detail::OpenBodyReading(source, staged, 4096, 4);
        Walk(reading.reader.get(), transcript);
        if (reading.stage)
            reading.stage->Stop();
        if (source.ReadError() != 0)
            std::abort(); // a memory file does not fail
        reading.reader.reset();

        unsigned char digest[16], expected[16];
        const std::atomic<bool> cancel {false};
        if (source.Finish(digest, cancel) != BodySource::DigestOutcome::Complete)
            std::abort();
        Archive::MD5Context context;
        Archive::MD5Init(context);
        Archive::MD5Update(context, data, size);
        Archive::MD5Final(context, expected);
        // Whatever the reader did (read straight through, skipped, sought away and read no
        // more), the digest is the whole body's.
        if (std::memcmp(digest, expected, 16) != 0) {
            std::fprintf(stderr, "the digest fed by the reading is not the body's MD5\n");
            std::abort();
        }
    }
    close(fd);
    return transcript;
}

// (b) libarchive's own reading from memory.
Transcript ReadPlainly(const std::uint8_t *data, std::size_t size)
{
    Transcript transcript;
    Reader reader(archive_read_new());
    archive_read_support_filter_all(reader.get());
    archive_read_support_format_all(reader.get());
    archive_read_open_memory(reader.get(), data, size);
    Walk(reader.get(), transcript);
    return transcript;
}

void Print(const char *title, const Transcript &t)
{
    std::fprintf(stderr, "%s: %s%s (%s)\n", title, t.complete ? "complete" : "failed", t.capped ? ", capped" : "",
                 t.error.c_str());
    for (const std::string &line : t.entries)
        std::fprintf(stderr, "  %s\n", line.c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // The job refuses an empty body before any reader sees it.
    if (size == 0 || size > kMaximumInput)
        return -1;
    // Entry names in UTF-8 whatever the locale, as on the job's thread.
    const Archive::Detail::Utf8CharacterTypeForThisThread utf8;
    const Transcript job = ReadAsTheJob(data, size);
    const Transcript plain = ReadPlainly(data, size);
    if (job.entries != plain.entries || job.capped != plain.capped
        || (!job.capped && job.complete != plain.complete)) {
        Print("as the job reads it", job);
        Print("as libarchive reads it from memory", plain);
        std::abort();
    }
    return 0;
}
