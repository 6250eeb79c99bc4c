// Every dialog of the program as the toolkit shows it, page by page, in both languages and at two resolutions:
// no text is cut, nothing covers anything else or stands outside, Tab comes to all that takes input in the
// order of the table, and a letter leads to one place. With TALLYMAN_PICTURES a picture of each page is kept in
// the folder that it names.

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSettings>
#include <QSpinBox>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionSpinBox>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "desktop/Contrast.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/Dialog.h"
#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"
#include "shell/dialogs/Questions.h"
#include "shell/frame/Shell.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

std::set<std::string> titles;
std::string where;  // the dialog, its page and the language, for messages
std::string prefix;
i32 pagesSeen = 0;
bool contrastOnly = false;

QString Plain(QString text) {
    text.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
    text.remove(QLatin1Char('&'));
    return text.replace(QLatin1Char('\x01'), QLatin1Char('&'));
}

std::string Name(const Control& control) {
    return where + " control " + std::to_string(control.row.id) + " \"" +
           ToQString(control.label).toStdString() + "\"";
}

QRect PlaceOf(const Control& control) {
    return QRect(control.place.left, control.place.top, control.place.right - control.place.left,
                 control.place.bottom - control.place.top);
}

bool IsContainer(const Control& control) {
    return control.row.kind == CONTROL_GROUP || control.row.kind == CONTROL_PAGES ||
           control.row.kind == CONTROL_PAGE;
}

// The widget of a control, known by its place.
QWidget* WidgetOf(const QDialog& window, const Control& control) {
    for (QWidget* child : window.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (!child->isVisible()) continue;
        if (control.row.kind == CONTROL_PAGES) {
            if (qobject_cast<QTabBar*>(child) && child->geometry().topLeft() == PlaceOf(control).topLeft())
                return child;
        } else if (child->geometry() == PlaceOf(control) &&
                   (control.row.kind == CONTROL_GROUP) == (qobject_cast<QGroupBox*>(child) != nullptr)) {
            return child;
        }
    }
    return nullptr;
}

i32 TextWidth(const QWidget& widget, const QString& text) {
    i32 width = 0;
    for (const QString& line : Plain(text).split(QLatin1Char('\n')))
        width = std::max(width, widget.fontMetrics().horizontalAdvance(line));
    return width;
}

i32 WidestItem(const QComboBox& combo) {
    i32 width = 0;
    for (int i = 0; i < combo.count(); ++i)
        width = std::max(width, combo.fontMetrics().horizontalAdvance(combo.itemText(i)));
    return width;
}

// Room for a text that a button of some kind shows beside its mark.
i32 ButtonRoom(const QAbstractButton& button) {
    QStyleOptionButton option;
    option.initFrom(&button);
    const QStyle& style = *button.style();
    if (qobject_cast<const QCheckBox*>(&button))
        return style.subElementRect(QStyle::SE_CheckBoxContents, &option, &button).width();
    if (qobject_cast<const QRadioButton*>(&button))
        return style.subElementRect(QStyle::SE_RadioButtonContents, &option, &button).width();
    return style.subElementRect(QStyle::SE_PushButtonContents, &option, &button).width();
}

void CheckText(const QWidget& widget, const Control& control) {
    const i32 width = widget.width(), line = widget.fontMetrics().height();
    if (auto* label = qobject_cast<const QLabel*>(&widget)) {
        EXPECT_LE(TextWidth(widget, label->text()), width) << Name(control);
        EXPECT_LE(label->heightForWidth(width), widget.height()) << Name(control);
    } else if (auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
        EXPECT_LE(TextWidth(widget, button->text()), ButtonRoom(*button)) << Name(control);
        EXPECT_LE(line, widget.height()) << Name(control);
    } else if (auto* group = qobject_cast<const QGroupBox*>(&widget)) {
        EXPECT_LE(TextWidth(widget, group->title()) + 12, width) << Name(control);
    } else if (auto* tabs = qobject_cast<const QTabBar*>(&widget)) {
        EXPECT_LE(tabs->sizeHint().width(), width) << Name(control);
    } else if (auto* combo = qobject_cast<const QComboBox*>(&widget)) {
        QStyleOptionComboBox option;
        option.initFrom(combo);
        option.editable = combo->isEditable();
        const QRect room =
            combo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo);
        EXPECT_LE(WidestItem(*combo), room.width()) << Name(control);
        EXPECT_LE(line, widget.height()) << Name(control);
    } else if (auto* list = qobject_cast<const QListWidget*>(&widget)) {
        EXPECT_FALSE(list->horizontalScrollBar()->isVisible()) << Name(control);
        EXPECT_GE(list->viewport()->height(), 3 * line) << Name(control);
    } else if (auto* spin = qobject_cast<const QSpinBox*>(&widget)) {
        QStyleOptionSpinBox option;
        option.initFrom(spin);
        const QRect room =
            spin->style()->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxEditField, spin);
        for (const i32 value : {spin->minimum(), spin->maximum()})
            EXPECT_LE(TextWidth(widget, QString::number(value)) + 4, room.width()) << Name(control);
    } else if (qobject_cast<const QLineEdit*>(&widget)) {
        EXPECT_LE(line + 4, widget.height()) << Name(control);
    }
}

