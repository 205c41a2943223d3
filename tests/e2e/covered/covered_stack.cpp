// Two dialogs of the family, one over the other, for the end-to-end case that taps the
// covered one: the gallery's standard dialog with contents under its question (the program
// itself never shows two at once). Prints each button of the covered dialog that reacts to
// a press and ends once the question is answered: status 0 when the covered dialog saw no
// press, 1 when it did.
#include "DialogGallery.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    // The recording style, asked for by name as qvb-restore asks for the display's.
    QApplication::setStyle(QStringLiteral("talon_style"));
    Gallery::UseDisplayFont();
    QList<QWidget *> shown;
    for (const Gallery::Kind &kind : Gallery::Kinds()) {
        if (kind.name == QLatin1String("covered-stack"))
            shown = kind.show(Gallery::Language::English);
    }
    auto *question = shown.size() == 2 ? qobject_cast<QDialog *>(shown.last()) : nullptr;
    if (!question)
        return 2;
    int reactions = 0;
    for (QAbstractButton *button : shown.first()->findChildren<QAbstractButton *>()) {
        QObject::connect(button, &QAbstractButton::pressed, [&reactions, button] {
            std::printf("the covered dialog's %s reacted\n", qPrintable(button->objectName()));
            ++reactions;
        });
    }
    QObject::connect(question, &QDialog::finished, &app, &QApplication::quit);
    app.exec();
    return reactions == 0 ? 0 : 1;
}
