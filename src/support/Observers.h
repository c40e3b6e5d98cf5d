#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

/// Functions to call when something has changed. Any of them may come or go while they are being called.
class Observers final {
public:
    /// Observes for as long as it lives; it may outlive the observers it came from.
    using Subscription = std::shared_ptr<void>;

    [[nodiscard]] Subscription add(std::function<void()> changed)
    {
        auto observer = std::make_shared<std::function<void()>>(std::move(changed));
        observers.push_back(observer);
        return observer;
    }

    void notify()
    {
        std::erase_if(observers, [](const auto& observer) { return observer.expired(); });
        // By index: an observer that adds another one moves the vector's memory.
        for (std::size_t i = 0; i < observers.size(); ++i) {
            if (const auto observer = observers[i].lock())
                (*observer)();
        }
    }

private:
    std::vector<std::weak_ptr<std::function<void()>>> observers;
};
