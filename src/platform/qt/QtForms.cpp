// Forms as dialogs of the toolkit.

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <vector>

#include "base/MessageTable.h"
#include "platform/Forms.h"
#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

// What stands in the dialog for one field; the members that its kind does not need are null.
struct FieldWidgets {
    QWidget* whole = nullptr;
    QLineEdit* edit = nullptr;
    QCheckBox* check = nullptr;
    QButtonGroup* radios = nullptr;
    QListWidget* list = nullptr;
    QComboBox* drop = nullptr;
};

struct FormDialog {
    explicit FormDialog(Form& shown) : form(shown), dialog(DialogParent()) {}

    Form& form;
    QDialog dialog;
    QPushButton* accept = nullptr;
    std::vector<FieldWidgets> widgets;
    bool filling = false;  // changes come from the form, not from the user
};

void ReadField(const FieldWidgets& from, FormField& field) {
    if (from.edit) {
        const QString text = from.edit->text();
        IgnoreFailure(field.text.Assign(ViewOf(text)));
    }
    if (from.check) field.choice = from.check->isChecked();
    if (from.radios) field.choice = from.radios->checkedId();
    if (from.list) field.choice = from.list->currentRow();
    if (from.drop) field.choice = from.drop->currentIndex();
}

QStringList ItemTexts(const FormField& field) {
    QStringList texts;
    for (const WideText& item : field.items) texts.append(ToQString(item));
    return texts;
}

// Another choice may have brought other items.
template <typename List>
void ShowItems(List& list, const FormField& field, const QStringList& shown) {
    const QStringList texts = ItemTexts(field);
    if (texts == shown) return;
    list.clear();
    list.addItems(texts);
}

void ShowListItems(const FieldWidgets& into, const FormField& field) {
    QStringList shown;
    if (into.list) {
        for (int i = 0; i < into.list->count(); ++i) shown.append(into.list->item(i)->text());
        ShowItems(*into.list, field, shown);
    }
    if (into.drop) {
        for (int i = 0; i < into.drop->count(); ++i) shown.append(into.drop->itemText(i));
        ShowItems(*into.drop, field, shown);
    }
}

void ShowField(const FieldWidgets& into, const FormField& field) {
    into.whole->setEnabled(field.enabled);
    ShowListItems(into, field);
    const QString text = ToQString(field.text);
    if (into.edit && into.edit->text() != text) into.edit->setText(text);
    if (into.check) into.check->setChecked(field.choice != 0);
    if (into.list) into.list->setCurrentRow(field.choice);
    if (into.drop) into.drop->setCurrentIndex(field.choice);
    if (!into.radios) return;
    for (QAbstractButton* button : into.radios->buttons()) {
        const int item = into.radios->id(button);
        button->setEnabled(item >= 32 || !(field.greyItems >> item & 1));
        if (item == field.choice) button->setChecked(true);
    }
}

void ShowAll(FormDialog& shown) {
    shown.filling = true;
    shown.accept->setEnabled(shown.form.acceptable);
    for (u32 i = 0; i < shown.form.fields.Count(); ++i) ShowField(shown.widgets[i], shown.form.fields[i]);
    shown.filling = false;
}

void TakeChange(FormDialog& shown, u32 field) {
    if (shown.filling) return;
    ReadField(shown.widgets[field], shown.form.fields[field]);
    if (!shown.form.changed) return;
    shown.form.changed(shown.form, field);
    ShowAll(shown);
}

FieldWidgets MakeRadios(FormDialog& shown, const FormField& field, u32 index) {
    FieldWidgets made;
    auto* group = new QGroupBox(ToQString(field.label), &shown.dialog);
    auto* column = new QVBoxLayout(group);
    made.whole = group;
    made.radios = new QButtonGroup(group);
    int item = 0;
    for (const QString& text : ItemTexts(field)) {
        auto* button = new QRadioButton(text, group);
        column->addWidget(button);
        made.radios->addButton(button, item++);
    }
    QObject::connect(made.radios, &QButtonGroup::idClicked, &shown.dialog,
                     [&shown, index](int) { TakeChange(shown, index); });
    return made;
}

FieldWidgets MakeWidgets(FormDialog& shown, const FormField& field, u32 index) {
    FieldWidgets made;
    const auto changed = [&shown, index] { TakeChange(shown, index); };
    switch (field.kind) {
        case FIELD_LABEL: made.whole = new QLabel(ToQString(field.label), &shown.dialog); break;
        case FIELD_EDIT:
        case FIELD_SECRET:
            made.whole = made.edit = new QLineEdit(ToQString(field.text), &shown.dialog);
            if (field.kind == FIELD_SECRET) made.edit->setEchoMode(QLineEdit::Password);
            QObject::connect(made.edit, &QLineEdit::textEdited, &shown.dialog, changed);
            break;
        case FIELD_CHECK:
            made.whole = made.check = new QCheckBox(ToQString(field.label), &shown.dialog);
            QObject::connect(made.check, &QCheckBox::clicked, &shown.dialog, changed);
            break;
        case FIELD_RADIO: return MakeRadios(shown, field, index);
        case FIELD_LIST:
            made.whole = made.list = new QListWidget(&shown.dialog);
            made.list->addItems(ItemTexts(field));
            QObject::connect(made.list, &QListWidget::currentRowChanged, &shown.dialog, changed);
            break;
        case FIELD_DROP_LIST:
            made.whole = made.drop = new QComboBox(&shown.dialog);
            made.drop->addItems(ItemTexts(field));
            QObject::connect(made.drop, &QComboBox::activated, &shown.dialog, changed);
            break;
    }
    return made;
}

// A field with its label in front, or across the dialog when it shows the label itself.
void PlaceField(QFormLayout& layout, const FieldWidgets& made, const FormField& field) {
    if (made.edit || made.drop) layout.addRow(ToQString(field.label), made.whole);
    else {
        if (made.list && !field.label.IsEmpty()) layout.addRow(new QLabel(ToQString(field.label)));
        layout.addRow(made.whole);
    }
}

void AddButtons(FormDialog& shown, QFormLayout& layout) {
    auto* buttons = new QDialogButtonBox(&shown.dialog);
    shown.accept = buttons->addButton(ToQString(Message(MSG_BUTTON_OK)), QDialogButtonBox::AcceptRole);
    shown.accept->setDefault(true);
    buttons->addButton(ToQString(Message(MSG_BUTTON_CANCEL)), QDialogButtonBox::RejectRole);
    layout.addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &shown.dialog, &QDialog::reject);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &shown.dialog, [&shown] {
        for (u32 i = 0; i < shown.form.fields.Count(); ++i) ReadField(shown.widgets[i], shown.form.fields[i]);
        if (!shown.form.accept || shown.form.accept(shown.form)) shown.dialog.accept();
        else ShowAll(shown);
    });
}

}  // namespace

bool QtShowForm(Form& form) {
    FormDialog shown(form);
    shown.dialog.setWindowTitle(ToQString(form.title));
    QFormLayout layout(&shown.dialog);
    shown.widgets.reserve(form.fields.Count());
    for (u32 i = 0; i < form.fields.Count(); ++i) {
        shown.widgets.push_back(MakeWidgets(shown, form.fields[i], i));
        PlaceField(layout, shown.widgets.back(), form.fields[i]);
    }
    AddButtons(shown, layout);
    ShowAll(shown);
    return shown.dialog.exec() == QDialog::Accepted;
}

}  // namespace tally
