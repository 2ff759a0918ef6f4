#include "compose/sendchecks.h"

#include "compose/charsets.h"
#include "compose/forgottenattachment.h"
#include "compose/quotemarks.h"
#include "compose/quoting.h"
#include "compose/similaraddress.h"
#include "config/settings.h"
#include "message/charset.h"

#include <QCoreApplication>
#include <QSet>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kManyRecipients = 15;
constexpr int kMostNewAddresses = 20; ///< that are compared with the known ones
constexpr int kMostNamed = 3;         ///< in one question

// A bit stands in files in use: it is never given to another problem.
constexpr std::array kRows = {
    SendProblemRow{SendProblem::NoRecipients, true, false, 0},
    SendProblemRow{SendProblem::NoNewsgroups, true, false, 0},
    SendProblemRow{SendProblem::ControlSubject, true, false, 0},
    SendProblemRow{SendProblem::InvalidAddress, true, false, 0},
    SendProblemRow{SendProblem::CannotEncrypt, true, false, 0},
    SendProblemRow{SendProblem::NoSubject, false, false, 1 << 0},
    SendProblemRow{SendProblem::NoContent, false, false, 1 << 1},
    SendProblemRow{SendProblem::Unmodified, false, false, 1 << 2},
    SendProblemRow{SendProblem::OnlyQuoted, false, false, 1 << 3},
    SendProblemRow{SendProblem::NotSubscribed, false, false, 1 << 4},
    SendProblemRow{SendProblem::BinariesToTextGroup, false, false, 1 << 5},
    SendProblemRow{SendProblem::AttachmentForgotten, false, true, 1 << 6},
    SendProblemRow{SendProblem::ManyRecipients, false, true, 1 << 7},
    SendProblemRow{SendProblem::NewAddress, false, true, 1 << 8},
    SendProblemRow{SendProblem::CharsetTooSmall, false, false, 0},
};
static_assert([] {
    for (std::size_t i = 0; i < kRows.size(); ++i)
        if (kRows[i].problem != SendProblem(i))
            return false;
    return kRows.back().problem == SendProblem::CharsetTooSmall;
}());

QString translated(const char *text)
{
    return QCoreApplication::translate("SendChecks", text);
}

/// What the writer has written: neither quoted, nor forwarded, nor the signature, nor there at first.
struct OwnText
{
    bool any = false;    ///< any text at all, the signature aside
    bool quoted = false; ///< some of it is a quotation
    bool own = false;    ///< and some is neither that nor was there at first
};

OwnText ownTextOf(const QString &text, const QString &atFirst)
{
    const QuoteMarks marks;
    QSet<QStringView> first;
    for (QStringView rest = atFirst; !rest.isEmpty();)
        first.insert(takeTextLine(rest));
    const QString body = withoutSignature(text);
    OwnText found;
    bool inForward = false;
    for (QStringView rest = body; !rest.isEmpty();) {
        const QStringView line = takeTextLine(rest);
        inForward = (inForward || line == kForwardBegin) && line != kForwardEnd;
        if (line.trimmed().isEmpty())
            continue;
        found.any = true;
        const bool quoted = marks.isQuoted(line);
        found.quoted |= quoted;
        found.own |= !quoted && (inForward || !first.contains(line));
    }
    return found;
}

bool hasPicture(const QString &html)
{
    return html.contains("<img"_L1, Qt::CaseInsensitive);
}

bool isBinary(const Attachment &attachment)
{
    return !attachment.contentType.startsWith("text/") && !attachment.contentType.startsWith("message/");
}

/// Blocks that were pasted as text are files, too.
bool hasBlock(QStringView text)
{
    while (!text.isEmpty()) {
        const QStringView line = takeTextLine(text);
        const bool isBegin = line.startsWith(u"begin ") && line.size() > 10 && line[6].isDigit() &&
                             line[7].isDigit() && line[8].isDigit() && line[9] == u' ';
        if (isBegin || (line.startsWith(u"=ybegin ") && line.contains(u" name=")))
            return true;
    }
    return false;
}

