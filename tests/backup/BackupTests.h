#pragma once
// The backup module's test classes, run one after the other by tst_backup.

int RunVersionTests(int argc, char **argv);
int RunGuidTests(int argc, char **argv);
int RunHeaderTests(int argc, char **argv);
int RunMakeBackupTests(int argc, char **argv);
