#pragma once

#include <memory>

/// The toolkit's application object as a guest of the system's, which exists already and whose run loop
/// serves both.
class GuestToolkit final {
public:
    GuestToolkit();
    GuestToolkit(const GuestToolkit&) = delete;
    GuestToolkit& operator=(const GuestToolkit&) = delete;
    ~GuestToolkit();

private:
    struct Application;

    std::unique_ptr<Application> application;
};
