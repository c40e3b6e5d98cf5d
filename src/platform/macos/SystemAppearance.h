#pragma once

#include "platform/Appearance.h"

@class KnuckletAppearanceListener;

/// The appearance of the application object, the accent color, and the user's wish for less motion.
class SystemAppearance final : public Appearance {
public:
    SystemAppearance();
    SystemAppearance(const SystemAppearance&) = delete;
    SystemAppearance& operator=(const SystemAppearance&) = delete;
    ~SystemAppearance() override;

    ColorScheme colorScheme() const override;
    Motion motion() const override;
    std::optional<AccentColor> accent() const override;
    Observers::Subscription observe(std::function<void()> changed) override;

private:
    Observers observers;
    KnuckletAppearanceListener* listener;
};
