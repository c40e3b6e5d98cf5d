<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>KnuckletApp</name>
    <message>
        <source>Open Knucklet</source>
        <translation>Knucklet öffnen</translation>
    </message>
    <message>
        <source>Setup Assistant…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Knucklet</source>
        <translation>Knucklet „beenden“ &amp; schließen</translation>
    </message>
</context>
<context>
    <name>StatsView</name>
    <message>
        <source>All time</source>
        <translation>Insgesamt</translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation>%2: %1</translation>
    </message>
</context>
</TS>
