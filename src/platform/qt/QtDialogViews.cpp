// Open dialogs as windows of the toolkit: a widget a control, at the place that the shell has worked out.

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QEventLoop>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTabBar>
#include <QTimer>
#include <memory>
#include <vector>

#include "platform/Dialog.h"
#include "platform/qt/QtFrame.h"
#include "platform/qt/QtPainting.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

struct DialogView;
void Settle(DialogView& view);

// The window of a dialog: its ways out are the shell's.
class DialogWindow : public QDialog {
  public:
    DialogWindow(DialogView& view, QWidget* parent) : QDialog(parent), view_(view) {}
    void accept() override;
    void reject() override;

  private:
    DialogView& view_;
};

// Tells when a control gets the focus.
class FocusTap : public QObject {
  public:
    FocusTap(DialogView& view, i32 id, QObject* parent) : QObject(parent), view_(view), id_(id) {}
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    DialogView& view_;
    i32 id_;
};

// A control that the shell paints.
class PaintedControl : public QWidget {
  public:
    PaintedControl(DialogView& view, i32 id, QWidget* parent) : QWidget(parent), view_(view), id_(id) {
        setFocusPolicy(Qt::StrongFocus);
        setMouseTracking(true);
    }

  protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* event) override { Mouse(WM_LBUTTONDOWN, event); }
    void mouseReleaseEvent(QMouseEvent* event) override { Mouse(WM_LBUTTONUP, event); }
    void mouseMoveEvent(QMouseEvent* event) override { Mouse(WM_MOUSEMOVE, event); }
    void mouseDoubleClickEvent(QMouseEvent* event) override { Mouse(WM_LBUTTONDBLCLK, event); }
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void Mouse(u32 message, const QMouseEvent* event);
    DialogView& view_;
    i32 id_;
};

struct DialogView {
    DialogView(Dialog& shown, QWidget* parent) : dialog(shown), window(*this, parent) {}

    Dialog& dialog;
    DialogWindow window;
    std::vector<QWidget*> widgets;  // by the control's index; null for pages
    QTimer timer;
    QEventLoop loop;
    bool filling = false;  // changes come from the record, not from the user
    i32 givenFocus = -1;   // the control that the record last wanted the focus for, or that the user gave it to
};

// Innermost last.
std::vector<DialogView*> modalViews;
std::vector<std::unique_ptr<DialogView>> openViews;

void DialogWindow::accept() {
    UserAccepts(view_.dialog);
    Settle(view_);
}
void DialogWindow::reject() {
    UserCancels(view_.dialog);
    Settle(view_);
}

bool FocusTap::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn && !view_.filling) {
        view_.givenFocus = id_;
        UserFocuses(view_.dialog, id_);
        Settle(view_);
    }
    if (event->type() == QEvent::MouseButtonDblClick && !view_.filling) {
        auto* viewport = qobject_cast<QWidget*>(watched);
        auto* list = viewport ? qobject_cast<QListWidget*>(viewport->parentWidget()) : nullptr;
        if (list && list->itemAt(static_cast<QMouseEvent*>(event)->pos())) {
            UserDoubleClicks(view_.dialog, id_);
            Settle(view_);
        }
    }
    return false;
}

void PaintedControl::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const PixelRect whole = {0, 0, width(), height()};
    QtSurface surface;
    DrawTarget target = MakePaintTarget(surface, painter, whole);
    IgnoreFailure(SendDialogEvent(view_.dialog,
                                  {.kind = DIALOG_PAINT, .control = id_, .target = &target, .paint = whole}));
}

void PaintedControl::Mouse(u32 message, const QMouseEvent* event) {
    const Control* control = FindControl(view_.dialog, id_);
    if (!control || !IsControlReachable(view_.dialog, *control)) return;
    const bool held = (event->buttons() & Qt::LeftButton) || event->button() == Qt::LeftButton;
    if (message != WM_MOUSEMOVE && !held) return;
    IgnoreFailure(SendDialogEvent(view_.dialog, {.kind = DIALOG_MOUSE,
                                                 .control = id_,
                                                 .value = static_cast<i32>(message),
                                                 .x = event->pos().x(),
                                                 .y = event->pos().y()}));
    Settle(view_);
}

