// The order of a page's controls for a screen reader.
//
// The toolkit's own order is that in which they were made, and so the template's, in which the
// control that has the focus at first comes first. Read from top to bottom, a page has a question
// before its answers.

#include "platform/desktop/page_tree.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>

#include <algorithm>
#include <tuple>

namespace platform::desktop {

namespace {

constexpr char LeftOut[] = "left out of the tree";

bool ComesBefore(const QWidget* one, const QWidget* other) {
    const QPoint first = one->pos(), second = other->pos();
    return std::tuple(first.y(), first.x()) < std::tuple(second.y(), second.x());
}

class PageTree : public QAccessibleWidget {
public:
    explicit PageTree(QWidget* surface) : QAccessibleWidget(surface) {}

    int childCount() const override { return static_cast<int>(Controls().size()); }
    QAccessibleInterface* child(int index) const override {
        const QWidgetList controls = Controls();
        return index >= 0 && index < controls.size()
                   ? QAccessible::queryAccessibleInterface(controls[index])
                   : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return static_cast<int>(Controls().indexOf(qobject_cast<QWidget*>(child->object())));
    }

private:
    QWidgetList Controls() const {
        QWidgetList controls = widget()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
        controls.removeIf(
            [](const QWidget* control) { return control->property(LeftOut).isValid(); });
        std::ranges::stable_sort(controls, ComesBefore);
        return controls;
    }
};

} // namespace

void UsePageTree(QWidget* surface) {
    QAccessible::registerAccessibleInterface(new PageTree(surface)); // which owns it from now on
}

void LeaveOutOfTree(QWidget* control) { control->setProperty(LeftOut, true); }

} // namespace platform::desktop
