#include "model/DayKeys.h"

#include "Build.h"
#include "model/calendar/CalendarModule.h"
#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/Module.h"
#include "support/TestArea.h"

#include <QtTest>

#include <sys/resource.h>
#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uloc.h>
#include <unicode/uvernum.h>

#include <chrono>
#include <string>

using std::chrono::local_days;
using namespace std::chrono_literals;

namespace {

constexpr CivilDay someDay = local_days(2026y / 11 / 15);

/// The day's key as ICU alone makes it; empty when it cannot.
std::string inIcu(const char* locale, CivilDay day)
{
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::unique_ptr<icu::Calendar>(
        icu::Calendar::createInstance(icu::TimeZone::createTimeZone("UTC"), icu::Locale(locale), status));
    icu::SimpleDateFormat format(u"yyyy-MM-dd", icu::Locale(locale), status);
    if (U_FAILURE(status))
        return {};
    format.adoptCalendar(calendar.release());
    const std::chrono::milliseconds sinceEpoch = day.time_since_epoch();
    icu::UnicodeString text;
    std::string key;
    return format.format(static_cast<UDate>(sinceEpoch.count()), text).toUTF8String(key);
}

} // namespace

class DayKeysTest : public QObject {
    Q_OBJECT

private slots:
    // These come first, because the module stays once it is loaded.
    void withoutTheCalendarModuleKeysArePlain();
    void thePlainLocalesLoadNothing();

    void everyLocaleHasTheKeysOfIcu();
    void localesArePlainWhereIcuWritesPlainDates();
    void noTerritoryIsPlainThatHasAnotherCalendar();
    void aLocaleThatNobodyKnowsHasKeys();
    void everyDayOfManyYearsHasItsKeyAndComesBack();
    void aYearHasAtLeastFourDigits();
    void aModuleOfAnotherBuildHasNoKeys();
};

void DayKeysTest::withoutTheCalendarModuleKeysArePlain()
{
    const auto end = inChild([] {
        // Where no file can be opened, the module cannot either.
        rlimit limit {};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit none { 0, limit.rlim_max };
        setrlimit(RLIMIT_NOFILE, &none);
        const auto keys = makeDayKeys("th_TH");
        setrlimit(RLIMIT_NOFILE, &limit);
        return keys->key(someDay);
    });

    QCOMPARE(end.answer, "2026-11-15");
}

void DayKeysTest::thePlainLocalesLoadNothing()
{
    const auto isLoaded = [] {
        return contentOf("/proc/self/maps").find("knucklet-calendar") != std::string::npos ? "loaded "
                                                                                           : "no ";
    };

    const auto end = inChild([&] {
        std::string loaded;
        for (const auto* locale : { "en_US", "de_DE", "zh_CN", "ar_MA", "th_TH" }) {
            makeDayKeys(locale)->key(someDay);
            loaded += isLoaded();
        }
        return loaded;
    });

    QCOMPARE(end.answer, "no no no no loaded ");
}

void DayKeysTest::everyLocaleHasTheKeysOfIcu()
{
    for (int i = 0; i < uloc_countAvailable(); ++i) {
        const auto* locale = uloc_getAvailable(i);
        const auto keys = makeDayKeys(locale);
        for (const auto day : { someDay, CivilDay(1970y / 1 / 1), CivilDay(2024y / 2 / 29) }) {
            const auto key = keys->key(day);

            QVERIFY2(key == inIcu(locale, day), locale);
            QVERIFY2(keys->parse(key) == day, locale);
        }
    }
}

void DayKeysTest::localesArePlainWhereIcuWritesPlainDates()
{
    // A newer ICU may know languages that are not listed: they have their keys from the module all the same.
    constexpr bool knowsMore = U_ICU_VERSION_MAJOR_NUM > 72;
    for (int i = 0; i < uloc_countAvailable(); ++i) {
        const auto* locale = uloc_getAvailable(i);
        const bool isPlain = inIcu(locale, someDay) == "2026-11-15";

        if (isPlainLocale(locale)) {
            QVERIFY2(isPlain, locale);
        } else {
            QVERIFY2(!isPlain || knowsMore, locale);
        }
    }
}

void DayKeysTest::noTerritoryIsPlainThatHasAnotherCalendar()
{
    QVERIFY(isPlainLocale("en_DE"));
    for (const auto* const* territory = uloc_getISOCountries(); *territory; ++territory) {
        const auto locale = std::string("en_") + *territory;

        QVERIFY2(!isPlainLocale(locale) || inIcu(locale.c_str(), someDay) == "2026-11-15", locale.c_str());
    }
}

void DayKeysTest::aLocaleThatNobodyKnowsHasKeys()
{
    for (const auto* locale : { "xx", "xx_XX", "tlh", "", "_", "ar_Latn_EG" }) {
        const auto key = makeDayKeys(locale)->key(someDay);

        QVERIFY2(key == inIcu(locale, someDay), locale);
    }
}

void DayKeysTest::everyDayOfManyYearsHasItsKeyAndComesBack()
{
    for (const auto* locale : { "en_US", "th_TH", "fa_IR", "ar_SA" }) {
        const auto keys = makeDayKeys(locale);
        for (auto day = CivilDay(1960y / 1 / 1); day < CivilDay(2060y / 1 / 1); day += std::chrono::days(1))
            QVERIFY2(keys->parse(keys->key(day)) == day, locale);
    }
}

void DayKeysTest::aYearHasAtLeastFourDigits()
{
    const auto keys = makeDayKeys("en_US");

    QCOMPARE(keys->key(CivilDay(987y / 6 / 5)), "0987-06-05");
    QCOMPARE(keys->key(CivilDay(12345y / 6 / 5)), "12345-06-05");
    QVERIFY(keys->parse("0987-06-05") == CivilDay(987y / 6 / 5));
    QVERIFY(keys->parse("12345-06-05") == CivilDay(12345y / 6 / 5));
}

void DayKeysTest::aModuleOfAnotherBuildHasNoKeys()
{
    const auto make = reinterpret_cast<decltype(&knuckletCalendar)>(
        Module("knucklet-calendar.so").load("knuckletCalendar"));
    QVERIFY(make);

    const std::unique_ptr<DayKeys> ours(make(buildId, "fa_IR"));
    const std::unique_ptr<DayKeys> ofAnotherBuild(make("another build", "fa_IR"));

    QVERIFY(ours);
    QVERIFY(!ofAnotherBuild);
}

static const TestArea area("DayKeys", runTest<DayKeysTest>);
#include "DayKeysTest.moc"
