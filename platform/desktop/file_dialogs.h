// The desktop's own file dialogs.
#pragma once

#include "platform/windows/display.h"

#include <QFileDialog>
#include <QPointer>

#include <mutex>
#include <optional>

namespace platform::desktop {

// One dialog at a time. On the toolkit's thread, but for NextAnswer.
class FileDialogs {
public:
    // Over `page`, which may be null.
    void Show(const FileRequest& request, QWidget* page);
    // Nobody waits for an answer any more.
    void Close();
    // Shown with the next dialog.
    void SetError(const std::string& sentence) { error_ = sentence; }

    // Any thread.
    std::optional<FileAnswer> NextAnswer();

private:
    QString NameFor(const FileRequest& request) const;
    void Store(FileAnswer answer);

    QPointer<QFileDialog> dialog_;
    std::string error_;
    QString folder_; // where the user was last
    QString given_;  // the file that the user named last

    std::mutex lock_;
    std::optional<FileAnswer> answer_;
};

} // namespace platform::desktop
