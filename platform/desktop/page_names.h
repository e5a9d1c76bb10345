// What a page and its controls are called, for a user who hears them instead of seeing them.
#pragma once

#include "platform/windows/display.h"

#include <QString>

namespace platform::desktop {

// A text of the model without the blanks around it.
QString Words(const std::string& text);

// What sets a page apart from others: the first sentence of its uppermost text, which is its
// heading where it has one. Empty: a page without texts.
QString HeadingOf(const PageView& page);

// The name of a page's window: its heading and, where it has one, its title. The heading is heard
// first, since the title is the same on all pages.
QString NameOf(const PageView& page);

// The name of a button or of a progress bar.
QString NameOf(const PageView& page, const ControlView& control);

// The words of the label in front of a text: of one on its line that ends with a colon. Empty:
// none.
QString LabelOfText(const PageView& page, const ControlView& text);
// Whether the control is such a label.
bool IsLabelOfText(const PageView& page, const ControlView& control);

// The name of a text that does not say all by its own words: a word for what its colour says, the
// label, and its words. A relation to the label would not do: screen readers leave out what has
// one, and labels of one word, where they read a page aloud. Empty: its words are its name.
QString NameOfText(const ControlView& text, const QString& label);

// The control without words of its own that the text is the label of. Null: none.
const ControlView* WordlessControl(const PageView& page, const ControlView& text);

// What a push button does, by the text beside it. Empty: there is none.
QString DescriptionOf(const PageView& page, const ControlView& control);

} // namespace platform::desktop
