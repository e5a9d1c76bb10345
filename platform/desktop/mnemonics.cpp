// Chooses the letters that work controls together with Alt. Those beyond ASCII are left out: not
// every keyboard has them.

#include "platform/desktop/mnemonics.h"

namespace platform::desktop {

QString WithMnemonic(const QString& words, QString& taken) {
    QString marked = words;
    marked.replace('&', "&&");
    for (qsizetype index = 0; index < marked.size(); ++index) {
        const QChar letter = marked[index].toLower();
        if (letter < QChar('a') || letter > QChar('z') || taken.contains(letter))
            continue;
        taken.append(letter);
        return marked.insert(index, '&');
    }
    return marked;
}

} // namespace platform::desktop
