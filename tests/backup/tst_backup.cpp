// Runs the backup module's test classes; fails when any of them fails.

#include "BackupTests.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    int failures = 0;
    for (auto run : {RunVersionTests, RunGuidTests, RunHeaderTests, RunMakeBackupTests})
        failures += run(argc, argv);
    return failures == 0 ? 0 : 1;
}
