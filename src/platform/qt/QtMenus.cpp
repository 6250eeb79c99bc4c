#include "platform/qt/QtFrame.h"
#include "platform/qt/QtMenuColumns.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

void SendMenuCommand(i32 command) {
    if (!command) return;
    ShellMessage message;
    message.message = WM_COMMAND;
    message.command = command;
    message.sender = SENDER_MENU;
    Send(message);
}

void FillMenu(QMenu& menu, const Array<MenuItem>& items);

// What a popup holds is asked for at the moment it opens.
void RefillMenu(QMenu& menu, MenuId id) {
    Frame* frame = FrameInUse();
    if (!frame) return;
    ShellMessage message;
    message.message = WM_INITMENUPOPUP;
    message.command = id;
    Send(message);
    Array<MenuItem> items;
    if (!frame->calls.menuItems(id, items)) return;
    menu.clear();
    qDeleteAll(menu.findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
    FillMenu(menu, items);
}

QMenu* AddPopup(QWidget& parent, const MenuItem& item) {
    QMenu* popup = new QMenu(ToQString(item.text), &parent);
    QObject::connect(popup, &QMenu::aboutToShow, popup, [popup, id = item.popup] { RefillMenu(*popup, id); });
    popup->menuAction()->setEnabled(item.enabled);
    parent.addAction(popup->menuAction());
    return popup;
}

void FillMenu(QMenu& menu, const Array<MenuItem>& items) {
    if (NeedsColumns(items)) return AddColumns(menu, items);
    for (const MenuItem& item : items) {
        if (item.text.IsEmpty()) {
            menu.addSeparator();
        } else if (item.popup != MENU_NONE) {
            AddPopup(menu, item);
        } else {
            QAction* action = menu.addAction(ToQString(item.text));
            action->setEnabled(item.enabled);
            action->setCheckable(item.checked);
            action->setChecked(item.checked);
            action->setData(item.command);
        }
    }
}

}  // namespace

void FillMenuBar() {
    Frame* frame = FrameInUse();
    Array<MenuItem> items;
    if (!frame || !frame->calls.menuItems(MENU_BAR, items)) return;
    QMenuBar& bar = frame->menuBar;
    bar.clear();
    qDeleteAll(bar.findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
    for (const MenuItem& item : items) {
        if (item.popup == MENU_NONE) continue;
        // A popup hands on what is chosen in the popups below it.
        QObject::connect(AddPopup(bar, item), &QMenu::triggered, &bar,
                         [](QAction* action) { SendMenuCommand(action->data().toInt()); });
    }
    PlaceChildren();
}

i32 QtTrackPopup(const Array<MenuItem>& items, i32 x, i32 y) {
    Frame* frame = FrameInUse();
    if (!frame) return 0;
    QMenu menu(&frame->client);
    FillMenu(menu, items);
    i32 command = 0;
    QObject::connect(&menu, &QMenu::triggered, [&](QAction* action) { command = action->data().toInt(); });
    menu.exec(frame->client.mapToGlobal(QPoint(x, y)));
    return command;
}

}  // namespace tally
