// Letters that work a control together with Alt. Pages have none of their own: the desktop gives
// them where it underlines letters, and the words stay as they are.
#pragma once

#include <QString>

namespace platform::desktop {

// The text of a button in the toolkit's writing, with a letter marked that is not among `taken`,
// and added there; without one where all are taken. Buttons that lead through most dialogs have
// the same letter on every page, and no other button has one of theirs.
QString WithMnemonic(const QString& words, QString& taken);

} // namespace platform::desktop
