<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
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
