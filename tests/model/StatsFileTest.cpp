#include "model/StatsFile.h"

#include "support/TestArea.h"

#include <QtTest>

#include <cstdint>
#include <limits>
#include <string>

namespace {

constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

/// A file of one day whose object holds this.
std::string fileWithDay(const std::string& members) { return R"({"2026-11-15":{)" + members + "}}"; }

/// A file whose one day has both counts, 1 and 2, and this value in another member.
std::string fileWithNote(const std::string& note)
{
    return fileWithDay(R"("keys":1,"note":)" + note + R"(,"clicks":2)");
}

std::string repeated(std::string_view text, std::size_t times)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

} // namespace

class StatsFileTest : public QObject {
    Q_OBJECT

private slots:
    void anEmptyObjectHoldsNoDays();
    void everyDayIsRead();
    void blanksAndTheOrderOfMembersDoNotMatter();
    void bothCountsAreReadFromAnyIntegerOf64Bits_data();
    void bothCountsAreReadFromAnyIntegerOf64Bits();
    void anyTextIsADayKey_data();
    void anyTextIsADayKey();
    void otherMembersOfADayAreIgnored_data();
    void otherMembersOfADayAreIgnored();
    void theLastOfARepeatedDayCounts();
    void theLastOfARepeatedCountCounts();
    void aMillionLevelsOfNestingAreIgnored();

    void aFileThatLacksClicksIsUnreadableAsAWhole();
    void aFileThatLacksKeysIsUnreadableAsAWhole();
    void aDayDoesNotTakeACountFromTheDayBefore();
    void aCountThatIsNoIntegerLiteralMakesTheFileUnreadable_data();
    void aCountThatIsNoIntegerLiteralMakesTheFileUnreadable();
    void anEarlierOneOfARepeatedNameMustBeRightToo_data();
    void anEarlierOneOfARepeatedNameMustBeRightToo();
    void whatIsNotATableOfDaysIsUnreadable_data();
    void whatIsNotATableOfDaysIsUnreadable();
    void everyTornFileIsUnreadable();

    void noDaysAreWrittenAsAnEmptyObject();
    void aDayIsWrittenCompactlyWithKeysBeforeClicks();
    void theGreatestAndLeastCountsAreWrittenInFull();
    void whatIsWrittenReadsBack();
    void aDayKeyOfAnyTextIsWrittenAsValidText();
};

void StatsFileTest::anEmptyObjectHoldsNoDays() { QCOMPARE(decodeStats("{}"), DayTable {}); }

void StatsFileTest::everyDayIsRead()
{
    const std::string text
        = R"({"2026-11-14":{"keys":5120,"clicks":830},"2026-11-15":{"keys":1234,"clicks":56}})";

    const auto days = decodeStats(text);

    QCOMPARE(days, (DayTable { { "2026-11-14", { 5120, 830 } }, { "2026-11-15", { 1234, 56 } } }));
}

void StatsFileTest::blanksAndTheOrderOfMembersDoNotMatter()
{
    const std::string text = " {\r\n\t\"2026-11-15\" : { \"clicks\" : 2 ,\n \"keys\" : 1 } } \n";

    const auto days = decodeStats(text);

    QCOMPARE(days, (DayTable { { "2026-11-15", { 1, 2 } } }));
}

