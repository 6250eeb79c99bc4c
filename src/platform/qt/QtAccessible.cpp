#include "platform/qt/QtAccessible.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QWindow>
#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/Accessible.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

class ItemInterface;

struct ItemKey {
    AccessibleRole role = ACCESSIBLE_WINDOW;
    u32 key = 0;
    auto operator<=>(const ItemKey&) const = default;
};

// What was made for an item, and what a client that keeps such things knows of it.
struct MadeObject {
    ItemInterface* object = nullptr;
    QString name, description;
    u32 states = 0;
};

// The items as the shell last told them, and the objects made for them.
struct AccessibleTree {
    bool stale = true;
    Array<AccessibleItem> items;
    std::map<ItemKey, MadeObject> objects;
    std::vector<ItemKey> cells;  // visited cells that still have an object, the last one last
    QString value;               // of the active cell, as it was last told
};
std::optional<AccessibleTree> tree;

// A client may come and go at any time.
struct Listeners : QAccessible::ActivationObserver {
    void accessibilityActiveChanged(bool active) override { any = active; }
    bool any = false;
};
Listeners listeners;
AccessibleSink sink = QAccessible::updateAccessibility;

void Emit(QAccessibleEvent* event) { sink(event); }

std::span<const AccessibleItem> Items() {
    if (!FrameInUse()) return {};
    if (!tree) tree.emplace();
    if (tree->stale && !FrameInUse()->calls.accessibleItems(tree->items)) tree->items.Clear();
    tree->stale = false;
    return tree->items.Span();
}

const AccessibleItem* FindItem(const ItemKey& key) {
    const std::span<const AccessibleItem> items = Items();
    const i32 index = FindAccessible(items, key.role, key.key);
    return index < 0 ? nullptr : &items[static_cast<std::size_t>(index)];
}

const AccessibleItem* ItemInState(u32 state) {
    for (const AccessibleItem& item : Items())
        if (item.states & state) return &item;
    return nullptr;
}

// Whether the keyboard is the shell's, be it for the grid or an edit control.
bool HasKeyboard() {
    const QWidget* focus = QApplication::focusWidget();
    return FrameInUse() && focus && FrameInUse()->client.isAncestorOf(focus);
}

QRect OnScreen(const PixelRect& place) {
    const QPoint corner = FrameInUse()->client.mapToGlobal(QPoint(place.left, place.top));
    return {corner, QSize(place.right - place.left, place.bottom - place.top)};
}

constexpr QAccessible::Role roles[] = {
    QAccessible::Client,     QAccessible::ToolBar,     QAccessible::PushButton, QAccessible::EditableText,
    QAccessible::Table,      QAccessible::Cell,        QAccessible::Grouping,   QAccessible::ColumnHeader,
    QAccessible::RowHeader,  QAccessible::PageTabList, QAccessible::PageTab,    QAccessible::StatusBar,
    QAccessible::StaticText,
};
static_assert(std::size(roles) == ACCESSIBLE_ROLES);

bool CanBePressed(AccessibleRole role) { return role == ACCESSIBLE_BUTTON || role == ACCESSIBLE_TAB; }

QAccessibleInterface* ObjectOf(const AccessibleItem& item);
QAccessibleInterface* ClientObject() { return QAccessible::queryAccessibleInterface(&FrameInUse()->client); }

QAccessibleInterface* ChildOf(const AccessibleItem* item, int index) {
    if (!item || index < 0 || static_cast<u32>(index) >= item->children) return nullptr;
    return ObjectOf(Items()[item->firstChild + static_cast<u32>(index)]);
}

int IndexIn(const AccessibleItem* item, const QAccessibleInterface* child) {
    for (u32 i = 0; item && i < item->children; ++i)
        if (ChildOf(item, static_cast<int>(i)) == child) return static_cast<int>(i);
    return -1;
}

