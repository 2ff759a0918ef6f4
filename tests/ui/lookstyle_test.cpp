#include "support/scratch.h"
#include "ui/look/avatar.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/icons.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/look/progressline.h"
#include "ui/look/recolour.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"
#include "ui/look/velmarstyle.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QSplitter>
#include <QStandardItemModel>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QImage picture(QWidget *widget)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

/// A little of everything, for comparing whole pictures.
QWidget *sheet()
{
    auto *sheet = new QWidget;
    auto *layout = new QVBoxLayout(sheet);
    auto *checked = new QCheckBox(u"Checked"_s);
    checked->setChecked(true);
    auto *combo = new QComboBox;
    combo->addItem(icon(u"folder"_s), u"Home"_s);
    auto *hint = new QLabel(u"hint"_s);
    setTextRole(hint, Role::Text3);
    setFontScale(hint, scale::small);
    auto *side = new QLabel(u"side"_s);
    setSurface(side, Role::Sidebar);
    auto *accent = new QPushButton(icon(u"send"_s), u"Send"_s);
    setButtonKind(accent, ButtonKind::Accent);
    auto *danger = new QPushButton(u"Delete"_s);
    setButtonKind(danger, ButtonKind::Dangerous);
    auto *bar = new QProgressBar;
    bar->setValue(40);
    QWidget *const widgets[] = {checked,
                                combo,
                                hint,
                                side,
                                accent,
                                danger,
                                bar,
                                new QSpinBox,
                                new QRadioButton(u"Other"_s),
                                newToolButton(u"reply"_s, u"Reply"_s, sheet)};
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    auto *message = new MessageBar;
    layout->addWidget(message);
    message->showMessage(MessageBar::Kind::Warning, u"text"_s, u"Why?"_s);
    sheet->resize(400, 500);
    return sheet;
}

} // namespace

class LookStyleTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void sizes_data();
    void sizes();
    void iconFactors();
    void switchedEqualsFresh();
    void defaultAndDangerousButtons();
    void selectionBar_data();
    void selectionBar();
    void scrollBar();
    void mnemonicsWhileAltIsHeld();
    void openBranchesAreNotChecked();
    void toolBarButtons();
    void messageBar();
    void elidedLabel();
    void searchField();
    void progressLine();
    void footer();
    void initials_data();
    void initials();

private:
    std::unique_ptr<Scratch> m_scratch;
    std::unique_ptr<Looks> m_looks;
};

void LookStyleTest::initTestCase()
{
    m_scratch = std::make_unique<Scratch>();
    m_looks = std::make_unique<Looks>();
    m_looks->start();
}

