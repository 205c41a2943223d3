#include "DataFileHeader.h"

#include "Stream.h"

#include <boost/format.hpp>

#include <algorithm>
#include <cstdint>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cstdio>
#include <ctime>
#include <limits>
#include <locale.h>
#include <time.h>

namespace {

// Written with its two trailing blanks; read back, a field is compared with the leading
// characters of this text only.
const char kCompanyMark[] = "NORTHFIELD TERMINALS  ";
const char kManufacturer[] = "NORTHFIELD TERMINALS, INC.";
const char kFreshDateText[] = "0";
const char kFreshContentKind = ' ';

const char kDateFormat[] = "%m%d%Y%I%M%S%p";
// Older writers left the AM/PM marker off.
const char kDateFormatWithoutMarker[] = "%m%d%Y%I%M%S";

const char *const kFileTypes[DataFileHeader::kFileTypeCount] = {
    "YLD FILE",
    "RM7700 LOG FILE 1.0",
    "RM7700 TARGET RASTER",
    "RM7700 BOUNDARY FILE",
    "RM7700 TEMP BOUNDARY FILE",
    "RM7700 NAVIGATION FILE",
    "RM7700 COTTON YIELD",
    "RM7700 COTTON SUMMARY",
    "FIRMWARE II",
    "ALT BOUNDARY 3.0",
    "LOG FILE 2004",
    "LOG FILE 2006",
    "LEGEND 1.0",
    "Mark Log File",
    "Map Log File",
    "CORVANE DATA BACKUP",
    // Index 16 has no name in this table. The empty row is never found by a lookup,
    // because an empty name matches row 0 first.
    "",
    "ALT GUIDANCE",
    "Mark Log File 2",
    "CORVANE ERROR LOGS",
    "CORVANE PRESCRIPTION",
    "GUIDANCE CACHE FILE",
    "Talon Alert Log",
    "Talon DB File",
    "Embedded Display Data Backup",
    "Reference Strip File",
    "User Defined List File",
    "Guidance Smart Config File",
    "REFERENCE FILE",
    "File Collection Interchange",
};

std::string &DefaultApplicationText()
{
    static std::string text;
    return text;
}

// The date is part of the file format, not a user-facing text: AM/PM must be the same
// whatever locale the program runs in.
class CLocaleScope
{
public:
    CLocaleScope()
        : m_c(newlocale(LC_ALL_MASK, "C", locale_t(nullptr)))
        , m_previous(m_c ? uselocale(m_c) : locale_t(nullptr))
    {
    }
    ~CLocaleScope()
    {
        if (m_c) {
            uselocale(m_previous);
            freelocale(m_c);
        }
    }
    CLocaleScope(const CLocaleScope &) = delete;
    CLocaleScope &operator=(const CLocaleScope &) = delete;

private:
    locale_t m_c;
    locale_t m_previous;
};

// Parses a header date as local time; false when neither format fits.
bool ParseDate(const std::string &text, std::int64_t &timestamp)
{
    CLocaleScope c;
    struct tm calendar = {};
    const char *end = strptime(text.c_str(), kDateFormat, &calendar);
    if (end == nullptr || *end != '\0') {
        calendar = {};
        if (strptime(text.c_str(), kDateFormatWithoutMarker, &calendar) == nullptr)
            return false;
    }
    calendar.tm_isdst = -1;
    // time_t is 64-bit in every build (the top-level CMakeLists asks for it), so dates
    // after 2038 convert on 32-bit processors too.
    timestamp = mktime(&calendar);
    return true;
}

std::string FormatDate(std::int64_t timestamp)
{
    if (timestamp == 0) {
        struct timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        timestamp = now.tv_sec;
    }
    const std::time_t seconds = static_cast<std::time_t>(timestamp);
    struct tm calendar = {};
    if (seconds != timestamp || localtime_r(&seconds, &calendar) == nullptr)
        return std::string();
    // The year always takes four digits, zero-padded: "%Y" prints the year 20 as "20",
    // which shifted every later field and read back as another date. A year beyond 9999
    // does not fit the field at all.
    if (calendar.tm_year + 1900 < 0 || calendar.tm_year + 1900 > 9999)
        return std::string();
    CLocaleScope c;
    char monthDay[16] = {}, time[16] = {};
    if (strftime(monthDay, sizeof monthDay, "%m%d", &calendar) == 0
        || strftime(time, sizeof time, "%I%M%S%p", &calendar) == 0)
        return std::string();
    char text[17] = {};
    std::snprintf(text, sizeof text, "%s%04d%s", monthDay, calendar.tm_year + 1900, time);
    return text;
}

} // namespace

const char *DataFileHeader::FileTypeTableName(int index)
{
    return index >= 0 && index < kFileTypeCount ? kFileTypes[index] : nullptr;
}

int DataFileHeader::LookUpFileType(const std::string &name)
{
    for (int index = 0; index < kFileTypeCount; ++index) {
        if (std::strncmp(name.c_str(), kFileTypes[index], name.size()) == 0)
            return index;
    }
    return -1;
}

int DataFileHeader::HeaderLength(int version)
{
    switch (version) {
    case 1:
        return 144;
    case 2:
        return 164;
    }
    return 0;
}

