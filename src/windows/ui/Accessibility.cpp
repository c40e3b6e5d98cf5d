#include "windows/ui/Accessibility.h"

#include "windows/ui/Stack.h"

#include <QAccessibleWidget>

namespace {

class AccessibleStack final : public QAccessibleWidget {
public:
    explicit AccessibleStack(Stack* stack)
        : QAccessibleWidget(stack, QAccessible::Grouping)
    {
    }

    QAccessible::Role role() const override
    {
        return isOne() ? QAccessible::StaticText : QAccessibleWidget::role();
    }
    int childCount() const override { return isOne() ? 0 : QAccessibleWidget::childCount(); }
    QAccessibleInterface* child(int index) const override
    {
        return isOne() ? nullptr : QAccessibleWidget::child(index);
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return isOne() ? -1 : QAccessibleWidget::indexOfChild(child);
    }

private:
    bool isOne() const { return !widget()->accessibleName().isEmpty(); }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object)
{
    // Screen readers know no tool windows; one with controls in it is a dialog.
    if (auto* window = dynamic_cast<QWidget*>(object); window && window->windowType() == Qt::Tool)
        return new QAccessibleWidget(window, QAccessible::Dialog, window->windowTitle());
    if (auto* stack = dynamic_cast<Stack*>(object))
        return new AccessibleStack(stack);
    return nullptr;
}

}

void installAccessibility() { QAccessible::installFactory(makeInterface); }
