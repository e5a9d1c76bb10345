// A transfer changes its bar and its figure a hundred times and more. The toolkit reports all of
// that, and a screen reader that says it is never silent.

#include "platform/desktop/announcements.h"

#include <QAccessible>
#include <QApplication>
#include <QProgressBar>

namespace platform::desktop {

namespace {

constexpr int Steps = 10; // of the whole way

int StepOf(const QProgressBar& bar) {
    const qint64 whole = qint64{bar.maximum()} - bar.minimum();
    const qint64 done = qint64{bar.value()} - bar.minimum();
    return static_cast<int>(whole > 0 ? Steps * done / whole : 0);
}

// The step is kept with the bar, where it is found the next time.
bool ReachesStep(QProgressBar& bar) {
    constexpr char Announced[] = "announced step";
    const QVariant before = bar.property(Announced);
    bar.setProperty(Announced, StepOf(bar));
    return StepOf(bar) > 0 && before != StepOf(bar);
}

// What is not yet visible is heard with its page.
bool IsWorthHearing(QAccessibleEvent& event) {
    auto* widget = qobject_cast<QWidget*>(event.object());
    if (!widget)
        return true;
    auto* bar = qobject_cast<QProgressBar*>(widget);
    switch (event.type()) {
    case QAccessible::ValueChanged:
        return !bar || ReachesStep(*bar);
    case QAccessible::NameChanged:
        return widget->isVisible() && !widget->window()->findChild<QProgressBar*>();
    case QAccessible::DescriptionChanged:
        return widget->isVisible();
    default:
        return true;
    }
}

// In place of the toolkit's own way, to which it hands on what is worth hearing.
void Announce(QAccessibleEvent* event) {
    if (!IsWorthHearing(*event))
        return;
    const auto here = QAccessible::installUpdateHandler(nullptr);
    QAccessible::updateAccessibility(event);
    QAccessible::installUpdateHandler(here);
}

// The toolkit looks for screen readers while the first page comes up, which may be there before it
// has found one: then nothing would be heard of that page.
class LateListener : public QAccessible::ActivationObserver {
public:
    void accessibilityActiveChanged(bool active) override {
        if (active) // once the toolkit is ready, behind this call
            QMetaObject::invokeMethod(qApp, AnnounceActiveWindow, Qt::QueuedConnection);
    }

private:
    // It takes notice of nothing less than an activation by the toolkit.
    static void AnnounceActiveWindow() {
        QWidget* const window = QApplication::activeWindow();
        if (!window)
            return; // which announces itself
        QApplication::setActiveWindow(nullptr);
        QApplication::setActiveWindow(window);
    }
};

} // namespace

void ControlAnnouncements() {
    static LateListener listener;
    QAccessible::installActivationObserver(&listener);
    QAccessible::installUpdateHandler(Announce);
}

} // namespace platform::desktop
