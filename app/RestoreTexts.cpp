#include "RestoreTexts.h"

#include <QCoreApplication>

namespace RestoreTexts {

QString RestoreTitle()
{
    return QCoreApplication::translate("Dialog Title", "Restore Memory");
}

QString PleaseWait()
{
    return QCoreApplication::translate(
        "Setup Text",
        "Please wait while the memory is being restored.  Do not remove the storage device.  "
        "The application will resume when the restore is complete.  "
        "(This may take several minutes.)");
}

QString OpenFailure(const QString &path)
{
    QString text = QCoreApplication::translate("File Info", "Cannot open file %1");
    // Started without an argument the path is empty: the place marker goes together with
    // one blank beside it, so no language shows a double blank or a blank at the end
    // (see docs/behaviour.md).
    if (path.isEmpty())
        return text.replace(QLatin1String(" %1"), QString())
            .replace(QLatin1String("%1 "), QString())
            .remove(QLatin1String("%1"));
    return text.arg(path, 0, QLatin1Char(' '));
}

QString FailedTitle()
{
    return QCoreApplication::translate("QVB restore failure", "QVB Restore Failed");
}

QString FailedText()
{
    return QCoreApplication::translate(
        "QVB restore failure", "The process of restoring a backup file failed.  Please try restoring the backup again.");
}

QString RestoredTitle()
{
    return QCoreApplication::translate("Restore Backup", "Backup Restored");
}

QString RestoredText()
{
    return QCoreApplication::translate("Restore Backup", "The system has been restored.");
}

} // namespace RestoreTexts
