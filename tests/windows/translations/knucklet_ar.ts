<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en">
<context>
    <name>StatsView</name>
    <message>
        <source>All time</source>
        <translation>كل الوقت</translation>
    </message>
    <message>
        <source>Setup Assistant…</source>
        <translation>مساعد الإعداد…</translation>
    </message>
    <message>
        <source>Quit Knucklet</source>
        <translation>إنهاء Knucklet</translation>
    </message>
</context>
<context>
    <name>ShareCardPreview</name>
    <message>
        <source>Copy</source>
        <translation>نسخ</translation>
    </message>
</context>
</TS>
