#include "SettingsFileReader.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace Settings {

void ForEachLineButLast(const QString &path, const std::function<bool(const QString &line)> &examine)
{
    // Only plain files: opening a pipe would block and a device may never end.
    if (!QFileInfo(path).isFile())
        return;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    // Read one byte more than allowed to tell "exactly at the limit" from "over it".
    const QByteArray contents = file.read(kMaximumSettingsFileSize + 1);
    file.close();
    if (contents.size() > kMaximumSettingsFileSize)
        return;

    QTextStream in(contents, QIODevice::ReadOnly);
    QString line = in.readLine();
    while (!in.atEnd()) {
        if (examine(line))
            return;
        line = in.readLine();
    }
}

} // namespace Settings
