#pragma once

#include <functional>
#include <utility>

/// A property that views may read: assigning it stores the value, notifies, then runs the side effect, also
/// when the value is the same. It cannot be copied, so that nobody keeps a property where a value was meant.
template <typename T>
class Published final {
public:
    /// Both functions are called on the thread that assigns; `didSet` may be empty and receives the value
    /// just stored.
    explicit Published(std::function<void()> changed, std::function<void(const T&)> didSet = {})
        : changed(std::move(changed))
        , didSet(std::move(didSet))
    {
    }

    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    operator const T&() const { return value; }

    Published& operator=(T next)
    {
        value = std::move(next);
        changed();
        if (didSet)
            didSet(value);
        return *this;
    }

    /// Gives the value that start-up found. Nobody is notified and no side effect runs.
    void initialize(T initial) { value = std::move(initial); }

private:
    std::function<void()> changed;
    std::function<void(const T&)> didSet;
    T value {};
};
