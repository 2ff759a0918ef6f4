#include "support/scratch.h"

#include "config/settingstable.h"
#include "engine/outbox.h"
#include "ui/look/looks.h"
#include "ui/look/messagebar.h"
#include "ui/options/hits.h"
#include "ui/options/optioncontrol.h"
#include "ui/options/optionswindow.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

class OptionsTest : public QObject
{
    Q_OBJECT

private slots:
    void rowsFitTheirSettings_data();
    void rowsFitTheirSettings();
    void controlsAndSettingsAgree_data() { rowsFitTheirSettings_data(); }
    void controlsAndSettingsAgree();
    void aFreshProfileHasTheDefaults();
    void strangeValuesStay();
    void onlyWhatWasChangedIsWritten();
    void whatChangesElsewhereIsShown();
    void searchCountsAndMarks_data();
    void searchCountsAndMarks();
    void defaultsAreRestoredAndTakenBack();
    void previews_data();
    void previews();
    void theKeyboardSuffices();
    void mnemonicsAreUnique();
    void oneWindowIsEnough();
};

namespace {

struct OptionsProgram
{
    OptionsProgram() { looks.start(); }
    ~OptionsProgram() { delete options; }

    /// Made when it is asked for: what was stored before is what it shows.
    OptionsWindow *window()
    {
        if (!options)
            options = openOptions(&main);
        return options;
    }
    OptionControl *control(const OptionRow &row)
    {
        for (OptionControl *each : window()->findChildren<OptionControl *>())
            if (&each->row() == &row)
                return each;
        qFatal("a row has no control");
    }
    OptionControl *control(Setting setting)
    {
        for (const OptionRow &row : optionRows())
            if (row.setting == setting)
                return control(row);
        qFatal("a setting has no row");
    }
    void press(const char *name)
    {
        auto *button = window()->findChild<QPushButton *>(QLatin1StringView(name));
        QVERIFY(button && button->isEnabled());
        button->click();
    }
    bool canPress(const char *name)
    {
        return window()->findChild<QPushButton *>(QLatin1StringView(name))->isEnabled();
    }
    QLineEdit *search() { return window()->findChild<QLineEdit *>(u"search"_s); }
    /// What the list of pages says during a search.
    QStringList pages()
    {
        const auto *list = window()->findChild<QListWidget *>(u"pages"_s);
        QStringList all;
        for (int i = 0; i < list->count(); ++i)
            all += list->item(i)->data(Qt::AccessibleTextRole).toString();
        return all;
    }

    Scratch scratch;
    Looks looks;
    QWidget main;
    QPointer<OptionsWindow> options;
};

QVariant anotherValue(const OptionRow &row)
{
    const QVariant now = optionValue(row);
    switch (row.kind) {
    case OptionKind::Check: return !now.toBool();
    case OptionKind::Number: return now.toInt() + 1;
    case OptionKind::Line: return QVariant(now.toString() + u" x=y "_s);
    case OptionKind::Font: return u"Serif,12"_s;
    case OptionKind::Colour: return 0x123456;
    case OptionKind::Choice: break;
    }
    const QList<OptionChoice> choices = row.choices();
    return choices.first().value == now ? choices.last().value : choices.first().value;
}

/// As a person does it.
void enter(OptionControl *control, const QVariant &value)
{
    if (auto *box = qobject_cast<QCheckBox *>(control->field()))
        return QTest::keyClick(box, Qt::Key_Space);
    if (auto *number = qobject_cast<QSpinBox *>(control->field()))
        return QTest::keyClick(number, Qt::Key_Up);
    if (auto *line = qobject_cast<QLineEdit *>(control->field())) {
        line->end(false);
        return QTest::keyClicks(line, u" x=y "_s);
    }
    if (auto *box = qobject_cast<QComboBox *>(control->field()))
        return box->setCurrentIndex(box->findData(value));
    control->setValue(value); // the dialogs for fonts and colours are the toolkit's
}

QList<QVariant> allValues()
{
    QList<QVariant> values;
    for (const OptionRow &row : optionRows())
        values += optionValue(row);
    return values;
}

QString textOf(const OptionRow &row)
{
    return optionName(row) + u" ("_s + QString::number(int(row.page)) + u')';
}

} // namespace

