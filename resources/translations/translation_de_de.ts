<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>Dialog Title</name>
    <message>
        <source>Restore Memory</source>
        <translation>Speicher wiederherstellen</translation>
    </message>
</context>
<context>
    <name>File Info</name>
    <message>
        <source>Cannot open file %1</source>
        <translation>Datei %1 kann nicht geöffnet werden</translation>
    </message>
</context>
<context>
    <name>InfoDialog</name>
    <message>
        <source>InfoDialog</source>
        <translation>Info</translation>
    </message>
    <message>
        <source>Dialog Title</source>
        <translation>Dialogtitel</translation>
    </message>
</context>
<context>
    <name>LegacyMessageDialog</name>
    <message>
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
    <message>
        <source>Dialog Title</source>
        <translation>Dialogtitel</translation>
    </message>
    <message>
        <source>Accept</source>
        <translation>Bestätigen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
</context>
<context>
    <name>ProgressDialogBase</name>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>Completion Option</source>
        <translation>Nach Abschluss</translation>
    </message>
</context>
<context>
    <name>QVB restore failure</name>
    <message>
        <source>QVB Restore Failed</source>
        <translation>Wiederherstellung fehlgeschlagen</translation>
    </message>
    <message>
        <source>The process of restoring a backup file failed.  Please try restoring the backup again.</source>
        <translation>Die Sicherung konnte nicht wiederhergestellt werden.  Bitte versuchen Sie es erneut.</translation>
    </message>
</context>
<context>
    <name>Restore Backup</name>
    <message>
        <source>Backup Restored</source>
        <translation>Sicherung wiederhergestellt</translation>
    </message>
    <message>
        <source>The system has been restored.</source>
        <translation>Das System wurde wiederhergestellt.</translation>
    </message>
</context>
<context>
    <name>Setup Text</name>
    <message>
        <source>Please wait while the memory is being restored.  Do not remove the storage device.  The application will resume when the restore is complete.  (This may take several minutes.)</source>
        <translation>Bitte warten Sie, während der Speicher wiederhergestellt wird.  Entfernen Sie das Speichermedium nicht.  Die Anwendung wird fortgesetzt, sobald die Wiederherstellung abgeschlossen ist.  (Dies kann einige Minuten dauern.)</translation>
    </message>
</context>
<context>
    <name>StandardButtonsDialog</name>
    <message>
        <source>Dialog Title</source>
        <translation>Dialogtitel</translation>
    </message>
</context>
</TS>
