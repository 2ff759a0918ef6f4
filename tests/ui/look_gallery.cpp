#include "config/directory.h"
#include "ui/look/avatar.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/emptystate.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/look/progressline.h"
#include "ui/look/recolour.h"
#include "ui/look/rows.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"
#include "ui/look/velmarstyle.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QSplitter>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QTabBar>
#include <QTemporaryDir>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <cstdio>

using namespace Qt::StringLiterals;

// Every control and shared widget on two sheets, to look at. With a directory as its argument it saves
// pictures of them in every look instead.

namespace {

QHBoxLayout *row(QVBoxLayout *column, int spacing = 10)
{
    auto *layout = new QHBoxLayout;
    layout->setSpacing(spacing);
    column->addLayout(layout);
    return layout;
}

QPushButton *button(const QString &text, ButtonKind kind = ButtonKind::Plain)
{
    auto *made = new QPushButton(text);
    setButtonKind(made, kind);
    made->setAutoDefault(false);
    return made;
}

void addButtons(QVBoxLayout *column)
{
    QHBoxLayout *line = row(column, 12);
    line->addWidget(button(u"Default"_s, ButtonKind::Accent));
    line->addWidget(button(u"Plain"_s));
    QPushButton *focused = button(u"Focused"_s);
    focused->setObjectName(u"focused"_s);
    line->addWidget(focused);
    QPushButton *disabled = button(u"Disabled"_s);
    disabled->setEnabled(false);
    line->addWidget(disabled);
    line->addWidget(button(u"Delete…"_s, ButtonKind::Dangerous));
    line->addWidget(button(u"Ghost"_s, ButtonKind::Ghost));
    line->addStretch(1);
}

void addFields(QVBoxLayout *column)
{
    QHBoxLayout *line = row(column);
    line->addWidget(new QLineEdit(u"Aiko Tanabe"_s), 1);
    auto *empty = new QLineEdit;
    empty->setPlaceholderText(u"Placeholder"_s);
    line->addWidget(empty, 1);
    auto *combo = new QComboBox;
    combo->addItems({u"does not contain"_s, u"contains"_s});
    line->addWidget(combo);
    auto *spin = new QSpinBox;
    spin->setRange(0, 9);
    spin->setValue(8);
    line->addWidget(spin);
}

void addChoices(QVBoxLayout *column)
{
    QHBoxLayout *line = row(column, 20);
    auto *checked = new QCheckBox(u"Checked"_s);
    checked->setChecked(true);
    auto *partly = new QCheckBox(u"Partly"_s);
    partly->setTristate(true);
    partly->setCheckState(Qt::PartiallyChecked);
    auto *chosen = new QRadioButton(u"Chosen"_s);
    chosen->setChecked(true);
    for (QWidget *widget :
         {static_cast<QWidget *>(checked), static_cast<QWidget *>(new QCheckBox(u"Unchecked"_s)),
          static_cast<QWidget *>(partly), static_cast<QWidget *>(chosen),
          static_cast<QWidget *>(new QRadioButton(u"Other"_s))})
        line->addWidget(widget);
    line->addStretch(1);
}

QAction *action(QObject *parent, const QString &name, const QString &text, const QKeySequence &key = {})
{
    auto *made = new QAction(icon(name), text, parent);
    made->setShortcut(key);
    return made;
}

void addToolBarRow(QVBoxLayout *column, QWidget *parent)
{
    QToolBar *bar = newToolBar(parent);
    addToToolBar(bar, action(bar, u"reply"_s, u"Reply"_s, Qt::CTRL | Qt::Key_R));
    addToToolBar(bar, action(bar, u"reply-all"_s, u"Reply to all"_s));
    addToToolBar(bar, action(bar, u"forward"_s, u"Forward"_s));
    bar->addSeparator();
    QAction *bold = action(bar, u"bold"_s, u"Bold"_s);
    bold->setCheckable(true);
    bold->setChecked(true);
    addToToolBar(bar, bold);
    addToToolBar(bar, action(bar, u"italic"_s, u"Italic"_s));
    QAction *redo = action(bar, u"redo"_s, u"Redo"_s);
    redo->setEnabled(false);
    addToToolBar(bar, redo);
    bar->addSeparator();
    addToToolBar(bar, action(bar, u"get-mail"_s, u"Get mail"_s, Qt::Key_F5), true);
    setButtonKind(addToToolBar(bar, action(bar, u"compose"_s, u"New"_s, Qt::CTRL | Qt::Key_N), true),
                  ButtonKind::Accent);
    column->addWidget(bar);
}

/// A bar with less room than it needs, buttons with menus, what is disabled.
void addOddities(QVBoxLayout *column, QWidget *parent)
{
    QHBoxLayout *line = row(column);
    QToolBar *bar = newToolBar(parent);
    for (const QString &name :
         {u"view"_s, u"catch-up"_s, u"delete"_s, u"refresh"_s, u"flag"_s, u"follow-up"_s})
        addToToolBar(bar, action(bar, name, name));
    bar->setFixedWidth(140);
    line->addWidget(bar);
    QAction *move = action(parent, u"folder"_s, u"Move to"_s);
    QToolButton *menu = newToolButton(move, parent, true);
    menu->setMenu(new QMenu(menu));
    menu->setPopupMode(QToolButton::InstantPopup);
    line->addWidget(menu);
    QPushButton *more = button(u"Import"_s);
    more->setIcon(icon(u"import"_s));
    more->setMenu(new QMenu(more));
    line->addWidget(more);
    auto *checked = new QCheckBox(u"Disabled"_s);
    checked->setChecked(true);
    checked->setEnabled(false);
    line->addWidget(checked);
    auto *combo = new QComboBox;
    combo->addItem(icon(u"tag"_s), u"Set colour"_s);
    combo->setEnabled(false);
    line->addWidget(combo);
    line->addStretch(1);
}

void addBars(QVBoxLayout *column)
{
    const auto add = [column](MessageBar::Kind kind, const QString &text, const QString &first) {
        auto *bar = new MessageBar;
        column->addWidget(bar);
        bar->showMessage(kind, text, first);
    };
    add(MessageBar::Kind::Information, u"2 new messages match this search."_s, u"Show"_s);
    add(MessageBar::Kind::Good, u"Sent to 3 people."_s, u"Undo"_s);
    add(MessageBar::Kind::Warning, u"This sender wrote to you for the first time."_s, u"Why?"_s);
    add(MessageBar::Kind::Error, u"Tidewater Press: the certificate has changed."_s, u"Compare…"_s);
}

/// Controls on the ground of a dialog, with its foot.
QWidget *controlsSheet()
{
    auto *sheet = new QWidget;
    auto *outer = new QVBoxLayout(sheet);
    outer->setContentsMargins(0, 0, 0, 0);
    auto *column = new QVBoxLayout;
    column->setContentsMargins(space::dialog, space::card, space::dialog, space::card);
    column->setSpacing(space::group);
    outer->addLayout(column);
    auto *title = new QLabel(u"Controls"_s);
    setFontScale(title, scale::dialog, QFont::DemiBold);
    column->addWidget(title);
    addButtons(column);
    addFields(column);
    addChoices(column);
    addToolBarRow(column, sheet);
    addOddities(column, sheet);
    addBars(column);

    auto *group = new QGroupBox(u"Quotes and links"_s);
    group->setCheckable(true);
    auto *form = new QFormLayout(group);
    form->addRow(u"Signature"_s, new QLineEdit(u"Clara Brandt, editor"_s));
    auto *slider = new QSlider(Qt::Horizontal);
    slider->setValue(40);
    form->addRow(u"Junk threshold"_s, slider);
    auto *text = new QPlainTextEdit(u"Shift them, please, and drop the footnote."_s);
    text->setFixedHeight(3 * textHeight());
    form->addRow(u"Text"_s, text);
    column->addWidget(group);
    QHBoxLayout *faces = row(column);
    for (const auto &[name, address] : {std::pair{u"Aiko Tanabe"_s, u"aiko@tidewater.example"_s},
                                        {u"Hanna Korhonen"_s, u"hanna@korhonen.example"_s},
                                        {u""_s, u"proofs@tidewater.example"_s}}) {
        auto *avatar = new Avatar(40);
        avatar->setPerson(name, address);
        faces->addWidget(avatar);
    }
    auto *bar = new QProgressBar;
    bar->setTextVisible(false);
    bar->setValue(28);
    faces->addWidget(bar, 1);
    column->addStretch(1);
    auto *footer = new DialogFooter(u"Create account"_s);
    footer->addSecondary(u"Enter servers by hand…"_s);
    footer->addButton(u"Back"_s);
    outer->addWidget(footer);
    return sheet;
}

QStandardItem *treeItem(QStandardItem *parent, const QString &name, const QString &text)
{
    auto *item = new QStandardItem(icon(name), text);
    item->setEditable(false);
    parent->appendRow(item);
    return item;
}

QTreeView *groupTree()
{
    auto *tree = new QTreeView;
    auto *model = new QStandardItemModel(tree);
    QStandardItem *root = model->invisibleRootItem();
    treeItem(root, u"inbox"_s, u"Inbox"_s);
    treeItem(root, u"flag"_s, u"Flagged"_s);
    treeItem(root, u"drafts"_s, u"Drafts"_s);
    QStandardItem *home = treeItem(root, u"home"_s, u"Home"_s);
    treeItem(home, u"folder"_s, u"Sailing club"_s);
    treeItem(home, u"folder"_s, u"Bills and tax"_s);
    treeItem(root, u"newsgroup"_s, u"comp.lang.c++"_s);
    tree->setModel(model);
    tree->expandAll();
    tree->setHeaderHidden(true);
    tree->setFrameShape(QFrame::NoFrame);
    tree->setCurrentIndex(model->index(0, 0));
    setRoundedRows(tree);
    setSurface(tree, Role::Sidebar);
    return tree;
}

QTreeView *messageList()
{
    auto *list = new QTreeView;
    list->setObjectName(u"list"_s);
    auto *model = new QStandardItemModel(list);
    model->setHorizontalHeaderLabels({u"Subject"_s, u"From"_s, u"Date"_s});
    for (int i = 0; i < 40; ++i) {
        auto *date = new QStandardItem(u"1%1:42"_s.arg(i % 10));
        date->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        model->appendRow({new QStandardItem(icon(i % 3 ? u"unread"_s : u"replied"_s),
                                            u"Re: Tide tables, reading %1"_s.arg(i)),
                          new QStandardItem(i % 2 ? u"Aiko Tanabe"_s : u"Tomás Rivera"_s), date});
    }
    model->horizontalHeaderItem(2)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    list->setModel(model);
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setFrameShape(QFrame::NoFrame);
    list->setSortingEnabled(true);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list->setCurrentIndex(model->index(2, 0));
    return list;
}

QMenu *messageMenu(QWidget *parent)
{
    auto *menu = new QMenu(u"&Message"_s, parent);
    menu->addAction(action(menu, u"reply"_s, u"&Reply"_s, Qt::CTRL | Qt::Key_R));
    menu->addAction(action(menu, u"reply-all"_s, u"Reply to &all"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_R));
    menu->addAction(action(menu, u"forward"_s, u"&Forward"_s, Qt::CTRL | Qt::Key_L));
    menu->addSeparator();
    QAction *flagged = action(menu, u"flag"_s, u"Fla&gged"_s, Qt::Key_S);
    flagged->setCheckable(true);
    flagged->setChecked(true);
    menu->addAction(flagged);
    QMenu *tags = menu->addMenu(icon(u"tag"_s), u"&Tag"_s);
    tags->addAction(u"Almanac"_s);
    menu->addSeparator();
    QAction *unsubscribe = action(menu, u"unsubscribe"_s, u"Unsu&bscribe"_s);
    unsubscribe->setEnabled(false);
    menu->addAction(unsubscribe);
    menu->addAction(action(menu, u"delete"_s, u"&Delete"_s, Qt::Key_Delete));
    return menu;
}

QTabBar *tabs()
{
    auto *bar = new QTabBar;
    bar->setTabsClosable(true);
    bar->setExpanding(false);
    bar->setDrawBase(true);
    bar->addTab(icon(u"inbox"_s), u"Inbox"_s);
    bar->addTab(icon(u"newsgroup"_s), u"comp.lang.c++"_s);
    bar->addTab(icon(u"search"_s), u"invoice 2025"_s);
    return bar;
}

QWidget *rightPane()
{
    auto *right = new QWidget;
    auto *column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(tabs());
    column->addWidget(messageList(), 1);
    column->addWidget(new HairLine);
    auto *empty = new EmptyState;
    empty->setTexts(u"All read"_s, u"Next unread: comp.lang.c++, 143"_s, u"Go there"_s);
    column->addWidget(empty, 1);
    setSurface(empty, Role::Base);
    return right;
}

/// The frame of a main window: menu bar, bar, tree, tabs, list, status line.
QWidget *windowSheet()
{
    auto *sheet = new QWidget;
    auto *column = new QVBoxLayout(sheet);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto *menus = new QMenuBar;
    menus->addMenu(u"&File"_s)->addAction(u"Quit"_s);
    menus->addMenu(messageMenu(menus));
    column->addWidget(menus);
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(10, 4, 10, 8);
    auto *search = new SearchField(u"search"_s, u"Search mail, news, feeds and people"_s);
    search->setKeyHint(Qt::CTRL | Qt::Key_K);
    bar->addWidget(search);
    column->addLayout(bar);
    auto *splitter = new QSplitter;
    splitter->addWidget(groupTree());
    splitter->addWidget(rightPane());
    splitter->setSizes({200, 500});
    column->addWidget(splitter, 1);
    auto *status = new QStatusBar;
    status->setSizeGripEnabled(false);
    status->showMessage(u"Inbox: 1,284 messages, 14 unread"_s);
    auto *progress = new ProgressLine;
    progress->setProgress(u"news.example.org: 143 of 512 articles"_s, 143, 512);
    progress->show();
    status->addPermanentWidget(progress);
    column->addWidget(status);
    return sheet;
}

void show(QWidget *widget, const QSize &size, const QString &focus)
{
    widget->resize(size.expandedTo(widget->minimumSizeHint()));
    widget->show();
    widget->activateWindow();
    QApplication::processEvents();
    if (auto *focused = widget->findChild<QWidget *>(focus))
        focused->setFocus();
    QApplication::processEvents();
}

bool savePicture(QWidget *widget, const QString &path)
{
    QApplication::processEvents();
    return widget->grab().save(path);
}

bool saveSheets(const QString &directory, const QString &name)
{
    bool saved = true;
    const std::unique_ptr<QWidget> controls(controlsSheet());
    show(controls.get(), {640, 0}, u"focused"_s);
    saved &= savePicture(controls.get(), directory + u"/controls-"_s + name + u".png"_s);
    const std::unique_ptr<QWidget> window(windowSheet());
    show(window.get(), {820, 600}, u"list"_s);
    saved &= savePicture(window.get(), directory + u"/window-"_s + name + u".png"_s);
    const std::unique_ptr<QMenu> menu(messageMenu(nullptr));
    menu->ensurePolished();
    menu->popup({0, 0});
    menu->setActiveAction(menu->actions().constFirst());
    saved &= savePicture(menu.get(), directory + u"/menu-"_s + name + u".png"_s);
    menu->hide();
    QMessageBox box(QMessageBox::Warning, u"Velmar"_s, u"Unable to write configuration file"_s,
                    QMessageBox::Ok);
    box.setInformativeText(
        u"The old settings are untouched and the change is kept until it can be written."_s);
    box.show();
    box.activateWindow();
    saved &= savePicture(&box, directory + u"/box-"_s + name + u".png"_s);
    return saved;
}

bool saveAll(Looks &looks, const QString &directory)
{
    QDir().mkpath(directory);
    bool saved = true;
    const QFont font = QApplication::font();
    for (const auto &[look, name] : {std::pair{Look::Light, u"light"_s},
                                     {Look::Dark, u"dark"_s},
                                     {Look::HighContrast, u"high-contrast"_s}}) {
        looks.setLook(look);
        saved &= saveSheets(directory, name);
    }
    looks.setLook(Look::Light);
    QApplication::setLayoutDirection(Qt::RightToLeft);
    saved &= saveSheets(directory, u"right-to-left"_s);
    QApplication::setLayoutDirection(Qt::LeftToRight);
    QFont large = font;
    large.setPointSizeF(14);
    looks.setFont(large);
    saved &= saveSheets(directory, u"14-points"_s);
    return saved;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1 && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QFont font = QApplication::font();
    font.setPointSizeF(10);
    QApplication::setFont(font);
    const QTemporaryDir scratch;
    setConfigDirectory(scratch.path());
    Looks looks;
    looks.start();
    if (argc > 1) {
        const bool saved = saveAll(looks, QString::fromLocal8Bit(argv[1]));
        if (!saved)
            std::fputs("Unable to save every picture\n", stderr);
        return saved ? 0 : 1;
    }
    const std::unique_ptr<QWidget> controls(controlsSheet());
    const std::unique_ptr<QWidget> window(windowSheet());
    controls->show();
    window->show();
    return QApplication::exec();
}
