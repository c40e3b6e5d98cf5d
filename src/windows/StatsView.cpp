#include "windows/StatsView.h"

#include "model/AppState.h"
#include "model/CompactCount.h"
#include "model/DayFormatter.h"
#include "platform/Desktop.h"
#include "platform/ListenAccess.h"
#include "windows/DateTexts.h"
#include "windows/DayBar.h"
#include "windows/GrantHint.h"
#include "windows/ui/Controls.h"
#include "windows/ui/RollingNumber.h"

namespace {

constexpr int barBoxHeight = 56;
// A bar whose smaller part is raised to the least height stands out of its box by up to this much, gap
// included. What is around the box leaves room for it.
constexpr QMargins barOverflow(0, 3, 0, 0);

void paintBar(QPainter& painter, const QRectF& box, const DayBar& bar)
{
    paintDayBar(painter, box, bar, Theme::barEmpty, BarEdges::OnPixels);
}

QString compact(std::int64_t count) { return QString::fromStdString(compactCount(count)); }

}

View StatTile::body() const
{
    return column(
        {
            iconLabel(symbol, title).font(11, QFont::Medium).color(color),
            rollingNumber(value).font(26, QFont::Bold),
        },
        { .spacing = 4 })
        .padding(10)
        .fillWidth()
        .background(color.withOpacity(0.1), 10)
        .read(QString("%1: %2").arg(title).arg(value));
}

View WeekChart::body() const
{
    const auto scale = chartScale(days);
    std::vector<View> columns;
    columns.reserve(days.size());
    for (const auto& each : days)
        columns.push_back(day(each, scale));
    return row(std::move(columns), { .spacing = 8, .alignment = Qt::AlignBottom })
        .fillWidth()
        .bleed(barOverflow);
}

View WeekChart::day(const StatsStore::Day& day, std::int64_t scale) const
{
    const auto [keys, clicks] = day.count;
    const auto weekday = QString::fromStdString(dates.weekdayLetter(day.civilDay));
    const auto date = QString::fromStdString(dates.weekdayAndDate(day.civilDay));
    const auto counts = tr("%1 keys · %2 clicks").arg(QString::number(keys), QString::number(clicks));
    return column(
        {
            canvas(barBoxHeight, dayBar(day.count, scale, barBoxHeight), paintBar).bleed(barOverflow),
            label(weekday).font(9, QFont::Medium).color(Theme::secondary),
        },
        { .spacing = 4, .alignment = Qt::AlignHCenter })
        .fillWidth()
        .bleed(barOverflow)
        .help(counts)
        .read(QString("%1: %2").arg(date, counts));
}

View StatsView::body() const
{
    const auto days = state.store.lastDays(7);
    return column(
        {
            header(days.back()),
            tiles(),
            banner(),
            WeekChart { days, dates }.body(),
            divider(),
            footerStats(),
            divider(),
            controls(),
        },
        { .spacing = 14 })
        .padding(14)
        .width(300);
}

View StatsView::header(const StatsStore::Day& today) const
{
    const auto date = QString::fromStdString(dates.weekdayAndDate(today.civilDay));
    // The share button takes a press also a little beside its symbol.
    constexpr QMargins reach(4, 4, 4, 4);
    return row({
                   label(tr("Knucklet")).font(15, QFont::Medium),
                   spacer(),
                   label(date).font(11, QFont::Medium).color(Theme::secondary),
                   symbolButton("square.and.arrow.up", tr("Share a day card"),
                       [&state = state] { state.shareCard->show(state); })
                       .color(Theme::secondary)
                       .bleed(reach),
               })
        .bleed(reach);
}

View StatsView::tiles() const
{
    const StatTile keys { "Keys", state.todayKeys, "keyboard.fill", Theme::keyAccent };
    const StatTile clicks { "Clicks", state.todayClicks, "cursorarrow.click.2", Theme::clickAccent };
    return row({ keys.body(), clicks.body() }, { .spacing = 10 }).fillWidth();
}

View StatsView::banner() const
{
    if (!state.keyAccessGranted)
        return permissionBanner();
    if (state.needsRelaunch)
        return relaunchBanner();
    return {};
}

View StatsView::permissionBanner() const
{
    return column(
        {
            iconLabel("lock.shield", tr("Keyboard counting is off")).font(12, QFont::Medium),
            paragraph(tr("Grant Input Monitoring so Knucklet can count key presses. It only counts — which "
                         "keys you press is never read or stored. Clicks are already being counted."))
                .font(11)
                .color(Theme::secondary),
            button(tr("Grant access…"),
                [&listenAccess = listenAccess, &desktop = desktop] {
                    listenAccess.request();
                    desktop.openInputMonitoringSettings();
                }),
            commandToGrant(),
        },
        { .spacing = 6 })
        .padding(10)
        .fillWidth()
        .background(Theme::keyAccent.withOpacity(0.12), 8);
}

View StatsView::commandToGrant() const
{
    const auto hint = grantHint(listenAccess);
    if (hint.isEmpty())
        return {};
    return paragraph(hint).font(11).color(Theme::secondary);
}

View StatsView::relaunchBanner() const
{
    return row(
        {
            symbol("arrow.clockwise"),
            paragraph(tr("Access granted — quit and reopen Knucklet to start counting keys.")),
        },
        { .spacing = 6, .alignment = Qt::AlignTop })
        .padding(10)
        .fillWidth()
        .background(Theme::keyAccent.withOpacity(0.12), 8)
        .font(11)
        .color(Theme::secondary);
}

View StatsView::footerStats() const { return row({ allTime(), spacer(), bestDay() }); }

View StatsView::allTime() const
{
    const auto [keys, clicks] = state.store.allTime();
    return column(
        {
            label(tr("All time")).font(10, QFont::Medium).color(Theme::secondary),
            label(tr("%1 keys · %2 clicks").arg(compact(keys), compact(clicks))).font(11, QFont::Medium),
        },
        { .spacing = 2 });
}

View StatsView::bestDay() const
{
    const auto best = state.store.bestDay();
    if (!best || total(best->count) < 1)
        return {};
    return column(
        {
            label(tr("Best day"), Qt::AlignRight).font(10, QFont::Medium).color(Theme::secondary),
            label(tr("%1 on %2").arg(compact(total(best->count)), shortDate(best->day)), Qt::AlignRight)
                .font(11, QFont::Medium),
        },
        { .spacing = 2, .alignment = Qt::AlignRight });
}

View StatsView::controls() const
{
    return column({
        toggle(tr("Show counts in menu bar"), state.showCountsInMenuBar,
            [&state = state](bool shows) { state.showCountsInMenuBar = shows; })
            .font(12, QFont::Medium),
        toggle(tr("Launch at login"), state.launchAtLogin,
            [&state = state](bool launches) { state.launchAtLogin = launches; })
            .font(12, QFont::Medium),
        buttons(),
    });
}

View StatsView::buttons() const
{
    return row({
        button(tr("Setup Assistant…"), [&state = state] { state.onboarding->show(state, 0); }),
        spacer(),
        button(tr("Quit Knucklet"), [&desktop = desktop] { desktop.terminate(); }),
    });
}

QString StatsView::shortDate(const std::string& day) const
{
    const auto civilDay = StatsStore::dayFormatter().parse(day);
    return QString::fromStdString(civilDay ? dates.date(*civilDay) : day);
}
