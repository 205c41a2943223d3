// QtTools::Process: blocking and non-blocking runs, child priority, and the rule that
// nothing but standard input, output and error reaches a child.

#include "Process.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Descriptor number -> link target, from `ls -l /proc/self/fd` as run by the child.
QMap<int, QString> ParseFdListing(const QByteArray &listing)
{
    QMap<int, QString> result;
    for (const QByteArray &line : listing.split('\n')) {
        const int arrow = line.indexOf(" -> ");
        if (arrow < 0)
            continue;
        const QList<QByteArray> words = line.left(arrow).simplified().split(' ');
        result.insert(words.last().toInt(), QString::fromUtf8(line.mid(arrow + 4)));
    }
    return result;
}

// Holds descriptors the parent keeps open without close-on-exec: a file moved to 7,
// both ends of a pipe and a socket pair.
class OpenDescriptors
{
public:
    explicit OpenDescriptors(const QString &filePath)
    {
        const int file = ::open(filePath.toUtf8().constData(), O_RDWR | O_CREAT, 0600);
        // Moved to 7 unless that number is already taken by something of Qt's.
        if (file >= 0 && file != 7 && ::fcntl(7, F_GETFD) < 0) {
            fds << ::dup2(file, 7);
            ::close(file);
        } else if (file >= 0) {
            fds << file;
        }
        int pipeEnds[2];
        if (::pipe(pipeEnds) == 0)
            fds << pipeEnds[0] << pipeEnds[1];
        int sockets[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) == 0)
            fds << sockets[0] << sockets[1];
    }
    ~OpenDescriptors()
    {
        for (int fd : fds)
            ::close(fd);
    }
    QList<int> fds;
};

} // namespace

class TestProcess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void childSeesOnlyStandardDescriptors();
    void priorityOfChild_data();
    void priorityOfChild();
    void executeReportsExitCode();
    void argumentsPassedWithoutShell();
    void missingProgramFailsAtOnce();
    void startDoesNotBlock();
    void standardInputReachesChild();
    void commandCanBeReplaced();
    void deletesItselfWhenFinished();
};

void TestProcess::initTestCase()
{
    qRegisterMetaType<QProcess::ExitStatus>("QProcess::ExitStatus");
}

void TestProcess::childSeesOnlyStandardDescriptors()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString heldFile = dir.filePath(QStringLiteral("held-open"));
    OpenDescriptors held(heldFile);
    QCOMPARE(held.fds.size(), 5);
    const int heldFileFd = held.fds.first();

    // Control: a plain QProcess hands the same descriptors on, so the listing below can
    // see a leak when there is one.
    QProcess plain;
    plain.start(QStringLiteral("/bin/ls"), {QStringLiteral("-l"), QStringLiteral("/proc/self/fd")});
    QVERIFY(plain.waitForFinished(30000));
    const QMap<int, QString> leaked = ParseFdListing(plain.readAllStandardOutput());
    QVERIFY2(leaked.value(heldFileFd).endsWith(QStringLiteral("held-open")), qPrintable(leaked.value(heldFileFd)));

    QtTools::Process process(QStringLiteral("/bin/ls"),
                             {QStringLiteral("-l"), QStringLiteral("/proc/self/fd")});
    QVERIFY(process.Execute());
    QCOMPARE(process.exitCode(), 0);
    const QMap<int, QString> seen = ParseFdListing(process.readAllStandardOutput());
    QVERIFY(seen.contains(0) && seen.contains(1) && seen.contains(2));
    for (auto it = seen.cbegin(); it != seen.cend(); ++it) {
        if (it.key() <= 2)
            continue;
        // The only other entry is the directory "ls" itself opened to list.
        QVERIFY2(it.value().startsWith(QStringLiteral("/proc/")) && it.value().endsWith(QStringLiteral("/fd")),
                 qPrintable(QStringLiteral("descriptor %1 -> %2 reached the child").arg(it.key()).arg(it.value())));
    }
    QVERIFY(seen.size() <= 4);
    // The parent's own descriptors are untouched by what happened in the child.
    for (int fd : held.fds)
        QVERIFY(::fcntl(fd, F_GETFD) == 0);
}

void TestProcess::priorityOfChild_data()
{
    QTest::addColumn<int>("priority");
    QTest::newRow("inherits") << 0;
    QTest::newRow("lowered") << 10;
    QTest::newRow("lowest") << 19;
}

