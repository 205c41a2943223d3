// QtTools::Process: blocking and non-blocking runs, child priority, and the rule that
// nothing but standard input, output and error reaches a child.
#include "Process.h"
#include "TestSupport.h"

#include <QPointer>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

class TestProcess : public QObject
{
    Q_OBJECT
private slots:
    void childSeesOnlyStandardDescriptors()
    {
        // A file and a socket pair held open without close-on-exec, so exec keeps them.
        int ends[2];
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        const QList<int> held{::open("/dev/null", O_RDONLY), ends[0], ends[1]};
        QtTools::Process process("/bin/ls", {"/proc/self/fd"});
        QVERIFY(process.Execute());
        // One line per descriptor: 0, 1, 2 and the directory "ls" itself opened to list.
        const QByteArray listing = process.readAllStandardOutput().trimmed();
        QVERIFY2(listing.split('\n').size() == 4, listing.simplified().constData());
        for (int fd : held) {
            QCOMPARE(::fcntl(fd, F_GETFD), 0); // the parent's own stay open
            ::close(fd);
        }
    }

    void priorityOfChild()
    {
        const int parentNice = getpriority(PRIO_PROCESS, 0);
        QtTools::Process process("/usr/bin/nice", {}, 10);
        QVERIFY(process.Execute());
        QCOMPARE(process.readAllStandardOutput().trimmed().toInt(), 10);
        QCOMPARE(getpriority(PRIO_PROCESS, 0), parentNice);
    }

    // Arguments reach the program as they are (no shell). Start returns at once (cat waits
    // for its input) with standard input open, and the object goes once the child ends.
    void argumentsInputAndDetachedRuns()
    {
        const QStringList arguments{"a b", "'quoted'", "; rm -rf x", "$HOME", "-n", "Süd"};
        QtTools::Process printf("/usr/bin/printf", QStringList{"%s\\n"} + arguments);
        QVERIFY(printf.Execute());
        QCOMPARE(QString::fromUtf8(printf.readAllStandardOutput()), arguments.join('\n') + '\n');

        QPointer<QtTools::Process> cat = new QtTools::Process("/bin/cat", {});
        cat->SetDeleteWhenFinished();
        cat->Start();
        QVERIFY(cat->waitForStarted(10000));
        cat->write("through the pipe\n");
        cat->closeWriteChannel();
        QVERIFY(cat->waitForFinished(10000));
        QCOMPARE(cat->readAllStandardOutput(), QByteArray("through the pipe\n"));
        QTRY_VERIFY_WITH_TIMEOUT(cat.isNull(), 10000);
    }

    // Execute blocks until the child has ended. Move and copy judge by the exit code
    // alone, so a failed start must read 0 at once, and must not stick to the object.
    void exitCodeOfEachRun()
    {
        QtTools::Process process;
        for (const char *program : {"/nonexistent/program", "no-such-program-qvb"}) {
            process.SetCommand("/bin/sh", {"-c", "sleep 0.2; exit 6"});
            QVERIFY(process.Execute() && process.state() == QProcess::NotRunning);
            QCOMPARE(process.exitCode(), 6);
            process.SetCommand(program, {"x"});
            QVERIFY(!process.Execute());
            QCOMPARE(process.exitCode(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestProcess)
#include "tst_process.moc"
