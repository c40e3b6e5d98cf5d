#pragma once

#include "model/AppState.h"
#include "support/Published.h"
#include "windows/DateTexts.h"
#include "windows/NumberTexts.h"
#include "windows/ShareCardView.h"
#include "windows/ui/View.h"

#include <QCoreApplication>
#include <QImage>

#include <functional>
#include <memory>

class Clock;
class Pasteboard;
class Platform;
class SavePanel;
class ShareSheet;
class UtilityWindow;
class WindowPlatform;

/// What belongs to one showing of the day card, and goes with it.
struct ShareCardShowing {
    /// `changed` is called when there is something else to show.
    explicit ShareCardShowing(std::function<void()> changed);

    const DateTexts dates = DateTexts::forUser();
    const NumberTexts numbers = NumberTexts::forUser();
    /// Decoding it takes longer than drawing a card.
    QImage background;
    /// The card that the preview shows, however often it is painted.
    std::shared_ptr<const ShareCardView> previewed;
    /// What Share sends; null until the preview has been seen.
    Published<QImage> rendered;
};

/// The day card as it will look, and what can be done with it. It does not follow the counters.
struct ShareCardPreview {
    AppState& state;
    const Clock& clock;
    Pasteboard& pasteboard;
    SavePanel& savePanel;
    ShareSheet& shareSheet;
    std::shared_ptr<ShareCardShowing> showing;

    View body() const;

    /// The card of this moment.
    ShareCardView card() const;

private:
    View preview() const;
    View buttons() const;
    View shareButton() const;

    void appeared() const;
    void copy() const;
    void savePNG() const;
    void share() const;

    Q_DECLARE_TR_FUNCTIONS(ShareCardPreview)
};

/// Owns the day card's window: made at the first `show`, kept and reused.
class ShareCardWindowController final : public ShareCardWindow {
public:
    /// `prepare` is called before the window is made. The platforms must outlive the controller.
    ShareCardWindowController(
        Platform& platform, WindowPlatform& windowPlatform, std::function<void()> prepare);
    ShareCardWindowController(const ShareCardWindowController&) = delete;
    ShareCardWindowController& operator=(const ShareCardWindowController&) = delete;
    ~ShareCardWindowController() override;

    void show(AppState& state) override;

private:
    Platform& platform;
    WindowPlatform& windowPlatform;
    std::function<void()> prepare;
    std::unique_ptr<UtilityWindow> window;

    Q_DECLARE_TR_FUNCTIONS(ShareCardWindowController)
};
