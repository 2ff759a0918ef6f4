#include "ui/compose/composeheader.h"

#include "ui/compose/extrafields.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/velmarstyle.h"
#include "ui/texts/harmless.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

using Field = ComposeHeader::Field;

struct FieldRow
{
    const char *label; ///< in English; the accessible name too
    bool people;
    bool atFirst; ///< it is there without being asked for
    QString Composition::*value;
};

#define TEXT(words) QT_TRANSLATE_NOOP("ComposeHeader", words)
constexpr FieldRow kFields[] = {
    {TEXT("To"), true, true, &Composition::to},
    {TEXT("Cc"), true, true, &Composition::cc},
    {TEXT("Bcc"), true, false, &Composition::bcc},
    {TEXT("Reply-To"), true, false, &Composition::replyTo},
    {TEXT("Newsgroups"), false, false, &Composition::newsgroups},
    {TEXT("Followup-To"), false, false, &Composition::followupTo},
    {TEXT("Distribution"), false, false, &Composition::distribution},
    {TEXT("Subject"), false, true, &Composition::subject},
};
#undef TEXT
static_assert(std::size(kFields) == ComposeHeader::kFieldCount);

/// Those with a button in the first line while they are hidden.
constexpr Field kAsked[] = {Field::To, Field::Cc, Field::Bcc, Field::ReplyTo};

/// So that words begin where those in the box of senders do; the toolkit's own margin is 2.
constexpr int kTextInset = space::between - 2;

const FieldRow &rowFor(Field field)
{
    return kFields[std::size_t(field)];
}

} // namespace

ComposeHeader::ComposeHeader(QWidget *parent)
    : QWidget(parent)
    , m_grid(new QGridLayout(this))
{
    setSurface(this, Role::Base);
    m_grid->setContentsMargins(space::dialog, 0, space::card, 1);
    m_grid->setHorizontalSpacing(space::group);
    m_grid->setVerticalSpacing(1); // the line under each field
    m_grid->setColumnStretch(1, 1);
    addFrom();
    for (int i = 0; i < kFieldCount; ++i)
        addRow(Field(i));
    addExtra();
    for (int i = 0; i < kFieldCount; ++i)
        setShown(Field(i), kFields[i].atFirst);
}

void ComposeHeader::addExtra()
{
    m_extra = new ExtraFields(this);
    m_extra->hide();
    connect(m_extra, &ExtraFields::changed, this, &ComposeHeader::changed);
    m_grid->addWidget(m_extra, m_grid->rowCount(), 0, 1, 2);
}

/// While they are shown, names stand in the column of the labels, values in that of the fields.
void ComposeHeader::alignExtra()
{
    m_grid->setColumnMinimumWidth(0, m_extra->isHidden() ? 0 : ExtraFields::nameWidth());
}

void ComposeHeader::addFrom()
{
    m_fromLabel = new QLabel(tr("From"), this);
    setTextRole(m_fromLabel, Role::Text2);
    m_from = new QComboBox(this);
    m_from->setAccessibleName(tr("From"));
    m_from->setFrame(false);
    m_from->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_fromLabel->setBuddy(m_from);
    connect(m_from, &QComboBox::activated, this, [this] { emit identityChosen(identity()); });
    auto *line = new QHBoxLayout;
    line->setContentsMargins(0, space::inner / 2, 0, space::inner / 2);
    line->setSpacing(space::inner);
    line->addWidget(m_from);
    line->addStretch(1);
    for (const Field field : kAsked) {
        auto *button = new QPushButton(tr(rowFor(field).label), this);
        setButtonKind(button, ButtonKind::Ghost);
        button->setToolTip(tr("Add the field %1").arg(tr(rowFor(field).label)));
        connect(button, &QPushButton::clicked, this, [this, field] {
            setShown(field, true);
            entryOf(field)->setFocus();
        });
        line->addWidget(button);
        m_buttons[std::size_t(field)] = button;
    }
    m_grid->addWidget(m_fromLabel, 0, 0, Qt::AlignTrailing | Qt::AlignVCenter);
    m_grid->addLayout(line, 0, 1);
}

void ComposeHeader::addRow(Field field)
{
    Row &made = row(field);
    const QString name = tr(rowFor(field).label);
    made.label = new QLabel(name, this);
    setTextRole(made.label, Role::Text2);
    if (rowFor(field).people) {
        made.people = new RecipientEdit(this);
        made.line = made.people;
        made.people->setAccessibleName(name);
        made.people->entry()->setAccessibleName(name);
        connect(made.people, &RecipientEdit::changed, this, &ComposeHeader::changed);
        connect(made.people, &RecipientEdit::leaveDown, this, [this, field] { next(field); });
    } else {
        made.words = new QLineEdit(this);
        made.line = made.words;
        made.words->setFrame(false);
        made.words->setTextMargins(kTextInset, space::inner, 0, space::inner);
        made.words->setAccessibleName(name);
        connect(made.words, &QLineEdit::textChanged, this, &ComposeHeader::changed);
        connect(made.words, &QLineEdit::returnPressed, this, [this, field] { next(field); });
        if (field == Field::Subject)
            setFontScale(made.words, 1.0, QFont::DemiBold);
    }
    made.label->setBuddy(entryOf(field));
    made.label->setMinimumHeight(textHeight() + 2 * space::between + space::inner);
    const int place = m_grid->rowCount();
    m_grid->addWidget(made.label, place, 0, Qt::AlignTrailing | Qt::AlignTop);
    m_grid->addWidget(made.line, place, 1, Qt::AlignVCenter);
}

