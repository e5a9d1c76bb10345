// File dialogs, native where the desktop has its own and the session speaks the language of the
// pages: what belongs to the session has the session's words.

#include "platform/desktop/file_dialogs.h"

#include "platform/base/text.h"
#include "platform/desktop/toolkit_language.h"
#include "platform/files/paths.h"

#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>

#include <string>
#include <utility>

namespace platform::desktop {

namespace {

// "*.*" is every file on Windows, and here only one with a point in its name.
QStringList FiltersOf(const FileRequest& request) {
    QStringList filters;
    for (const std::string& filter : request.filters)
        filters.append(QString::fromStdString(filter).replace("(*.*)", "(*)"));
    return filters;
}

} // namespace

void FileDialogs::Show(const FileRequest& request, QWidget* page) {
    Close();
    if (folder_.isEmpty())
        folder_ = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    auto* dialog = new QFileDialog(page, {}, folder_);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowRole("file-dialog");
    dialog->setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(request.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog->setOption(QFileDialog::DontConfirmOverwrite); // the program asks in its own words
    dialog->setOption(QFileDialog::DontUseNativeDialog, !SessionHasLanguageOfPages());
    dialog->setNameFilters(FiltersOf(request));
    if (const QString name = NameFor(request); !name.isEmpty())
        dialog->selectFile(name);
    dialog_ = dialog;
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [this](const QString& file) {
        folder_ = QFileInfo(file).absolutePath();
        given_ = file;
        Store({false, file.toStdString()});
    });
    QObject::connect(dialog, &QFileDialog::rejected, dialog, [this] { Store({true, {}}); });
    if (page) // has the keyboard again, also where no window manager sees to it
        QObject::connect(dialog, &QFileDialog::finished, page, [page] { page->activateWindow(); });
    dialog->open();
    if (error_.empty())
        return;
    auto* box = new QMessageBox(QMessageBox::Warning, dialog->windowTitle(),
                                QString::fromStdString(error_), QMessageBox::Ok, dialog);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
    error_.clear();
}

// After an error the name that was refused, to be put right. A path that the program proposes is
// one of Windows, and would be the name of a file here.
QString FileDialogs::NameFor(const FileRequest& request) const {
    if (!error_.empty() && !given_.isEmpty())
        return given_;
    const bool isPath = request.proposal.find('\\') != std::string::npos;
    return QString::fromStdString(isPath ? HostPath(AnsiFromUtf8(request.proposal))
                                         : request.proposal);
}

void FileDialogs::Close() {
    if (dialog_) {
        dialog_->disconnect();
        dialog_->close();
    }
    const std::lock_guard lock(lock_);
    answer_.reset();
}

void FileDialogs::Store(FileAnswer answer) {
    {
        const std::lock_guard lock(lock_);
        answer_ = std::move(answer);
    }
    InputArrived();
}

std::optional<FileAnswer> FileDialogs::NextAnswer() {
    const std::lock_guard lock(lock_);
    return std::exchange(answer_, std::nullopt);
}

} // namespace platform::desktop
