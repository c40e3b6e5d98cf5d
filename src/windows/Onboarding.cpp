#include "windows/Onboarding.h"

#include "platform/Desktop.h"
#include "platform/Folders.h"
#include "platform/ListenAccess.h"
#include "platform/PanelHost.h"
#include "platform/Platform.h"
#include "platform/WindowPlatform.h"
#include "windows/GrantHint.h"
#include "windows/ui/Controls.h"
#include "windows/ui/Look.h"
#include "windows/ui/Picture.h"
#include "windows/ui/UtilityWindow.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace {

constexpr int largeTitle = 26;
constexpr int title3 = 15;
constexpr int bodyText = 13;
constexpr int callout = 12;

constexpr int windowWidth = 540;
constexpr QMargins pagePadding(40, 28, 40, 0);

// An icon that is not square stands out of its place, as far as the page reaches.
constexpr int iconSize = 120;
constexpr int besideIcon = (windowWidth - iconSize) / 2;
constexpr QMargins iconOverflow(
    besideIcon, pagePadding.top(), besideIcon, OnboardingView::fullHeight - pagePadding.top() - iconSize);

constexpr int dotSize = 7;
constexpr int dotSpacing = 6;

struct Dots {
    int count = 0;
    int current = 0;

    bool operator==(const Dots&) const = default;
};

void paintDots(QPainter& painter, const QRectF& box, const Dots& dots)
{
    const auto primary = painter.pen().color();
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < dots.count; ++i) {
        const auto& color = i == dots.current ? Theme::primary
                                              : Theme::secondary.withOpacity(Theme::secondary.opacity * 0.3);
        painter.setBrush(resolved(color, primary));
        painter.drawEllipse(QRectF(box.left() + i * (dotSize + dotSpacing), box.top(), dotSize, dotSize));
    }
}

View pageTitle(const QString& text)
{
    return paragraph(text, Qt::AlignHCenter).font(largeTitle, QFont::Bold);
}

View heading(const QString& symbol, const QString& text, const ThemeColor& color)
{
    return iconLabel(symbol, text).font(title3, QFont::DemiBold).color(color);
}

View explanation(const QString& text)
{
    return paragraph(text, Qt::AlignHCenter).font(callout).color(Theme::secondary);
}

constexpr ButtonLook plainButton { .size = ButtonSize::Regular };
constexpr ButtonLook prominentButton { .size = ButtonSize::Regular, .isProminent = true };

}

PictureView AssetImage::body() const
{
    return picture({
        .name = name,
        .load =
            [&folders = folders, name = name] {
                const auto file = folders.picture(name.toStdString());
                return file ? QImage(QString::fromStdString(file->string())) : QImage();
            },
        .fallbackSymbol = fallbackSymbol,
        .fallbackColor = Theme::keyAccent,
    });
}

View InfoRow::body() const
{
    return row(
        {
            column({ ::symbol(symbol).font(26).color(color) }, { .alignment = Qt::AlignHCenter }).width(34),
            column(
                {
                    paragraph(title).font(bodyText, QFont::DemiBold),
                    paragraph(detail).font(callout).color(Theme::secondary),
                },
                { .spacing = 3 })
                .fillWidth(),
        },
        { .spacing = 14, .alignment = Qt::AlignTop });
}

StackView WelcomePage::body() const
{
    return column(
        {
            AssetImage { "onboarding-hero", "keyboard.fill", folders }.body().clip(18).height(230),
            pageTitle(tr("Welcome to Knucklet")),
            paragraph(tr("Every key you press, every click you make — counted.\n"
                         "See how much your fingers work each day."),
                Qt::AlignHCenter)
                .font(title3)
                .color(Theme::secondary),
            spacer(),
        },
        { .spacing = 18, .alignment = Qt::AlignHCenter });
}

StackView PrivacyPage::body() const
{
    return column(
        {
            pageTitle(tr("Counts, not keys")),
            InfoRow { "number.circle.fill", Theme::keyAccent, "Only counters go up",
                "Knucklet adds +1 per key press and +1 per click. Which key you pressed is never read, "
                "logged, or stored — the code only looks at the event type." }
                .body(),
            InfoRow { "internaldrive.fill", Theme::clickAccent, "Everything stays on this Mac",
                "Daily totals live in a small local JSON file. Nothing is ever sent anywhere — Knucklet "
                "doesn't even use the network." }
                .body(),
            InfoRow { "repeat.circle.fill", Theme::keyAccent, "Honest counting",
                "Holding a key down counts once, not hundreds of times — auto-repeat is ignored." }
                .body(),
            spacer(),
        },
        { .spacing = 22 });
}

StackView PermissionPage::body() const
{
    return column(
        {
            pageTitle(tr("One permission")),
            markdown(tr("macOS requires the **Input Monitoring** permission before any app may observe key "
                        "presses — even just to count them. Clicks are already being counted without it."))
                .font(bodyText)
                .color(Theme::secondary),
            statusCard(),
            spacer(),
        },
        { .spacing = 22 });
}

View PermissionPage::statusCard() const
{
    const bool isCounting = state.keyAccessGranted && !state.needsRelaunch;
    auto card = isCounting ? counting() : state.needsRelaunch ? relaunch() : waiting();
    return std::move(card)
        .padding(24)
        .fillWidth()
        .background(Theme::keyAccent.withOpacity(0.08), 14)
        .animated(isCounting          ? 2
                : state.needsRelaunch ? 1
                                      : 0);
}