void LookStyleTest::init()
{
    m_looks->setLook(Look::Light);
    m_looks->setDensity(Density::Comfortable);
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

void LookStyleTest::sizes_data()
{
    QTest::addColumn<double>("points");
    for (const double points : {7.0, 10.0, 14.0, 22.0})
        QTest::newRow(qPrintable(QString::number(points))) << points;
}

void LookStyleTest::sizes()
{
    QFETCH(double, points);
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSizeF(points);
    m_looks->setFont(font);
    const int h = QFontMetrics(font).height();

    QPushButton button(u"OK"_s);
    QCOMPARE(button.sizeHint().height(), h + 12);
    QVERIFY(button.sizeHint().width() >= 76);
    QCOMPARE(QLineEdit().sizeHint().height(), h + 12);
    QCOMPARE(QComboBox().sizeHint().height(), h + 12);
    QCOMPARE(QSpinBox().sizeHint().height(), h + 12);
    QCOMPARE(QCheckBox(u"x"_s).sizeHint().height(), std::max(h, 16) + 6);
    QCOMPARE(MessageBar().sizeHint().height(), h + 22);
    QTabBar tabs;
    tabs.addTab(u"Inbox"_s);
    QCOMPARE(tabs.sizeHint().height(), h + 18);
    QMenu menu;
    QAction *item = menu.addAction(u"Reply"_s);
    menu.addAction(u"Forward"_s);
    menu.ensurePolished();
    QCOMPARE(menu.actionGeometry(item).height(), h + 10);
    QAction action(icon(u"reply"_s), u"Reply"_s);
    const std::unique_ptr<QToolButton> tool(newToolButton(&action, nullptr));
    QCOMPARE(tool->sizeHint().height(), std::max(tool->iconSize().height(), h) + 10);
    QStandardItemModel model(3, 1);
    QTreeView list;
    list.setModel(&model);
    QCOMPARE(list.visualRect(model.index(0, 0)).height(), h + 10);
    QCOMPARE(list.header()->sizeHint().height(), qRound(0.9 * h) + 12);
    m_looks->setFont(before);
}

void LookStyleTest::iconFactors()
{
    const QFont before = QApplication::font();
    QFont font = before;
    for (int pixels = 8; pixels < 40; ++pixels) {
        font.setPixelSize(pixels);
        m_looks->setFont(font);
        const int h = QFontMetrics(font).height();
        QCOMPARE(iconFactor(), h < 22 ? 1.0 : h < 28 ? 1.25 : 1.5);
        QCOMPARE(iconSize(IconUse::Row), h < 22 ? 16 : h < 28 ? 20 : 24);
    }
    m_looks->setFont(before);
}

void LookStyleTest::switchedEqualsFresh()
{
    const std::unique_ptr<QWidget> old(sheet());
    old->show();
    const QImage light = picture(old.get());
    for (const Look look : {Look::Dark, Look::HighContrast, Look::Light}) {
        m_looks->setLook(look);
        const std::unique_ptr<QWidget> fresh(sheet());
        fresh->show();
        QApplication::sendPostedEvents();
        QCOMPARE(picture(old.get()), picture(fresh.get()));
        QCOMPARE(picture(old.get()) == light, look == Look::Light);
    }
    const QFont before = QApplication::font();
    m_looks->setFont(fontScaled(1.5));
    const std::unique_ptr<QWidget> fresh(sheet());
    fresh->show();
    QApplication::sendPostedEvents();
    QCOMPARE(picture(old.get()), picture(fresh.get()));
    m_looks->setFont(before);
}

void LookStyleTest::defaultAndDangerousButtons()
{
    QPushButton button(u"x"_s);
    button.resize(button.sizeHint());
    const QPoint inside(10, button.height() / 2);
    const QPoint edge(button.width() / 2, 0);
    QCOMPARE(picture(&button).pixelColor(inside), colour(Role::Button));
    QCOMPARE(picture(&button).pixelColor(edge), colour(Role::ButtonBorder));
    button.setDefault(true);
    QCOMPARE(picture(&button).pixelColor(inside), colour(Role::Accent));
    setButtonKind(&button, ButtonKind::Dangerous); // a default it may not be, and does not look so
    QCOMPARE(picture(&button).pixelColor(inside), colour(Role::Button));
    QCOMPARE(picture(&button).pixelColor(edge), colour(Role::Error));
}

void LookStyleTest::selectionBar_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::addColumn<bool>("rounded");
    QTest::newRow("left to right") << Qt::LeftToRight << false;
    QTest::newRow("right to left") << Qt::RightToLeft << false;
    QTest::newRow("rounded") << Qt::LeftToRight << true;
}

void LookStyleTest::selectionBar()
{
    QFETCH(Qt::LayoutDirection, direction);
    QFETCH(bool, rounded);
    QWidget window;
    window.setLayoutDirection(direction);
    auto *other = new QLineEdit(&window);
    auto *list = new QTreeView(&window);
    auto *layout = new QHBoxLayout(&window);
    layout->addWidget(other);
    layout->addWidget(list);
    QStandardItemModel model(3, 2);
    list->setModel(&model);
    list->setRootIsDecorated(false);
    list->setCurrentIndex(model.index(1, 0));
    setRoundedRows(list, rounded);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));

    const QRect row = list->visualRect(model.index(1, 0));
    const int y = row.center().y();
    const int lead = direction == Qt::RightToLeft ? list->viewport()->width() - 2 : 1;
    list->setFocus();
    QImage shown = picture(list->viewport());
    QCOMPARE(shown.pixelColor(lead, y), rounded ? colour(Role::Base) : colour(Role::Accent));
    QCOMPARE(shown.pixelColor(row.center()), colour(Role::Selection));
    other->setFocus();
    shown = picture(list->viewport());
    QCOMPARE(shown.pixelColor(lead, y), rounded ? colour(Role::Base) : colour(Role::Text3));
    QCOMPARE(shown.pixelColor(row.center()),
             colour(rounded ? Role::SelectionSidebar : Role::SelectionInactive));
}

