#pragma once

#include <QImage>

#include <optional>

class VirtualDesktop;

/// The title of the setup assistant's window.
inline constexpr auto assistantTitle = "Knucklet Setup";

/// The setup assistant as it is seen on a desktop; null while it is not.
QImage assistantPicture(const VirtualDesktop& desktop);

/// The page of the assistant that its dots say is shown, from 0; nothing while it is not on screen. For the
/// light look.
std::optional<int> assistantPage(const VirtualDesktop& desktop);
std::optional<int> assistantPage(const QImage& assistantPicture);
