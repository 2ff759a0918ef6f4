#pragma once

#include "compose/composition.h"
#include "compose/replies.h"
#include "engine/drafts.h"
#include "engine/outbox.h"
#include "engine/seenaddresses.h"

#include <QObject>

class AccountManager;
class GroupStore;
class IdentityManager;

/// How a message is begun.
struct ComposeWish
{
    enum class Kind {
        New,
        Reply,     ///< to the first of originals
        Forward,   ///< all of them, attached; or the first
        Draft,     ///< goes on with a message of Drafts
        EditAsNew, ///< a message as it was sent, or waits, once more
        Resend,    ///< only who sends and what: resend() needs the recipients
        Mailto,
    } kind = Kind::New;
    MessageRefs originals;
    ReplyKind reply = ReplyKind::Sender;
    ForwardKind forward = ForwardKind::Inline;
    ForwardMark mark = ForwardMark::Front;
    QString selectedText;
    QString mailto;
    QString templateName;
    int identity = 0; ///< 0: the fitting one
    bool article = false;
    QString newsgroups; ///< of a new article: where it goes

    enum class Form { AsSet, Plain, Rich } form = Form::AsSet; ///< AsSet: `SendRichTextMail` and its like

    /// What is written already: below a quotation, above what is forwarded, behind a template.
    QString body;
    bool bodyIsHtml = false;

    bool isTyped = false; ///< two empty lines stand above a quotation, where somebody begins to type
};

/// Begins, sends and keeps the messages that a person writes: what the windows and the command line share.
class Composer : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive this.
    Composer(GroupStore &store, IdentityManager &identities, AccountManager &accounts, Drafts &drafts,
             Outbox &outbox, QObject *parent = nullptr);

    struct Started
    {
        Composition composition; ///< signature, tagline and template in place
        DraftContext context;
        int draft = 0;          ///< of Kind::Draft and of what was taken back: its number; else begin() one
        bool isArticle = false; ///< it goes to newsgroups, even when none is named yet
        QString error;          ///< not empty: it cannot be begun, and why
        QString notice;         ///< what the user is to know besides; mostly empty

        /// Of these only the header is here, so that it cannot be begun (error), or quotes nothing (notice):
        /// "Fetch the rest" (ServerWishes::fetchRest()), then start() again.
        MessageRefs headersOnly;

        QString attribution;  ///< the line above the quotation of a reply
        QString signature;    ///< the name of the one in the text, or of the command; empty: none
        QString tagline;      ///< that is in the text, for a change of the signature
        QString signatureEnd; ///< what setSignature() returned
        QString
            signatureCommand; ///< not empty: what it prints (SignatureCommand) belongs in as the signature
    };
    Started start(const ComposeWish &wish);

    /// Goes on with a draft of Drafts::recovered().
    Started goOnWith(int draft) const;

    /// Finds the signature and the tagline that stand in the text of @p started.
    static void recogniseSignature(Started &started);

    /// Takes a waiting message out of the outbox, to be written on: it is kept as a draft before the outbox
    /// forgets it. One that was only sent on unchanged is taken out, and there is nothing to write: error and
    /// notice are empty, and draft is 0. error: it is too late, or it cannot be kept; it waits as before.
    Started takeBack(quint64 ticket);

    /// The template of that name with its variables filled, to be put into a message that is being written;
    /// empty after a report.
    QString expandedTemplate(const QString &name, const DraftContext &context,
                             const Identity &identity) const;

    /// Builds the message and hands it to the outbox; its draft, when @p wish names one, is kept until the
    /// outbox lets it go. 0 after a report: the draft is open as before.
    quint64 send(const Composition &composition, const SendWish &wish);

    /// Sends a message on as it is, with its Resent- lines, to the addresses in @p to. 0 after a report: also
    /// where only its header is here.
    quint64 resend(MessageRef original, const Identity &identity, const QString &to);

    /// @name The addresses seen in the store, for completion
    /// They are looked for in slices from the first question on; addressesChanged() tells when there are
    /// more. Those written to come first, collected ones last.
    /// @{
    using KnownAddress = SeenAddresses::Known;
    QList<KnownAddress> complete(const QString &beginning, int most);
    bool isKnown(const QString &address); ///< also when it is one of the user's own

    /// Whether that is a whole address which occurs nowhere; not before all have been looked for.
    bool isNew(const QString &address);
    QStringList knownAddresses(); ///< bare, of those written to
    /// @}

signals:
    void addressesChanged();

private:
    std::optional<Message> read(MessageRef place) const;
    MessageRefs headersOnly(const MessageRefs &places) const;
    const Identity *identityFor(const ComposeWish &wish, const Message &original, MessageRef place) const;
    ReplyOptions optionsFor(const ComposeWish &wish, const Message &original) const;
    QStringList ownAddresses() const;

    Started startNew(const ComposeWish &wish);
    Started startMailto(const ComposeWish &wish);
    Started startAnswer(const ComposeWish &wish);
    Started startDraft(const ComposeWish &wish);
    Started startAgain(const ComposeWish &wish);
    Started startResend(const ComposeWish &wish);
    static Started failed(const QString &error);
    Drafts::Reading newestOf(int draft) const;
    void recoverAttachments(Drafts::Reading &reading, MessageRef stored) const;
    QString noticesOf(const Drafts::Reading &reading) const;
    QString writerNotice(const QString &address, const Identity &now) const;
    void recogniseParts(Started &started) const;
    bool isOwn(MessageRef place) const;
    bool liesElsewhere(const Message &message, MessageRef place) const;
    Composition reading(const Message &message, bool isOwn, MessageRef place) const;
    bool keepTakenBack(Started &started, const Message &message, const OutboxEntry &entry);
    void dress(Started &started, const ComposeWish &wish, const Message &original) const;
    static void place(Composition &composition, const ComposeWish &wish);
    void sign(Started &started) const;

    GroupStore &m_store;
    IdentityManager &m_identities;
    AccountManager &m_accounts;
    Drafts &m_drafts;
    Outbox &m_outbox;
    SeenAddresses m_addresses;
};
