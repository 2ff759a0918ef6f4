#include "engine/composer.h"

#include "compose/editing.h"
#include "compose/messagebuilder.h"
#include "compose/quoting.h"
#include "config/clock.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "html/htmltotext.h"
#include "identity/identitymanager.h"
#include "identity/signatures.h"
#include "identity/templates.h"
#include "net/accountmanager.h"
#include "store/groupstore.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The fields that tell to whom a message came, the addressed ones before what servers noted of the envelope.
constexpr const char *kRecipientFields[] = {"To",         "Cc", "Resent-To", "Delivered-To", "X-Original-To",
                                            "Envelope-To"};

QStringList recipientsOf(const Message &message)
{
    QStringList recipients;
    for (const char *field : kRecipientFields) {
        for (const Address &address : message.addresses(field))
            recipients += address.address;
    }
    return recipients;
}

bool contains(const QStringList &addresses, const QString &address)
{
    return addresses.contains(address, Qt::CaseInsensitive);
}

bool wantsRich(const ComposeWish &wish, bool isArticle)
{
    if (wish.form != ComposeWish::Form::AsSet)
        return wish.form == ComposeWish::Form::Rich;
    return boolSetting(isArticle ? Setting::SendRichTextNews : Setting::SendRichTextMail);
}

/// A block for each line, as the rich editor writes them: paragraphs would stand apart from each other.
QString blocksOf(const QString &text)
{
    QString html;
    for (const QString &line : text.split(u'\n'))
        html += u"<div>%1</div>"_s.arg(line.isEmpty() ? u"<br>"_s : line.toHtmlEscaped());
    return html;
}

void makeRoomAbove(Composition &composition)
{
    composition.text.prepend(u"\n\n"_s);
    if (!composition.html.isEmpty())
        composition.html.prepend(blocksOf(u"\n"_s));
}

/// Half a message is not passed on as if it were the whole.
Composer::Started lacking(const MessageRefs &places)
{
    Composer::Started started;
    started.error =
        places.size() == 1
            ? Composer::tr("Only the header of the message is here. The rest is still on the server.")
            : Composer::tr("Of some messages only the header is here. The rest is still on the server.");
    started.headersOnly = places;
    return started;
}

/// An answer is written without the text, too; nothing stands where it would be quoted.
void quoteNothing(Composer::Started &started, const MessageRefs &places)
{
    started.headersOnly = places;
    started.notice = Composer::tr("Only the header of the message is here, so that nothing is quoted.");
    started.composition.text.clear();
    if (!started.composition.html.isEmpty())
        started.composition.html = blocksOf({});
}

} // namespace

