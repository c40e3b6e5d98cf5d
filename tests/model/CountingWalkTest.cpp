#include "model/StatsFile.h"
#include "support/FakeProgram.h"
#include "support/ForkedChild.h"
#include "support/TestArea.h"
#include "support/Zones.h"

#include <QtTest>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::days;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds saveInterval = 10s;

const std::string everythingIsRight = "everything is right";

const std::vector<std::string>& allZones()
{
    static const auto all = zones();
    return all;
}

std::chrono::seconds aheadOfUtc(Moment moment)
{
    const std::time_t time = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
    std::tm local = {};
    tzset();
    localtime_r(&time, &local);
    return std::chrono::seconds(local.tm_gmtoff);
}

/// Names days without the formatter of the program: from what the zone of the moment is ahead of UTC alone.
std::string dayAt(Moment moment)
{
    const std::chrono::year_month_day day(std::chrono::floor<days>(moment + aheadOfUtc(moment)));
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(day.year()),
        static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    return text.data();
}

/// What should have been counted.
struct Model {
    std::string today;
    DayCount onScreen;
    DayTable days;

    DayCount counted(const std::string& day) const { return days.contains(day) ? days.at(day) : DayCount {}; }
    void start(const std::string& day)
    {
        today = day;
        onScreen = counted(day);
    }
    /// A day starts empty, also one that was there before.
    void look(const std::string& day)
    {
        if (day != today)
            onScreen = {};
        today = day;
    }
    void count(const std::string& day, const DayCount& one)
    {
        look(day);
        for (DayCount* sum : { &onScreen, &days[day] })
            *sum = { sum->keys + one.keys, sum->clicks + one.clicks };
    }
};

/// One run of the program in a zone, with a user who types and clicks at the moments that are hard to name.
class Walk final {
public:
    Walk(const std::string& zone, unsigned int seed);

    /// What first went wrong.
    std::string run();

private:
    using Step = void (Walk::*)();

    void count();
    void letTimePass();
    void sleep();
    void goToMidnight();
    void changeZone();
    void tick();
    void startAgain();
    void goTo(Moment moment) { program.platform.setClock(moment); }
    void start();

    std::string takeSteps(int steps);
    std::string fault() const;
    std::string faultAtTheEnd();

    Moment now() { return program.platform.clock().now(); }
    std::string day() { return dayAt(now()); }
    std::int64_t any(std::int64_t least, std::int64_t greatest)
    {
        return std::uniform_int_distribution(least, greatest)(random);
    }

    std::mt19937 random;
    std::vector<Moment> edges;
    Model model;
    FakeProgram program;
    AppState* state = nullptr;
    milliseconds untilSave {};
    DayCount counted;
};

Walk::Walk(const std::string& zone, unsigned int seed)
    : random(seed)
{
    setZone(zone);
    edges = clockChanges();
    std::ranges::shuffle(edges, random);
    program.platform.grantAccess();
    start();
}

std::string Walk::run()
{
    auto wrong = takeSteps(20);
    for (const auto edge : edges) {
        if (!wrong.empty())
            break;
        const std::array<std::int64_t, 4> distances { -1, 0, any(-10'000, 10'000),
            any(-7'200'000, 7'200'000) };
        goTo(edge + milliseconds(distances[static_cast<std::size_t>(any(0, 3))]));
        wrong = takeSteps(5);
    }
    if (wrong.empty())
        wrong = faultAtTheEnd();
    return wrong.empty() ? everythingIsRight : wrong;
}

std::string Walk::takeSteps(int steps)
{
    // What happens most often stands there most often.
    static constexpr std::array<Step, 14> possible { &Walk::count, &Walk::count, &Walk::count, &Walk::count,
        &Walk::count, &Walk::letTimePass, &Walk::letTimePass, &Walk::letTimePass, &Walk::letTimePass,
        &Walk::goToMidnight, &Walk::goToMidnight, &Walk::sleep, &Walk::changeZone, &Walk::startAgain };
    for (int i = 0; i < steps; ++i) {
        (this->*possible[static_cast<std::size_t>(any(0, possible.size() - 1))])();
        if (auto wrong = fault(); !wrong.empty())
            return wrong + " at " + std::to_string(now().time_since_epoch().count()) + " ms";
    }
    return {};
}

