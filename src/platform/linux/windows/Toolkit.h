#pragma once

#include <QApplication>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

class OwnProcess;

/// The toolkit's application object, made late and for windows only: what the program has settled before
/// stays as it is.
class Toolkit final {
public:
    /// The process must outlive it. `windowsShown` hears whether any window is to be seen, as often as that
    /// changes.
    Toolkit(OwnProcess& process, std::function<void(bool)> windowsShown);
    Toolkit(const Toolkit&) = delete;
    Toolkit& operator=(const Toolkit&) = delete;
    ~Toolkit();

    /// Whether there is a display that the toolkit can reach. Without one it shows nothing.
    bool hasDisplay() const;

private:
    std::optional<QApplication> application;
    std::unique_ptr<QObject> shownWindows;
};