void CheckPlaces(const Dialog& dialog, const QDialog& window) {
    EXPECT_EQ(window.size(), QSize(dialog.width, dialog.height)) << where;
    EXPECT_LE(window.width(), MulDiv(640, Shell().layout.dpi, 96)) << where << " is wide";
    EXPECT_LE(window.height(), MulDiv(440, Shell().layout.dpi, 96)) << where << " is high";
    std::vector<const Control*> leaves;
    for (const Control& control : dialog.controls) {
        if (!IsControlVisible(dialog, control)) continue;
        const QRect place = PlaceOf(control);
        EXPECT_TRUE(window.rect().contains(place)) << Name(control);
        if (control.container >= 0) {
            const Control& around = dialog.controls[static_cast<u32>(control.container)];
            EXPECT_TRUE(PlaceOf(around).contains(place)) << Name(control) << " outside of " << Name(around);
        }
        if (control.row.kind == CONTROL_PAGE ||
            (control.row.kind == CONTROL_PAGES && (control.row.flags & CONTROL_NO_TABS)))
            continue;
        QWidget* widget = WidgetOf(window, control);
        ASSERT_NE(widget, nullptr) << Name(control);
        CheckText(*widget, control);
        if (IsContainer(control)) continue;
        for (const Control* other : leaves)
            EXPECT_FALSE(PlaceOf(*other).intersects(place)) << Name(control) << " over " << Name(*other);
        leaves.push_back(&control);
    }
    // A label reads on into the first line of what stands beside it.
    for (std::size_t i = 0; i + 1 < leaves.size(); ++i) {
        const Control &label = *leaves[i], &next = *leaves[i + 1];
        if (label.row.kind != CONTROL_LABEL || next.container != label.container ||
            next.row.cell.row != label.row.cell.row)
            continue;
        EXPECT_LE(std::abs(label.place.top - next.place.top), window.fontMetrics().height()) << Name(label);
    }
    // Strips of tabs and titles of groups are covered by nothing either.
    for (const Control& control : dialog.controls) {
        if (!IsContainer(control) || control.row.kind == CONTROL_PAGE || !IsControlVisible(dialog, control))
            continue;
        const QWidget* widget = WidgetOf(window, control);
        if (!widget) continue;
        const QRect strip(widget->pos(),
                          QSize(widget->width(), std::min(widget->height(), control.row.kind == CONTROL_GROUP
                                                                                ? widget->fontMetrics().height()
                                                                                : widget->height())));
        for (const Control* leaf : leaves)
            EXPECT_FALSE(strip.intersects(PlaceOf(*leaf)))
                << Name(*leaf) << " over the title of " << Name(control);
    }
}

bool TakesInput(const Control& control) {
    switch (control.row.kind) {
        case CONTROL_LABEL:
        case CONTROL_GROUP:
        case CONTROL_PAGES:
        case CONTROL_PAGE: return false;
        case CONTROL_PAINTED: return (control.row.flags & CONTROL_PICKER) != 0;
        default: return true;
    }
}

