// qvb-restore: restores a display data backup. Started with one argument, the path of the
// backup file (typically on a removable storage device); shows the progress, then the
// outcome, and ends when the outcome message has been dismissed. The exit status is that
// of the event loop, 0 also after a failed restore: the message tells the user.

#include "Language.h"
#include "RestoreInterface.h"

#include <QApplication>
#include <QFont>
#include <QString>

namespace {

// The display's embedded window system let a program pick its window decoration by name
// before the application object existed. Qt 5 has no such request: its linuxfb and eglfs
// platforms, which the display family runs on, draw no decorations at all, and under a
// desktop X server the window manager alone decides. The step stays here, named, so that
// the start-up keeps its order and a platform that gains decorations has its place (see
// docs/behaviour.md).
void RequestWindowDecoration(const QString &name)
{
    Q_UNUSED(name);
}

// The program paints with Qt's raster engine alone. Under X, Qt's xcb platform would
// otherwise load its OpenGL integration at start-up (libGL, and with a software renderer
// Mesa and LLVM): some 50 ms before the progress dialog can appear, on a tool that never
// draws with OpenGL. A setting made by whoever started the program is kept. The display's
// own linuxfb and eglfs platforms do not read it (see docs/behaviour.md).
void SkipUnusedOpenGlIntegration()
{
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION"))
        qputenv("QT_XCB_GL_INTEGRATION", "none");
}

// Qt's linuxfb platform, which the display runs on, stretches the first window a
// program shows over the whole screen, for applications made of one full-screen window.
// Here the first window is the progress box (or the open-failure message), a 520 by 315
// box that must stand in the middle of the screen like every later one. A setting made
// by whoever started the program is kept (see docs/behaviour.md).
void KeepFirstWindowItsSize()
{
    if (!qEnvironmentVariableIsSet("QT_QPA_FB_FORCE_FULLSCREEN"))
        qputenv("QT_QPA_FB_FORCE_FULLSCREEN", "0");
}

} // namespace

int main(int argc, char *argv[])
{
    // The style and decoration are chosen by name before the application object exists.
    QApplication::setStyle(QStringLiteral("talon_style"));
    RequestWindowDecoration(QStringLiteral("talon_decoration"));
    SkipUnusedOpenGlIntegration();
    KeepFirstWindowItsSize();

    QApplication application(argc, argv);
    Language::Initialize();

    QFont font = QApplication::font();
    font.setPointSize(16);
    QApplication::setFont(font);

    // Deletes itself once the restore has ended.
    auto *restore = new RestoreInterface;
    // No argument count check: without an argument argv[1] is the terminating null entry,
    // an empty path, which the driver reports as a file it cannot open.
    restore->StartRestore(QString::fromUtf8(argv[1]));

    return application.exec();
}
