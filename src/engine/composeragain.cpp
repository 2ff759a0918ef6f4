#include "compose/editing.h"
#include "compose/quoting.h"
#include "engine/composer.h"
#include "identity/identitymanager.h"
#include "identity/signatures.h"
#include "message/address.h"
#include "store/groupstore.h"

#include <algorithm>

using namespace Qt::StringLiterals;

// Messages that are written on: drafts, what was sent, what waits in the outbox.

namespace {

QString senderOf(const Message &message)
{
    const QList<Address> from = message.addresses("From");
    return from.isEmpty() ? QString() : from.first().address;
}

} // namespace

// --- Drafts, and what was sent --------------------------------------------------------------------------

Composer::Started Composer::startDraft(const ComposeWish &wish)
{
    const MessageRef place = wish.originals.empty() ? MessageRef() : wish.originals.front();
    const int draft = m_drafts.open(place);
    if (draft == 0)
        return failed(m_drafts.waitsInOutbox(place) ? tr("The message waits in the outbox to be sent")
                                                    : tr("The draft is not there any more"));
    Started started = goOnWith(draft);
    if (started.notice.isEmpty() && !m_drafts.knows(place)) // what was written elsewhere knows no identity
        started.notice =
            writerNotice(senderOf(read(place).value_or(Message())), started.composition.identity);
    return started;
}

Composer::Started Composer::goOnWith(int draft) const
{
    Started started;
    started.draft = draft;
    started.context = m_drafts.context(draft);
    Drafts::Reading reading = newestOf(draft);
    if (!reading.lost.isEmpty())
        recoverAttachments(reading, started.context.stored);
    started.composition = reading.composition;
    started.isArticle = started.context.isArticle || started.composition.isNews();
    started.notice = noticesOf(reading);
    if (started.context.wasSent)
        started.notice = tr("This message was sent already, but no copy of it could be stored. %1")
                             .arg(started.notice)
                             .trimmed();
    recogniseParts(started);
    return started;
}

Drafts::Reading Composer::newestOf(int draft) const
{
    const std::vector<DraftVersion> versions = m_drafts.versions(draft);
    return versions.empty() ? Drafts::Reading() : m_drafts.reading(draft, versions.front().serial);
}

/// Those that its message in Drafts still has.
void Composer::recoverAttachments(Drafts::Reading &reading, MessageRef stored) const
{
    const std::optional<Message> message = read(stored);
    if (!message)
        return;
    for (const Attachment &each : this->reading(*message, isOwn(stored), stored).attachments) {
        if (reading.lost.removeOne(each.name))
            reading.composition.attachments.append(each);
    }
}

/// What the user has to know before it goes out.
QString Composer::noticesOf(const Drafts::Reading &reading) const
{
    QStringList notices;
    if (!reading.lost.isEmpty())
        notices += tr("These files cannot be read any more and are not attached: %1.")
                       .arg(reading.lost.join(", "_L1));
    notices += writerNotice(reading.formerWriter, reading.composition.identity);
    notices.removeAll(QString());
    return notices.join(u' ');
}

/// Empty: @p address is still one of the user's.
QString Composer::writerNotice(const QString &address, const Identity &now) const
{
    if (address.isEmpty() || ownAddresses().contains(address, Qt::CaseInsensitive))
        return {};
    return tr("This was written as %1, which none of your identities has. It will go out as %2.")
        .arg(address, now.display());
}

Composer::Started Composer::startAgain(const ComposeWish &wish)
{
    const MessageRef place = wish.originals.empty() ? MessageRef() : wish.originals.front();
    const std::optional<Message> message = read(place);
    if (!message)
        return failed(tr("The message is not there any more"));
    Started started;
    const bool isOwnMessage = isOwn(place);
    started.composition = reading(*message, isOwnMessage, place);
    started.isArticle = started.context.isArticle = started.composition.isNews();
    if (isOwnMessage)
        started.notice = writerNotice(senderOf(*message), started.composition.identity);
    recogniseSignature(started);
    return started;
}

/// Whether the message was written here: where it lies does not tell, people move what they received.
bool Composer::isOwn(MessageRef place) const
{
    const OutboxEntry *waiting = m_outbox.entryAt(place);
    return waiting ? waiting->isOwn : m_drafts.knows(place);
}

Composition Composer::reading(const Message &message, bool isOwn, MessageRef place) const
{
    const Identity fitting = *identityFor({}, message, place);
    return readComposition(message, isOwn, [&](const QString &address) {
        const Identity *identity = m_identities.find(address);
        return identity ? *identity : fitting;
    });
}

