#pragma once

#include <memory>
#include <utility>

/// A member of an object that hands functions to others who may call them after it is gone. Declared last, so
/// that it ends first.
class Lifetime final {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    /// The function for as long as this object lives; from then on one that does nothing.
    template <typename Function>
    [[nodiscard]] auto guard(Function function) const
    {
        return [alive = std::weak_ptr(token), function = std::move(function)](auto&&... arguments) {
            if (!alive.expired())
                function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

private:
    struct Token { };

    std::shared_ptr<Token> token = std::make_shared<Token>();
};