void StatsFileTest::bothCountsAreReadFromAnyIntegerOf64Bits_data()
{
    QTest::addColumn<std::string>("literal");
    QTest::addColumn<std::int64_t>("value");

    const auto row = [](const char* literal, std::int64_t value) {
        QTest::newRow(literal) << std::string(literal) << value;
    };
    row("0", 0);
    row("-0", 0);
    row("-5", -5);
    row("9007199254740993", 9'007'199'254'740'993);
    row("9223372036854775807", greatest);
    row("-9223372036854775808", least);
}

void StatsFileTest::bothCountsAreReadFromAnyIntegerOf64Bits()
{
    QFETCH(const std::string, literal);
    QFETCH(const std::int64_t, value);

    const auto days = decodeStats(fileWithDay(R"("keys":)" + literal + R"(,"clicks":)" + literal));

    QCOMPARE(days, (DayTable { { "2026-11-15", { value, value } } }));
}

void StatsFileTest::anyTextIsADayKey_data()
{
    QTest::addColumn<std::string>("literal");
    QTest::addColumn<std::string>("key");

    QTest::newRow("Arabic digits") << std::string("٢٠٢٦-١١-١٥") << std::string("٢٠٢٦-١١-١٥");
    QTest::newRow("nothing") << std::string() << std::string();
    QTest::newRow("the name of a count") << std::string("keys") << std::string("keys");
    QTest::newRow("escapes") << std::string(R"(\"\\\/\b\f\n\r\t)") << std::string("\"\\/\b\f\n\r\t");
    QTest::newRow("an escaped character") << std::string(R"(\u0662)") << std::string("٢");
    QTest::newRow("an escaped pair") << std::string(R"(\uD83D\uDE00)") << std::string("😀");
    QTest::newRow("an escaped NUL") << std::string(R"(a\u0000b)") << std::string("a\0b", 3);
}

void StatsFileTest::anyTextIsADayKey()
{
    QFETCH(const std::string, literal);
    QFETCH(const std::string, key);

    const auto days = decodeStats("{\"" + literal + R"(":{"keys":1,"clicks":2}})");

    QCOMPARE(days, (DayTable { { key, { 1, 2 } } }));
}

void StatsFileTest::otherMembersOfADayAreIgnored_data()
{
    QTest::addColumn<std::string>("note");

    for (const auto* note : { R"("x")", "1", "-1.5e3", "18446744073709551616", "null", "true", "false", "[]",
             "{}", R"([1,[2,{"keys":"x"}]])", R"({"keys":null,"clicks":{"keys":[1.5]}})" })
        QTest::newRow(note) << std::string(note);
}

void StatsFileTest::otherMembersOfADayAreIgnored()
{
    QFETCH(const std::string, note);

    const auto days = decodeStats(fileWithNote(note));

    QCOMPARE(days, (DayTable { { "2026-11-15", { 1, 2 } } }));
}

void StatsFileTest::theLastOfARepeatedDayCounts()
{
    const std::string text
        = R"({"a":{"keys":1,"clicks":2},"b":{"keys":3,"clicks":4},"a":{"keys":5,"clicks":6}})";

    const auto days = decodeStats(text);

    QCOMPARE(days, (DayTable { { "a", { 5, 6 } }, { "b", { 3, 4 } } }));
}

void StatsFileTest::theLastOfARepeatedCountCounts()
{
    const auto days = decodeStats(fileWithDay(R"("keys":1,"clicks":2,"keys":3)"));

    QCOMPARE(days, (DayTable { { "2026-11-15", { 3, 2 } } }));
}

void StatsFileTest::aMillionLevelsOfNestingAreIgnored()
{
    constexpr std::size_t levels = 1'000'000;
    const auto arrays = repeated("[", levels) + repeated("]", levels);
    const auto objects = repeated(R"({"a":)", levels) + "0" + repeated("}", levels);

    const auto withArrays = decodeStats(fileWithNote(arrays));
    const auto withObjects = decodeStats(fileWithNote(objects));
    const auto tornArrays = decodeStats(R"({"a":{"note":)" + repeated("[", levels));

    QCOMPARE(withArrays, (DayTable { { "2026-11-15", { 1, 2 } } }));
    QCOMPARE(withObjects, (DayTable { { "2026-11-15", { 1, 2 } } }));
    QVERIFY(!tornArrays);
}

void StatsFileTest::aFileThatLacksClicksIsUnreadableAsAWhole()
{
    const std::string text = R"({"2026-11-14":{"keys":5120,"clicks":830},"2026-11-15":{"keys":1234}})";

    QVERIFY(!decodeStats(text));
}

