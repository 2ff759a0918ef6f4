#include "ui/reader/headercard.h"

#include "ui/look/avatar.h"
#include "ui/look/colours.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/reader/personactions.h"
#include "ui/reader/recipientsview.h"
#include "ui/reader/senderview.h"
#include "ui/reader/subjectlabel.h"
#include "ui/reader/tagpills.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAvatar = 40;
constexpr int kIndent = 2;    ///< of every line, room for the focus ring of those that take it
constexpr int kNarrow = 76;   ///< average characters
constexpr int kMostLines = 8; ///< of recipients at once

QHBoxLayout *newRow()
{
    auto *layout = new QHBoxLayout;
    layout->setSpacing(space::between);
    return layout;
}

/// A row of small signs beside the subject, or one before a word.
class Signs : public QWidget
{
public:
    struct Sign
    {
        QString icon;
        Role role;
    };

    using QWidget::QWidget;

    void setSigns(QList<Sign> signs, const QString &words)
    {
        m_signs = std::move(signs);
        setVisible(!m_signs.isEmpty());
        setToolTip(words);
        setAccessibleName(words);
        setFixedSize(int(m_signs.size()) * (iconSize(IconUse::Row) + space::inner), textHeight());
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const int size = iconSize(IconUse::Row);
        for (int at = 0; at < m_signs.size(); ++at) {
            const QRect place(at * (size + space::inner), 0, size, height());
            paintIcon(&painter, QStyle::visualRect(layoutDirection(), rect(), place), m_signs[at].icon,
                      colour(m_signs[at].role), layoutDirection());
        }
    }

private:
    QList<Sign> m_signs;
};

} // namespace

HeaderCard::HeaderCard(QWidget *parent)
    : QWidget(parent)
    , m_avatar(new Avatar(kAvatar, this))
    , m_subject(new SubjectLabel(this))
    , m_tags(new TagPills(this))
    , m_marks(new Signs(this))
    , m_actions(newToolBar(this))
    , m_sender(new SenderView(this))
    , m_sign(new Signs(this))
    , m_verdict(new ElidedLabel({}, this))
    , m_claim(new ElidedLabel({}, this))
    , m_date(new QLabel(this))
    , m_recipients(new RecipientsView(this))
    , m_recipientsArea(new QScrollArea(this))
    , m_people(new PersonActions(this))
{
    setSurface(this, Role::Base);
    setFontScale(m_subject, scale::subject, QFont::DemiBold);
    setTextRole(m_date, Role::Text2);
    setTextRole(m_verdict, Role::Text2);
    setTextRole(m_claim, Role::Warning);
    m_date->setTextFormat(Qt::PlainText);
    m_date->setContentsMargins(kIndent, kIndent, 0, 0);
    m_subject->setContentsMargins(kIndent, 0, 0, 0);
    m_subject->setObjectName(u"subject"_s);
    m_date->setObjectName(u"date"_s);
    m_verdict->setObjectName(u"verdict"_s);
    m_claim->setObjectName(u"claim"_s);
    build();
}

QBoxLayout *HeaderCard::buildTop()
{
    m_titleRow = newRow();
    m_titleRow->addWidget(m_subject, 0);
    m_titleRow->addWidget(m_tags);
    m_titleRow->addWidget(m_marks);
    m_titleRow->addStretch(1);
    m_topRow = newRow();
    m_topRow->addLayout(m_titleRow, 1);
    m_topRow->addWidget(m_actions, 0, Qt::AlignTrailing);
    return m_topRow;
}

QBoxLayout *HeaderCard::buildSender()
{
    auto *said = newRow();
    said->setSpacing(space::inner);
    said->addWidget(m_sign);
    said->addWidget(m_verdict);
    said->addWidget(m_claim);
    said->addStretch(1);
    said->setContentsMargins(kIndent, 0, 0, 0);
    m_senderRow = newRow();
    m_senderRow->addWidget(m_sender);
    m_senderRow->addLayout(said, 1);
    m_senderRow->addWidget(m_date, 0, Qt::AlignTop);
    return m_senderRow;
}

void HeaderCard::build()
{
    m_recipientsArea->setWidget(m_recipients);
    m_recipientsArea->setWidgetResizable(true);
    m_recipientsArea->setFrameShape(QFrame::NoFrame);
    m_recipientsArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_recipientsArea->setFocusPolicy(Qt::NoFocus);
    auto *lines = new QVBoxLayout;
    lines->setSpacing(0);
    lines->addLayout(buildTop());
    lines->addSpacing(2);
    lines->addLayout(buildSender());
    lines->addWidget(m_recipientsArea);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::dialog, space::between, space::card, space::group);
    layout->setSpacing(space::group - kIndent);
    auto *picture = new QVBoxLayout;
    picture->addSpacing(space::between);
    picture->addWidget(m_avatar);
    picture->addStretch(1);
    layout->addLayout(picture);
    layout->addLayout(lines, 1);
    const auto popup = [this](const Address &person, const QPoint &place) {
        m_people->popup(person, this, place);
    };
    connect(m_sender, &SenderView::menuWanted, this, popup);
    connect(m_recipients, &RecipientsView::menuWanted, this, popup);
    connect(m_recipients, &RecipientsView::extentChanged, this, &HeaderCard::fit);
    connect(m_recipients, &RecipientsView::currentMoved, this, [this](const QRect &place) {
        m_recipientsArea->ensureVisible(place.center().x(), place.center().y(), 0, place.height());
    });
}