// Tab goes through all that takes input in the order of the table; of radio buttons in a row it stops at one.
void CheckTabs(const Dialog& dialog, QDialog& window) {
    std::map<const QWidget*, u32> byWidget;
    std::vector<u32> wanted;
    u32 set = 0;
    std::map<u32, u32> setOf;  // of radio buttons, by the first of the row
    for (u32 i = 0; i < dialog.controls.Count(); ++i) {
        const Control& control = dialog.controls[i];
        const bool radio = control.row.kind == CONTROL_RADIO;
        if (radio && (i == 0 || dialog.controls[i - 1].row.kind != CONTROL_RADIO ||
                      (control.row.flags & CONTROL_NEW_SET)))
            set = i;
        if (!IsControlReachable(dialog, control) || !IsControlVisible(dialog, control) || !TakesInput(control))
            continue;
        QWidget* widget = WidgetOf(window, control);
        ASSERT_NE(widget, nullptr) << Name(control);
        byWidget[widget] = i;
        if (widget->focusProxy()) byWidget[widget->focusProxy()] = i;
        setOf[i] = radio ? set : i;
        if (wanted.empty() || setOf[wanted.back()] != setOf[i]) wanted.push_back(i);
    }
    if (wanted.empty()) return;
    std::vector<u32> met;
    QWidget* start = QApplication::focusWidget();
    ASSERT_NE(start, nullptr) << where;
    for (std::size_t step = 0; step < 4 * dialog.controls.Count() + 8; ++step) {
        QWidget* focus = QApplication::focusWidget();
        if (step && focus == start) break;
        if (const auto found = byWidget.find(focus); found != byWidget.end()) {
            const u32 first = setOf[found->second];
            for (const u32 each : wanted)
                if (setOf[each] == first) met.push_back(each);
        }
        QTest::keyClick(window.windowHandle(), Qt::Key_Tab);
    }
    // Wherever it began, it goes round.
    if (const auto first = std::find(met.begin(), met.end(), wanted.front()); first != met.end())
        std::rotate(met.begin(), first, met.end());
    std::string order;
    for (const u32 index : met) order += " " + std::to_string(dialog.controls[index].row.id);
    EXPECT_EQ(met, wanted) << where << " Tab goes" << order;
}

void CheckLetters(const Dialog& dialog) {
    std::map<QChar, std::string> letters;
    for (const Control& control : dialog.controls) {
        const bool tab = control.row.kind == CONTROL_PAGE && control.container >= 0;
        if (!IsControlVisible(dialog, control) && !tab) continue;
        if (tab && !IsControlVisible(dialog, dialog.controls[static_cast<u32>(control.container)])) continue;
        const QString label = ToQString(control.label);
        for (int i = 0; i + 1 < label.size(); ++i) {
            if (label[i] != QLatin1Char('&')) continue;
            const QChar letter = label[++i].toUpper();
            if (letter == QLatin1Char('&') || letter == QLatin1Char(' ')) continue;
            EXPECT_TRUE(letters.emplace(letter, Name(control)).second)
                << Name(control) << " has the letter of " << letters[letter];
        }
    }
}

// What can be used now can be read; what is grey may be faint.
void CheckContrast(QDialog& window) {
    const QImage image = window.grab().toImage();
    for (const QWidget* child : window.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (!child->isVisible() || !child->isEnabled()) continue;
        QString text;
        QRect part = child->geometry();
        if (auto* label = qobject_cast<const QLabel*>(child)) text = label->text();
        if (auto* button = qobject_cast<const QAbstractButton*>(child)) text = button->text();
        if (auto* combo = qobject_cast<const QComboBox*>(child)) text = combo->currentText();
        if (auto* list = qobject_cast<const QListWidget*>(child); list && list->count())
            text = list->item(0)->text();
        if (auto* tabs = qobject_cast<const QTabBar*>(child)) text = tabs->tabText(tabs->currentIndex());
        if (auto* edit = qobject_cast<const QLineEdit*>(child)) {
            text = edit->text();
            for (const QAction* action : edit->actions()) {
                const QImage icon = action->icon().pixmap(16, 16).toImage();
                QImage shown(16, 16, QImage::Format_RGB32);
                shown.fill(edit->palette().color(QPalette::Base));
                QPainter(&shown).drawImage(0, 0, icon);
                EXPECT_GE(ContrastOf(shown, shown.rect()), READABLE) << where << " the picture in an edit";
            }
        }
        if (auto* group = qobject_cast<const QGroupBox*>(child)) {
            text = group->title();
            part.setHeight(group->fontMetrics().height());
        }
        // The frame around a text stands out, too.
        part.adjust(3, 1, -3, -1);
        if (!text.trimmed().isEmpty())
            EXPECT_GE(ContrastOf(image, part), READABLE) << where << " \"" << text.toStdString() << '"';
    }
}

void CheckShown(Dialog& dialog, QDialog& window, i32 page) {
    QTest::qWait(0);
    where = prefix + " " + ToQString(dialog.title).toStdString() + " page " + std::to_string(page);
    ++pagesSeen;
    if (qEnvironmentVariableIsSet("TALLYMAN_PICTURES")) {
        static_cast<void>(window.grab().save(qEnvironmentVariable("TALLYMAN_PICTURES") +
                                             QStringLiteral("/%1_%2.png")
                                                 .arg(pagesSeen, 3, 10, QLatin1Char('0'))
                                                 .arg(QString::fromStdString(prefix))));
    }
    if (contrastOnly) return CheckContrast(window);
    CheckPlaces(dialog, window);
    CheckTabs(dialog, window);
    CheckLetters(dialog);
}

