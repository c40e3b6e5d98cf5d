#pragma once

#include <QRect>
#include <QString>

class QAbstractButton;
class QLabel;
class QWidget;

/// A button by what it says, or by what a screen reader says of it; null when there is none.
QAbstractButton* buttonWith(const QWidget& window, const QString& text);
/// A label by its text; null when there is none.
QLabel* labelWith(const QWidget& window, const QString& text);

// The same where there must be one. Without it the test fails and goes on with one that stands nowhere, so
// that the tests after it still run.

QAbstractButton& theButton(const QWidget& window, const QString& text);
QLabel& theLabel(const QWidget& window, const QString& text);

/// Where a widget of the window stands in it, without the margins that reach over what is around it. One that
/// is not there stands nowhere.
QRect placeIn(const QWidget& window, const QWidget* widget);