void PaintedControl::keyPressEvent(QKeyEvent* event) {
    const u32 key = KeyCodeOf(event->key(), event->modifiers());
    const bool taken =
        key && key != VK_RETURN && key != VK_ESCAPE && key != VK_TAB &&
        SendDialogEvent(view_.dialog, {.kind = DIALOG_KEY, .control = id_, .value = static_cast<i32>(key)});
    if (!taken) QWidget::keyPressEvent(event);
    else Settle(view_);
}

// ---- making widgets ----------------------------------------------------------------------------------------

template <typename Act>
auto UserActs(DialogView& view, Act act) {
    return [&view, act](auto... values) {
        if (view.filling) return;
        if constexpr (std::is_invocable_v<decltype(act), decltype(values)...>) act(values...);
        else act();
        Settle(view);
    };
}

QIcon ShrinkIcon() {
    QPixmap picture(16, 16);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setPen(QGuiApplication::palette().color(QPalette::Text));
    painter.drawRect(2, 3, 11, 9);
    painter.fillRect(2, 3, 12, 3, QColor(0x40, 0x70, 0xC0));
    return QIcon(picture);
}

QLineEdit* MakeEdit(DialogView& view, const Control& control) {
    Dialog& dialog = view.dialog;
    const i32 id = control.row.id;
    auto* edit = new QLineEdit(&view.window);
    if (control.row.kind == CONTROL_SECRET) edit->setEchoMode(QLineEdit::Password);
    QObject::connect(
        edit, &QLineEdit::textEdited, &view.window,
        UserActs(view, [&dialog, id](const QString& text) { UserEdits(dialog, id, ViewOf(text)); }));
    if (control.row.kind == CONTROL_REFERENCE) {
        const QAction* shrink = edit->addAction(ShrinkIcon(), QLineEdit::TrailingPosition);
        QObject::connect(shrink, &QAction::triggered, &view.window,
                         UserActs(view, [&dialog, id](bool) { UserShrinks(dialog, id); }));
    }
    return edit;
}

QWidget* MakeMultiline(DialogView& view, i32 id) {
    Dialog& dialog = view.dialog;
    auto* edit = new QPlainTextEdit(&view.window);
    edit->setTabChangesFocus(true);
    QObject::connect(edit, &QPlainTextEdit::textChanged, &view.window, UserActs(view, [&dialog, id, edit] {
                         const QString text = edit->toPlainText();
                         UserEdits(dialog, id, ViewOf(text));
                     }));
    return edit;
}

QWidget* MakeList(DialogView& view, i32 id) {
    Dialog& dialog = view.dialog;
    auto* list = new QListWidget(&view.window);
    list->viewport()->installEventFilter(new FocusTap(view, id, list));
    QObject::connect(list, &QListWidget::currentRowChanged, &view.window,
                     UserActs(view, [&dialog, id](int row) { UserChooses(dialog, id, row); }));
    return list;
}

QWidget* MakeCombo(DialogView& view, const Control& control) {
    Dialog& dialog = view.dialog;
    const i32 id = control.row.id;
    auto* combo = new QComboBox(&view.window);
    combo->setEditable(control.row.kind == CONTROL_COMBO);
    combo->setInsertPolicy(QComboBox::NoInsert);
    QObject::connect(combo, &QComboBox::activated, &view.window,
                     UserActs(view, [&dialog, id](int item) { UserChooses(dialog, id, item); }));
    if (combo->lineEdit()) {
        QObject::connect(
            combo->lineEdit(), &QLineEdit::textEdited, &view.window,
            UserActs(view, [&dialog, id](const QString& text) { UserEdits(dialog, id, ViewOf(text)); }));
    }
    return combo;
}

QWidget* MakeTabs(DialogView& view, const Control& control) {
    Dialog& dialog = view.dialog;
    const i32 id = control.row.id;
    auto* tabs = new QTabBar(&view.window);
    tabs->setExpanding(false);
    for (const Control& page : dialog.controls)
        if (page.row.kind == CONTROL_PAGE && page.row.container == id) tabs->addTab(ToQString(page.label));
    QObject::connect(tabs, &QTabBar::currentChanged, &view.window,
                     UserActs(view, [&dialog, id](int page) { UserChooses(dialog, id, page); }));
    return tabs;
}

template <typename Bar, typename Changed>
QWidget* MakeNumber(DialogView& view, i32 id, Bar* bar, Changed changed) {
    Dialog& dialog = view.dialog;
    QObject::connect(bar, changed, &view.window,
                     UserActs(view, [&dialog, id](int value) { UserChooses(dialog, id, value); }));
    return bar;
}

