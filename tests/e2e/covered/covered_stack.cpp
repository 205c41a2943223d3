// The gallery's two dialogs, one covering the other (the program never shows two at once), for
// the end-to-end case that taps the covered one. Ends once the question on top is answered:
// status 0 when no button of the covered dialog saw a press (each that did is printed), 1 else.
#include "DialogGallery.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setStyle(QStringLiteral("talon_style"));   // the recording style, asked for as qvb-restore does
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
