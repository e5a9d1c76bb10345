// Chooses the letters that work controls together with Alt. Those beyond ASCII are left out: not
// every keyboard has them.

#include "platform/desktop/mnemonics.h"

#include <algorithm>
#include <iterator>

namespace platform::desktop {

namespace {

// By their first letters. A user learns these on the first page; one that led elsewhere on another
// page would be pressed all the same. A further language is further words.
const QString CommonButtons[] = {"Suivant", "Annuler", "Quitter", "Terminer"};

bool IsCommon(const QString& words) {
    return std::ranges::find(CommonButtons, words) != std::end(CommonButtons);
}

bool IsKept(QChar letter) {
    return std::ranges::any_of(CommonButtons, [letter](const QString& words) {
        return words.startsWith(letter, Qt::CaseInsensitive);
    });
}

} // namespace

QString WithMnemonic(const QString& words, QString& taken) {
    const bool common = IsCommon(words);
    QString marked = words;
    marked.replace('&', "&&");
    for (qsizetype index = 0; index < marked.size(); ++index) {
        const QChar letter = marked[index].toLower();
        if (letter < QChar('a') || letter > QChar('z') || taken.contains(letter) ||
            (IsKept(letter) && !common))
            continue;
        taken.append(letter);
        return marked.insert(index, '&');
    }
    return marked;
}

} // namespace platform::desktop
