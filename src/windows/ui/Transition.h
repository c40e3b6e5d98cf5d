#pragma once

#include "windows/ui/Spring.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QPixmap>
#include <QWidget>

class Stack;

/// Covers a stack whose content changes: what it showed fades into what it shows now, and its box springs to
/// its new height. The stack itself is up to date all the while. The object ends with the movement, or with
/// the stack's disappearing.
class Transition final : public QWidget {
public:
    /// Made while the stack still has its old content.
    explicit Transition(Stack& stack);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    double boxHeight() const;
    void end();

    static constexpr int frameInterval = 16;

    Stack& stack;
    const QPixmap before;
    const int heightBefore;
    /// Taken at the first frame, when everything has found its place.
    QPixmap after;
    Spring motion { .response = 0.25, .offset = 1 };
    QBasicTimer frames;
    QElapsedTimer sinceFrame;
};
