// Boxes, dialogs of files, settings and what is shown outside.

#include <QDesktopServices>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QUrl>
#include <optional>

#include "base/MessageTable.h"
#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

struct BoxButton {
    i32 answer;
    QMessageBox::ButtonRole role;
    u16 text;  // of the message table
};
constexpr BoxButton okButton = {IDOK, QMessageBox::AcceptRole, MSG_BUTTON_OK};
constexpr BoxButton cancelButton = {IDCANCEL, QMessageBox::RejectRole, MSG_BUTTON_CANCEL};
constexpr BoxButton yesButton = {IDYES, QMessageBox::YesRole, MSG_BUTTON_YES};
constexpr BoxButton noButton = {IDNO, QMessageBox::NoRole, MSG_BUTTON_NO};
constexpr BoxButton retryButton = {IDRETRY, QMessageBox::AcceptRole, MSG_BUTTON_RETRY};

struct BoxKind {
    u32 kind;  // low four bits of the flags
    u32 count;
    BoxButton buttons[3];
};
constexpr BoxKind boxKinds[] = {
    {MB_OK, 1, {okButton}},
    {MB_OKCANCEL, 2, {okButton, cancelButton}},
    {MB_YESNOCANCEL, 3, {yesButton, noButton, cancelButton}},
    {MB_YESNO, 2, {yesButton, noButton}},
    {MB_RETRYCANCEL, 2, {retryButton, cancelButton}},
};

const BoxKind& FindBoxKind(u32 flags) {
    for (const BoxKind& row : boxKinds) {
        if (row.kind == (flags & 0xF)) return row;
    }
    return boxKinds[0];
}

QMessageBox::Icon BoxIcon(u32 flags) {
    switch (flags & 0xF0) {
        case MB_ICONSTOP: return QMessageBox::Critical;
        case MB_ICONQUESTION: return QMessageBox::Question;
        case MB_ICONWARNING: return QMessageBox::Warning;
        case MB_ICONINFORMATION: return QMessageBox::Information;
        default: return QMessageBox::NoIcon;
    }
}

// The store of the user, opened when first asked for.
std::optional<QSettings> settings;

QSettings& Settings() {
    if (!settings) {
        settings.emplace(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Orchardia"),
                         QStringLiteral("Tallyman"));
    }
    return *settings;
}

QString SettingName(WideView section, WideView key) {
    return ToQString(section) + QLatin1Char('/') + ToQString(key);
}

QString FilterText(const FileFilter& filter) {
    // Some names show their pattern themselves.
    if (filter.name.find(u"(*") != WideView::npos) return ToQString(filter.name);
    QString pattern = ToQString(filter.pattern);
    pattern.replace(u';', u' ');
    return ToQString(filter.name) + QStringLiteral(" (") + pattern + QStringLiteral(")");
}

struct DialogLabel {
    QFileDialog::DialogLabel label;
    u16 opening, saving;  // of the message table
};
constexpr DialogLabel dialogLabels[] = {
    {QFileDialog::Accept, MSG_OPEN_BUTTON, MSG_SAVE_BUTTON},
    {QFileDialog::Reject, MSG_BUTTON_CANCEL, MSG_BUTTON_CANCEL},
    {QFileDialog::FileName, MSG_FILE_NAME_LABEL, MSG_FILE_NAME_LABEL},
    {QFileDialog::FileType, MSG_FILE_TYPE_LABEL, MSG_FILE_TYPE_LABEL},
    {QFileDialog::LookIn, MSG_LOOK_IN_LABEL, MSG_LOOK_IN_LABEL},
};

// Alt and the letter of a label lead to what stands beside it; the toolkit's own dialog forgets one of them.
void LeadTo(QFileDialog& dialog, const char* label, const char* control) {
    auto* text = dialog.findChild<QLabel*>(QLatin1String(label));
    auto* target = dialog.findChild<QWidget*>(QLatin1String(control));
    if (text && target) text->setBuddy(target);
}

// One file dialog. `filter` is the row to start with and becomes the row that was chosen.
bool AskPath(bool save, std::span<const FileFilter> filters, i32& filter, WideText& path) {
    QFileDialog dialog(DialogParent());
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setWindowTitle(ToQString(Message(save ? MSG_SAVE_TITLE : MSG_OPEN_TITLE)));
    for (const DialogLabel& row : dialogLabels)
        dialog.setLabelText(row.label, ToQString(Message(save ? row.saving : row.opening)));
    QStringList rows;
    for (const FileFilter& row : filters) rows.append(FilterText(row));
    if (!rows.isEmpty()) dialog.setNameFilters(rows);
    if (filter >= 0 && filter < rows.size()) dialog.selectNameFilter(rows[filter]);
    LeadTo(dialog, "fileNameLabel", "fileNameEdit");
    LeadTo(dialog, "fileTypeLabel", "fileTypeCombo");
    if (save && !path.IsEmpty()) dialog.selectFile(ToQString(path));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
    filter = static_cast<i32>(rows.indexOf(dialog.selectedNameFilter()));
    const QString chosen = dialog.selectedFiles().constFirst();
    return path.Assign(ViewOf(chosen));
}

}  // namespace

i32 QtMessageBox(WideView text, WideView title, u32 flags) {
    const BoxKind& kind = FindBoxKind(flags);
    QMessageBox box(DialogParent());
    box.setTextFormat(Qt::PlainText);
    box.setText(ToQString(text));
    box.setWindowTitle(ToQString(title));
    box.setIcon(BoxIcon(flags));
    QPushButton* buttons[3] = {};
    for (u32 i = 0; i < kind.count; ++i) {
        buttons[i] = box.addButton(ToQString(Message(kind.buttons[i].text)), kind.buttons[i].role);
    }
    box.setDefaultButton(buttons[flags & MB_DEFBUTTON2 && kind.count > 1 ? 1 : 0]);
    // Esc and the close box give the last answer: Cancel, else No, else OK.
    box.setEscapeButton(buttons[kind.count - 1]);
    box.exec();
    for (u32 i = 0; i < kind.count; ++i) {
        if (box.clickedButton() == buttons[i]) return kind.buttons[i].answer;
    }
    return kind.buttons[kind.count - 1].answer;
}

bool QtOpenFileDialog(std::span<const FileFilter> filters, WideText& path) {
    i32 filter = 0;
    return AskPath(false, filters, filter, path);
}

bool QtSaveFileDialog(std::span<const FileFilter> filters, i32& filter, WideText& path) {
    return AskPath(true, filters, filter, path);
}

bool QtReadSetting(WideView section, WideView key, WideText& out) {
    const QVariant value = Settings().value(SettingName(section, key));
    if (!value.isValid()) return false;
    const QString text = value.toString();
    return out.Assign(ViewOf(text));
}

bool QtWriteSetting(WideView section, WideView key, WideView value) {
    if (!Settings().isWritable()) return false;
    Settings().setValue(SettingName(section, key), ToQString(value));
    return true;
}

// What was written reaches the disk here at the latest.
void CloseSettings() { settings.reset(); }

bool QtOpenExternally(WideView path) {
    const QString text = ToQString(path);
    for (const char* scheme : {"http://", "https://", "mailto:"}) {
        if (text.startsWith(QLatin1String(scheme), Qt::CaseInsensitive)) {
            return QDesktopServices::openUrl(QUrl(text));
        }
    }
    return QDesktopServices::openUrl(QUrl::fromLocalFile(text));
}

}  // namespace tally
