#include "platform/qt/QtMenuColumns.h"

#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QList>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionMenuItem>
#include <QToolTip>
#include <QWidgetAction>
#include <algorithm>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtPainting.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

struct ColumnItem {
    QString text;  // empty: a separator
    i32 command = 0;
    bool enabled = true, checked = false, painted = false;
    int column = 0;
    QRect place;
};

// The items of a menu in columns, with the keys and the mouse of a menu.
class MenuColumns : public QWidget {
  public:
    MenuColumns(QWidgetAction& action, QMenu& menu, const Array<MenuItem>& items);
    QSize sizeHint() const override { return size_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override { Select(ItemAt(event->pos())); }
    void mouseReleaseEvent(QMouseEvent* event) override { Choose(ItemAt(event->pos())); }
    void leaveEvent(QEvent*) override { Select(-1); }
    void focusInEvent(QFocusEvent*) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QStyleOptionMenuItem OptionOf(int item) const;
    void LayOut(const QList<QSize>& sizes);
    bool CanChoose(int item) const { return item >= 0 && items_[item].enabled && !items_[item].text.isEmpty(); }
    int ItemAt(const QPoint& point) const;
    int Beside(int item, int columns) const;
    int Next(int item, int step) const;
    bool ChooseByLetter(const QString& letter);
    void Select(int item);
    void Choose(int item);
    void PaintItem(QPainter& painter, int item);

    QWidgetAction& action_;
    QList<ColumnItem> items_;
    QSize size_;
    int current_ = -1;
};

MenuColumns::MenuColumns(QWidgetAction& action, QMenu& menu, const Array<MenuItem>& items)
    : QWidget(&menu), action_(action) {
    setFont(menu.font());
    QList<QSize> sizes;
    for (const MenuItem& item : items) {
        ColumnItem own{ToQString(item.text), item.command, item.enabled, item.checked, IsPainted(item), 0, {}};
        own.column = items_.isEmpty() ? 0 : items_.last().column + item.newColumn;
        items_.append(own);
        const QStyleOptionMenuItem option = OptionOf(static_cast<int>(items_.size()) - 1);
        const QSize text = option.fontMetrics.size(Qt::TextShowMnemonic, own.text);
        sizes.append(own.painted ? QSize(item.paintedWidth, item.paintedHeight)
                                 : style()->sizeFromContents(QStyle::CT_MenuItem, &option, text, this));
    }
    LayOut(sizes);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    menu.installEventFilter(this);
}

QStyleOptionMenuItem MenuColumns::OptionOf(int item) const {
    const ColumnItem& own = items_[item];
    QStyleOptionMenuItem option;
    option.initFrom(this);
    option.rect = own.place;
    option.text = own.text;
    option.font = font();
    option.menuItemType = own.text.isEmpty() ? QStyleOptionMenuItem::Separator : QStyleOptionMenuItem::Normal;
    option.checkType = own.checked ? QStyleOptionMenuItem::NonExclusive : QStyleOptionMenuItem::NotCheckable;
    option.checked = own.checked;
    option.state.setFlag(QStyle::State_Enabled, own.enabled);
    option.state.setFlag(QStyle::State_Selected, item == current_);
    return option;
}

// A column is as wide as its widest item.
void MenuColumns::LayOut(const QList<QSize>& sizes) {
    int left = 0;
    for (int first = 0, end = 0; first < items_.size(); first = end) {
        int width = 0, top = 0;
        for (; end < items_.size() && items_[end].column == items_[first].column; ++end)
            width = std::max(width, sizes[end].width());
        for (int i = first; i < end; ++i) {
            items_[i].place = QRect(left, top, items_[i].painted ? sizes[i].width() : width, sizes[i].height());
            top += sizes[i].height();
        }
        left += width;
        size_ = QSize(left, std::max(size_.height(), top));
    }
    setFixedSize(size_);
}

int MenuColumns::ItemAt(const QPoint& point) const {
    for (int i = 0; i < items_.size(); ++i)
        if (items_[i].place.contains(point)) return i;
    return -1;
}

// The item at the same height some columns farther; -1 without one.
int MenuColumns::Beside(int item, int columns) const {
    int found = -1, distance = INT_MAX;
    for (int i = 0; item >= 0 && i < items_.size(); ++i) {
        if (!CanChoose(i) || items_[i].column != items_[item].column + columns) continue;
        const int apart = std::abs(items_[i].place.center().y() - items_[item].place.center().y());
        if (apart < distance) found = i;
        distance = std::min(distance, apart);
    }
    return found;
}

// The next item that can be chosen, round and round; -1 without any.
int MenuColumns::Next(int item, int step) const {
    const int count = static_cast<int>(items_.size());
    for (int i = 1; i <= count; ++i) {
        const int next = ((item + i * step) % count + count) % count;
        if (CanChoose(next)) return next;
    }
    return -1;
}

void MenuColumns::Select(int item) {
    const int wanted = CanChoose(item) ? item : -1;
    if (wanted == current_) return;
    for (const int changed : {current_, wanted})
        if (changed >= 0) update(items_[changed].place);
    current_ = wanted;
}

// As with any item the menus are gone before the command begins, which may fill them anew.
void MenuColumns::Choose(int item) {
    if (!CanChoose(item)) return;
    const QPointer<QWidgetAction> action = &action_;
    action->setData(items_[item].command);
    while (QWidget* popup = QApplication::activePopupWidget())
        if (!popup->close()) break;
    if (action) action->trigger();
}

bool MenuColumns::ChooseByLetter(const QString& letter) {
    for (int i = 0; i < items_.size(); ++i) {
        const qsizetype mark = items_[i].text.indexOf(QLatin1Char('&'));
        if (!CanChoose(i) || mark < 0 || letter.isEmpty() ||
            items_[i].text.mid(mark + 1, 1).compare(letter, Qt::CaseInsensitive) != 0)
            continue;
        Choose(i);
        return true;
    }
    return false;
}

void MenuColumns::focusInEvent(QFocusEvent*) {
    if (current_ < 0) Select(Next(-1, 1));
}

// What the columns have no use for is the menu's: Escape, and the ways to the menus beside it.
void MenuColumns::keyPressEvent(QKeyEvent* event) {
    const int last = static_cast<int>(items_.size());
    int wanted = -1;
    switch (event->key()) {
        case Qt::Key_Down: wanted = Next(current_, 1); break;
        case Qt::Key_Up: wanted = Next(current_ < 0 ? last : current_, -1); break;
        case Qt::Key_Left: wanted = Beside(current_, -1); break;
        case Qt::Key_Right: wanted = Beside(current_, 1); break;
        case Qt::Key_Home: wanted = Next(-1, 1); break;
        case Qt::Key_End: wanted = Next(last, -1); break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Space: return Choose(current_);
        default:
            if (ChooseByLetter(event->text())) return;
            break;
    }
    if (wanted >= 0) Select(wanted);
    else event->ignore();
}

// The menu knows of one action only: its keys belong here, even before the focus has come.
bool MenuColumns::eventFilter(QObject*, QEvent* event) {
    if (event->type() != QEvent::KeyPress || hasFocus()) return false;
    event->accept();
    keyPressEvent(static_cast<QKeyEvent*>(event));
    setFocus();
    return event->isAccepted();
}

bool MenuColumns::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const int item = ItemAt(help->pos());
    if (item >= 0 && items_[item].painted) {
        QString name = items_[item].text;
        QToolTip::showText(help->globalPos(), name.remove(QLatin1Char('&')), this, items_[item].place);
    } else {
        QToolTip::hideText();
    }
    return true;
}