QWidget *ComposeHeader::entryOf(Field field) const
{
    return row(field).people ? static_cast<QWidget *>(row(field).people->entry()) : row(field).words;
}

void ComposeHeader::next(Field field)
{
    for (int i = int(field) + 1; i < kFieldCount; ++i)
        if (isShown(Field(i)))
            return entryOf(Field(i))->setFocus(Qt::TabFocusReason);
    emit leaveDown();
}

void ComposeHeader::setIdentities(const std::vector<Identity> &identities, int current)
{
    m_from->clear();
    for (const Identity &each : identities) {
        m_from->addItem(isolatedName(harmlessLine(each.name.isEmpty() ? each.address : each.display(), 200)),
                        each.number);
        if (each.number == current)
            m_from->setCurrentIndex(m_from->count() - 1);
    }
}

int ComposeHeader::identity() const
{
    return m_from->currentData().toInt();
}

void ComposeHeader::show(const Composition &composition)
{
    for (int i = 0; i < kFieldCount; ++i) {
        setText(Field(i), composition.*kFields[i].value);
        if (!(composition.*kFields[i].value).isEmpty())
            setShown(Field(i), true);
    }
    m_extra->setFields(composition.extra);
    setExtraShown(!composition.extra.isEmpty());
    if (const int at = m_from->findData(composition.identity.number); at >= 0)
        m_from->setCurrentIndex(at);
}

void ComposeHeader::read(Composition &composition) const
{
    for (int i = 0; i < kFieldCount; ++i)
        composition.*kFields[i].value = text(Field(i));
    composition.extra = m_extra->fields();
}

void ComposeHeader::setText(Field field, const QString &text)
{
    if (row(field).people)
        row(field).people->setText(text);
    else
        row(field).words->setText(text);
}

QString ComposeHeader::text(Field field) const
{
    return row(field).people ? row(field).people->text() : row(field).words->text();
}

RecipientEdit *ComposeHeader::recipients(Field field) const
{
    return row(field).people;
}

void ComposeHeader::setShown(Field field, bool shown)
{
    const bool show = shown || !text(field).isEmpty();
    row(field).label->setVisible(show);
    row(field).line->setVisible(show);
    if (QPushButton *button = m_buttons[std::size_t(field)])
        button->setVisible(!show);
    update();
    emit shownChanged(field, show);
}

void ComposeHeader::setExtraShown(bool shown)
{
    m_extra->setVisible(shown || !m_extra->fields().isEmpty());
    alignExtra();
    update();
}

bool ComposeHeader::extraIsShown() const
{
    return !m_extra->isHidden();
}

void ComposeHeader::moveToBcc()
{
    QStringList everybody;
    for (const Field field : {Field::Bcc, Field::To, Field::Cc}) {
        recipients(field)->commit();
        if (const QString some = text(field); !some.isEmpty())
            everybody.append(some);
    }
    setText(Field::To, {});
    setText(Field::Cc, {});
    setText(Field::Bcc, everybody.join(u", "_s));
    setShown(Field::Bcc, true);
}

bool ComposeHeader::isShown(Field field) const
{
    return !row(field).line->isHidden();
}

void ComposeHeader::setNews(bool news)
{
    setShown(Field::Newsgroups, news);
    setShown(Field::FollowupTo, news && isShown(Field::FollowupTo));
    setShown(Field::To, !news);
    setShown(Field::Cc, !news);
}

void ComposeHeader::setProposals(const RecipientEdit::Proposals &proposals)
{
    for (const Row &each : m_rows)
        if (each.people)
            each.people->setProposals(proposals);
}

void ComposeHeader::setJudge(const RecipientEdit::Judge &judge)
{
    for (const Row &each : m_rows)
        if (each.people)
            each.people->setJudge(judge);
}

void ComposeHeader::judgeAgain()
{
    for (const Row &each : m_rows)
        if (each.people)
            each.people->judgeAgain();
}

bool ComposeHeader::focusFirstEmpty()
{
    for (const Field field : {Field::Newsgroups, Field::To, Field::Subject})
        if (isShown(field) && text(field).isEmpty()) {
            entryOf(field)->setFocus();
            return true;
        }
    return false;
}

QWidget *ComposeHeader::lastField() const
{
    return row(Field::Subject).words;
}

void ComposeHeader::commit()
{
    for (const Row &each : m_rows)
        if (each.people)
            each.people->commit();
}

/// A line under every field.
void ComposeHeader::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), colour(Role::Base));
    for (const Row &each : m_rows) // the labels stand at the top of their rows
        if (!each.label->isHidden())
            painter.fillRect(0, each.label->y() - 1, width(), 1, colour(Role::Line));
    if (!m_extra->isHidden())
        painter.fillRect(0, m_extra->y() - 1, width(), 1, colour(Role::Line));
    painter.fillRect(0, height() - 1, width(), 1, colour(Role::Line));
}

void ComposeHeader::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange && m_extra)
        alignExtra();
}
