#include "support/Widgets.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace {

void failWithout(const QString& text)
{
    QTest::qFail(qPrintable("Nothing says \"" + text + '"'), __FILE__, __LINE__);
}

}

QAbstractButton* buttonWith(const QWidget& window, const QString& text)
{
    for (auto* button : window.findChildren<QAbstractButton*>()) {
        if (button->text() == text || button->accessibleName() == text)
            return button;
    }
    return nullptr;
}

QLabel* labelWith(const QWidget& window, const QString& text)
{
    for (auto* label : window.findChildren<QLabel*>()) {
        if (label->text() == text)
            return label;
    }
    return nullptr;
}

QAbstractButton& theButton(const QWidget& window, const QString& text)
{
    if (auto* button = buttonWith(window, text))
        return *button;
    failWithout(text);
    // Never deleted, since widgets must not outlive the application.
    static auto* const nowhere = new QPushButton;
    return *nowhere;
}

QLabel& theLabel(const QWidget& window, const QString& text)
{
    if (auto* label = labelWith(window, text))
        return *label;
    failWithout(text);
    static auto* const nowhere = new QLabel;
    return *nowhere;
}

QRect placeIn(const QWidget& window, const QWidget* widget)
{
    if (!widget || !window.isAncestorOf(widget))
        return {};
    return widget->contentsRect().translated(widget->mapTo(&window, QPoint()));
}