template <typename Button>
QWidget* MakeButton(DialogView& view, i32 id, bool presses) {
    Dialog& dialog = view.dialog;
    auto* button = new Button(&view.window);
    QObject::connect(button, &QAbstractButton::clicked, &view.window,
                     UserActs(view, [&dialog, id, presses](bool on) {
                         if (presses) UserPresses(dialog, id);
                         else UserChooses(dialog, id, on);
                     }));
    return button;
}

QWidget* MakeWidget(DialogView& view, const Control& control) {
    const i32 id = control.row.id;
    switch (control.row.kind) {
        case CONTROL_LABEL: {
            auto* label = new QLabel(&view.window);
            label->setWordWrap(true);
            if (control.row.flags & CONTROL_RIGHT) label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
            return label;
        }
        case CONTROL_EDIT:
        case CONTROL_SECRET:
        case CONTROL_REFERENCE: return MakeEdit(view, control);
        case CONTROL_MULTILINE: return MakeMultiline(view, id);
        case CONTROL_CHECK: return MakeButton<QCheckBox>(view, id, false);
        case CONTROL_RADIO: return MakeButton<QRadioButton>(view, id, false);
        case CONTROL_BUTTON: {
            QWidget* button = MakeButton<QPushButton>(view, id, true);
            static_cast<QPushButton*>(button)->setAutoDefault(false);
            static_cast<QPushButton*>(button)->setDefault((control.row.flags & CONTROL_DEFAULT) != 0);
            return button;
        }
        case CONTROL_LIST: return MakeList(view, id);
        case CONTROL_DROP_LIST:
        case CONTROL_COMBO: return MakeCombo(view, control);
        case CONTROL_SPIN: return MakeNumber(view, id, new QSpinBox(&view.window), &QSpinBox::valueChanged);
        case CONTROL_SCROLL:
            return MakeNumber(view, id, new QScrollBar(Qt::Horizontal, &view.window),
                              &QScrollBar::valueChanged);
        case CONTROL_GROUP: return new QGroupBox(&view.window);
        case CONTROL_PAGES: return control.row.flags & CONTROL_NO_TABS ? nullptr : MakeTabs(view, control);
        case CONTROL_PAGE: return nullptr;
        case CONTROL_PAINTED: return new PaintedControl(view, id, &view.window);
    }
    return nullptr;
}

// Arrow keys go round in a row of radio buttons.
void JoinRadios(DialogView& view) {
    QButtonGroup* group = nullptr;
    for (u32 i = 0; i < view.dialog.controls.Count(); ++i) {
        const Control& control = view.dialog.controls[i];
        if (control.row.kind != CONTROL_RADIO) {
            group = nullptr;
            continue;
        }
        if (!group || (control.row.flags & CONTROL_NEW_SET)) group = new QButtonGroup(&view.window);
        group->addButton(static_cast<QRadioButton*>(view.widgets[i]));
    }
}

void MakeWidgets(DialogView& view) {
    for (u32 i = 0; i < view.dialog.controls.Count(); ++i) {
        const Control& control = view.dialog.controls[i];
        QWidget* widget = MakeWidget(view, control);
        view.widgets.push_back(widget);
        if (!widget) continue;
        widget->installEventFilter(new FocusTap(view, control.row.id, widget));
        if (i == 0 || view.dialog.controls[i - 1].row.kind != CONTROL_LABEL) continue;
        // The label's letter leads to what it stands before.
        if (auto* label = qobject_cast<QLabel*>(view.widgets[i - 1])) {
            if (qobject_cast<QLabel*>(widget)) continue;
            label->setBuddy(widget);
            QString name = ToQString(view.dialog.controls[i - 1].label);
            widget->setAccessibleName(name.remove(QLatin1Char('&')));
        }
    }
    JoinRadios(view);
}

// ---- showing the record
// --------------------------------------------------------------------------------------

template <typename List>
void FillItems(List& list, Control& control) {
    if (!control.itemsStale) return;
    list.clear();
    for (const DialogItem& item : control.items) list.addItem(ToQString(item.text));
}

