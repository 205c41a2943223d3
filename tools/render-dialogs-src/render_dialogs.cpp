// Draws every kind of dialog of the family in English and German, for people to look at.
//
//   qvb_render_dialogs <output-directory> <german .qm file>
//
// (tools/render-dialogs builds it and runs it on Qt's vnc platform at 1024 by 768 pixels, the
// display's screen.) Each picture is the whole screen as it shows the kind, the framebuffer
// as the platform composed it, so a box that is not centred or a text that is cut shows as such. The
// faults the dialog test looks for are printed as well; the exit status is 1 when any is
// found.

#include "DialogGallery.h"

#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QTextStream>
#include <QThread>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <output-directory> <german .qm file>\n", argv[0]);
        return 2;
    }
    Gallery::UseDisplayFont();
    const QDir out(QString::fromLocal8Bit(argv[1]));
    const QString germanQm = QString::fromLocal8Bit(argv[2]);
    QTextStream report(stdout);
    int faults = 0;

    const struct {
        Gallery::Language language;
        const char *folder;
    } languages[] = {{Gallery::Language::English, "en"}, {Gallery::Language::German, "de"}};
    for (const auto &language : languages) {
        if (!Gallery::UseLanguage(language.language, germanQm)) {
            std::fprintf(stderr, "cannot load the translation %s\n", argv[2]);
            return 1;
        }
        const QString folder = out.absoluteFilePath(QString::fromLatin1(language.folder));
        if (!QDir().mkpath(folder)) {
            std::fprintf(stderr, "cannot create %s\n", qPrintable(folder));
            return 1;
        }
        for (const Gallery::Kind &kind : Gallery::Kinds()) {
            QList<QWidget *> shown = kind.show(language.language);
            // Give the platform time to compose what was shown before reading it back.
            for (int i = 0; i < 10; ++i) {
                QApplication::processEvents();
                QThread::msleep(20);
            }
            const QString path = folder + QLatin1Char('/') + kind.name + QStringLiteral(".png");
            const QPixmap screen = QGuiApplication::primaryScreen()->grabWindow(0);
            if (!screen.save(path, "PNG")) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
                return 1;
            }
            report << path << '\n';
            for (QWidget *window : shown) {
                for (const QString &problem : Gallery::Problems(window)) {
                    report << "  FAULT: " << problem << '\n';
                    ++faults;
                }
            }
            Gallery::Dismiss(shown);
        }
    }
    report << faults << " faults found\n";
    return faults == 0 ? 0 : 1;
}