/// A group for files says so in its name.
bool isForBinaries(const QString &group)
{
    static constexpr QStringView kNames[] = {u"binaries", u"binary", u"binaer", u"bin", u"binarios"};
    for (const QString &piece : group.toLower().split(u'.'))
        if (std::find(std::begin(kNames), std::end(kNames), QStringView(piece)) != std::end(kNames))
            return true;
    return false;
}

class Checker
{
public:
    Checker(const Composition &composition, const SendContext &context)
        : m_composition(composition)
        , m_context(context)
        , m_isArticle(context.isArticle || composition.isNews())
    {
        for (const QString &group : composition.newsgroups.split(u',', Qt::SkipEmptyParts))
            if (const QString name = group.trimmed(); !name.isEmpty())
                m_groups.append(name);
        m_shown = parseAddresses(composition.to) + parseAddresses(composition.cc);
        m_recipients = m_shown + parseAddresses(composition.bcc);
    }

    QList<SendFinding> run()
    {
        whereTo();
        controlSubject();
        invalidAddress();
        encryption();
        noSubject();
        content();
        groups();
        attachments();
        recipients();
        charset();
        return std::move(m_findings);
    }

private:
    void add(SendProblem problem, const QString &text, const QString &detail = {})
    {
        if (!isTurnedOff(problem))
            m_findings.append({problem, text, detail});
    }

    QString askingToSend(const char *statement) const
    {
        return translated(statement) + u'\n' +
               translated("Do you want to send it anyway or continue editing?");
    }

    void whereTo()
    {
        if (m_context.isArticle && m_groups.isEmpty())
            add(SendProblem::NoNewsgroups, translated("You have not specified any newsgroups"));
        else if (!m_isArticle && m_recipients.isEmpty())
            add(SendProblem::NoRecipients, translated("You have not specified any recipients"));
    }

    void controlSubject()
    {
        if (m_isArticle && m_composition.subject.trimmed().startsWith("cmsg "_L1, Qt::CaseInsensitive))
            add(SendProblem::ControlSubject, translated("News subjects cannot start with 'cmsg '"));
    }

    void invalidAddress()
    {
        QList<Address> all = m_recipients;
        all += parseAddresses(m_composition.replyTo);
        all += parseAddresses(m_composition.mailFollowupTo);
        for (const Address &address : all) {
            if (isValidAddress(address.address))
                continue;
            const QString shown = address.address.isEmpty() ? address.name : address.address;
            return add(SendProblem::InvalidAddress,
                       translated("'%1' is not a mail address").arg(shown.left(200)), shown);
        }
    }

    void encryption()
    {
        if (m_composition.encrypt)
            add(SendProblem::CannotEncrypt,
                translated("Your message is to be encrypted, which is not possible yet.\n"
                           "It can only be sent without encryption."));
    }

    void noSubject()
    {
        if (m_composition.subject.trimmed().isEmpty())
            add(SendProblem::NoSubject, askingToSend("You have not specified a subject for your message."));
    }

    void content()
    {
        const OwnText own =
            ownTextOf(m_composition.text, m_context.isReply ? m_context.textAtFirst : QString());
        if (!own.any && m_composition.attachments.isEmpty() && !hasPicture(m_composition.html))
            return add(SendProblem::NoContent, askingToSend("Your message contains no content."));
        if (!m_composition.attachments.isEmpty())
            return;
        if (m_context.isReply && !m_context.textAtFirst.trimmed().isEmpty() &&
            withoutSignature(m_composition.text).trimmed() ==
                withoutSignature(m_context.textAtFirst).trimmed())
            return add(SendProblem::Unmodified, askingToSend("Your message has not been modified."));
        if (own.quoted && !own.own)
            add(SendProblem::OnlyQuoted, askingToSend("Your message contains only quoted text."));
    }