void StatsFileTest::aFileThatLacksKeysIsUnreadableAsAWhole()
{
    const std::string text = R"({"2026-11-14":{"keys":5120,"clicks":830},"2026-11-15":{"clicks":56}})";

    QVERIFY(!decodeStats(text));
}

void StatsFileTest::aDayDoesNotTakeACountFromTheDayBefore()
{
    QVERIFY(!decodeStats(R"({"a":{"keys":1,"clicks":2},"b":{}})"));
    QVERIFY(!decodeStats(R"({"a":{"clicks":2,"keys":1},"b":7})"));
    QVERIFY(!decodeStats(
        R"({"a":{"keys":1,"clicks":2,"x":{"keys":1,"clicks":2}},"b":{"x":{"keys":1,"clicks":2}}})"));
}

void StatsFileTest::aCountThatIsNoIntegerLiteralMakesTheFileUnreadable_data()
{
    QTest::addColumn<std::string>("literal");

    for (const auto* literal : { "1.0", "1.5", "1e3", "1E0", "-0.0", R"("1")", "null", "true", "false", "[]",
             "[1]", "{}", R"({"keys":1})", "9223372036854775808", "-9223372036854775809",
             "18446744073709551615", "18446744073709551616", "1e999", "01", "+1", "0x1", "1_000", "1.", ".5",
             "-", "NaN", "Infinity", "" })
        QTest::newRow(*literal ? literal : "nothing") << std::string(literal);
}

void StatsFileTest::aCountThatIsNoIntegerLiteralMakesTheFileUnreadable()
{
    QFETCH(const std::string, literal);

    const auto asKeys = decodeStats(fileWithDay(R"("keys":)" + literal + R"(,"clicks":2)"));
    const auto asClicks = decodeStats(fileWithDay(R"("keys":1,"clicks":)" + literal));

    QVERIFY(!asKeys);
    QVERIFY(!asClicks);
}

void StatsFileTest::anEarlierOneOfARepeatedNameMustBeRightToo_data()
{
    QTest::addColumn<std::string>("text");

    QTest::newRow("a count") << fileWithDay(R"("keys":"x","clicks":2,"keys":1)");
    QTest::newRow("a day") << std::string(R"({"a":{"keys":1},"a":{"keys":1,"clicks":2}})");
}

void StatsFileTest::anEarlierOneOfARepeatedNameMustBeRightToo()
{
    QFETCH(const std::string, text);

    QVERIFY(!decodeStats(text));
}

