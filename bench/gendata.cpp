// Makes the benchmark's display data trees and large files, byte for byte the same for
// the same seed, so a cached data set can be trusted and two machines measure the same
// thing.
//
//   bench_gendata tree big|small SEED DIR   the tree of a display's data areas under DIR
//                                            (DIR/home/data/..., DIR/opt/OEM/data/...)
//   bench_gendata blob MEBIBYTES SEED FILE  one large file for the digest timing
//
// The tree looks like what a display in the field carries: thousands of per-object
// directories named by their identifier, each with a few small files of mixed
// compressibility (record text, position tracks, preview images, coverage grids), a few
// dozen multi-megabyte text logs, and some large incompressible map files. The "small"
// set has the same kinds of files, about ten times less of them.
//
// Only the 64-bit Mersenne twister's raw output is used (its sequence is fixed by the
// C++ standard); the library's distributions may differ between implementations.

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class Random
{
public:
    explicit Random(std::uint64_t seed) : engine(seed) {}

    std::uint64_t Next() { return engine(); }

    // Uniform enough over [low, high] for data generation.
    std::int64_t Between(std::int64_t low, std::int64_t high)
    {
        return low + static_cast<std::int64_t>(engine() % static_cast<std::uint64_t>(high - low + 1));
    }

    bool Chance(int percent) { return Between(0, 99) < percent; }

    void Fill(std::string &buffer, std::size_t size)
    {
        buffer.resize(size);
        std::size_t i = 0;
        for (; i + 8 <= size; i += 8) {
            const std::uint64_t v = engine();
            std::memcpy(&buffer[i], &v, 8);
        }
        if (i < size) {
            const std::uint64_t v = engine();
            std::memcpy(&buffer[i], &v, size - i);
        }
    }

private:
    std::mt19937_64 engine;
};

struct Scale
{
    int objects;
    int logs;
    int maps;
    std::int64_t mapBytes;
};

// Every file and directory gets a fixed time so that the archives are reproducible.
constexpr std::int64_t kBaseTime = 1686000000; // June 2023, a season of field data

struct Writer
{
    std::vector<std::pair<std::string, std::int64_t>> stamps;
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;

    void File(const fs::path &path, const std::string &data, std::int64_t time, mode_t mode = 0644)
    {
        fs::create_directories(path.parent_path());
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
        if (fd < 0) {
            std::fprintf(stderr, "bench_gendata: cannot create %s: %s\n", path.c_str(), std::strerror(errno));
            std::exit(1);
        }
        std::size_t done = 0;
        while (done < data.size()) {
            const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
            if (n <= 0) {
                std::fprintf(stderr, "bench_gendata: cannot write %s: %s\n", path.c_str(), std::strerror(errno));
                std::exit(1);
            }
            done += static_cast<std::size_t>(n);
        }
        ::close(fd);
        ::chmod(path.c_str(), mode);
        stamps.emplace_back(path.string(), time);
        bytes += data.size();
        ++files;
    }

    void Directory(const fs::path &path, std::int64_t time)
    {
        fs::create_directories(path);
        stamps.emplace_back(path.string(), time);
    }

    // Files first, then directories deepest first, so creating children does not
    // move a directory's time again. Directories made on the way get `fallback`.
    void ApplyTimes(const fs::path &root, std::int64_t fallback)
    {
        std::vector<std::pair<std::string, std::int64_t>> dirs;
        std::set<std::string> stamped;
        for (const auto &[path, time] : stamps) {
            if (fs::is_directory(path)) {
                dirs.emplace_back(path, time);
                stamped.insert(path);
            } else {
                SetTime(path, time);
            }
        }
        for (const auto &entry : fs::recursive_directory_iterator(root)) {
            if (entry.is_directory() && !stamped.count(entry.path().string()))
                dirs.emplace_back(entry.path().string(), fallback);
        }
        std::sort(dirs.begin(), dirs.end(),
                  [](const auto &a, const auto &b) { return a.first.size() > b.first.size(); });
        for (const auto &[path, time] : dirs)
            SetTime(path, time);
    }

    static void SetTime(const std::string &path, std::int64_t time)
    {
        struct timespec times[2];
        times[0].tv_sec = static_cast<time_t>(time);
        times[0].tv_nsec = 0;
        times[1] = times[0];
        ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
    }
};

std::string Guid(Random &random)
{
    const std::uint64_t hi = (random.Next() & 0xffffffffffff0fffULL) | 0x0000000000004000ULL;
    const std::uint64_t lo = (random.Next() & 0x3fffffffffffffffULL) | 0x8000000000000000ULL;
    char text[40];
    std::snprintf(text, sizeof text, "%08" PRIx64 "-%04" PRIx64 "-%04" PRIx64 "-%04" PRIx64 "-%012" PRIx64,
                  hi >> 32, (hi >> 16) & 0xffff, hi & 0xffff, lo >> 48, static_cast<std::uint64_t>(lo & 0xffffffffffffULL));
    return text;
}

