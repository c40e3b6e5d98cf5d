#pragma once

#include <QDBusConnection>
#include <QList>
#include <QProcess>
#include <QRect>
#include <QString>

#include <memory>
#include <optional>

class VirtualDesktop;

/// What a screen reader learns of something on the screen, and of what is inside it.
struct Accessible {
    /// Where it is to be found on the bus.
    QString service;
    QString path;

    QString name {};
    QString role {};
    /// In pixels of the screen.
    QRect area {};
    bool isFocused = false;
    bool isChecked = false;
    QList<Accessible> children {};

    /// The first one of that name, itself included.
    const Accessible* find(const QString& wanted) const;
    /// The one that has the keyboard, itself included.
    const Accessible* focused() const;
    /// All without children that are controls or say something, from the first to the last.
    QList<Accessible> elements() const;
};

/// A program of the virtual desktop that reads the others to its user. It must be there before those.
class ScreenReader final {
public:
    explicit ScreenReader(const VirtualDesktop& desktop);
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;
    ~ScreenReader();

    /// Returns when programs can be read; false when that does not come.
    [[nodiscard]] bool start();
    /// The window with that name, as it is now.
    std::optional<Accessible> window(const QString& name) const;
    /// Does with a control what is first among what can be done.
    [[nodiscard]] bool press(const Accessible& control) const;

private:
    /// Everything but the children.
    void describe(Accessible& accessible) const;
    void readInside(Accessible& parent) const;
    QList<Accessible> children(const Accessible& parent) const;
    QVariant property(const Accessible& accessible, const QString& name) const;

    const VirtualDesktop& desktop;
    std::unique_ptr<QProcess> launcher;
    QString sessionName;
    QString busName;
};
