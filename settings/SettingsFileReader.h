#pragma once
// The reading loop shared by the line-oriented settings readers ("/etc/sysconfig/i18n",
// "/etc/sysconfig/clock"). Private to the settings module.

#include <QString>

#include <functional>

namespace Settings {

// Largest settings file that is read at all. The display writes these files with a few
// short lines; anything bigger was not written by it and is treated like an unreadable
// file, so a stray multi-gigabyte file cannot stall start-up or exhaust memory.
constexpr qint64 kMaximumSettingsFileSize = 64 * 1024;

// Hands the lines of the file at `path` to `examine` in order, until `examine` returns
// true. The end-of-stream test comes before each examination, so the file's last line is
// never examined (see docs/behaviour.md); the readers depend on that and the files the display writes are shaped
// around it. A missing, unreadable, oversized or non-regular file (a directory, a pipe, a
// device) examines nothing.
void ForEachLineButLast(const QString &path, const std::function<bool(const QString &line)> &examine);

} // namespace Settings
