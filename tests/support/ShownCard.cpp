#include "support/ShownCard.h"

#include "windows/ui/Look.h"
#include "windows/ui/UtilityWindow.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

ShownCard::ShownCard()
    : fake(ordinaryWeek())
    , platform(fake.program.platform)
{
    platform.grantAccess();
    platform.addPictures(PICTURES_FOLDER);
    applyLook(ColorScheme::Light, Motion::Reduced);
}

void ShownCard::show()
{
    if (!state) {
        state = &fake.start();
        controller = std::make_unique<ShareCardWindowController>(platform, platform, [] {});
    }
    controller->show(*state);
}

UtilityWindow* ShownCard::window() const
{
    UtilityWindow* found = nullptr;
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (auto* window = dynamic_cast<UtilityWindow*>(widget)) {
            // There is one, whatever happens.
            Q_ASSERT(!found);
            found = window;
        }
    }
    return found;
}

QPushButton* ShownCard::button(const QString& text) const
{
    for (auto* button : window()->findChildren<QPushButton*>()) {
        if (button->text() == text && button->isVisibleTo(window()))
            return button;
    }
    return nullptr;
}

void ShownCard::click(const QString& text) const
{
    auto* found = button(text);
    QVERIFY(found);
    QTest::mouseClick(found, Qt::LeftButton);
}

QWidget* ShownCard::preview() const
{
    // By what a screen reader says of it.
    for (auto* widget : window()->findChildren<QWidget*>()) {
        if (widget->accessibleName().contains(" · ") && widget->isVisibleTo(window()))
            return widget;
    }
    return nullptr;
}

QRect ShownCard::placeOf(const QWidget* widget) const
{
    return widget->contentsRect().translated(widget->mapTo(window(), QPoint()));
}

QImage ShownCard::pictureOfNow() { return fake.view(cardPicture()).rendered(); }

void ShownCard::press(int keys)
{
    for (int i = 0; i < keys; ++i)
        platform.press();
}
