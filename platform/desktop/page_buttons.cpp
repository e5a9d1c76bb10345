// Buttons that react as on Windows.
//
// A user who is not sure presses a key once more, or holds it. What that must not do is to leave a
// page that has only just come up, or to leave a group of radio buttons without a mark.

#include "platform/desktop/page_buttons.h"

#include <QCheckBox>
#include <QKeyEvent>
#include <QPushButton>
#include <QRadioButton>

namespace platform::desktop {

namespace {

bool IsEnter(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

// The toolkit presses a focused button by each repetition of a held Enter, page after page. And it
// leaves the focus where it was when a button is pressed by its letter: with a file dialog called
// off, Enter would press that other button.
class PushButton : public QPushButton {
public:
    using QPushButton::QPushButton;

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::Shortcut)
            setFocus(Qt::ShortcutFocusReason);
        return QPushButton::event(event);
    }
    void keyPressEvent(QKeyEvent* event) override {
        if (event->isAutoRepeat() && IsEnter(*event))
            event->accept();
        else
            QPushButton::keyPressEvent(event);
    }
};

// Reacts to a click anywhere on it, as on Windows, and not on its words alone; and leaves Enter to
// the default button. On some desktops the toolkit marks by Enter as by Space, and whoever presses
// it once too often would go on with a choice that nobody has made.
template <class Button>
class WholeButton : public Button {
public:
    using Button::Button;

protected:
    bool hitButton(const QPoint& point) const override { return this->rect().contains(point); }
    void keyPressEvent(QKeyEvent* event) override {
        if (IsEnter(*event))
            event->ignore();
        else
            Button::keyPressEvent(event);
    }
};

// How far an arrow key leads in a group; 0: it is none.
int StepOf(int key) {
    switch (key) {
    case Qt::Key_Up:
    case Qt::Key_Left:
        return -1;
    case Qt::Key_Down:
    case Qt::Key_Right:
        return 1;
    default:
        return 0;
    }
}

// An arrow key marks what it goes to, round and round. The toolkit's own arrows only move the focus
// while none is marked, and stop at the ends.
class RadioButton : public WholeButton<QRadioButton> {
public:
    using WholeButton::WholeButton;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (const int step = StepOf(event->key()))
            MarkNeighbour(step);
        else
            WholeButton::keyPressEvent(event);
    }

private:
    void MarkNeighbour(int step) {
        auto group = parentWidget()->findChildren<QRadioButton*>(Qt::FindDirectChildrenOnly);
        group.removeIf([](const QRadioButton* button) { return !button->isEnabled(); });
        const qsizetype next = group.indexOf(this) + step + group.size();
        QRadioButton* const neighbour = group[next % group.size()];
        neighbour->setFocus(Qt::TabFocusReason);
        neighbour->click();
    }
};

} // namespace

QAbstractButton* MakePageButton(ControlKind kind, QWidget* page) {
    switch (kind) {
    case ControlKind::PushButton: {
        auto* button = new PushButton(page);
        button->setAutoDefault(false); // the page says which one has the look
        return button;
    }
    case ControlKind::CheckBox:
        return new WholeButton<QCheckBox>(page);
    case ControlKind::RadioButton:
        return new RadioButton(page);
    default:
        return nullptr;
    }
}

} // namespace platform::desktop
