#include "engine/receipts.h"

#include "compose/encoders.h"
#include "compose/messagebuilder.h"
#include "config/settings.h"
#include "engine/outbox.h"
#include "identity/identitymanager.h"
#include "message/useragent.h"
#include "store/groupstore.h"

#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

enum class Wish { Never, Ask, Always }; ///< values of `SendReadReceipts`

/// One line of printable characters, for the report that machines read.
QByteArray reportValue(const QByteArray &value)
{
    QByteArray line;
    for (const char c : value)
        line += quint8(c) < 0x20 || quint8(c) >= 0x7f ? ' ' : c;
    return line.trimmed();
}

/// What the sender wrote, by its fields.
QString summaryOfMessage(const Message &message)
{
    QString text;
    for (const char *field : {"From", "To", "Cc", "Subject", "Date", "Message-ID"}) {
        const QString value = message.header(field);
        if (!value.isEmpty())
            text += QLatin1String(field) + u": "_s + value + u'\n';
    }
    return text;
}

QByteArray peoplePart(const Message &received)
{
    const QByteArray text = (u"This is a read receipt generated automatically in response to the "
                             u"following\nmessage that you sent "
                             "me:\n\n"_s +
                             summaryOfMessage(received))
                                .toUtf8();
    const bool isPlain = canGoUnencoded(text) &&
                         std::all_of(text.begin(), text.end(), [](char c) { return quint8(c) < 0x80; });
    if (isPlain)
        return "Content-Type: text/plain; charset=us-ascii\n\n" + text;
    return "Content-Type: text/plain; charset=UTF-8\nContent-Transfer-Encoding: quoted-printable\n\n" +
           encodeQuotedPrintable(text);
}

QByteArray machinePart(const Message &received, const Identity &identity, bool isManual)
{
    QByteArray part = "Content-Type: message/disposition-notification\n\n";
    part += "Reporting-UA: " + reportValue(userAgent()) + '\n';
    part += "Final-Recipient: rfc822;" + reportValue(identity.address.toUtf8()) + '\n';
    if (const QByteArray id = reportValue(received.messageId()); !id.isEmpty())
        part += "Original-Message-ID: " + id + '\n';
    part += isManual ? "Disposition: manual-action/MDN-sent-manually; displayed\n"
                     : "Disposition: automatic-action/MDN-sent-automatically; displayed\n";
    return part;
}

/// The sender of notices: nothing is ever returned to a receipt (RFC 8098 section 3).
QByteArray withoutReturn(const QByteArray &message)
{
    constexpr QByteArrayView kFrom = "\nX-VELMAR-MAIL-FROM: ";
    const qsizetype at = message.indexOf(kFrom);
    const qsizetype value = at + kFrom.size();
    return at < 0 ? message : message.first(value) + "<>" + message.sliced(message.indexOf('\n', value));
}

/// Of these groups nobody waits for a receipt.
bool isOwnGroup(const Group &group)
{
    switch (group.role()) {
    case GroupRole::Outbox:
    case GroupRole::SentMail:
    case GroupRole::SentNews:
    case GroupRole::Drafts:
    case GroupRole::Junk: return true;
    default: return group.kind() == GroupKind::Newsgroup;
    }
}

/// Whether it went to whoever is on a list: who wrote to all of them is told nothing of each.
bool wentToMany(const Message &message)
{
    const QByteArray precedence = message.rawHeader("Precedence").trimmed().toLower();
    return precedence == "list" || precedence == "bulk" || precedence == "junk" ||
           message.hasHeader("List-Id") || message.hasHeader("List-Post") ||
           message.hasHeader("List-Unsubscribe");
}

/// RFC 8098 2.1 allows one such field; who knows what more of them mean.
bool asksTwice(const Message &message)
{
    constexpr QByteArrayView kField = "disposition-notification-to:";
    const QByteArray header = '\n' + message.headerBlock().toByteArray().toLower();
    return header.count(QByteArray('\n' + kField.toByteArray())) > 1;
}

/// Whether a program wrote it, a receipt for instance: two programs must not thank each other for ever.
bool isAutomatic(const Message &message)
{
    const QByteArray automatic = message.rawHeader("Auto-Submitted").toLower();
    return (!automatic.isEmpty() && automatic != "no") ||
           message.rawHeader("Content-Type").toLower().startsWith("multipart/report");
}

} // namespace

