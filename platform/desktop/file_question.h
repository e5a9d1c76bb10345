// The desktop's own file dialogs.
#pragma once

#include "platform/display.h"

#include <QFileDialog>
#include <QPointer>

#include <mutex>
#include <optional>

namespace platform::desktop {

// One question at a time, as the wizard asks. On the toolkit's thread, but for TakeAnswer.
class FileQuestions {
public:
    // Over the page that asks, where it has one.
    void Ask(const FileQuestion& question, QWidget* page);
    // Nobody waits for an answer any more.
    void End();
    // Said to the user before the question that follows.
    void Complain(const std::string& sentence) { complaint_ = sentence; }

    // Any thread.
    std::optional<FileAnswer> TakeAnswer();

private:
    void Answer(FileAnswer answer);

    QPointer<QFileDialog> dialog_;
    std::string complaint_;
    QString folder_; // where the user was last

    std::mutex lock_;
    std::optional<FileAnswer> answer_;
};

} // namespace platform::desktop
