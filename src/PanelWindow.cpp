#include "PanelWindow.h"

#include <QBoxLayout>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>

#include <algorithm>

namespace {

constexpr int panelWidth = 300;

QLabel* countLabel(QBoxLayout& layout, const QString& name)
{
    auto* label = new QLabel;
    label->setObjectName(name);
    auto font = label->font();
    font.setPixelSize(26);
    font.setBold(true);
    label->setFont(font);
    layout.addWidget(label);
    return label;
}

}

// A tool window and not a popup: popups cannot be read by screen readers and get no keyboard on XWayland.
PanelWindow::PanelWindow()
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    setWindowTitle("Knucklet");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 14, 14, 14);
    keysLabel = countLabel(*layout, "keys");
    clicksLabel = countLabel(*layout, "clicks");
    setFixedWidth(panelWidth);
}

void PanelWindow::setCounts(std::int64_t keys, std::int64_t clicks)
{
    keysLabel->setText(QString::number(keys) + " keys");
    clicksLabel->setText(QString::number(clicks) + " clicks");
}

void PanelWindow::openBeside(QPoint place)
{
    const auto* screen = QGuiApplication::screenAt(place);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    adjustSize();
    move(placeBeside(place, size(), screen->availableGeometry()));
    show();
    raise();
    activateWindow();
}

bool PanelWindow::event(QEvent* event)
{
    const bool isEscape
        = event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape;
    if (isEscape || event->type() == QEvent::WindowDeactivate) {
        hide();
        return true;
    }
    return QWidget::event(event);
}

QPoint placeBeside(QPoint place, QSize size, QRect workArea)
{
    const auto within = [](int wanted, int first, int end, int length) {
        return std::max(std::min(wanted, end - length), first);
    };
    return {
        within(
            place.x() - size.width() / 2, workArea.left(), workArea.left() + workArea.width(), size.width()),
        within(
            place.y() - size.height() / 2, workArea.top(), workArea.top() + workArea.height(), size.height()),
    };
}
