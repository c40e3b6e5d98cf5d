#pragma once

#include "support/FakeProgram.h"
#include "windows/DateTexts.h"
#include "windows/StatsView.h"
#include "windows/ui/View.h"

#include <memory>
#include <string>

/// The panel's content, alive on the fake platform as the program shows it. The platform is set up first,
/// then `open()`.
class ShownPanel final {
public:
    explicit ShownPanel(const std::string& locale = "en_US");
    ~ShownPanel();

    /// Starts the program if it does not run yet, and shows the panel.
    Host& open();

    FakeProgram program;
    DateTexts dates;
    AppState* state = nullptr;
    std::unique_ptr<Host> host;
    /// How often the content was described.
    int renders = 0;

private:
    Observers::Subscription appearance;
    Observers::Subscription model;
};