const char *const kCrops[] = {"Corn", "Soybeans", "Wheat", "Canola", "Barley", "Cotton", "Oats", "Sorghum"};
const char *const kKinds[] = {"Field", "Boundary", "Guidance Line", "Prescription", "Coverage", "Flag"};
const char *const kSources[] = {"CAN1", "CAN2", "GPS", "TASK", "UI", "IO", "SECTION", "RATE"};
const char *const kWords[] = {
    "implement", "speed", "section", "rate", "target", "applied", "heading", "status", "valve",
    "pressure", "boom", "height", "width", "overlap", "correction", "fix", "lost", "restored",
    "ok", "warning", "switch", "on", "off", "master", "auto", "manual", "swath", "pass"};

// A record file of an object: mostly fixed markup with a few varying values, so it
// compresses well, as the display's XML records do.
std::string ObjectRecord(Random &random, const std::string &guid, int index)
{
    std::string text;
    char line[256];
    std::snprintf(line, sizeof line,
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<object guid=\"{%s}\" kind=\"%s\" revision=\"%d\">\n",
                  guid.c_str(), kKinds[random.Between(0, 5)], static_cast<int>(random.Between(1, 40)));
    text += line;
    std::snprintf(line, sizeof line, "  <name>%s %s %d</name>\n  <crop>%s</crop>\n",
                  kKinds[random.Between(0, 5)], kCrops[random.Between(0, 7)], index,
                  kCrops[random.Between(0, 7)]);
    text += line;
    const int properties = static_cast<int>(random.Between(10, 80));
    for (int i = 0; i < properties; ++i) {
        std::snprintf(line, sizeof line, "  <property name=\"%s_%s\" value=\"%.4f\" unit=\"%s\"/>\n",
                      kWords[random.Between(0, 27)], kWords[random.Between(0, 27)],
                      static_cast<double>(random.Between(0, 10000000)) / 1000.0,
                      random.Chance(50) ? "m" : "ha");
        text += line;
    }
    text += "</object>\n";
    return text;
}

// A position track: little-endian records of a slowly moving machine. The high bytes
// repeat, the low ones are noise, so it compresses to roughly half.
std::string Track(Random &random, std::size_t points)
{
    std::string data;
    data.reserve(points * 16);
    std::int32_t lat = static_cast<std::int32_t>(random.Between(400000000, 480000000));
    std::int32_t lon = static_cast<std::int32_t>(random.Between(-1000000000, -900000000));
    std::uint32_t time = static_cast<std::uint32_t>(random.Between(0, 1000000));
    for (std::size_t i = 0; i < points; ++i) {
        lat += static_cast<std::int32_t>(random.Between(-300, 300));
        lon += static_cast<std::int32_t>(random.Between(-300, 300));
        time += 200;
        const std::uint16_t speed = static_cast<std::uint16_t>(random.Between(700, 1300));
        const std::uint16_t flags = static_cast<std::uint16_t>(random.Chance(95) ? 0x00ff : random.Between(0, 0xffff));
        char record[16];
        std::memcpy(record, &lat, 4);
        std::memcpy(record + 4, &lon, 4);
        std::memcpy(record + 8, &time, 4);
        std::memcpy(record + 12, &speed, 2);
        std::memcpy(record + 14, &flags, 2);
        data.append(record, 16);
    }
    return data;
}

// A coverage grid: mostly zero cells with runs of covered ones; compresses very well.
std::string Coverage(Random &random, std::size_t size)
{
    std::string data(size, '\0');
    std::size_t at = 0;
    while (at < size) {
        at += static_cast<std::size_t>(random.Between(64, 2048));
        const std::size_t run = static_cast<std::size_t>(random.Between(16, 512));
        for (std::size_t i = at; i < std::min(size, at + run); ++i)
            data[i] = static_cast<char>(1 + (random.Next() & 3));
        at += run;
    }
    return data;
}

// A text log of CAN and task events, as the display writes all day long.
std::string Log(Random &random, std::size_t size)
{
    std::string text;
    text.reserve(size + 256);
    std::int64_t t = kBaseTime + random.Between(0, 86400 * 90);
    char line[256];
    while (text.size() < size) {
        t += random.Between(0, 3);
        const time_t seconds = static_cast<time_t>(t);
        struct tm parts;
        gmtime_r(&seconds, &parts);
        int n = static_cast<int>(std::strftime(line, sizeof line, "%Y-%m-%d %H:%M:%S", &parts));
        n += std::snprintf(line + n, sizeof line - static_cast<std::size_t>(n), ".%03d [%s] %s %s=%.2f %s %d\n",
                           static_cast<int>(random.Between(0, 999)), kSources[random.Between(0, 7)],
                           kWords[random.Between(0, 27)], kWords[random.Between(0, 27)],
                           static_cast<double>(random.Between(0, 200000)) / 100.0,
                           kWords[random.Between(0, 27)], static_cast<int>(random.Between(0, 48)));
        text.append(line, static_cast<std::size_t>(n));
    }
    return text;
}

