#pragma once

#include "support/FakeCard.h"
#include "windows/ShareCard.h"

#include <QImage>
#include <QRect>

#include <memory>

class QPushButton;
class UtilityWindow;

/// The day card's window on the fake platform, which has the permission and an ordinary week.
class ShownCard final {
public:
    ShownCard();

    /// Starts the program if it does not run yet, and shows the card.
    void show();

    /// Null while there is none.
    UtilityWindow* window() const;
    /// Null while there is no such button.
    QPushButton* button(const QString& text) const;
    void click(const QString& text) const;
    /// The small card in the window; null while there is none.
    QWidget* preview() const;
    /// What a screen reader says of the small card.
    QString said() const;
    /// Where a widget stands in the window, without the margins that reach over what is around it. One that
    /// is not there stands nowhere.
    QRect placeOf(const QWidget* widget) const;

    /// The picture of the numbers that the program has now.
    QImage pictureOfNow();
    void press(int keys);

    FakeCard fake;
    FakePlatform& platform;

private:
    AppState* state = nullptr;
    std::unique_ptr<ShareCardWindowController> controller;
};
