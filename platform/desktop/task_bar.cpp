// The launcher's progress, at most once a percent.

#include "platform/desktop/task_bar.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <cmath>

namespace platform::desktop {

void TaskBar::Show(double part) {
    const int percent = static_cast<int>(std::lround(100 * part));
    if (percent == percent_)
        return;
    percent_ = percent;
    Send(true, part);
}

void TaskBar::Clear() {
    if (percent_ < 0)
        return;
    percent_ = -1;
    Send(false, 0);
}

void TaskBar::Send(bool visible, double part) {
    auto message = QDBusMessage::createSignal("/", "com.canonical.Unity.LauncherEntry", "Update");
    message << QStringLiteral("application://rom-wizard.desktop")
            << QVariantMap{{"progress", part}, {"progress-visible", visible}};
    QDBusConnection::sessionBus().send(message);
}

} // namespace platform::desktop
