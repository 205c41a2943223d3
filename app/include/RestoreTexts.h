#pragma once
// The texts the restore program shows, translated for the display's language. One home for
// each, so the program and the dialog pictures and checks show the same words.

#include <QString>

namespace RestoreTexts {

QString RestoreTitle();                       // the progress dialog's and open failure's title
QString PleaseWait();                         // the progress dialog's text
QString OpenFailure(const QString &path);     // the backup file cannot be opened
QString FailedTitle();
QString FailedText();
QString RestoredTitle();
QString RestoredText();

} // namespace RestoreTexts
