#include "ui/reader/headercard.h"

#include "ui/look/avatar.h"
#include "ui/look/colours.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"
#include "ui/reader/recipientsview.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QScrollArea>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAvatar = 40;
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
    , m_subject(new ElidedLabel({}, this))
    , m_marks(new Signs(this))
    , m_actions(newToolBar(this))
    , m_name(new ElidedLabel({}, this))
    , m_address(new ElidedLabel({}, this))
    , m_sign(new Signs(this))
    , m_verdict(new ElidedLabel({}, this))
    , m_claim(new ElidedLabel({}, this))
    , m_date(new QLabel(this))
    , m_recipients(new RecipientsView(this))
    , m_recipientsArea(new QScrollArea(this))
{
    setSurface(this, Role::Base);
    setFontScale(m_subject, scale::subject, QFont::DemiBold);
    setFontScale(m_name, 1, QFont::DemiBold);
    for (QWidget *quiet : {static_cast<QWidget *>(m_address), static_cast<QWidget *>(m_date)})
        setTextRole(quiet, Role::Text2);
    setTextRole(m_verdict, Role::Text2);
    setTextRole(m_claim, Role::Warning);
    m_date->setTextFormat(Qt::PlainText);
    m_subject->setObjectName(u"subject"_s);
    m_name->setObjectName(u"sender"_s);
    m_address->setObjectName(u"senderAddress"_s);
    m_date->setObjectName(u"date"_s);
    m_verdict->setObjectName(u"verdict"_s);
    m_claim->setObjectName(u"claim"_s);
    build();
}

QBoxLayout *HeaderCard::buildTop()
{
    auto *title = newRow();
    title->addWidget(m_subject, 0);
    title->addWidget(m_marks);
    title->addStretch(1);
    m_topRow = newRow();
    m_topRow->addLayout(title, 1);
    m_topRow->addWidget(m_actions, 0, Qt::AlignTrailing);
    return m_topRow;
}

QBoxLayout *HeaderCard::buildSender()
{
    m_senderRow = newRow();
    m_senderRow->addWidget(m_name);
    m_senderRow->addWidget(m_address);
    m_senderRow->addWidget(m_claim);
    auto *verdict = newRow();
    verdict->setSpacing(space::inner);
    verdict->addWidget(m_sign);
    verdict->addWidget(m_verdict);
    auto *sender = newRow();
    sender->addLayout(m_senderRow);
    sender->addLayout(verdict);
    sender->addStretch(1);
    sender->addWidget(m_date, 0, Qt::AlignTop);
    return sender;
}

void HeaderCard::build()
{
    m_recipientsArea->setWidget(m_recipients);
    m_recipientsArea->setWidgetResizable(true);
    m_recipientsArea->setFrameShape(QFrame::NoFrame);
    m_recipientsArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_recipientsArea->setFocusPolicy(Qt::NoFocus);
    auto *lines = new QVBoxLayout;
    lines->setSpacing(2);
    lines->addLayout(buildTop());
    lines->addLayout(buildSender());
    lines->addWidget(m_recipientsArea);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::dialog, space::between, space::card, space::group);
    layout->setSpacing(space::group);
    auto *picture = new QVBoxLayout;
    picture->addSpacing(space::between);
    picture->addWidget(m_avatar);
    picture->addStretch(1);
    layout->addLayout(picture);
    layout->addLayout(lines, 1);
    connect(m_recipients, &RecipientsView::extentChanged, this, &HeaderCard::fit);
}

void HeaderCard::showMessage(const Message &message, const ReaderMarks &marks)
{
    const QString subject = harmlessLine(message.subject());
    m_subject->setText(subject.isEmpty() ? tr("No subject") : subject);
    showSender(message);
    setMarks(marks);
    m_date->setText(shortDateText(message));
    const QString original = harmlessLine(message.header("Date", {}));
    m_date->setToolTip(original.toHtmlEscaped());
    m_date->setVisible(!m_date->text().isEmpty());
    m_recipients->showMessage(message);
}

void HeaderCard::showSender(const Message &message)
{
    const QList<Address> from = message.addresses("From");
    m_sender = from.isEmpty() ? Address{} : from.first();
    const ShownPerson shown = shownPerson(m_sender);
    m_avatar->setPerson(shown.claim.isEmpty() ? harmlessLine(m_sender.name, 200) : QString(), shown.address);
    const bool bare = shown.name == shown.address;
    m_name->setText(shown.name.isEmpty() ? tr("Unknown sender")
                    : bare               ? isolatedAddress(shown.address)
                                         : isolatedName(shown.name));
    m_address->setText(u'<' + isolatedAddress(shown.address) + u'>');
    m_address->setVisible(!bare && !shown.address.isEmpty());
    m_claim->setText(shown.claim.isEmpty() ? QString()
                                           : tr("Calls itself %1").arg(isolatedAddress(shown.claim)));
    m_claim->setVisible(!shown.claim.isEmpty());
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
    add(marks.replied, u"replied"_s, Role::Text2, tr("Replied"));
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
    for (QAction *action : actions) {
        if (action)
            addToToolBar(m_actions, action);
        else
            m_actions->addSeparator();
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
    const int most = kMostLines * textHeight();
    m_recipientsArea->setVisible(!m_recipients->isHidden());
    m_recipientsArea->setFixedHeight(std::min(m_recipients->heightForWidth(m_recipients->width()), most));
}

void HeaderCard::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // the layout that called does not listen while it works
    QMetaObject::invokeMethod(this, &HeaderCard::fit, Qt::QueuedConnection);
}

void HeaderCard::contextMenuEvent(QContextMenuEvent *event)
{
    if (m_sender.address.isEmpty())
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Copy &address"), this,
                    [this] { QApplication::clipboard()->setText(harmlessLine(m_sender.address)); });
    menu->addAction(tr("Copy &name and address"), this, [this] {
        QApplication::clipboard()->setText(
            formatAddress({harmlessLine(m_sender.name), harmlessLine(m_sender.address)}));
    });
    menu->popup(event->globalPos());
}

void HeaderCard::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, colour(Role::Line));
}