    void groups()
    {
        if (m_groups.isEmpty())
            return;
        const auto asking =
            u'\n' + translated("Do you want to post your message anyway or continue editing?");
        if (m_context.isSubscribed && std::none_of(m_groups.begin(), m_groups.end(), m_context.isSubscribed))
            add(SendProblem::NotSubscribed,
                translated("You are not subscribed to any of the newsgroups to which you are posting.") +
                    asking);
        const auto &files = m_composition.attachments;
        const auto textGroup = std::find_if_not(m_groups.begin(), m_groups.end(), isForBinaries);
        if (textGroup != m_groups.end() &&
            (std::any_of(files.begin(), files.end(), isBinary) || hasBlock(m_composition.text)))
            add(SendProblem::BinariesToTextGroup,
                translated(
                    "You are attempting to post binaries to a newsgroup that is not meant for them: %1.")
                        .arg(*textGroup) +
                    asking,
                *textGroup);
    }

    void attachments()
    {
        if (!m_composition.attachments.isEmpty())
            return;
        QString word = attachmentWord(m_composition.text);
        if (word.isEmpty() && !m_context.isReply)
            word = attachmentWord(m_composition.subject);
        if (!word.isEmpty())
            add(SendProblem::AttachmentForgotten,
                translated("Your message says \"%1\", but nothing is attached to it.").arg(word), word);
    }

    void recipients()
    {
        if (m_shown.size() >= kManyRecipients)
            add(SendProblem::ManyRecipients,
                translated("All %1 recipients will see each other's addresses.").arg(m_shown.size()),
                QString::number(m_shown.size()));
        if (m_context.isKnown)
            newAddresses();
    }

    /// Somebody new is worth a word where everybody else is known, or where a known address is meant.
    void newAddresses()
    {
        QStringList unknown;
        bool anyKnown = false;
        for (const Address &address : m_recipients) {
            if (!isValidAddress(address.address))
                continue;
            if (m_context.isKnown(address.address))
                anyKnown = true;
            else if (unknown.size() <= kMostNewAddresses)
                unknown.append(address.address);
        }
        if (unknown.size() > kMostNewAddresses)
            return; // a new circle of people
        for (const QString &address : unknown) {
            const QString similar = similarAddress(address, m_context.knownAddresses);
            if (!similar.isEmpty())
                return add(SendProblem::NewAddress,
                           translated("%1 is new here. Did you mean %2?").arg(address, similar), address);
        }
        if (anyKnown && !unknown.isEmpty() && unknown.size() <= kMostNamed)
            add(SendProblem::NewAddress,
                unknown.size() == 1
                    ? translated("You have not written to %1 before.").arg(unknown.first())
                    : translated("You have not written to these before: %1.").arg(unknown.join(u", ")),
                unknown.first());
    }

    void charset()
    {
        if (m_composition.charset == "UTF-8" ||
            encodeCharset(m_composition.text + m_composition.html, m_composition.charset))
            return;
        const QString suitable =
            QString::fromLatin1(suitableCharset(m_composition.text + m_composition.html));
        add(SendProblem::CharsetTooSmall,
            translated(
                "Your message contains characters that can't be encoded in the selected character set.\n") +
                translated("The '%1' character set would appear to be more suitable.\n").arg(suitable) +
                translated(
                    "Would you like to change the character set or continue with the current setting?"),
            suitable);
    }

    const Composition &m_composition;
    const SendContext &m_context;
    bool m_isArticle;
    QStringList m_groups;
    QList<Address> m_shown; ///< to all of them
    QList<Address> m_recipients;
    QList<SendFinding> m_findings;
};

} // namespace

const SendProblemRow &rowOf(SendProblem problem)
{
    return kRows[std::size_t(problem)];
}

bool isTurnedOff(SendProblem problem)
{
    return (intSetting(Setting::DisabledWarnings) & rowOf(problem).bit) != 0;
}

void turnOff(SendProblem problem, bool off)
{
    const int others = intSetting(Setting::DisabledWarnings) & ~rowOf(problem).bit;
    setIntSetting(Setting::DisabledWarnings, off ? others | rowOf(problem).bit : others);
}

QList<SendFinding> checkBeforeSending(const Composition &composition, const SendContext &context)
{
    return Checker(composition, context).run();
}
