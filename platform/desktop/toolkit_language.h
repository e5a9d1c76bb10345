// The language of the toolkit's own words, such as those of a file dialog: it is that of the pages.
#pragma once

class QApplication;

namespace platform::desktop {

// Loads the toolkit's translations, before the first window. Without the package that has them the
// words stay English. On the toolkit's thread.
void LoadToolkitLanguage(QApplication& application);

// Whether the session speaks the language of the pages; where it does not, dialogs of the session's
// own would not either.
bool SessionHasLanguageOfPages();

} // namespace platform::desktop