void MenuColumns::PaintItem(QPainter& painter, int item) {
    const ColumnItem& own = items_[item];
    if (!own.painted) {
        const QStyleOptionMenuItem option = OptionOf(item);
        style()->drawControl(QStyle::CE_MenuItem, &option, &painter, this);
        return;
    }
    const PixelRect place = {own.place.left(), own.place.top(), own.place.right() + 1, own.place.bottom() + 1};
    QtSurface surface;
    painter.save();
    DrawTarget target = MakePaintTarget(surface, painter, place);
    ShellMessage message;
    message.message = WM_DRAWITEM;
    message.command = own.command;
    message.target = &target;
    message.paint = place;
    message.itemState = (item == current_ ? ITEM_SELECTED : 0u) | (own.enabled ? 0u : ITEM_GREY) |
                        (own.checked ? ITEM_CHECKED : 0u);
    Send(message);
    painter.restore();
}

void MenuColumns::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    for (int i = 0; i < items_.size(); ++i)
        if (items_[i].place.intersects(event->rect())) PaintItem(painter, i);
}

}  // namespace

bool NeedsColumns(const Array<MenuItem>& items) {
    bool needed = false;
    for (const MenuItem& item : items) {
        if (item.popup != MENU_NONE) return false;
        needed = needed || item.newColumn || IsPainted(item);
    }
    return needed;
}

void AddColumns(QMenu& menu, const Array<MenuItem>& items) {
    auto* action = new QWidgetAction(&menu);
    action->setDefaultWidget(new MenuColumns(*action, menu, items));
    menu.addAction(action);
}

}  // namespace tally
