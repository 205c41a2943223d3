#pragma once
// Runs external programs for the display's software: a QProcess that carries its own
// command and scheduling priority. Whatever the parent holds open (files, sockets, pipes)
// never reaches the child: only standard input, output and error survive into it.

#include <QProcess>
#include <QString>
#include <QStringList>

namespace QtTools {

class Process : public QProcess
{
    Q_OBJECT

public:
    explicit Process(QObject *parent = nullptr);
    Process(const QString &program, const QStringList &arguments, int priority = 0,
            QObject *parent = nullptr);
    ~Process() override;

    // Replaces program and arguments, so one object can run several commands in turn.
    void SetCommand(const QString &program, const QStringList &arguments);
    // Nice value for the children started from now on; 0 keeps the inherited priority.
    void SetPriority(int priority);
    int GetPriority() const;
    QString GetProgram() const;
    QStringList GetArguments() const;

    // For detached runs: the object deletes itself (deleteLater) once the child has
    // finished. The caller must neither keep nor delete it after starting the run.
    void SetDeleteWhenFinished();

    // The exit code of the last run. When the program could not be started at all this
    // reads 0: callers that judge by the exit code alone (move, copy) rely on that, and
    // it is what QProcess reported before Qt 5 began to pass on the status of the child
    // whose exec failed (255). Otherwise the same as QProcess::exitCode().
    int exitCode() const;

public slots:
    // Runs the command and blocks the calling thread, without a time limit, until the
    // child ends. False when it could not be started; the exit code is read afterwards.
    bool Execute();
    // Starts the command and returns at once; follow the child through QProcess' signals.
    void Start();

protected:
    // Runs in the forked child just before exec.
    void setupChildProcess() override;

private:
    QString program;
    QStringList arguments;
    int priority = 0;
    bool failedToStart = false;
};

} // namespace QtTools