int DataFileHeader::BackupHeaderLength(int version)
{
    switch (version) {
    case 1:
        return 188;
    case 2:
        return 204;
    }
    return 0;
}

void DataFileHeader::SetDefaultApplication(const std::string &text)
{
    DefaultApplicationText() = text;
}

std::string DataFileHeader::DefaultApplication()
{
    return DefaultApplicationText();
}

DataFileHeader::DataFileHeader(int fileType)
{
    m_company.Set(kCompanyMark);
    SetHeaderVersion(1);
    m_application.Set(DefaultApplicationText());
    m_manufacturer.Set(kManufacturer);
    SetFileType(fileType);
    m_dateText.Set(kFreshDateText);
    SetContentKind(kFreshContentKind);
}

void DataFileHeader::SetFileType(int index)
{
    if (index == -1) {
        m_fileTypeName.Set("");
        m_fileType = -1;
    } else if (index >= 0 && index < kFileTypeCount) {
        m_fileTypeName.Set(kFileTypes[index]);
        m_fileType = index;
    }
}

void DataFileHeader::SetFileTypeName(const std::string &name)
{
    m_fileTypeName.Set(name);
    m_fileType = LookUpFileType(m_fileTypeName.Value());
}

void DataFileHeader::SetHeaderVersion(unsigned long version)
{
    m_headerVersion = static_cast<std::int32_t>(version);
    m_versionText.Set((boost::format("%010lu") % version).str());
}

void DataFileHeader::SetContentKind(char kind)
{
    m_contentKind.Set(std::string(1, kind));
}

void DataFileHeader::SetChecksum(const std::vector<std::uint8_t> &checksum)
{
    m_checksum.Set(std::string(checksum.begin(), checksum.end()));
}

void DataFileHeader::SetChecksum(const unsigned char *checksum)
{
    m_checksum.Set(reinterpret_cast<const char *>(checksum));
}

std::vector<std::uint8_t> DataFileHeader::Checksum() const
{
    const std::string &value = m_checksum.Value();
    return std::vector<std::uint8_t>(value.begin(), value.end());
}

std::size_t DataFileHeader::Checksum(unsigned char *buffer) const
{
    const std::string &value = m_checksum.Value();
    std::memcpy(buffer, value.data(), value.size());
    return value.size();
}

void DataFileHeader::Read(Stream::In &in)
{
    m_company.Read(in);
    m_valid = true;
    // A prefix test over what was read: an empty company field passes.
    const std::string &company = m_company.Value();
    m_valid = std::strncmp(company.c_str(), kCompanyMark, company.size()) == 0;
    if (!m_valid)
        return;

    m_versionText.Read(in);
    const char *versionText = m_versionText.Value().c_str();
    char *rest = nullptr;
    // Read as the display's 32-bit strtol reads it, on every host: a number beyond 32 bits
    // saturates (an unknown version) instead of keeping its low bits.
    const long long number = std::strtoll(versionText, &rest, 10);
    m_headerVersion = static_cast<std::int32_t>(
        std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
    // A malformed version text counts for nothing by itself: the next field sets the
    // header valid again and the leading digits are what is used.
    m_valid = *versionText != '\0' && *rest == '\0';

    m_application.Read(in);
    m_valid = true;
    m_manufacturer.Read(in);
    m_valid = true;
    m_fileTypeName.Read(in);
    m_valid = true;
    m_fileType = LookUpFileType(m_fileTypeName.Value());

    m_dateText.Read(in);
    if (!ParseDate(m_dateText.Value(), m_timestamp))
        m_valid = false;

    if (m_headerVersion == 2) {
        FixedText<3, '\xFF'> reserved;
        reserved.Read(in);
        m_valid = true;
        m_contentKind.Read(in);
        m_valid = true;
        m_checksum.Read(in);
        m_valid = true;
    }
}

void DataFileHeader::Write(Stream::Out &out)
{
    m_company.Write(out);
    m_versionText.Write(out);
    m_application.Write(out);
    m_manufacturer.Write(out);
    m_fileTypeName.Write(out);

    m_dateText.Set(FormatDate(m_timestamp));
    m_dateText.Write(out);

    if (m_headerVersion == 2) {
        const FixedText<3, '\xFF'> reserved;
        reserved.Write(out);
        m_contentKind.Write(out);
        m_checksum.Write(out);
    }
}

bool operator==(const DataFileHeader &a, const DataFileHeader &b)
{
    return a.m_valid == b.m_valid && a.m_headerVersion == b.m_headerVersion
        && a.m_fileType == b.m_fileType && a.m_company.Value() == b.m_company.Value()
        && a.m_versionText.Value() == b.m_versionText.Value()
        && a.m_application.Value() == b.m_application.Value()
        && a.m_manufacturer.Value() == b.m_manufacturer.Value()
        && a.m_fileTypeName.Value() == b.m_fileTypeName.Value()
        && a.m_dateText.Value() == b.m_dateText.Value();
}

bool operator!=(const DataFileHeader &a, const DataFileHeader &b)
{
    return !(a == b);
}
