#pragma once

#include "model/AppState.h"
#include "platform/fake/FakePlatform.h"

#include <QTemporaryDir>
#include <QWidget>

#include <memory>

/// The program with its real setup assistant, on the fake platform. The platform is set up first, then
/// `start()` runs the program's start-up.
class ShownAssistant final {
public:
    ShownAssistant();
    ~ShownAssistant();

    AppState& start();
    /// Starts the program if it does not run yet, and opens the assistant at a page. Where no window opens,
    /// the test fails and goes on with an empty one.
    QWidget& show(int startPage = 0);
    /// Null before the assistant has been opened for the first time.
    QWidget* window() const;

    QTemporaryDir folder;
    FakePlatform platform;
    std::unique_ptr<AppState> state;

private:
    QWidget nothing;
    Observers::Subscription appearance;
};
