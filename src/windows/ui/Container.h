#pragma once

#include <vector>

class QWidget;

/// A widget in which the widgets of other views stand.
class Container {
public:
    virtual ~Container() = default;

    virtual const std::vector<QWidget*>& widgets() const = 0;
    /// One widget for each place, or none; the container takes them over. A widget that is left out here is
    /// no longer the container's.
    virtual void setWidgets(std::vector<QWidget*> widgets) = 0;
};