void LookStyleTest::scrollBar()
{
    QScrollBar bar(Qt::Vertical);
    bar.resize(bar.sizeHint().width(), 200);
    QCOMPARE(bar.width(), 12);
    bar.setRange(0, 100);
    bar.setPageStep(100);
    const QImage top = picture(&bar);
    QCOMPARE(top.pixelColor(6, 50), colour(Role::Scroll));
    QCOMPARE(top.pixelColor(2, 50), colour(Role::Chrome));
    QCOMPARE(top.pixelColor(6, 150), colour(Role::Chrome));
    bar.setValue(100);
    QCOMPARE(picture(&bar).pixelColor(6, 150), colour(Role::Scroll));
    bar.setRange(0, std::numeric_limits<int>::max()); // still something to take hold of
    bar.setValue(0);
    QCOMPARE(picture(&bar).pixelColor(6, 20), colour(Role::Scroll));
}

void LookStyleTest::mnemonicsWhileAltIsHeld()
{
    QPushButton button(u"&Reply"_s);
    button.show();
    button.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&button));
    const QImage at_rest = picture(&button);
    QTest::keyPress(&button, Qt::Key_Alt);
    QVERIFY(picture(&button) != at_rest);
    QTest::keyRelease(&button, Qt::Key_Alt);
    QCOMPARE(picture(&button), at_rest);
}

void LookStyleTest::openBranchesAreNotChecked()
{
    QStandardItemModel model;
    auto *parent = new QStandardItem(icon(u"stop"_s), QString());
    parent->appendRow(new QStandardItem);
    model.appendRow(parent);
    QTreeView tree;
    tree.setModel(&model);
    tree.setCurrentIndex({});
    tree.resize(200, 100);
    const QRect cell = tree.visualRect(parent->index());
    const QImage closed = picture(tree.viewport()).copy(cell);
    tree.expandAll();
    QCOMPARE(picture(tree.viewport()).copy(cell), closed);
}

void LookStyleTest::toolBarButtons()
{
    QWidget window;
    QToolBar *bar = newToolBar(&window);
    QAction reply(icon(u"reply"_s), u"&Reply to all…"_s);
    reply.setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_R);
    QToolButton *button = addToToolBar(bar, &reply, true);
    QCOMPARE(button->toolTip(), u"Reply to all (Ctrl+Shift+R)"_s);
    QCOMPARE(button->accessibleName(), u"Reply to all"_s);
    QCOMPARE(button->focusPolicy(), Qt::TabFocus);
    const int wide = button->sizeHint().width();
    setBarTextsShown(bar, false);
    QVERIFY(button->sizeHint().width() < wide);
    reply.setShortcut({});
    QCOMPARE(button->toolTip(), u"Reply to all"_s);
}

void LookStyleTest::messageBar()
{
    MessageBar bar;
    QVERIFY(bar.isHidden());
    bar.showMessage(MessageBar::Kind::Good, u"Sent to\n3 people."_s, u"Undo"_s);
    QVERIFY(!bar.isHidden());
    QCOMPARE(bar.text(), u"Sent to 3 people."_s);
    QCOMPARE(bar.accessibleName(), bar.text());
    auto *first = bar.findChild<QPushButton *>(u"first"_s);
    auto *second = bar.findChild<QPushButton *>(u"second"_s);
    QVERIFY(!first->isHidden() && second->isHidden());
    const QSignalSpy clicks(&bar, &MessageBar::firstClicked);
    first->click();
    QCOMPARE(clicks.size(), 1);
    bar.showMessage(MessageBar::Kind::Error, u"Refused."_s);
    QVERIFY(first->isHidden());
    QCOMPARE(bar.kind(), MessageBar::Kind::Error);
    bar.resize(500, bar.sizeHint().height());
    QCOMPARE(picture(&bar).pixelColor(300, bar.height() / 2), colour(Role::ErrorBar));
    const QSignalSpy closings(&bar, &MessageBar::closed);
    bar.findChild<QToolButton *>(u"close"_s)->click();
    QCOMPARE(closings.size(), 1);
    QVERIFY(bar.isHidden());
}

