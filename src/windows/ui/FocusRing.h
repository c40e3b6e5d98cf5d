#pragma once

#include <QWidget>

/// A ring around the control on which the keyboard acts, above everything else in its parent. Shown only to
/// those who move about with the keyboard.
class FocusRing final : public QWidget {
public:
    explicit FocusRing(QWidget* parent);

    /// Puts the ring where the focus is now. To be called after controls have moved.
    void follow();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// What of the ring is not scrolled out of sight.
    QRect visible;
};