void ShowEdit(QLineEdit& edit, Control& control) {
    const QString text = ToQString(control.text);
    if (edit.text() != text) edit.setText(text);
    if (control.selectStart >= 0)
        edit.setSelection(control.selectStart, control.selectEnd - control.selectStart);
    if (control.selectStart >= 0 && control.selectStart == control.selectEnd)
        edit.setCursorPosition(control.selectEnd);
    control.selectStart = -1;
}

void ShowListItems(QListWidget& list, Control& control) {
    FillItems(list, control);
    for (u32 i = 0; i < control.items.Count(); ++i) {
        QListWidgetItem* item = list.item(static_cast<int>(i));
        const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
        if (item) item->setFlags(control.items[i].enabled ? flags : Qt::NoItemFlags);
    }
    list.setCurrentRow(control.choice);
}

void ShowValue(QWidget& widget, Control& control) {
    const QString label = ToQString(control.label);
    if (auto* text = qobject_cast<QLabel*>(&widget)) text->setText(label);
    if (auto* box = qobject_cast<QGroupBox*>(&widget)) box->setTitle(label);
    if (auto* edit = qobject_cast<QLineEdit*>(&widget)) ShowEdit(*edit, control);
    if (auto* list = qobject_cast<QListWidget*>(&widget)) ShowListItems(*list, control);
    if (auto* tabs = qobject_cast<QTabBar*>(&widget)) tabs->setCurrentIndex(control.choice);
    if (auto* button = qobject_cast<QAbstractButton*>(&widget)) {
        button->setText(label);
        if (auto* check = qobject_cast<QCheckBox*>(button)) check->setTristate(control.choice < 0);
        if (button->isCheckable()) button->setChecked(control.choice > 0);
        if (auto* check = qobject_cast<QCheckBox*>(button); check && control.choice < 0)
            check->setCheckState(Qt::PartiallyChecked);
    }
    if (auto* edit = qobject_cast<QPlainTextEdit*>(&widget)) {
        const QString text = ToQString(control.text);
        if (edit->toPlainText() != text) edit->setPlainText(text);
    }
    if (auto* combo = qobject_cast<QComboBox*>(&widget)) {
        FillItems(*combo, control);
        combo->setCurrentIndex(control.choice);
        if (combo->lineEdit()) combo->lineEdit()->setText(ToQString(control.text));
    }
    if (auto* spin = qobject_cast<QSpinBox*>(&widget)) {
        spin->setRange(control.minimum, control.maximum);
        spin->setValue(control.choice);
    }
    if (auto* bar = qobject_cast<QScrollBar*>(&widget)) {
        bar->setRange(control.minimum, control.maximum);
        bar->setValue(control.choice);
    }
    // What a painted control shows can be read as well.
    if (control.row.kind == CONTROL_PAINTED) {
        const bool chosen = control.choice >= 0 && static_cast<u32>(control.choice) < control.items.Count();
        widget.setAccessibleDescription(chosen ? ToQString(control.items[static_cast<u32>(control.choice)].text)
                                               : QString());
    }
    widget.update();
}

void PlaceWidget(QWidget& widget, const Control& control) {
    PixelRect place = control.place;
    // Only the strip of tabs is a widget; the pages lie on the window.
    if (control.row.kind == CONTROL_PAGES)
        place.bottom = std::min(place.bottom, place.top + widget.sizeHint().height());
    widget.setGeometry(place.left, place.top, place.right - place.left, place.bottom - place.top);
}

bool CanFocus(const DialogView& view, u32 index) {
    return view.widgets[index] && view.widgets[index]->focusPolicy() != Qt::NoFocus &&
           IsControlReachable(view.dialog, view.dialog.controls[index]) &&
           view.dialog.controls[index].row.kind != CONTROL_PAGES;
}

bool HoldsFocus(const DialogView& view) {
    const QWidget* focus = view.window.focusWidget();
    for (u32 i = 0; focus && i < view.dialog.controls.Count(); ++i)
        if (view.widgets[i] == focus) return CanFocus(view, i) || qobject_cast<const QTabBar*>(focus);
    return false;
}

// The focus goes where the record wants it now. Where the user took it, it stays: the control that he left may
// still tell of a change.
void GiveFocus(DialogView& view) {
    if (view.dialog.focus == view.givenFocus && HoldsFocus(view)) return;
    view.givenFocus = view.dialog.focus;
    for (u32 i = 0; i < view.dialog.controls.Count(); ++i) {
        if (!CanFocus(view, i)) continue;
        if (view.dialog.focus && view.dialog.controls[i].row.id != view.dialog.focus) continue;
        if (!view.widgets[i]->hasFocus()) view.widgets[i]->setFocus();
        return;
    }
}

