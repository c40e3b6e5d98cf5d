<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" sourcelanguage="en">
<context>
    <name>KnuckletApp</name>
    <message>
        <source>Open Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>StatsView</name>
    <message>
        <source>Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Share a day card</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyboard counting is off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grant Input Monitoring so Knucklet can count key presses. It only counts — which keys you press is never read or stored. Clicks are already being counted.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grant access…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Access granted — quit and reopen Knucklet to start counting keys.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 keys · %2 clicks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Best day</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show counts in menu bar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch at login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Setup Assistant…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Knucklet</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WeekChart</name>
    <message>
        <source>%1 keys · %2 clicks</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
