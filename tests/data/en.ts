<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- A translation to test with; it is in German, so that nothing in it can be taken for the form's own texts. -->
<TS version="2.1" language="de">
<context>
    <name>Widget</name>
    <message>
        <source>Widget</source>
        <translation>Fenster</translation>
    </message>
    <message>
        <source>Operations list</source>
        <translation>Aufgaben</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Bestätigen</translation>
    </message>
    <message>
        <source>Attention</source>
        <translation>Achtung</translation>
    </message>
</context>
</TS>