int MakeTree(const std::string &size, std::uint64_t seed, const fs::path &root)
{
    Scale scale{};
    if (size == "big")
        scale = {2800, 36, 3, 40LL << 20};
    else if (size == "small")
        scale = {280, 4, 1, 12LL << 20};
    else {
        std::fprintf(stderr, "bench_gendata: size must be big or small\n");
        return 2;
    }

    Random random(seed);
    Writer writer;
    const fs::path data = root / "home/data";
    const fs::path oem = root / "opt/OEM/data";
    std::string buffer;

    for (int i = 0; i < scale.objects; ++i) {
        const std::string guid = Guid(random);
        const fs::path dir = data / "objects" / guid;
        const std::int64_t time = kBaseTime + random.Between(0, 86400 * 120);
        writer.Directory(dir, time);
        writer.File(dir / "object.xml", ObjectRecord(random, guid, i), time);
        writer.File(dir / "track.bin", Track(random, static_cast<std::size_t>(random.Between(300, 3700))), time);
        if (random.Chance(35)) {
            random.Fill(buffer, static_cast<std::size_t>(random.Between(8 << 10, 48 << 10)));
            writer.File(dir / "preview.png", buffer, time);
        }
        if (random.Chance(25))
            writer.File(dir / "coverage.dat", Coverage(random, static_cast<std::size_t>(random.Between(16 << 10, 64 << 10))), time);
    }

    for (int i = 0; i < scale.logs; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "%s-%03d.log", kSources[i % 8], i);
        const std::size_t bytes = static_cast<std::size_t>(random.Between(2 << 20, 5 << 20));
        writer.File(data / "logs" / name, Log(random, bytes), kBaseTime + random.Between(0, 86400 * 120));
    }

    for (int i = 0; i < scale.maps; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "region-%02d.map", i + 1);
        random.Fill(buffer, static_cast<std::size_t>(scale.mapBytes));
        writer.File(oem / "maps" / name, buffer, kBaseTime + random.Between(0, 86400 * 30));
    }

    // The handful of small settings and database files every display has.
    writer.File(oem / "config/display.ini",
                "[Display]\nBrightness=80\nUnits=metric\nLanguage=en_US\n", kBaseTime, 0644);
    // The configuration database lives outside the data areas and is restored all the same.
    writer.File(root / "opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite",
                Coverage(random, 256 << 10), kBaseTime, 0600);
    writer.File(data / "settings/implements.xml", ObjectRecord(random, Guid(random), 0), kBaseTime);
    writer.Directory(data / "export", kBaseTime);
    writer.Directory(data / "objects", kBaseTime);
    writer.Directory(data / "logs", kBaseTime);
    writer.Directory(data, kBaseTime);
    writer.Directory(oem, kBaseTime);
    writer.ApplyTimes(root, kBaseTime);

    std::printf("%" PRIu64 " files, %.1f MiB\n", writer.files, static_cast<double>(writer.bytes) / (1 << 20));
    return 0;
}

int MakeBlob(std::int64_t mebibytes, std::uint64_t seed, const fs::path &path)
{
    Random random(seed);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        std::fprintf(stderr, "bench_gendata: cannot create %s: %s\n", path.c_str(), std::strerror(errno));
        return 1;
    }
    std::string buffer;
    for (std::int64_t i = 0; i < mebibytes; ++i) {
        random.Fill(buffer, 1 << 20);
        if (::write(fd, buffer.data(), buffer.size()) != static_cast<ssize_t>(buffer.size())) {
            std::fprintf(stderr, "bench_gendata: cannot write %s: %s\n", path.c_str(), std::strerror(errno));
            ::close(fd);
            return 1;
        }
    }
    ::close(fd);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 5 && std::strcmp(argv[1], "tree") == 0)
        return MakeTree(argv[2], std::strtoull(argv[3], nullptr, 10), argv[4]);
    if (argc == 5 && std::strcmp(argv[1], "blob") == 0)
        return MakeBlob(std::strtoll(argv[2], nullptr, 10), std::strtoull(argv[3], nullptr, 10), argv[4]);
    std::fprintf(stderr,
                 "usage: bench_gendata tree big|small SEED DIR\n"
                 "       bench_gendata blob MEBIBYTES SEED FILE\n");
    return 2;
}