// One item of the shell. A cell's value is its text, which can be read and not changed.
class ItemInterface final : public QAccessibleInterface,
                            public QAccessibleTextInterface,
                            public QAccessibleActionInterface {
  public:
    explicit ItemInterface(const ItemKey& key) : key_(key) {}

    bool isValid() const override { return Item() != nullptr; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return FrameInUse() ? FrameInUse()->window.windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override {
        const AccessibleItem* item = Item();
        if (!item || item->parent <= 0) return FrameInUse() ? ClientObject() : nullptr;
        return ObjectOf(Items()[static_cast<u32>(item->parent)]);
    }
    QAccessibleInterface* child(int index) const override { return ChildOf(Item(), index); }
    int childCount() const override { return Item() ? static_cast<int>(Item()->children) : 0; }
    int indexOfChild(const QAccessibleInterface* child) const override { return IndexIn(Item(), child); }
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = 0; i < childCount(); ++i)
            if (QAccessibleInterface* found = child(i); found && found->rect().contains(x, y)) return found;
        return nullptr;
    }
    QString text(QAccessible::Text kind) const override {
        const AccessibleItem* item = Item();
        if (!item) return {};
        switch (kind) {
            case QAccessible::Name: return ToQString(item->name);
            case QAccessible::Value: return ToQString(item->value);
            case QAccessible::Description: return ToQString(item->description);
            default: return {};
        }
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override { return Item() ? OnScreen(Item()->place) : QRect(); }
    QAccessible::Role role() const override { return roles[key_.role]; }
    QAccessible::State state() const override {
        QAccessible::State state;
        const AccessibleItem* item = Item();
        if (!item) {
            state.invalid = true;
            return state;
        }
        const bool cell = key_.role == ACCESSIBLE_CELL;
        state.focusable = cell;
        state.focused = (item->states & ACCESSIBLE_FOCUSED) && HasKeyboard();
        state.active = state.focused;
        state.selectable = cell || key_.role == ACCESSIBLE_TAB;
        state.selected = (item->states & ACCESSIBLE_SELECTED) != 0;
        state.disabled = (item->states & ACCESSIBLE_DISABLED) != 0;
        state.readOnly = cell;
        state.offscreen = IsEmptyRect(item->place);
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface && key_.role == ACCESSIBLE_CELL)
            return static_cast<QAccessibleTextInterface*>(this);
        if (type == QAccessible::ActionInterface && CanBePressed(key_.role))
            return static_cast<QAccessibleActionInterface*>(this);
        return nullptr;
    }

    // ---- the value as a text -------------------------------------------------------------------------------
    void selection(int, int* start, int* end) const override { *start = *end = 0; }
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QString text(int start, int end) const override { return text(QAccessible::Value).mid(start, end - start); }
    int characterCount() const override { return static_cast<int>(text(QAccessible::Value).size()); }
    QRect characterRect(int) const override { return rect(); }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    void scrollToSubstring(int, int) override {}
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }

    // ---- a press, as the mouse does it ---------------------------------------------------------------------
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override {
        const AccessibleItem* item = Item();
        if (!item || name != pressAction() || IsEmptyRect(item->place)) return;
        ShellMessage message;
        message.x = (item->place.left + item->place.right) / 2;
        message.y = (item->place.top + item->place.bottom) / 2;
        for (const u32 number : {WM_LBUTTONDOWN, WM_LBUTTONUP}) {
            message.message = number;
            Send(message);
        }
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    const AccessibleItem* Item() const { return FindItem(key_); }
    ItemKey key_;
};

void DropObject(const ItemKey& key) {
    const auto found = tree->objects.find(key);
    if (found == tree->objects.end()) return;
    QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(found->second.object));
    tree->objects.erase(found);
}

// Each cell that was visited has an object of its own; a client may still ask for the last few.
void KeepLastCells(const ItemKey& key) {
    constexpr std::size_t KEPT_CELLS = 16;
    if (key.role != ACCESSIBLE_CELL) return;
    tree->cells.push_back(key);
    if (tree->cells.size() <= KEPT_CELLS) return;
    DropObject(tree->cells.front());
    tree->cells.erase(tree->cells.begin());
}

QAccessibleInterface* ObjectOf(const AccessibleItem& item) {
    if (item.role == ACCESSIBLE_WINDOW) return ClientObject();
    if (item.role == ACCESSIBLE_EDIT) {
        QPlainTextEdit& box = EditBox(static_cast<EditHandle>(item.key));
        if (const QString name = ToQString(item.name); box.accessibleName() != name)
            box.setAccessibleName(name);
        return QAccessible::queryAccessibleInterface(&box);
    }
    const ItemKey key{item.role, item.key};
    if (const auto found = tree->objects.find(key); found != tree->objects.end()) {
        // Clients keep descriptions and few listen for a new one: a cell with another formula is another
        // object.
        if (key.role != ACCESSIBLE_CELL || ViewOf(found->second.description) == item.description.View())
            return found->second.object;
        DropObject(key);
        std::erase(tree->cells, key);
    }
    auto* object = new ItemInterface(key);
    tree->objects[key] = {object, ToQString(item.name), ToQString(item.description), item.states};
    QAccessible::registerAccessibleInterface(object);
    KeepLastCells(key);
    return object;
}

// The client area: what the shell tells of it, and the scroll bars, of which the toolkit tells.
class ClientInterface final : public QAccessibleWidget {
  public:
    explicit ClientInterface(QWidget* client) : QAccessibleWidget(client, QAccessible::Client) {}

