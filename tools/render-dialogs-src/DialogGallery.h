#pragma once
// Every kind of dialog of the family, built the way the display builds them, and what a
// person would see wrong in one: a text that does not fit its label, a caption that does
// not fit its button, a box that is not centred on its screen. The picture book
// (tools/render-dialogs) draws the set; the dialog test checks the same set.

#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace Gallery {

// The languages the set is drawn in: the program's own texts come from the shipped
// translation, the sample contents from a table of their own.
enum class Language { English, German };

struct Kind
{
    QString name; // file-name friendly, e.g. "message-failed"
    // Builds and shows the dialogs of this kind, bottom first; the last one is on top.
    std::function<QList<QWidget *>(Language)> show;
};

// The whole set, in a fixed order.
QList<Kind> Kinds();

// The restore program's application font (16 point); call once after the application exists.
void UseDisplayFont();

// Installs the translator for the language from the compiled translation file (a .qm file);
// English needs none. Returns false when the file cannot be loaded.
bool UseLanguage(Language language, const QString &germanQmFile);

// What is wrong with a shown window, one line per fault; empty when nothing is. Looks at the
// window's place on its screen and at every visible label and button inside it.
QStringList Problems(QWidget *window);

// Hides and deletes the dialogs a Kind showed, top first.
void Dismiss(QList<QWidget *> &shown);

} // namespace Gallery
