// File dialogs, native where the desktop has its own.

#include "platform/desktop/file_question.h"

#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>

#include <utility>

namespace platform::desktop {

namespace {

// "*.*" is every file on Windows, and here only one with a point in its name.
QStringList FiltersOf(const FileQuestion& question) {
    QStringList filters;
    for (const std::string& filter : question.filters)
        filters.append(QString::fromStdString(filter).replace("(*.*)", "(*)"));
    return filters;
}

} // namespace

void FileQuestions::Ask(const FileQuestion& question, QWidget* page) {
    End();
    if (folder_.isEmpty())
        folder_ = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    auto* dialog = new QFileDialog(page, {}, folder_);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowRole("file-dialog");
    dialog->setAcceptMode(question.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(question.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog->setOption(QFileDialog::DontConfirmOverwrite); // the wizard asks in its own words
    dialog->setNameFilters(FiltersOf(question));
    if (!question.proposal.empty())
        dialog->selectFile(QString::fromStdString(question.proposal));
    dialog_ = dialog;
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [this](const QString& file) {
        folder_ = QFileInfo(file).absolutePath();
        Answer({false, file.toStdString()});
    });
    QObject::connect(dialog, &QFileDialog::rejected, dialog, [this] { Answer({true, {}}); });
    if (page) // has the keyboard again, also where no window manager sees to it
        QObject::connect(dialog, &QFileDialog::finished, page, [page] { page->activateWindow(); });
    dialog->open();
    if (complaint_.empty())
        return;
    auto* box = new QMessageBox(QMessageBox::Warning, {}, QString::fromStdString(complaint_),
                                QMessageBox::Ok, dialog);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
    complaint_.clear();
}

void FileQuestions::End() {
    if (dialog_) {
        dialog_->disconnect();
        dialog_->close();
    }
    const std::lock_guard lock(lock_);
    answer_.reset();
}

void FileQuestions::Answer(FileAnswer answer) {
    {
        const std::lock_guard lock(lock_);
        answer_ = std::move(answer);
    }
    InputArrived();
}

std::optional<FileAnswer> FileQuestions::TakeAnswer() {
    const std::lock_guard lock(lock_);
    return std::exchange(answer_, std::nullopt);
}

} // namespace platform::desktop