void LookStyleTest::elidedLabel()
{
    ElidedLabel label(u"a line that is rather long for its room"_s);
    label.resize(label.sizeHint());
    QVERIFY(!label.isElided());
    label.resize(40, label.height());
    QVERIFY(label.isElided());
    QVERIFY(label.minimumSizeHint().width() < label.sizeHint().width());
}

void LookStyleTest::searchField()
{
    SearchField field(u"search"_s, u"Search"_s);
    field.setKeyHint(Qt::CTRL | Qt::Key_K);
    field.resize(300, field.sizeHint().height());
    const QMargins empty = field.textMargins();
    field.setText(u"bills"_s);
    QVERIFY(field.textMargins().right() < empty.right()); // the hint has made room
    const QSignalSpy leavings(&field, &SearchField::left);
    QTest::keyClick(&field, Qt::Key_Escape);
    QCOMPARE(field.text(), QString());
    QCOMPARE(leavings.size(), 0);
    QTest::keyClick(&field, Qt::Key_Escape);
    QCOMPARE(leavings.size(), 1);
}

void LookStyleTest::progressLine()
{
    ProgressLine line;
    auto *delay = line.findChild<QTimer *>();
    line.setProgress(u"article 1 of 512"_s, 1, 512);
    QVERIFY(line.isHidden());
    QCOMPARE(delay->interval(), 1000);
    line.finish();
    QVERIFY(!delay->isActive());
    line.setProgress(u"12 articles"_s, 12, 0);
    delay->start(0);
    QTRY_VERIFY(!line.isHidden());
    QVERIFY(line.findChild<QProgressBar *>()->isHidden());
    line.finish();
    QVERIFY(line.isHidden());
}

void LookStyleTest::footer()
{
    DialogFooter footer(u"Save"_s);
    QPushButton *remove = footer.addDangerous(u"Delete…"_s);
    QPushButton *apply = footer.addButton(u"Apply"_s);
    footer.resize(600, footer.sizeHint().height());
    footer.show();
    QVERIFY(footer.defaultButton()->isDefault());
    QVERIFY(!remove->isDefault() && !remove->autoDefault());
    QVERIFY(remove->x() < apply->x());
    QVERIFY(apply->x() < footer.cancelButton()->x());
    QVERIFY(footer.cancelButton()->x() < footer.defaultButton()->x());
    QSignalSpy rejections(&footer, &DialogFooter::rejected);
    footer.cancelButton()->click();
    QCOMPARE(rejections.size(), 1);
}

void LookStyleTest::initials_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("initials");
    QTest::newRow("two words") << u"Aiko Tanabe"_s << QString() << u"AT"_s;
    QTest::newRow("three words") << u"Dr Amara  Osei"_s << QString() << u"DO"_s;
    QTest::newRow("one word") << u"velmar"_s << QString() << u"V"_s;
    QTest::newRow("signs") << u"\"Press\" (team)"_s << QString() << u"PT"_s;
    QTest::newRow("combining") << QString::fromUtf8("E\xcc\x81mile Zola") << QString()
                               << QString::fromUtf8("E\xcc\x81Z");
    QTest::newRow("beyond the first plane")
        << QString::fromUtf8("\xf0\x90\x90\x90x") << QString() << QString::fromUtf8("\xf0\x90\x90\x90");
    QTest::newRow("address") << QString() << u"proofs@tidewater.example"_s << u"P"_s;
    QTest::newRow("nothing") << u" - "_s << u"@"_s << u"?"_s;
}

void LookStyleTest::initials()
{
    QFETCH(QString, name);
    QFETCH(QString, address);
    QTEST(initialsOf(name, address), "initials");
}

QTEST_MAIN(LookStyleTest)

#include "lookstyle_test.moc"