void TestProcess::priorityOfChild()
{
    QFETCH(int, priority);
    errno = 0;
    const int parentNice = getpriority(PRIO_PROCESS, 0);
    QtTools::Process process(QStringLiteral("/usr/bin/nice"), {}, priority);
    QCOMPARE(process.GetPriority(), priority);
    QVERIFY(process.Execute());
    const int childNice = process.readAllStandardOutput().trimmed().toInt();
    QCOMPARE(childNice, priority == 0 ? parentNice : priority);
    QCOMPARE(getpriority(PRIO_PROCESS, 0), parentNice);
}

void TestProcess::executeReportsExitCode()
{
    QtTools::Process process(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("sleep 0.3; exit 3")});
    QElapsedTimer timer;
    timer.start();
    QVERIFY(process.Execute());
    QVERIFY(timer.elapsed() >= 250);
    QCOMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 3);
}

void TestProcess::argumentsPassedWithoutShell()
{
    const QStringList arguments {QStringLiteral("a b"), QStringLiteral("'quoted'"),
                                 QStringLiteral("; rm -rf x"), QStringLiteral("$HOME"),
                                 QStringLiteral("-n"), QStringLiteral("Süd")};
    QtTools::Process process(QStringLiteral("/usr/bin/printf"),
                             QStringList {QStringLiteral("%s\\n")} + arguments);
    QVERIFY(process.Execute());
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()),
             arguments.join(QLatin1Char('\n')) + QLatin1Char('\n'));
}

void TestProcess::missingProgramFailsAtOnce()
{
    for (const QString &program : {QStringLiteral("/nonexistent/program"), QStringLiteral("no-such-program-qvb")}) {
        QtTools::Process process(program, {QStringLiteral("x")});
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!process.Execute());
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(process.error(), QProcess::FailedToStart);
        QCOMPARE(process.exitCode(), 0);
    }
    // A failed start does not stick: the next run reports its own exit code.
    QtTools::Process process(QStringLiteral("/nonexistent/program"), {});
    QVERIFY(!process.Execute());
    process.SetCommand(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("exit 6")});
    QVERIFY(process.Execute());
    QCOMPARE(process.exitCode(), 6);
}

void TestProcess::startDoesNotBlock()
{
    QtTools::Process process(QStringLiteral("/bin/sleep"), {QStringLiteral("1")});
    QSignalSpy finished(&process, SIGNAL(finished(int, QProcess::ExitStatus)));
    QElapsedTimer timer;
    timer.start();
    process.Start();
    QVERIFY(timer.elapsed() < 900);
    QVERIFY(process.state() != QProcess::NotRunning);
    QVERIFY(finished.wait(10000));
    QVERIFY(timer.elapsed() >= 900);
    QCOMPARE(process.exitCode(), 0);
}

void TestProcess::standardInputReachesChild()
{
    QtTools::Process process(QStringLiteral("/bin/cat"), {});
    process.Start();
    QVERIFY(process.waitForStarted(10000));
    process.write("through the pipe\n");
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.readAllStandardOutput(), QByteArray("through the pipe\n"));
}

void TestProcess::commandCanBeReplaced()
{
    QtTools::Process process;
    QCOMPARE(process.GetPriority(), 0);
    QVERIFY(process.GetProgram().isEmpty());
    QVERIFY(process.GetArguments().isEmpty());

    process.SetCommand(QStringLiteral("/bin/echo"), {QStringLiteral("first")});
    QVERIFY(process.Execute());
    QCOMPARE(process.readAllStandardOutput(), QByteArray("first\n"));
    process.SetCommand(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("echo second; exit 4")});
    QVERIFY(process.Execute());
    QCOMPARE(process.readAllStandardOutput(), QByteArray("second\n"));
    QCOMPARE(process.exitCode(), 4);
}

void TestProcess::deletesItselfWhenFinished()
{
    QPointer<QtTools::Process> process = new QtTools::Process(QStringLiteral("/bin/true"), {});
    process->SetDeleteWhenFinished();
    process->Start();
    QTRY_VERIFY_WITH_TIMEOUT(process.isNull(), 10000);

    // Without the request the object outlives its child.
    QtTools::Process kept(QStringLiteral("/bin/true"), {});
    QPointer<QtTools::Process> guard(&kept);
    QVERIFY(kept.Execute());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!guard.isNull());
}

QTEST_GUILESS_MAIN(TestProcess)
#include "tst_process.moc"