void OptionsTest::rowsFitTheirSettings_data()
{
    QTest::addColumn<int>("index");
    const auto rows = optionRows();
    for (std::size_t i = 0; i < rows.size(); ++i)
        QTest::newRow(qUtf8Printable(textOf(rows[i]))) << int(i);
}

void OptionsTest::rowsFitTheirSettings()
{
    QFETCH(const int, index);
    const OptionRow &row = optionRows()[std::size_t(index)];
    Scratch scratch;
    const bool beginsPage = index == 0 || optionRows()[std::size_t(index) - 1].page != row.page;
    QVERIFY(!beginsPage || (*row.section && *row.label));
    QVERIFY(!*row.section || *row.label);
    if (row.store == OptionStore::Table) {
        QVERIFY(int(row.setting) >= 1 && std::size_t(row.setting) <= kSettings.size());
        const SettingType type = kSettings[std::size_t(row.setting) - 1].type;
        const bool isText = row.kind == OptionKind::Line || row.kind == OptionKind::Font;
        QCOMPARE(type, row.kind == OptionKind::Check ? SettingType::Boolean
                       : isText                      ? SettingType::String
                                                     : SettingType::Integer);
    }
    const QVariant usual = defaultOption(row);
    if (row.kind == OptionKind::Number)
        QVERIFY(usual.toInt() >= row.least && usual.toInt() < row.most);
    if (row.kind != OptionKind::Choice)
        return;
    const QList<OptionChoice> choices = row.choices();
    QVERIFY(std::any_of(choices.begin(), choices.end(),
                        [&usual](const OptionChoice &each) { return each.value == usual; }));
}

/// Shown as stored, stored as entered, on the disk, and no other row touched.
void OptionsTest::controlsAndSettingsAgree()
{
    QFETCH(const int, index);
    const OptionRow &row = optionRows()[std::size_t(index)];
    OptionsProgram program;
    QCOMPARE(program.control(row)->value(), optionValue(row));
    QVERIFY(!program.canPress("apply"));
    const QVariant other = anotherValue(row);
    QList<QVariant> expected = allValues();
    expected[index] = other;
    program.window()->showPage(row.page);
    enter(program.control(row), other);
    QVERIFY(optionValue(row) != other); // not before it is applied
    program.press("apply");
    QCOMPARE(allValues(), expected);
    QVERIFY(!program.canPress("apply"));
    resetSettings();
    QVERIFY(loadConfig(false));
    QCOMPARE(allValues(), expected);

    delete program.options;
    QCOMPARE(program.control(row)->value(), other);
    QVERIFY(!program.canPress("apply"));
    QVERIFY(!program.control(row)->field()->accessibleName().isEmpty());
}

void OptionsTest::aFreshProfileHasTheDefaults()
{
    Scratch scratch;
    for (const OptionRow &row : optionRows())
        QVERIFY2(optionValue(row) == defaultOption(row), qUtf8Printable(textOf(row)));
}

/// Written by hand into the file: shown, and kept while nobody enters anything else.
void OptionsTest::strangeValuesStay()
{
    OptionsProgram program;
    setIntSetting(Setting::SendWrapWidth, 5000);
    setIntSetting(Setting::SendReadReceipts, 7);
    setIntSetting(Setting::CharacterSet, -3);
    Outbox::setUndoDelay(17);
    QCOMPARE(program.control(Setting::SendWrapWidth)->value(), 5000);
    QCOMPARE(program.control(Setting::SendReadReceipts)->value(), 7);
    QCOMPARE(program.control(Setting::CharacterSet)->value(), -3);
    enter(program.control(Setting::QuoteSigs), true);
    program.press("ok");
    QVERIFY(boolSetting(Setting::QuoteSigs));
    QCOMPARE(intSetting(Setting::SendWrapWidth), 5000);
    QCOMPARE(intSetting(Setting::SendReadReceipts), 7);
    QCOMPARE(intSetting(Setting::CharacterSet), -3);
    QCOMPARE(Outbox::undoDelay(), 17);
}

void OptionsTest::onlyWhatWasChangedIsWritten()
{
    OptionsProgram program;
    enter(program.control(Setting::AutoSend), false);
    setBoolSetting(Setting::EditHeaders, true); // in a compose window
    program.press("ok");
    QVERIFY(boolSetting(Setting::EditHeaders));
    QVERIFY(!boolSetting(Setting::AutoSend));
    QVERIFY(!program.options || !program.options->isVisible());
}

