#include "support/AssistantOnScreen.h"

#include "support/DesktopWindows.h"
#include "support/Screenshot.h"
#include "support/VirtualDesktop.h"

#include <algorithm>
#include <vector>

QImage assistantPicture(const VirtualDesktop& desktop)
{
    const DesktopWindows windows(desktop.display());
    const auto window = windows.find(assistantTitle);
    if (window == XCB_WINDOW_NONE || !windows.isShown(window))
        return {};
    return screenshot(desktop.display(), windows.place(window));
}

std::optional<int> assistantPage(const VirtualDesktop& desktop)
{
    return assistantPage(assistantPicture(desktop));
}

std::optional<int> assistantPage(const QImage& picture)
{
    if (picture.size() != QSize(540, 560))
        return {};
    constexpr int pageCount = 4;
    constexpr int distance = 13;
    std::vector<int> dark;
    for (int i = 0; i < pageCount; ++i) {
        const int x = picture.width() / 2 + i * distance - (pageCount - 1) * distance / 2;
        int darkest = 255;
        for (int y = picture.height() - 50; y < picture.height() - 20; ++y)
            darkest = std::min(darkest, qGray(picture.pixel(x, y)));
        if (darkest < 60)
            dark.push_back(i);
    }
    // All of them are, before the window is drawn for the first time.
    return dark.size() == 1 ? std::optional(dark.front()) : std::nullopt;
}
