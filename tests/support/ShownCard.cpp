#include "support/ShownCard.h"

#include "support/Widgets.h"
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
    QList<UtilityWindow*> found;
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (auto* window = dynamic_cast<UtilityWindow*>(widget))
            found.append(window);
    }
    // There is one, whatever happens.
    if (found.size() > 1)
        QTest::qFail("There are several windows", __FILE__, __LINE__);
    return found.value(0);
}

QPushButton* ShownCard::button(const QString& text) const
{
    auto* shown = window();
    if (!shown)
        return nullptr;
    for (auto* button : shown->findChildren<QPushButton*>()) {
        if (button->text() == text && button->isVisibleTo(shown))
            return button;
    }
    return nullptr;
}

void ShownCard::click(const QString& text) const
{
    auto* found = button(text);
    QVERIFY2(found, qPrintable(text));
    QTest::mouseClick(found, Qt::LeftButton);
}

QWidget* ShownCard::preview() const
{
    auto* shown = window();
    if (!shown)
        return nullptr;
    for (auto* widget : shown->findChildren<QWidget*>()) {
        if (widget->accessibleName().contains(" · ") && widget->isVisibleTo(shown))
            return widget;
    }
    return nullptr;
}

QString ShownCard::said() const
{
    const auto* card = preview();
    return card ? card->accessibleName() : QString();
}

QRect ShownCard::placeOf(const QWidget* widget) const
{
    const auto* shown = window();
    return shown ? placeIn(*shown, widget) : QRect();
}

QImage ShownCard::pictureOfNow() { return fake.view(cardPicture()).rendered(); }

void ShownCard::press(int keys)
{
    for (int i = 0; i < keys; ++i)
        platform.press();
}