void OptionsTest::whatChangesElsewhereIsShown()
{
    OptionsProgram program;
    QVERIFY(QTest::qWaitForWindowActive(program.window()));
    enter(program.control(Setting::AutoSend), false);
    setBoolSetting(Setting::EditHeaders, true);
    setBoolSetting(Setting::AutoSend, true);
    QEvent activation(QEvent::ActivationChange);
    QApplication::sendEvent(program.window(), &activation);
    QCOMPARE(program.control(Setting::EditHeaders)->value(), true);
    QCOMPARE(program.control(Setting::AutoSend)->value(), false); // what was entered here stays
}

void OptionsTest::searchCountsAndMarks_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QList<int>>("found");
    QTest::addColumn<int>("shown"); ///< the page
    QTest::newRow("in labels, texts and hints") << u"colour"_s << QList<int>{2, 0, 0, 0} << 0;
    QTest::newRow("on another page") << u"yenc"_s << QList<int>{0, 0, 0, 1} << 3;
    QTest::newRow("a title") << u"copies"_s << QList<int>{0, 0, 3, 0} << 2;
    QTest::newRow("a key") << u"forceqp"_s << QList<int>{0, 0, 0, 1} << 3;
    QTest::newRow("a choice") << u"japanese"_s << QList<int>{0, 0, 0, 1} << 3;
    QTest::newRow("all the words, in any order") << u"  PLAIN  letters "_s << QList<int>{0, 0, 0, 1} << 3;
    QTest::newRow("nothing") << u"xyzzy"_s << QList<int>{0, 0, 0, 0} << 0;
}

void OptionsTest::searchCountsAndMarks()
{
    QFETCH(const QString, typed);
    QFETCH(const QList<int>, found);
    QFETCH(const int, shown);
    OptionsProgram program;
    const QStringList plain = program.pages();
    program.search()->setText(typed);
    QStringList expected;
    for (int i = 0; i < kOptionPageCount; ++i)
        expected += plain.at(i) + u", %1 found"_s.arg(found.at(i));
    QCOMPARE(program.pages(), expected);
    QCOMPARE(int(program.window()->page()), shown);
    const int sum = std::accumulate(found.begin(), found.end(), 0);
    QCOMPARE(program.window()->findChild<QWidget *>(u"nothing"_s)->isVisible(), sum == 0);
    const auto marked = [&program] {
        int count = 0;
        for (const HitLabel *label : program.window()->findChildren<HitLabel *>())
            count += label->hits().isEmpty() ? 0 : 1;
        for (const HitCheckBox *box : program.window()->findChildren<HitCheckBox *>())
            count += box->hits().isEmpty() ? 0 : 1;
        return count;
    };
    QVERIFY(marked() >= sum);
    QCOMPARE(marked() > 0, sum > 0);
    program.search()->clear();
    QCOMPARE(marked(), 0);
    QCOMPARE(program.pages(), plain);
}

void OptionsTest::defaultsAreRestoredAndTakenBack()
{
    OptionsProgram program;
    setStringSetting(Setting::QuotePrefix, u"| "_s);
    setBoolSetting(Setting::QuoteSigs, true);
    setBoolSetting(Setting::AutoSend, false); // on another page
    program.window()->showPage(OptionPage::Writing);
    QVERIFY(!program.canPress("restore")); // nothing to restore here
    program.window()->showPage(OptionPage::Replies);
    program.press("restore");
    QCOMPARE(program.control(Setting::QuotePrefix)->value(), u"> "_s);
    QCOMPARE(program.control(Setting::QuoteSigs)->value(), false);
    QCOMPARE(program.control(Setting::AutoSend)->value(), false);
    QCOMPARE(stringSetting(Setting::QuotePrefix), u"| "_s); // until it is applied
    auto *bar = program.window()->findChild<MessageBar *>(u"bar"_s);
    QCOMPARE(bar->text(), u"Replies: 2 settings are back at their defaults."_s);
    emit bar->firstClicked();
    QCOMPARE(program.control(Setting::QuotePrefix)->value(), u"| "_s);
    QCOMPARE(program.control(Setting::QuoteSigs)->value(), true);
    QVERIFY(!program.canPress("apply"));
    program.press("restore");
    program.press("ok");
    QCOMPARE(stringSetting(Setting::QuotePrefix), u"> "_s);
    QVERIFY(!boolSetting(Setting::QuoteSigs) && !boolSetting(Setting::AutoSend));
}