/// What stands in the text and was not written there.
void Composer::recogniseParts(Started &started) const
{
    const bool answers = started.context.deed == DraftContext::Deed::Reply;
    if (const auto original = answers ? read(started.context.original) : std::nullopt)
        started.attribution = attribution(*original, started.context.isPersonal);
    recogniseSignature(started);
}

/// Which of the identity's signatures stands in the text, and the tagline behind it: a draft does not say.
void Composer::recogniseSignature(Started &started)
{
    const Composition &composition = started.composition;
    const Identity &identity = composition.identity;
    for (const QString &name : signatureNames(identity.number)) {
        const std::optional<Signature> signature = readSignature(identity.number, name);
        if (!signature || signature->kind == Signature::Kind::Command)
            continue;
        const auto with = [&, isHtml = signature->kind == Signature::Kind::Html](const QString &tagline) {
            const SignatureBlock block = signatureBlock(identity, signature->text, isHtml, tagline);
            return composition.html.isEmpty() ? block.plain : block.shown;
        };
        const QString bare = with({});
        const TextSpan place = findSignature(composition.text, bare);
        if (place.start < 0 || bare.size() <= started.signatureEnd.size())
            continue;
        const QString behind = composition.text.sliced(place.start + place.length).trimmed();
        const QStringList taglines = behind.isEmpty() ? QStringList() : readTaglines(identity.number);
        const auto tagline = std::find_if(taglines.begin(), taglines.end(), [&](const QString &each) {
            return !each.trimmed().isEmpty() && behind.startsWith(each.trimmed());
        });
        started.tagline = tagline == taglines.end() ? QString() : *tagline;
        started.signature = name;
        started.signatureEnd = with(started.tagline);
    }
}

// --- Out of the outbox ----------------------------------------------------------------------------------

Composer::Started Composer::takeBack(quint64 ticket)
{
    const OutboxEntry *waiting = m_outbox.entry(ticket);
    if (!waiting || m_identities.all().empty())
        return failed(tr("The message is not there any more"));
    const OutboxEntry entry = *waiting; // it goes meanwhile
    Started started;
    QString notice;
    const QByteArray text = m_outbox.takeBack(
        ticket, [&](const QByteArray &taken) { return keepTakenBack(started, Message(taken), entry); },
        &notice);
    if (!text.isNull()) {
        m_drafts.takenBack(started.draft);
        started.notice = QStringList{notice, started.notice}.join(u' ').trimmed();
        return started;
    }
    if (started.draft == entry.draft)
        m_drafts.takeBackFailed(started.draft);
    else
        m_drafts.discard(started.draft);
    return failed(notice.isEmpty() ? tr("The message is on its way already, or cannot be kept as a draft")
                                   : notice);
}

namespace {

Message headerOf(const Message &message)
{
    return Message(message.headerBlock().toByteArray() + '\n');
}

void takeRecipients(Composition &composition, const Composition &left)
{
    composition.to = left.to;
    composition.cc = left.cc;
    composition.bcc = left.bcc;
    composition.newsgroups = left.newsgroups;
}

} // namespace

/// The draft knows more than the message; but who was served already is no recipient of that any more.
bool Composer::keepTakenBack(Started &started, const Message &message, const OutboxEntry &entry)
{
    const bool isSentOn = !entry.isOwn && message.hasHeader("Resent-Message-ID");
    if (isSentOn && liesElsewhere(message, entry.place))
        return true; // nothing was written
    started.context = m_drafts.context(entry.draft);
    Drafts::Reading kept = newestOf(entry.draft);
    Composition &composition = started.composition;
    const bool isWhole = !m_drafts.versions(entry.draft).empty() && kept.lost.isEmpty();
    if (isWhole) {
        composition = kept.composition;
        takeRecipients(composition, reading(headerOf(message), entry.isOwn, entry.place));
        started.notice = noticesOf(kept);
    } else {
        composition = reading(message, entry.isOwn, entry.place);
        started.notice = writerNotice(senderOf(message), composition.identity);
    }
    started.isArticle = started.context.isArticle || composition.isNews();
    recogniseParts(started);
    started.draft = m_drafts.takeBack(entry.draft, message.messageId(), composition);
    return started.draft != 0;
}

bool Composer::liesElsewhere(const Message &message, MessageRef place) const
{
    for (const MessageIndex::Place &found : m_store.findMessage(message.messageId())) {
        Group *group = m_store.group(found.group);
        if (group && found.group != place.group && group->overview(found.article))
            return true;
    }
    return false;
}