void StatsFileTest::whatIsNotATableOfDaysIsUnreadable_data()
{
    QTest::addColumn<std::string>("text");

    const std::string good = fileWithDay(R"("keys":1,"clicks":2)");
    QTest::newRow("nothing") << std::string();
    QTest::newRow("blanks") << std::string(" \n");
    QTest::newRow("an array") << std::string("[]");
    QTest::newRow("a table in an array") << "[" + good + "]";
    QTest::newRow("a number") << std::string("1");
    QTest::newRow("a string") << std::string(R"("2026-11-15")");
    QTest::newRow("null") << std::string("null");
    QTest::newRow("a day that is a number") << std::string(R"({"2026-11-15":1})");
    QTest::newRow("a day that is null") << std::string(R"({"2026-11-15":null})");
    QTest::newRow("a day that is an array") << std::string(R"({"2026-11-15":[1,2]})");
    QTest::newRow("a day of days") << std::string(R"({"2026":{"11":{"keys":1,"clicks":2}}})");
    QTest::newRow("a second table behind") << good + good;
    QTest::newRow("text behind") << good + "x";
    QTest::newRow("a NUL behind") << good + '\0';
    QTest::newRow("a NUL and more behind") << good + '\0' + "x";
    QTest::newRow("a NUL in a key") << std::string("{\"a\0b\":{\"keys\":1,\"clicks\":2}}", 30);
    QTest::newRow("a byte order mark") << "\xEF\xBB\xBF" + good;
    QTest::newRow("UTF-16") << std::string("{\0}\0", 4);
    QTest::newRow("a comment") << "/* mine */" + good;
    QTest::newRow("a comma too many") << std::string(R"({"a":{"keys":1,"clicks":2},})");
    QTest::newRow("a comma too few") << std::string(R"({"a":{"keys":1 "clicks":2}})");
    QTest::newRow("no colon") << std::string(R"({"a" {"keys":1,"clicks":2}})");
    QTest::newRow("no quotes") << std::string("{a:{keys:1,clicks:2}}");
    QTest::newRow("single quotes") << std::string("{'a':{'keys':1,'clicks':2}}");
    QTest::newRow("a line break in a key") << std::string("{\"a\n\":{\"keys\":1,\"clicks\":2}}");
    QTest::newRow("an unknown escape") << std::string(R"({"\x":{"keys":1,"clicks":2}})");
    QTest::newRow("half of an escaped pair") << std::string(R"({"\uD83D":{"keys":1,"clicks":2}})");
    QTest::newRow("Latin-1 in a key") << std::string("{\"\xE9\":{\"keys\":1,\"clicks\":2}}");
    QTest::newRow("an overlong character in a key")
        << std::string("{\"\xC0\xAF\":{\"keys\":1,\"clicks\":2}}");
    QTest::newRow("a surrogate in a key") << std::string("{\"\xED\xA0\x80\":{\"keys\":1,\"clicks\":2}}");
    QTest::newRow("bytes that are no text in an ignored member") << fileWithNote("\"\xFF\"");
    QTest::newRow("a number beyond all bounds in an ignored member") << fileWithNote("1e999");
    QTest::newRow("a wrong bracket") << fileWithNote("[}");
}

void StatsFileTest::whatIsNotATableOfDaysIsUnreadable()
{
    QFETCH(const std::string, text);

    QVERIFY(!decodeStats(text));
}

void StatsFileTest::everyTornFileIsUnreadable()
{
    const auto whole = encodeStats({ { "2026-11-14", { 5120, 830 } }, { "2026-11-15", { 1234, 56 } } });

    for (std::size_t length = 0; length < whole.size(); ++length)
        QVERIFY(!decodeStats(whole.substr(0, length)));
}

void StatsFileTest::noDaysAreWrittenAsAnEmptyObject() { QCOMPARE(encodeStats({}), "{}"); }

void StatsFileTest::aDayIsWrittenCompactlyWithKeysBeforeClicks()
{
    const auto text = encodeStats({ { "2026-11-15", { 1234, 56 } } });

    QCOMPARE(text, R"({"2026-11-15":{"keys":1234,"clicks":56}})");
}

void StatsFileTest::theGreatestAndLeastCountsAreWrittenInFull()
{
    const auto text = encodeStats({ { "a", { greatest, least } } });

    QCOMPARE(text, R"({"a":{"keys":9223372036854775807,"clicks":-9223372036854775808}})");
}

void StatsFileTest::whatIsWrittenReadsBack()
{
    DayTable days;
    for (std::int64_t day = 0; day < 5000; ++day)
        days.insert({ "day " + std::to_string(day), { day * 7919, -day } });

    const auto text = encodeStats(days);

    QCOMPARE(decodeStats(text), days);
}

void StatsFileTest::aDayKeyOfAnyTextIsWrittenAsValidText()
{
    DayTable days { { "", { 1, 2 } }, { "\"\\/", { 3, 4 } }, { "۱۴۰۵-۰۸-۲۴ 😀", { 5, 6 } } };
    for (char control = 0; control < 0x20; ++control)
        days.insert({ std::string("a") + control, { control, 0 } });
    days.insert({ "\x7f", { 7, 8 } });

    const auto text = encodeStats(days);

    QCOMPARE(decodeStats(text), days);
    QCOMPARE(encodeStats({ { "\"\\\n", { 1, 2 } } }), R"({"\"\\\u000a":{"keys":1,"clicks":2}})");
}

static const TestArea area("StatsFile", runTest<StatsFileTest>);
#include "StatsFileTest.moc"