void Sync(DialogView& view) {
    Dialog& dialog = view.dialog;
    view.filling = true;
    if (dialog.placesStale) view.window.setFixedSize(dialog.width, dialog.height);
    for (u32 i = 0; i < dialog.controls.Count(); ++i) {
        Control& control = dialog.controls[i];
        QWidget* widget = view.widgets[i];
        if (!widget) continue;
        if (dialog.placesStale) PlaceWidget(*widget, control);
        widget->setVisible(IsControlVisible(dialog, control));
        widget->setEnabled(!IsControlVisible(dialog, control) || IsControlReachable(dialog, control));
        if (control.stale) ShowValue(*widget, control);
        control.stale = control.itemsStale = false;
    }
    dialog.placesStale = false;
    GiveFocus(view);
    if (dialog.timer > 0 && !view.timer.isActive()) view.timer.start(dialog.timer);
    if (dialog.timer <= 0) view.timer.stop();
    view.filling = false;
}

// A dialog beside the grid that has ended goes, once its own events are through.
void DropEnded() {
    for (std::size_t i = openViews.size(); i-- > 0;) {
        if (!openViews[i]->dialog.ended) continue;
        Dialog& dialog = openViews[i]->dialog;
        openViews.erase(openViews.begin() + static_cast<std::ptrdiff_t>(i));
        dialog.widgets = nullptr;
        FinishDialog(dialog);
    }
}

void Settle(DialogView& view) {
    if (!view.dialog.ended) return Sync(view);
    view.filling = true;
    view.timer.stop();
    view.window.hide();
    if (view.dialog.modeless) QTimer::singleShot(0, DropEnded);
    else view.loop.quit();
}

void Open(DialogView& view) {
    Dialog& dialog = view.dialog;
    dialog.widgets = &view;
    view.window.setWindowTitle(ToQString(dialog.title));
    MakeWidgets(view);
    QObject::connect(&view.timer, &QTimer::timeout, &view.window, [&view] {
        if (view.filling) return;
        IgnoreFailure(SendDialogEvent(view.dialog, {.kind = DIALOG_TIMER}));
        Settle(view);
    });
    for (Control& control : dialog.controls) control.stale = control.itemsStale = true;
    dialog.placesStale = true;
    Sync(view);
    view.window.show();
    GiveFocus(view);
}

}  // namespace

QWidget* TopDialogWindow() {
    if (!modalViews.empty()) return &modalViews.back()->window;
    return openViews.empty() ? nullptr : &openViews.back()->window;
}

// The frame stays enabled, so that references can be picked on it; the shell keeps everything else from it.
void QtRunDialog(Dialog& dialog) {
    Frame* frame = FrameInUse();
    DialogView view(dialog, DialogParent());
    if (!modalViews.empty()) modalViews.back()->window.setEnabled(false);
    // A window is disabled with the one that it belongs to.
    view.window.setEnabled(true);
    if (frame) frame->menuBar.setEnabled(false);
    modalViews.push_back(&view);
    Open(view);
    if (!dialog.ended) view.loop.exec();
    if (!dialog.ended) EndDialog(dialog, false);
    modalViews.pop_back();
    dialog.widgets = nullptr;
    if (!modalViews.empty()) modalViews.back()->window.setEnabled(true);
    else if (FrameInUse()) FrameInUse()->menuBar.setEnabled(true);
}

void QtShowDialog(Dialog& dialog) {
    openViews.push_back(std::make_unique<DialogView>(dialog, DialogParent()));
    Open(*openViews.back());
}

void QtSyncDialog(Dialog& dialog) {
    if (auto* view = static_cast<DialogView*>(dialog.widgets)) Settle(*view);
}

void LayOutDialogViews() {
    const auto layOut = [](DialogView& view) {
        if (view.dialog.ended) return;
        FrameCallsInUse().layOutDialog(view.dialog);
        Settle(view);
    };
    for (DialogView* view : modalViews) layOut(*view);
    for (const auto& view : openViews) layOut(*view);
}

void CloseDialogViews() { openViews.clear(); }

}  // namespace tally