QByteArray buildReadReceipt(const Message &received, const Identity &identity, bool isManual)
{
    const QList<Address> receivers = parseAddresses(received.readReceiptTo());
    if (receivers.isEmpty() || receivers.front().address.isEmpty())
        return {};
    Composition composition;
    composition.identity = identity;
    composition.identity.organisation.clear();
    composition.to = formatAddress({{}, receivers.front().address});
    composition.subject = u"Read receipt Re: "_s + received.subject();
    composition.inReplyTo = composition.references = received.messageId();
    const QByteArray people = peoplePart(received);
    const QByteArray machines = machinePart(received, identity, isManual);
    const QByteArray boundary = newBoundary({people, machines});
    const QByteArray body =
        "Content-Type: multipart/report; report-type=disposition-notification;\n boundary=\"" + boundary +
        "\"\n\nThis message is in MIME format.\n\n--" + boundary + '\n' + people + "\n--" + boundary + '\n' +
        machines + "\n--" + boundary + "--\n";
    const QByteArray headers = buildHeaders(composition) + "Auto-Submitted: auto-replied\n";
    return withoutReturn(finishMessage(composition, headers, body));
}

ReadReceipts::ReadReceipts(GroupStore &store, AccountManager &accounts, IdentityManager &identities,
                           Outbox &outbox, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_accounts(accounts)
    , m_identities(identities)
    , m_outbox(outbox)
{}

std::optional<Message> ReadReceipts::read(MessageRef message) const
{
    Group *group = m_store.group(message.group);
    const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
    if (!overview || !overview->has(Mark::ReceiptWanted) || overview->has(Mark::Junk) ||
        overview->has(Mark::HeaderOnly) || isOwnGroup(*group)) // nobody has read what is not here
        return {};
    const QByteArray text = group->readMessage(*overview);
    return text.isNull() ? std::optional<Message>() : Message(text);
}

std::optional<ReceiptQuestion> ReadReceipts::due(MessageRef place) const
{
    if (intSetting(Setting::SendReadReceipts) == int(Wish::Never))
        return {};
    const std::optional<Message> message = read(place);
    if (!message || isAutomatic(*message) || wentToMany(*message) || asksTwice(*message) ||
        !m_identities.defaultIdentity())
        return {};
    if (m_identities.find(bareAddress(message->header("From", {})))) // who writes here knows
        return {};
    const QList<Address> receivers = parseAddresses(message->readReceiptTo());
    if (receivers.isEmpty() || !isValidAddress(receivers.front().address))
        return {};
    const QString returned = bareAddress(message->header("Return-Path"));
    ReceiptQuestion question;
    question.message = place;
    question.id = message->messageId();
    question.sender = message->header("From");
    question.receiver = receivers.front().address;
    question.isElsewhere =
        receivers.size() > 1 || returned.compare(question.receiver, Qt::CaseInsensitive) != 0;
    return question;
}

void ReadReceipts::shown(MessageRef message)
{
    const std::optional<ReceiptQuestion> question = due(message);
    if (!question)
        return;
    const QByteArray key = question->id.isEmpty()
                               ? QByteArray::number(message.group) + ' ' + QByteArray::number(message.article)
                               : question->id;
    if (m_asked.contains(key))
        return;
    if (intSetting(Setting::SendReadReceipts) == int(Wish::Always) && !question->isElsewhere)
        return send(message, false);
    if (!m_ask)
        return;
    m_asked.insert(key);
    const QPointer<ReadReceipts> guard(this);
    m_ask(*question, [this, guard, message, key](ReceiptAnswer answer) {
        if (guard)
            answered(message, key, answer);
    });
}

void ReadReceipts::answered(MessageRef message, const QByteArray &key, ReceiptAnswer answer)
{
    switch (answer) {
    case ReceiptAnswer::Send: return send(message, true);
    case ReceiptAnswer::Refuse: return settle(message);
    case ReceiptAnswer::Later: return;
    case ReceiptAnswer::None: m_asked.remove(key); return;
    }
}

/// From whom it was sent to: the identity that would answer.
void ReadReceipts::send(MessageRef place, bool isManual)
{
    const std::optional<Message> message = read(place);
    if (!message)
        return;
    QStringList recipients;
    for (const char *field : {"To", "Cc"}) {
        for (const Address &one : message->addresses(field))
            recipients += one.address;
    }
    const std::optional<Overview> overview = m_store.group(place.group)->overview(place.article);
    const Account *account = m_accounts.account(overview->account());
    const Identity *identity = m_identities.answering(recipients, account ? account->data().identity : 0);
    const QByteArray receipt = identity ? buildReadReceipt(*message, *identity, isManual) : QByteArray();
    if (receipt.isEmpty())
        return;
    SendWish wish;
    wish.countsDown = false;
    wish.keepsCopy = false;
    if (m_outbox.add(receipt, identity->number, wish) != 0)
        settle(place);
}

/// It is answered for good, in whatever groups it lies.
void ReadReceipts::settle(MessageRef message)
{
    Group *group = m_store.group(message.group);
    const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
    if (!overview)
        return;
    group->setMarks({message.article}, {}, Mark::ReceiptWanted);
    for (const MessageIndex::Place &copy : m_store.findMessage(group->texts(*overview).messageId.toUtf8()))
        if (Group *there = m_store.group(copy.group))
            there->setMarks({copy.article}, {}, Mark::ReceiptWanted);
}
