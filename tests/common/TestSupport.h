#pragma once
// Helpers shared by the test executables.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtTest>

namespace TestSupport {

// True inside a throwaway root made by tools/in-root.
bool InThrowawayRoot();

// Reads a whole file; an empty array when it cannot be read.
QByteArray ReadFile(const QString &path);

// Every entry of a directory, hidden and system ones included, sorted by name.
QStringList Entries(const QString &directory);

// Writes a whole file, creating missing parent directories.
bool WriteFile(const QString &path, const QByteArray &data);

// Runs a program to its end (at most timeoutMs); returns its exit code, or -1 when it
// could not be started, crashed or timed out. Standard output goes to *output if given.
int Run(const QString &program, const QStringList &arguments, QByteArray *output = nullptr,
        int timeoutMs = 120000);

} // namespace TestSupport

// Every test that touches the system's fixed paths starts with this: run outside a
// throwaway root it fails at once instead of writing to the machine's real directories.
#define QVB_REQUIRE_THROWAWAY_ROOT()                                                      \
    do {                                                                                  \
        if (!TestSupport::InThrowawayRoot())                                              \
            QFAIL("this test touches fixed system paths; run it through tools/in-root"); \
    } while (false)