void CheckDialog(Dialog& dialog) {
    titles.insert(ToQString(dialog.title).toStdString());
    auto* window = qobject_cast<QDialog*>(TopDialogWindow());
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    bool paged = false;
    for (u32 i = 0; i < dialog.controls.Count(); ++i) {
        if (dialog.controls[i].row.kind != CONTROL_PAGES) continue;
        paged = true;
        i32 count = 0;
        for (const Control& page : dialog.controls) count += page.container == static_cast<i32>(i);
        for (i32 page = 0; page < count; ++page) {
            SetControlChoice(dialog, dialog.controls[i].row.id, page);
            dialog.focus = 0;
            ShellPlatform().syncDialog(dialog);
            CheckShown(dialog, *window, page);
        }
    }
    if (!paged) CheckShown(dialog, *window, 0);
}

void RunChecked(Dialog& dialog) {
    QTimer::singleShot(0, [&dialog] {
        CheckDialog(dialog);
        EndDialog(dialog, false);
        ShellPlatform().syncDialog(dialog);
    });
    QtShellPlatform().runDialog(dialog);
}

class DialogTables : public testing::Test {
  protected:
    void SetUp() override {
        CloseSettings();
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
        SetPlatform(&QtPlatform());
        watching = QtShellPlatform();
        watching.runDialog = RunChecked;
        SetShellPlatform(&watching);
        OpenFrame(ShellFrameCalls());
        StartShell(WideView());
        ShowFrame();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&FrameInUse()->window));
        FrameInUse()->client.setFocus();
        titles.clear();
        pagesSeen = 0;
    }
    void TearDown() override {
        SetLanguage(LANGUAGE_CHINESE);
        StopShell();
        CloseSettings();
        SetShellPlatform(&QtShellPlatform());
    }
    static void Run(std::initializer_list<i32> commands) {
        for (const i32 command : commands) EXPECT_TRUE(SendCommand(command)) << command;
    }
    static void ShowEveryDialog() {
        Run({139, 144, 146, 149, 160, 167, 168, 330, 390, 391, 395, 399, 400, 410, 411, 413, 422, 429});
        Run({132, 134});
        WideText text;
        ASSERT_TRUE(text.Assign(u"x"));
        const ClipboardItem item = {CF_UNICODETEXT,
                                    ByteView(reinterpret_cast<const u8*>(text.View().data()), 2)};
        ASSERT_TRUE(ShellPlatform().putClipboard(std::span(&item, 1)));
        Run({134, 163, 401, 402});
        CurrentSheet()->viewFlags |= VIEW_PROTECTED;
        CurrentSheet()->passwordHash = 1;
        Run({411});
        CurrentSheet()->viewFlags = static_cast<u16>(CurrentSheet()->viewFlags & ~VIEW_PROTECTED);
        CurrentSheet()->passwordHash = 0;
        CellFormatQuestion question;
        question.pages = FORMAT_PAGE_FONT | FORMAT_PAGE_BORDER | FORMAT_PAGE_PATTERN;
        question.namedFonts = false;
        EXPECT_FALSE(AskCellFormat(question));
    }

    QTemporaryDir folder;
    ShellPlatformTable watching;
};

TEST_F(DialogTables, EachPageIsWholeInBothLanguages) {
    for (const auto& [language, name] : {std::pair{LANGUAGE_CHINESE, "zh"}, {LANGUAGE_ENGLISH, "en"}}) {
        SetLanguage(language);
        prefix = name;
        ShowEveryDialog();
    }
    EXPECT_EQ(titles.size(), 2u * 21u);
    EXPECT_GE(pagesSeen, 60);
}

TEST_F(DialogTables, EachPageIsReadableOnADarkDesktop) {
    QApplication::setPalette(DarkPalette());
    contrastOnly = true;
    SetLanguage(LANGUAGE_ENGLISH);
    prefix = "dark";
    ShowEveryDialog();
    EXPECT_EQ(titles.size(), 21u);
    contrastOnly = false;
    QApplication::setPalette(QPalette());
}

TEST_F(DialogTables, EachPageIsWholeOnAFinerScreen) {
    if (QGuiApplication::screens().size() < 2) GTEST_SKIP() << "the toolkit shows one screen only";
    FrameInUse()->window.move(4900, 100);
    QTest::qWait(0);
    ASSERT_EQ(Shell().layout.dpi, 168);
    SetLanguage(LANGUAGE_ENGLISH);
    prefix = "en168";
    ShowEveryDialog();
    EXPECT_EQ(titles.size(), 21u);
}

}  // namespace
}  // namespace tally