StackView PermissionPage::counting() const
{
    return column(
        {
            heading("checkmark.circle.fill", tr("Key counting is on"), Theme::success),
            explanation(tr("You're all set — keys and clicks are both being counted.")),
        },
        { .spacing = 14, .alignment = Qt::AlignHCenter });
}

StackView PermissionPage::relaunch() const
{
    return column(
        {
            heading("arrow.clockwise.circle.fill", tr("Almost there"), Theme::keyAccent),
            explanation(tr("Access is granted, but macOS needs Knucklet to relaunch before key counting "
                           "starts.")),
            button(
                tr("Relaunch Knucklet"), [&state = state] { state.relaunch(); }, prominentButton),
        },
        { .spacing = 14, .alignment = Qt::AlignHCenter });
}

StackView PermissionPage::waiting() const
{
    return column(
        {
            heading("lock.circle.fill", tr("Waiting for permission"), Theme::secondary),
            explanation(tr("System Settings will open on Privacy & Security → Input Monitoring. Turn on "
                           "Knucklet, then come back here — this page updates by itself.")),
            button(
                tr("Open Input Monitoring settings…"),
                [&listenAccess = listenAccess, &desktop = desktop] {
                    listenAccess.request();
                    desktop.openInputMonitoringSettings();
                },
                prominentButton),
            commandToGrant(),
        },
        { .spacing = 14, .alignment = Qt::AlignHCenter });
}

View PermissionPage::commandToGrant() const
{
    const auto hint = grantHint(listenAccess);
    if (hint.isEmpty())
        return {};
    return explanation(hint);
}

StackView DonePage::body() const
{
    return column(
        {
            AssetImage { "AppIcon-preview", "keyboard.badge.eye", folders }
                .body()
                .width(iconSize)
                .height(iconSize)
                .bleed(iconOverflow),
            pageTitle(tr("You're counting!")),
            paragraph(tr("Knucklet lives in your menu bar — click the keyboard icon anytime for today's "
                         "tally and your 7-day chart."),
                Qt::AlignHCenter)
                .font(title3)
                .color(Theme::secondary),
            settings(),
            spacer(),
        },
        { .spacing = 22, .alignment = Qt::AlignHCenter });
}

View DonePage::settings() const
{
    return column(
        {
            toggle(tr("Show live counts next to the menu bar icon"), state.showCountsInMenuBar,
                [&state = state](bool shows) { state.showCountsInMenuBar = shows; }),
            toggle(tr("Launch Knucklet at login"), state.launchAtLogin,
                [&state = state](bool launches) { state.launchAtLogin = launches; }),
        },
        { .spacing = 10 })
        .padding(18)
        .background(Theme::clickAccent.withOpacity(0.08), 14);
}

View OnboardingView::body() const
{
    return column(
        {
            scroller(currentPage().padding(pagePadding), page),
            footer(),
        },
        { .spacing = 0, .alignment = Qt::AlignHCenter })
        .width(windowWidth)
        .height(height);
}

StackView OnboardingView::currentPage() const
{
    switch (page) {
    case 0:
        return WelcomePage { folders }.body();
    case 1:
        return PrivacyPage {}.body();
    case 2:
        return PermissionPage { state, listenAccess, desktop }.body();
    default:
        return DonePage { state, folders }.body();
    }
}

View OnboardingView::footer() const
{
    // Both sides are equally wide, so that the dots stand in the middle.
    return row({
                   row({ backButton(), spacer() }).fillWidth(),
                   dots(),
                   row({ spacer(), primaryButton() }).fillWidth(),
               })
        .padding(20)
        .fillWidth();
}

View OnboardingView::dots() const
{
    const int width = pageCount * (dotSize + dotSpacing) - dotSpacing;
    return row({ canvas(dotSize, Dots { pageCount, page }, paintDots).width(width) })
        .read(tr("Page %1 of %2").arg(page + 1).arg(pageCount));
}

View OnboardingView::backButton() const
{
    if (page < 1)
        return {};
    return button(
        tr("Back"), [&page = page] { page = std::max(page - 1, 0); }, plainButton);
}

// Where the user is, is asked at the press: two of them may come before the second page is on screen.
View OnboardingView::primaryButton() const
{
    auto look = prominentButton;
    look.isDefault = true;
    const auto text = isLast() ? tr("Finish") : page == 0 ? tr("Get Started") : tr("Continue");
    return button(
        text,
        [view = *this] {
            if (view.isLast())
                view.state.finishOnboarding();
            else
                view.page = view.page + 1;
        },
        look);
}

OnboardingWindowController::OnboardingWindowController(
    Platform& platform, WindowPlatform& windowPlatform, std::function<void()> prepare)
    : platform(platform)
    , windowPlatform(windowPlatform)
    , prepare(std::move(prepare))
{
}

OnboardingWindowController::~OnboardingWindowController() = default;

void OnboardingWindowController::show(AppState& state, int startPage)
{
    if (!window) {
        prepare();
        window = std::make_unique<UtilityWindow>(
            "Knucklet Setup", windowPlatform.windowActivation(), windowPlatform.windowEdges());
        observation = state.observe([this] { window->invalidate(); });
    }
    const auto page = std::make_shared<Published<int>>([this] { window->invalidate(); });
    page->initialize(std::min(std::max(startPage, 0), 3));
    const auto place = window->center();
    const int room = windowPlatform.panelHost().workArea({ place.x(), place.y() }).height;
    window->present([this, &state, page, height = std::min(OnboardingView::fullHeight, room)] {
        return OnboardingView { state, *page, platform.folders(), platform.listenAccess(), platform.desktop(),
            height }
            .body();
    });
}

void OnboardingWindowController::close()
{
    if (window)
        window->close();
}