void Walk::count()
{
    const bool isKey = any(0, 1) == 0;
    if (isKey)
        program.platform.press();
    else
        program.platform.click();

    const DayCount one { isKey ? 1 : 0, isKey ? 0 : 1 };
    counted = { counted.keys + one.keys, counted.clicks + one.clicks };
    model.count(day(), one);
}

// Mostly a moment, now and then some minutes. The program looks at the clock before each save.
void Walk::letTimePass()
{
    milliseconds time(any(0, 2) > 0 ? any(1, 2'000) : any(2'000, 300'000));
    while (time >= untilSave) {
        time -= untilSave;
        tick();
    }
    program.platform.advance(time);
    untilSave -= time;
}

// Also what a user does who sets the clock: it may go backward.
void Walk::sleep() { goTo(now() + milliseconds(any(-3 * 86'400'000, 3 * 86'400'000))); }

void Walk::goToMidnight()
{
    const auto ahead = aheadOfUtc(now());
    goTo(std::chrono::ceil<days>(now() + ahead) - ahead + milliseconds(any(-2, 1)));
}

// Nobody tells the program, which notices at the next save.
void Walk::changeZone()
{
    const auto last = static_cast<std::int64_t>(allZones().size()) - 1;
    ::changeZone(allZones()[static_cast<std::size_t>(any(0, last))]);
    tick();
}

/// Time passes until the next save.
void Walk::tick()
{
    program.platform.advance(untilSave);
    untilSave = saveInterval;
    model.look(day());
}

void Walk::startAgain()
{
    program.platform.quit();
    program.dropState();
    start();
}

void Walk::start()
{
    state = &program.start();
    untilSave = saveInterval;
    model.start(day());
}

std::string Walk::fault() const
{
    const std::int64_t& keys = state->todayKeys;
    const std::int64_t& clicks = state->todayClicks;
    if (state->todayKey != model.today)
        return state->todayKey + " in place of " + model.today;
    if (DayCount { keys, clicks } != model.onScreen)
        return "other counts on the screen on " + model.today;
    if (state->store.allTime() != counted)
        return "another sum on " + model.today;
    return state->store.count(model.today) == model.counted(model.today)
        ? ""
        : "other counts kept for " + model.today;
}

std::string Walk::faultAtTheEnd()
{
    for (const auto& [day, count] : model.days) {
        if (state->store.count(day) != count)
            return "other counts kept for " + day;
    }
    program.platform.quit();
    return decodeStats(program.statsFile().value_or("{}")) == model.days ? "" : "another file";
}

}

/// The real model and store against a few lines that count the same, in every zone and around each change of
/// its clock.
class CountingWalkTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void everyCountIsOnItsDay();
};

void CountingWalkTest::initTestCase()
{
    // Thousands of saves: on a disk they would take most of the time.
    if (QDir("/dev/shm").exists())
        qputenv("TMPDIR", "/dev/shm");
}

void CountingWalkTest::everyCountIsOnItsDay()
{
    unsigned int seed = 0;
    for (const auto& zone : allZones()) {
        ++seed;

        // In a process of its own: there the formatter of days lives from the first day to the last.
        const auto end = inChild([&] { return Walk(zone, seed).run(); });

        const auto wrong = zone + ", seed " + std::to_string(seed) + ": " + end.answer;
        QVERIFY2(end.answer == everythingIsRight, wrong.c_str());
    }
}

static const TestArea area("CountingWalk", runTest<CountingWalkTest>);
#include "CountingWalkTest.moc"