void HeaderCard::showMessage(const Message &message, const ReaderMarks &marks)
{
    const QString subject = harmlessLine(message.subject());
    m_subject->setText(subject.isEmpty() ? tr("No subject") : subject);
    showSender(message);
    showDate(message);
    setMarks(marks);
    m_recipients->showMessage(message);
    fit();
}

void HeaderCard::showDate(const Message &message)
{
    m_date->setText(shortDateText(message));
    m_date->setVisible(!m_date->text().isEmpty());
    const QString original = harmlessLine(message.header("Date", {}), 200);
    QStringList whole{longDateText(message)};
    if (!original.isEmpty())
        whole.append(tr("As sent: %1").arg(original));
    m_date->setToolTip(asToolTip(whole.join(u'\n')));
    m_date->setAccessibleName(whole.first());
}

void HeaderCard::showSender(const Message &message)
{
    const QList<Address> from = message.addresses("From");
    const Address sender = from.isEmpty() ? Address{} : from.first();
    const ShownPerson shown = shownPerson(sender);
    m_avatar->setPerson(shown.claim.isEmpty() ? harmlessLine(sender.name, 200) : QString(), shown.address);
    m_sender->setPerson(sender);
    m_claim->setText(shown.claim.isEmpty() ? QString()
                                           : tr("Calls itself %1").arg(isolatedAddress(shown.claim)));
    m_claim->setVisible(!shown.claim.isEmpty());
}

void HeaderCard::setTags(const QList<HeaderTag> &tags)
{
    m_tags->setTags(tags);
}

void HeaderCard::setMarks(const ReaderMarks &marks)
{
    QList<Signs::Sign> signs;
    QStringList words;
    const auto add = [&](bool wanted, const QString &icon, Role role, const QString &word) {
        if (!wanted)
            return;
        signs.append({icon, role});
        words.append(word);
    };
    add(marks.flagged, u"flag-fill"_s, Role::Flag, tr("Flagged"));
    add(marks.junk, u"junk"_s, Role::Junk, tr("Junk"));
    const QString replied =
        marks.repliedOn > 0
            ? tr("Replied on %1").arg(longDateText(QDateTime::fromSecsSinceEpoch(marks.repliedOn)))
            : tr("Replied");
    add(marks.replied, u"replied"_s, Role::Text2, replied);
    add(marks.forwarded, u"forwarded"_s, Role::Text2, tr("Forwarded"));
    static_cast<Signs *>(m_marks)->setSigns(signs, words.join(u", "_s));
}

void HeaderCard::setVerdict(const QString &icon, const QString &words)
{
    QList<Signs::Sign> signs;
    if (!words.isEmpty())
        signs.append({icon, Role::Text2});
    static_cast<Signs *>(m_sign)->setSigns(signs, words);
    m_verdict->setText(words);
    m_verdict->setVisible(!words.isEmpty());
}

void HeaderCard::setActions(const QList<QAction *> &actions)
{
    m_actions->clear();
    QWidget *before = m_sender;
    for (QAction *action : actions) {
        if (!action) {
            m_actions->addSeparator();
            continue;
        }
        if (QToolButton *button = addToToolBar(m_actions, action)) {
            setTabOrder(before, button);
            before = button;
        }
    }
    fit();
}

/// A long subject gives way to the buttons, and a narrow pane puts what stood side by side one above the
/// other. Many recipients can be scrolled through.
void HeaderCard::fit()
{
    const bool narrow = width() < columnWidth(kNarrow);
    m_topRow->setDirection(narrow ? QBoxLayout::BottomToTop : QBoxLayout::LeftToRight);
    m_senderRow->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    m_senderRow->setSpacing(narrow ? 0 : space::between);
    m_actions->setMinimumWidth(narrow ? 0 : m_actions->sizeHint().width());
    layout()->activate();
    m_subject->setFixedHeight(isVisible() ? m_subject->heightFor(m_subject->width())
                                          : m_subject->sizeHint().height());
    const Qt::Alignment beside = m_subject->isWrapped() ? Qt::AlignTop : Qt::AlignVCenter;
    m_titleRow->setAlignment(m_tags, beside);
    m_titleRow->setAlignment(m_marks, beside);
    m_topRow->setAlignment(m_actions, Qt::AlignTrailing | (narrow ? Qt::AlignVCenter : beside));
    // before it is shown there is no width worth a look
    m_sender->setFixedHeight(isVisible() ? m_sender->heightFor(m_sender->width())
                                         : m_sender->sizeHint().height());
    const int most = kMostLines * textHeight();
    m_recipientsArea->setVisible(!m_recipients->isHidden());
    m_recipientsArea->setFixedHeight(std::min(m_recipients->heightForWidth(m_recipients->width()), most));
}

void HeaderCard::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    QMetaObject::invokeMethod(this, &HeaderCard::fit, Qt::QueuedConnection);
}

void HeaderCard::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // the layout that called does not listen while it works
    QMetaObject::invokeMethod(this, &HeaderCard::fit, Qt::QueuedConnection);
}

void HeaderCard::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, colour(Role::Line));
}
