// The toolkit's translations, by its names for them: qtbase_<language>.
//
// The toolkit alone would follow the session, and a French page would open an English file dialog.

#include "platform/desktop/toolkit_language.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <algorithm>
#include <iterator>

namespace platform::desktop {

namespace {

// That of a session is taken where it is among them, else the first one.
constexpr QLocale::Language LanguagesOfPages[] = {QLocale::French};

} // namespace

bool SessionHasLanguageOfPages() {
    return std::ranges::find(LanguagesOfPages, QLocale::system().language()) !=
           std::end(LanguagesOfPages);
}

void LoadToolkitLanguage(QApplication& application) {
    const QLocale locale =
        SessionHasLanguageOfPages() ? QLocale::system() : QLocale(LanguagesOfPages[0]);
    auto* translations = new QTranslator(&application);
    if (translations->load(locale, "qtbase", "_",
                           QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(translations);
}

} // namespace platform::desktop
