#pragma once
// File-system helpers for the display's data partition: touching marker files, sizing,
// collecting and removing trees, moving and copying through the system's "mv" and "cp",
// cleaning names for file names and shell command lines, and the per-object directories
// under "/home/data/objects/", each named after the object's braced UUID text.
//
// Listings never include hidden entries (names beginning with a full stop) or special
// files (sockets, pipes, dangling links): such entries are not counted, collected,
// removed or moved. Nothing here shows or logs a message; failures come back as false or
// 0 where there is a result and are ignored otherwise.

#include <QDir>
#include <QFileInfo>
#include <QFileInfoList>
#include <QString>
#include <QStringList>

#include <string>

class Guid;

// Refreshes the access and modification times of `path`, creating it when it is missing.
// A file created here has permission bits 0. True when the times were set or the file was
// created; false only when creating it failed (for example in a missing directory). Any
// other failure to set the times counts as success: only a missing file is repaired.
bool TouchFile(const QString &path);

// Bytes under `path`, following symbolic links; with `countDirectories` each directory's
// own size is added too. A plain file gives its size, a missing path 0.
quint64 DirectorySize(const QString &path, bool countDirectories);

// As DirectorySize without directory sizes, and appends the canonical path of every
// plain file met to `files`.
quint64 CollectFiles(const QString &path, QStringList &files);
// CollectFiles for each path in order; the sum of their results.
quint64 CollectFilesOfList(const QStringList &paths, QStringList &files);

// Removes a file, or a directory with everything listed in it. A directory still holding
// hidden entries stays (with those entries). Links are removed, never followed.
void RemoveRecursively(const QFileInfo &info);

// Creates `path` and its missing parents with mode 0775 (the byte-string counterpart of
// QDir::mkpath). 0 when the path already existed (whatever its type) or was created,
// otherwise the result of its mkdir (-1).
int MakePath(const std::string &path);

// Runs "mv source destination" / "cp source destination" (no options, so directories
// are not copied) and waits for it. True when the program exits with 0, which includes
// the case that it could not be started at all.
bool MoveFile(const QString &source, const QString &destination);
bool CopyFile(const QString &source, const QString &destination);

// Replaces each of / \ : * ? " < > | with "_". Nothing else changes.
QString SanitizeFileName(const QString &text);

// Puts a backslash before each character a shell would treat specially (including blank
// and tab), so the result can stand on a command line as one word.
QString ShellEscape(const QString &text);

// The regular expression of a braced lower-case UUID text.
QString GuidPattern();

// Removes the file at `path`; false when that fails. When the path lies in an object
// directory written as "/home/data/objects/{uuid}" (single slash), that directory is
// removed as well if it has become empty.
bool RemoveFileAndObjectDirectory(const QString &path);

// The object directory of `uuid`: "/home/data/objects//{uuid}/". The doubled slash is
// intended (the kernel reads it as one); compare such paths as paths, not as strings.
// With `create`, a missing directory is created with its parents.
QString ObjectDirectory(const Guid &uuid, bool create);
// ObjectDirectory(uuid, create) + fileName.
QString ObjectFilePath(const Guid &uuid, const QString &fileName, bool create);
// Makes sure the object directory exists.
void CreateObjectDirectory(const Guid &uuid);
// Removes `fileName` from the object directory, then the directory if it has become
// empty. The result is that of the file removal.
bool RemoveObjectFile(const Guid &uuid, const QString &fileName);
// Renames the object directory of `oldUuid`, if there is one, to that of `newUuid`.
void RenameObjectDirectory(const Guid &oldUuid, const Guid &newUuid);
// Moves the sub-directories of `fromUuid`'s object directory into `toUuid`'s (created if
// needed). Sub-directories whose names already exist there, and plain files, stay in the
// source, and so does the source directory itself.
void MergeObjectDirectory(const Guid &fromUuid, const Guid &toUuid);
// The object's image: among the readable and writable plain files named "image.*" (any
// case, links excluded, sorted by name ignoring case), the first whose suffix is exactly
// "png", else the first one; its canonical path. Without any, the object directory's
// "image.png", which need not exist. Creates the object directory.
QString ObjectImagePath(const Guid &uuid);
// The entries, listed with `filters`, of every object directory in name order.
QFileInfoList ListObjectEntries(QDir::Filters filters);
