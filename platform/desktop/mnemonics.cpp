// Letters with Alt. Those beyond ASCII are left out: not every keyboard has them.

#include "platform/desktop/mnemonics.h"

namespace platform::desktop {

QString WithMnemonic(const QString& words, QString& taken) {
    QString marked = words;
    marked.replace('&', "&&");
    for (qsizetype place = 0; place < marked.size(); ++place) {
        const QChar letter = marked[place].toLower();
        if (letter < QChar('a') || letter > QChar('z') || taken.contains(letter))
            continue;
        taken.append(letter);
        return marked.insert(place, '&');
    }
    return marked;
}

} // namespace platform::desktop