Composer::Composer(GroupStore &store, IdentityManager &identities, AccountManager &accounts, Drafts &drafts,
                   Outbox &outbox, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_identities(identities)
    , m_accounts(accounts)
    , m_drafts(drafts)
    , m_outbox(outbox)
    , m_addresses(store)
{
    connect(&m_addresses, &SeenAddresses::changed, this, &Composer::addressesChanged);
}

Composer::Started Composer::failed(const QString &error)
{
    Started started;
    started.error = error;
    return started;
}

// --- What it begins from --------------------------------------------------------------------------------

std::optional<Message> Composer::read(MessageRef place) const
{
    Group *group = m_store.group(place.group);
    const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
    const QByteArray text = overview ? group->readMessage(*overview) : QByteArray();
    return text.isNull() ? std::nullopt : std::optional(Message(text));
}

/// Those whose body is still on the server.
MessageRefs Composer::headersOnly(const MessageRefs &places) const
{
    MessageRefs found;
    for (const MessageRef place : places) {
        Group *group = m_store.group(place.group);
        const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
        if (overview && overview->has(Mark::HeaderOnly))
            found.push_back(place);
    }
    return found;
}

QStringList Composer::ownAddresses() const
{
    QStringList addresses;
    for (const Identity &identity : m_identities.all())
        addresses += identity.address;
    return addresses;
}

/// Null: there is none at all.
const Identity *Composer::identityFor(const ComposeWish &wish, const Message &original,
                                      MessageRef place) const
{
    if (const Identity *wanted = m_identities.identity(wish.identity))
        return wanted;
    Group *group = m_store.group(place.group);
    const std::optional<Overview> overview = group ? group->overview(place.article) : std::nullopt;
    const Account *account = overview ? m_accounts.account(overview->account()) : nullptr;
    QStringList recipients = recipientsOf(original);
    const QString author = bareAddress(original.header("From", {}));
    if (contains(ownAddresses(), author)) // one's own message goes on as the one who wrote it
        recipients.prepend(author);
    return m_identities.answering(recipients, account ? account->data().identity : 0);
}

ReplyOptions Composer::optionsFor(const ComposeWish &wish, const Message &original) const
{
    ReplyOptions options;
    options.selectedText = wish.selectedText;
    options.ownAddresses = ownAddresses();
    options.rich = wantsRich(wish, wish.article || wish.reply == ReplyKind::Followup);
    options.ownMessage = contains(options.ownAddresses, bareAddress(original.header("From", {})));
    return options;
}

// --- Beginning ------------------------------------------------------------------------------------------

Composer::Started Composer::start(const ComposeWish &wish)
{
    m_addresses.start();
    if (m_identities.all().empty())
        return failed(tr("There is no identity yet to write as"));
    const MessageRefs halves = headersOnly(wish.originals);
    if (!halves.empty() && wish.kind != ComposeWish::Kind::Reply)
        return lacking(halves);
    switch (wish.kind) {
    case ComposeWish::Kind::New: return startNew(wish);
    case ComposeWish::Kind::Mailto: return startMailto(wish);
    case ComposeWish::Kind::Reply:
    case ComposeWish::Kind::Forward: return startAnswer(wish);
    case ComposeWish::Kind::Draft: return startDraft(wish);
    case ComposeWish::Kind::EditAsNew: return startAgain(wish);
    case ComposeWish::Kind::Resend: return startResend(wish);
    }
    return {};
}

Composer::Started Composer::startNew(const ComposeWish &wish)
{
    Started started;
    started.isArticle = started.context.isArticle = wish.article;
    const Identity *identity = m_identities.identity(wish.identity);
    started.composition =
        newComposition(identity ? *identity : *m_identities.defaultIdentity(), wish.article);
    started.composition.newsgroups = wish.article ? wish.newsgroups : QString();
    if (wantsRich(wish, wish.article))
        started.composition.html = blocksOf({});
    dress(started, wish, Message());
    return started;
}

Composer::Started Composer::startMailto(const ComposeWish &wish)
{
    const Identity *identity = m_identities.identity(wish.identity);
    const std::optional<Composition> composition =
        readMailto(wish.mailto, identity ? *identity : *m_identities.defaultIdentity());
    if (!composition)
        return failed(tr("'%1' is no mail address to write to").arg(wish.mailto));
    Started started;
    started.composition = *composition;
    if (wantsRich(wish, false))
        started.composition.html = blocksOf(composition->text);
    dress(started, wish, Message());
    return started;
}

Composer::Started Composer::startAnswer(const ComposeWish &wish)
{
    QList<Message> originals;
    for (const MessageRef place : wish.originals) {
        if (const std::optional<Message> message = read(place))
            originals += *message;
    }
    if (originals.isEmpty() || std::size_t(originals.size()) != wish.originals.size())
        return failed(tr("The message is not there any more"));
    const MessageRef place = wish.originals.front();
    const Message &original = originals.first();
    const Identity *identity = identityFor(wish, original, place);
    const ReplyOptions options = optionsFor(wish, original);
    Started started;
    started.context.original = place;
    if (wish.kind == ComposeWish::Kind::Reply) {
        started.context.deed = DraftContext::Deed::Reply;
        started.context.isPersonal = isPersonalReply(original, wish.reply, *identity, options);
        started.composition = replyTo(original, wish.reply, *identity, options);
        started.attribution = attribution(original, started.context.isPersonal);
        const MessageRefs halves = headersOnly({place});
        if (!halves.empty() && wish.selectedText.isEmpty())
            quoteNothing(started, halves);
    } else {
        started.context.deed = DraftContext::Deed::Forward;
        if (wish.forward == ForwardKind::Attached)
            started.context.others.assign(wish.originals.begin() + 1, wish.originals.end());
        started.composition = forward(originals, wish.forward, wish.mark, *identity, options);
    }
    started.isArticle = started.context.isArticle = started.composition.isNews();
    dress(started, wish, original);
    return started;
}

// --- What a message begins with -------------------------------------------------------------------------

Composer::Started Composer::startResend(const ComposeWish &wish)
{
    const MessageRef place = wish.originals.empty() ? MessageRef() : wish.originals.front();
    const std::optional<Message> message = read(place);
    if (!message)
        return failed(tr("The message is not there any more"));
    Started started;
    started.context.original = place;
    started.composition = newComposition(*identityFor(wish, *message, place));
    started.composition.subject = message->subject();
    return started;
}

/// The template, then what goes below it. It takes the place of a quotation, which it asks for by a variable
/// of its own, and stands in front of what is forwarded.
void Composer::dress(Started &started, const ComposeWish &wish, const Message &original) const
{
    Composition &composition = started.composition;
    const std::optional<QString> text =
        wish.templateName.isEmpty() ? std::nullopt : readTemplate(wish.templateName);
    if (text) {
        TemplateValues values;
        values.message = original;
        values.identity = composition.identity;
        values.quotedBody = [&] {
            return quotation(original, started.context.isPersonal, wish.selectedText);
        };
        const QString expanded = expandTemplate(*text, values);
        const bool staysBelow = wish.kind == ComposeWish::Kind::Forward;
        composition.text = staysBelow ? expanded + composition.text : expanded;
        if (!composition.html.isEmpty())
            composition.html = blocksOf(expanded) + (staysBelow ? composition.html : QString());
        if (!staysBelow)
            composition.attachments.removeIf([](const Attachment &each) { return each.isInline(); });
    } else if (wish.isTyped && !composition.text.isEmpty())
        makeRoomAbove(composition);
    place(composition, wish);
    sign(started);
}

void Composer::place(Composition &composition, const ComposeWish &wish)
{
    if (wish.body.isEmpty())
        return;
    QString plain = wish.bodyIsHtml ? htmlToText(wish.body) : wish.body;
    if (!plain.endsWith(u'\n'))
        plain += u'\n';
    const QString html = wish.bodyIsHtml ? wish.body : blocksOf(plain.chopped(1));
    const bool isRich = wish.bodyIsHtml || !composition.html.isEmpty();
    const QString before = composition.text.trimmed().isEmpty() ? QString() : composition.text;
    if (isRich && !before.isEmpty() && composition.html.isEmpty())
        composition.html = blocksOf(before);
    if (wish.kind == ComposeWish::Kind::Forward) {
        composition.text = before.isEmpty() ? plain : plain + u'\n' + before;
        composition.html = isRich ? html + composition.html : QString();
        return;
    }
    const QString gap = wish.kind == ComposeWish::Kind::Reply && !before.isEmpty() ? u"\n"_s : QString();
    composition.text = before + gap + plain;
    composition.html = isRich ? (before.isEmpty() ? QString() : composition.html) + html : QString();
}

QString Composer::expandedTemplate(const QString &name, const DraftContext &context,
                                   const Identity &identity) const
{
    const std::optional<QString> text = readTemplate(name);
    if (!text)
        return {};
    TemplateValues values;
    if (const std::optional<Message> original = read(context.original))
        values.message = *original;
    values.identity = identity;
    values.quotedBody = [&] { return quotation(values.message, context.isPersonal); };
    return expandTemplate(*text, values);
}

void Composer::sign(Started &started) const
{
    Composition &composition = started.composition;
    const Identity &identity = composition.identity;
    if (identity.has(IdentityTagline))
        started.tagline = nextTagline(identity.number);
    std::optional<Signature> signature;
    if (!identity.signature.isEmpty())
        signature = readSignature(identity.number, identity.signature);
    started.signature = signature ? identity.signature : QString();
    const bool isCommand = signature && signature->kind == Signature::Kind::Command;
    if (isCommand)
        started.signatureCommand = signature->text;
    const QString text = signature && !isCommand ? signature->text : QString();
    const bool isHtml = signature && signature->kind == Signature::Kind::Html;
    if (!text.isEmpty() || !started.tagline.isEmpty())
        started.signatureEnd = setSignature(composition, text, isHtml, started.tagline);
}

// --- Sending --------------------------------------------------------------------------------------------

quint64 Composer::send(const Composition &composition, const SendWish &wanted)
{
    const QByteArray id = newIdentifier(composition.identity);
    const QByteArray message = buildMessage(composition, {BuildFor::Sending, id, clockNow()});
    if (message.isEmpty())
        return 0;
    SendWish wish = wanted;
    if (wish.draft != 0) {
        wish.others = m_drafts.context(wish.draft).others;
        // What comes back is what was sent.
        if (!m_drafts.keep(wish.draft, composition) || !m_drafts.handOver(wish.draft, id))
            return 0;
    }
    const quint64 ticket = m_outbox.add(message, composition.identity.number, wish);
    if (ticket == 0) {
        m_drafts.handOverFailed(wish.draft);
        return 0;
    }
    m_drafts.handedOver(wish.draft);
    m_addresses.addWritten(
        parseAddresses(QStringList{composition.to, composition.cc, composition.bcc}.join(", "_L1)));
    return ticket;
}

quint64 Composer::resend(MessageRef original, const Identity &identity, const QString &to)
{
    if (!headersOnly({original}).empty()) {
        report(ReportLevel::Warning,
               "Only the header of the message is here. The rest is still on the server.");
        return 0;
    }
    const std::optional<Message> message = read(original);
    const QByteArray text = message ? resentMessage(message->text(), identity, to) : QByteArray();
    if (text.isEmpty())
        return 0;
    SendWish wish;
    wish.original = original;
    wish.isBounce = true;
    return m_outbox.add(text, identity.number, wish);
}

// --- Addresses ------------------------------------------------------------------------------------------

QList<Composer::KnownAddress> Composer::complete(const QString &beginning, int most)
{
    m_addresses.start();
    return m_addresses.complete(beginning, most);
}

bool Composer::isKnown(const QString &address)
{
    m_addresses.start();
    return m_addresses.isKnown(address) || contains(ownAddresses(), address);
}

bool Composer::isNew(const QString &address)
{
    const QString bare = address.trimmed();
    return isValidAddress(bare) && !isKnown(bare) && m_addresses.isComplete();
}

QStringList Composer::knownAddresses()
{
    m_addresses.start();
    return m_addresses.writtenTo();
}