    int childCount() const override { return static_cast<int>(Told() + Bars().size()); }
    QAccessibleInterface* child(int index) const override {
        if (index >= 0 && static_cast<u32>(index) < Told()) return ChildOf(Root(), index);
        const std::vector<QWidget*> bars = Bars();
        const auto bar = static_cast<std::size_t>(index) - Told();
        return index >= 0 && bar < bars.size() ? QAccessible::queryAccessibleInterface(bars[bar]) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* wanted) const override {
        for (int i = 0; i < childCount(); ++i)
            if (child(i) == wanted) return i;
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = 0; i < childCount(); ++i)
            if (QAccessibleInterface* found = child(i); found && found->rect().contains(x, y)) return found;
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        if (!HasKeyboard()) return nullptr;
        const AccessibleItem* item = ItemInState(ACCESSIBLE_FOCUSED);
        return item ? ObjectOf(*item) : nullptr;
    }

  private:
    static const AccessibleItem* Root() { return Items().empty() ? nullptr : &Items()[0]; }
    static u32 Told() { return Root() ? Root()->children : 0; }
    static std::vector<QWidget*> Bars() {
        std::vector<QWidget*> bars;
        if (Frame* frame = FrameInUse())
            for (QScrollBar* bar : {&frame->vertical, &frame->horizontal})
                if (bar->isVisible()) bars.push_back(bar);
        return bars;
    }
};

QAccessibleInterface* MakeInterface(const QString&, QObject* object) {
    Frame* frame = FrameInUse();
    if (frame && object == &frame->client) return new ClientInterface(&frame->client);
    if (frame && object == &frame->window) return new QAccessibleWidget(&frame->window, QAccessible::Window);
    return nullptr;
}

// Names and states that have changed since a client may have taken them over.
void TellDifferences() {
    for (const AccessibleItem& item : Items()) {
        const auto found = tree->objects.find(ItemKey{item.role, item.key});
        if (found == tree->objects.end()) continue;
        MadeObject& made = found->second;
        if (ViewOf(made.name) != item.name.View()) {
            made.name = ToQString(item.name);
            QAccessibleEvent event(made.object, QAccessible::NameChanged);
            Emit(&event);
        }
        const u32 changed = std::exchange(made.states, item.states) ^ item.states;
        QAccessible::State state;
        state.selected = (changed & ACCESSIBLE_SELECTED) != 0;
        state.disabled = (changed & ACCESSIBLE_DISABLED) != 0;
        if (!state.selected && !state.disabled) continue;
        QAccessibleStateChangeEvent event(made.object, state);
        Emit(&event);
    }
}

// The active cell; what it shows is noted as told.
const AccessibleItem* NoteValue() {
    const AccessibleItem* cell = nullptr;
    for (const AccessibleItem& item : Items())
        if (item.role == ACCESSIBLE_CELL) cell = &item;
    tree->value = cell ? ToQString(cell->value) : QString();
    return cell;
}

void TellValue() {
    const QString before = tree ? tree->value : QString();
    const AccessibleItem* item = NoteValue();
    if (!item || before == tree->value) return;
    QAccessibleTextUpdateEvent text(ObjectOf(*item), 0, before, tree->value);
    Emit(&text);
    QAccessibleValueChangeEvent value(ObjectOf(*item), tree->value);
    Emit(&value);
}

void TellSelection() {
    for (const AccessibleItem& item : Items()) {
        if (item.role != ACCESSIBLE_GRID) continue;
        QAccessibleEvent event(ObjectOf(item), QAccessible::SelectionWithin);
        Emit(&event);
        return;
    }
}

}  // namespace

bool QtAccessibleWatched() { return FrameInUse() && (listeners.any || QAccessible::isActive()); }

void TellAccessibleFocus() {
    if (!QtAccessibleWatched() || !HasKeyboard()) return;
    const AccessibleItem* item = ItemInState(ACCESSIBLE_FOCUSED);
    if (!item) return;
    QAccessibleEvent event(ObjectOf(*item), QAccessible::Focus);
    Emit(&event);
}

void QtAccessibleChanged(u32 changes) {
    if (!QtAccessibleWatched()) return;
    if (tree) tree->stale = true;
    if (tree && !tree->objects.empty()) TellDifferences();
    if (changes & ACCESSIBLE_VALUE_CHANGED) TellValue();
    if (changes & ACCESSIBLE_FOCUS_MOVED) {
        NoteValue();
        TellAccessibleFocus();
    }
    if (changes & ACCESSIBLE_SELECTION_CHANGED) TellSelection();
}

void UseAccessibleSink(AccessibleSink used) { sink = used ? used : QAccessible::updateAccessibility; }

void ConnectAccessible() {
    CloseAccessible();
    QAccessible::installFactory(MakeInterface);
    QAccessible::installActivationObserver(&listeners);
}

void CloseAccessible() {
    QAccessible::removeFactory(MakeInterface);
    QAccessible::removeActivationObserver(&listeners);
    listeners.any = false;
    if (!tree) return;
    for (const auto& [key, made] : tree->objects)
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(made.object));
    tree.reset();
}

}  // namespace tally
