// Renders each kind of dialog of the family to a PNG file, for people to look at.
//
//   QT_QPA_PLATFORM=offscreen qvb_render_dialogs <output-directory>
//
// (tools/render-dialogs builds and runs it.) The dialogs are shown without a window
// system and grabbed; "covered-under-message.png" puts a covered content dialog and the
// message above it on a 1024 by 768 screen, as the display would show them.

#include "Dialog.h"
#include "MessageDialog.h"
#include "ProgressDialog.h"
#include "StandardButtonsDialog.h"

#include <QApplication>
#include <QDir>
#include <QFont>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QTextStream>

#include <cstdio>

namespace {

const QString kWaitText = QStringLiteral(
    "Please wait while the memory is being restored.  Do not remove the storage device.  "
    "The application will resume when the restore is complete.  (This may take several "
    "minutes.)");

QString g_out;
QStringList g_written;

QPixmap Grab(QWidget *widget)
{
    widget->show();
    QApplication::processEvents();
    return widget->grab();
}

void Save(const QPixmap &pixmap, const QString &name)
{
    const QString path = g_out + QLatin1Char('/') + name;
    if (!pixmap.save(path, "PNG")) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        std::exit(1);
    }
    g_written << path;
}

void RenderAndDelete(Generic::Dialog *dialog, const QString &name)
{
    Save(Grab(dialog), name);
    dialog->hide();
    delete dialog;
}

// An 818 by 610 content dialog with a small form, like the display's setup pages.
Generic::StandardButtonsDialog *ContentDialog()
{
    auto *dialog = new Generic::StandardButtonsDialog(Generic::AcceptAndCancel);
    auto *contents = new QWidget;
    auto *form = new QFormLayout(contents);
    form->addRow(QStringLiteral("Display name"), new QLineEdit(QStringLiteral("Cab display 1")));
    form->addRow(QStringLiteral("Backup file"), new QLineEdit(QStringLiteral("/media/usb/display.qvb")));
    form->addRow(new QLabel(QStringLiteral("The backup replaces all data on this display.")));
    dialog->SetContents(contents, QStringLiteral("Restore Backup"));
    dialog->ApplyDefaultSize();
    return dialog;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <output-directory>\n", argv[0]);
        return 2;
    }
    // The restore program's application font.
    QFont font = QApplication::font();
    font.setPointSize(16);
    QApplication::setFont(font);

    g_out = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    if (!QDir().mkpath(g_out)) {
        std::fprintf(stderr, "cannot create %s\n", argv[1]);
        return 1;
    }

    using Generic::MessageDialog;
    RenderAndDelete(MessageDialog::CreateInformation(QStringLiteral("Backup Restored"),
                                                     QStringLiteral("The system has been restored.")),
                    QStringLiteral("message-information.png"));
    RenderAndDelete(MessageDialog::CreateWarning(
                        QStringLiteral("QVB Restore Failed"),
                        QStringLiteral("The process of restoring a backup file failed.  "
                                       "Please try restoring the backup again.")),
                    QStringLiteral("message-warning.png"));
    RenderAndDelete(MessageDialog::CreateQuestion(QStringLiteral("Restore Backup"),
                                                  QStringLiteral("Replace all data on this display "
                                                                 "with the backup?")),
                    QStringLiteral("message-question.png"));
    RenderAndDelete(MessageDialog::CreateWait(QStringLiteral("Please Wait"),
                                              QStringLiteral("Checking the storage device."), 0),
                    QStringLiteral("message-wait.png"));

    for (int percent : {0, 42, 100}) {
        auto *progress = new Generic::ProgressDialog;
        progress->SetTitle(QStringLiteral("Restore Memory"));
        progress->SetText(kWaitText);
        progress->SetProgressCount(percent);
        RenderAndDelete(progress, QStringLiteral("progress-%1.png").arg(percent, 3, 10, QLatin1Char('0')));
    }

    // A content dialog alone, then covered by a question shown over it.
    Generic::StandardButtonsDialog *content = ContentDialog();
    Save(Grab(content), QStringLiteral("content-dialog.png"));
    MessageDialog *question = MessageDialog::CreateQuestion(
        QStringLiteral("Restore Backup"), QStringLiteral("Replace all data on this display with the backup?"));
    const QPixmap top = Grab(question);
    const QPixmap covered = content->grab();
    QPixmap screen(1024, 768);
    screen.fill(Qt::black);
    {
        QPainter painter(&screen);
        painter.drawPixmap((1024 - covered.width()) / 2, (768 - covered.height()) / 2, covered);
        painter.drawPixmap((1024 - top.width()) / 2, (768 - top.height()) / 2, top);
    }
    Save(screen, QStringLiteral("covered-under-message.png"));
    delete question;
    delete content;

    QTextStream out(stdout);
    out << "Dialogs rendered to " << g_out << ":\n";
    for (const QString &path : g_written)
        out << "  " << path << '\n';
    return 0;
}