void OptionsTest::previews_data()
{
    QTest::addColumn<Setting>("setting");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("variables") << Setting::AttributionText << u"%e about “%s”, 100%%:"_s
                               << u"“clara@tidewater.example about “Proofs of the second volume”, 100%:”"_s;
    QTest::newRow("none") << Setting::AttributionTextPersonal << u"You wrote:"_s << u"“You wrote:”"_s;
    QTest::newRow("no variable") << Setting::AttributionText << u"%q <b>%"_s << u"“%q <b>%”"_s;
    QTest::newRow("a mark") << Setting::QuotePrefix << u"| "_s << u"“| Shall we print it as it is?”"_s;
}

void OptionsTest::previews()
{
    QFETCH(const Setting, setting);
    QFETCH(const QString, text);
    OptionsProgram program;
    OptionControl *control = program.control(setting);
    auto *line = qobject_cast<QLineEdit *>(control->field());
    line->setText(text);
    QTEST(control->findChild<QLabel *>(u"preview"_s)->text(), "shown");
}

void OptionsTest::theKeyboardSuffices()
{
    OptionsProgram program;
    QVERIFY(QTest::qWaitForWindowActive(program.window()));
    QVERIFY(program.search()->hasFocus());
    QTest::keyClicks(program.search(), u"recipients at"_s);
    program.search()->clear();
    QTest::keyClicks(program.search(), u"forceqp"_s);
    QTest::keyClick(program.search(), Qt::Key_Return);
    QVERIFY(program.window()->isVisible()); // Enter went to what was found
    QVERIFY(program.control(Setting::ForceQP)->field()->hasFocus());
    QTest::keyClick(program.control(Setting::ForceQP)->field(), Qt::Key_Space);
    QTest::keyClick(program.window(), Qt::Key_F, Qt::ControlModifier);
    QVERIFY(program.search()->hasFocus());
    QTest::keyClick(program.search(), Qt::Key_Escape);
    QVERIFY(program.search()->text().isEmpty());
    QTest::keyClick(program.search(), Qt::Key_Down);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    QCOMPARE(program.window()->page(), OptionPage::Sending);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown, Qt::ControlModifier);
    QCOMPARE(program.window()->page(), OptionPage::Format);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QVERIFY(boolSetting(Setting::ForceQP)); // Enter is OK
    QVERIFY(!program.options || !program.options->isVisible());
}

void OptionsTest::mnemonicsAreUnique()
{
    OptionsProgram program;
    QHash<QPair<QWidget *, QChar>, QString> taken;
    int count = 0;
    for (const HitLabel *label : program.window()->findChildren<HitLabel *>()) {
        const qsizetype at = label->text().indexOf(u'&');
        if (!label->buddy())
            continue;
        QVERIFY2(at >= 0, qUtf8Printable(label->text()));
        const QPair key(label->parentWidget(), label->text().at(at + 1).toLower());
        QVERIFY2(!taken.contains(key), qUtf8Printable(label->text() + u" / "_s + taken.value(key)));
        taken.insert(key, label->text());
        ++count;
    }
    QVERIFY(count > kOptionPageCount);
}

void OptionsTest::oneWindowIsEnough()
{
    OptionsProgram program;
    OptionsWindow *first = openOptions(&program.main, OptionPage::Sending);
    program.options = first;
    QCOMPARE(openOptions(&program.main), first);
    QCOMPARE(first->page(), OptionPage::Sending);
    QCOMPARE(openOptions(&program.main, OptionPage::Format), first);
    QCOMPARE(first->page(), OptionPage::Format);
    QTest::keyClick(first, Qt::Key_Escape);
    OptionsWindow *second = openOptions(&program.main);
    QCOMPARE(second->page(), OptionPage::Writing);
    delete second;
}

QTEST_MAIN(OptionsTest)
#include "options_test.moc"
