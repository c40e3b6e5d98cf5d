#include "support/FakeCard.h"

#include "windows/ui/Look.h"

FakeCard::FakeCard(const std::string& stats, const std::string& locale)
    : dates(locale)
    , numbers(locale)
{
    static const bool fontsLoaded = (loadFonts(), true);
    Q_UNUSED(fontsLoaded);
    if (!stats.empty())
        program.writeStatsFile(stats);
}

AppState& FakeCard::start()
{
    if (!state)
        state = &program.start();
    return *state;
}

ShareCardView FakeCard::view(const QImage& picture)
{
    return { DayCardData(start(), program.platform.clock()), dates, numbers, picture };
}

std::string statsOf(const std::vector<FakeDay>& days)
{
    std::string file;
    for (const auto& [day, keys, clicks] : days) {
        file += (file.empty() ? "{\"" : ",\"") + day + "\":{\"keys\":" + std::to_string(keys)
            + ",\"clicks\":" + std::to_string(clicks) + "}";
    }
    return file + "}";
}

std::string ordinaryWeek()
{
    return statsOf({
        { "2026-11-09", 5213, 1820 },
        { "2026-11-10", 8021, 2410 },
        { "2026-11-11", 3002, 950 },
        { "2026-11-12", 0, 12 },
        { "2026-11-13", 9120, 3010 },
        { "2026-11-15", 4567, 1234 },
        { "2026-03-05", 12345, 2310 },
    });
}

QImage cardPicture() { return QImage(PICTURES_FOLDER "/share-bg.png"); }
