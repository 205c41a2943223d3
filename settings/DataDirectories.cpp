#include "DataDirectories.h"

#include <QDir>
#include <QString>

void EnsureDataDirectories()
{
    static const char *const directories[] = {
        "/home/data/log_data/", "/home/data/objects/", "/home/data/cropsensor/",
        "/home/data/userlists/", "/home/data/reference/",
    };
    for (const char *directory : directories) {
        const QString path = QString::fromLatin1(directory);
        if (!QDir(path).exists())
            QDir().mkpath(path);
    }
}
