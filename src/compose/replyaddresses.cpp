#include "compose/replyaddresses.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace {

enum class Word { None, Author, Nobody };

Word wordIn(const QString &field)
{
    const QString word = field.trimmed().toLower();
    if (word == u"poster" || word == u"always")
        return Word::Author;
    return word == u"never" || word == u"nobody" ? Word::Nobody : Word::None;
}

QList<Address> mailable(const QList<Address> &addresses)
{
    QList<Address> kept;
    kept.reserve(addresses.size());
    for (const Address &address : addresses)
        if (!address.address.isEmpty())
            kept.append(address);
    return kept;
}

class Finder
{
public:
    Finder(const Message &original, const QStringList &own)
        : m_original(original)
    {
        for (const QString &address : own)
            m_own.insert(address.trimmed().toLower());
        m_own.remove(QString());
        m_from = mailable(m_original.addresses("From"));
        if (m_from.isEmpty())
            m_from = mailable(m_original.addresses("Sender"));
    }

    ReplyAddresses run(ReplyKind kind, bool ownMessage)
    {
        m_found.isOwnMessage = ownMessage || isFromOwn();
        if (m_found.isOwnMessage)
            own(kind);
        if (m_found.isEmpty()) {
            switch (kind) {
            case ReplyKind::Sender: m_found.to = author(); break;
            case ReplyKind::All: all(); break;
            case ReplyKind::List: list(); break;
            case ReplyKind::Followup: followup(); break;
            }
        }
        return std::move(m_found);
    }

private:
    bool isOwn(const Address &address) const { return m_own.contains(address.address.toLower()); }
    bool isFromOwn() const { return !m_from.isEmpty() && isOwn(m_from.first()); }

    /// One's own message goes again to whom it went.
    void own(ReplyKind kind)
    {
        if (kind == ReplyKind::List || kind == ReplyKind::Followup)
            return;
        if (kind == ReplyKind::All)
            m_found.groups = groupsIn(m_original.header("Newsgroups"));
        add(m_found.to, mailable(m_original.addresses("To")));
        if (kind == ReplyKind::All || m_found.to.isEmpty())
            add(m_found.cc, mailable(m_original.addresses("Cc")));
        if (m_found.isEmpty())
            add(m_found.bcc, mailable(m_original.addresses("Bcc")));
        if (m_found.isEmpty()) // a note to oneself
            m_found.to = mailable(m_original.addresses("To"));
    }

    QList<Address> fieldOrAuthor(const char *field, bool *isSaid) const
    {
        const QString value = m_original.header(field, {});
        const QList<Address> addresses = mailable(parseAddresses(value));
        const Word word = wordIn(value);
        *isSaid = word != Word::None || (!addresses.isEmpty() && !isListAlone(addresses));
        if (word == Word::Nobody)
            return {};
        return word == Word::Author || !*isSaid ? m_from : addresses;
    }

    bool isListAlone(const QList<Address> &addresses) const
    {
        const QString list = listAddress(m_original);
        return addresses.size() == 1 && !list.isEmpty() &&
               addresses.first().address.compare(list, Qt::CaseInsensitive) == 0;
    }

    QList<Address> author() const
    {
        for (const char *field : {"Mail-Reply-To", "Reply-To"}) {
            bool isSaid = false;
            QList<Address> addresses = fieldOrAuthor(field, &isSaid);
            const bool isNobody = addresses.isEmpty();
            addresses.removeIf([this](const Address &address) { return isOwn(address); });
            if (isSaid && (isNobody || !addresses.isEmpty()))
                return addresses;
        }
        return m_from;
    }

    void all()
    {
        if (m_original.hasHeader("Newsgroups"))
            takeGroups();
        const QString followup = m_original.header("Mail-Followup-To", {});
        const Word word = wordIn(followup);
        if (word == Word::None && addedAny(m_found.to, mailable(parseAddresses(followup))))
            return;
        if (word == Word::None)
            add(m_found.to, author());
        else if (word == Word::Author)
            add(m_found.to, m_from);
        else
            for (const Address &author : m_from)
                m_seen.insert(author.address.toLower());
        add(m_found.cc, mailable(m_original.addresses("To")));
        add(m_found.cc, mailable(m_original.addresses("Cc")));
        if (m_found.to.isEmpty() && m_found.groups.isEmpty())
            m_found.to.swap(m_found.cc);
        if (m_found.isEmpty())
            m_found.to = author();
    }

    void list()
    {
        const QString followup = m_original.header("Mail-Followup-To", {});
        if (wordIn(followup) == Word::None && addedAny(m_found.to, mailable(parseAddresses(followup))))
            return;
        const QString address = listAddress(m_original);
        m_found.to = address.isEmpty() ? author() : QList<Address>{{{}, address}};
    }

    void followup()
    {
        if (!m_original.hasHeader("Newsgroups"))
            return all();
        takeGroups();
        if (m_found.groups.isEmpty() && m_found.to.isEmpty())
            m_found.to = author();
    }

    void takeGroups()
    {
        const QString field = m_original.header("Followup-To");
        const QStringList wished = groupsIn(field);
        bool toAuthor = false;
        bool alsoToAuthor = false;
        for (const QString &group : wished) {
            const QString word = group.toLower();
            toAuthor |= word == u"poster" || word == u"never" || word == u"nobody";
            alsoToAuthor |= word == u"always";
            if (wordIn(group) == Word::None)
                m_found.groups.append(group);
        }
        if (m_found.groups.isEmpty() && !toAuthor)
            m_found.groups = groupsIn(m_original.header("Newsgroups"));
        const QString copies = m_original.header("Mail-Copies-To", {});
        if (toAuthor || alsoToAuthor || wordIn(copies) == Word::Author)
            add(m_found.to, author());
        else if (wordIn(copies) == Word::None && !m_found.groups.isEmpty())
            add(m_found.to, mailable(parseAddresses(copies)));
    }

    bool addedAny(QList<Address> &list, const QList<Address> &addresses)
    {
        add(list, addresses);
        return !list.isEmpty();
    }

    /// Those that are neither there already nor the user.
    void add(QList<Address> &list, const QList<Address> &addresses)
    {
        for (const Address &address : addresses) {
            const QString key = address.address.toLower();
            if (m_own.contains(key) || m_seen.contains(key))
                continue;
            m_seen.insert(key);
            list.append(address);
        }
    }

    const Message &m_original;
    QSet<QString> m_own;
    QSet<QString> m_seen;
    QList<Address> m_from;
    ReplyAddresses m_found;
};

/// The address in "<mailto:list@example.org?subject=x>, <https://...>".
QString mailtoIn(const QString &field)
{
    static constexpr QStringView kScheme = u"<mailto:";
    const qsizetype begin = field.indexOf(kScheme, 0, Qt::CaseInsensitive);
    if (begin < 0)
        return {};
    QStringView rest = QStringView(field).sliced(begin + kScheme.size());
    const auto cut = [&](QChar c) {
        if (const qsizetype at = rest.indexOf(c); at >= 0)
            rest = rest.first(at);
    };
    cut(u'>');
    cut(u'?');
    const QString address = QString::fromUtf8(QByteArray::fromPercentEncoding(rest.toUtf8())).trimmed();
    return isValidAddress(address) ? address : QString();
}

} // namespace

ReplyAddresses replyAddresses(const Message &original, ReplyKind kind, const QStringList &own,
                              bool ownMessage)
{
    return Finder(original, own).run(kind, ownMessage);
}

QString listAddress(const Message &message)
{
    const QString post = message.header("List-Post", HeaderFlag::StripComments);
    if (!post.isEmpty())
        return mailtoIn(post);
    const QString there = bareAddress(message.header("X-BeenThere", {}));
    if (isValidAddress(there))
        return there;
    QString list = message.header("Mailing-List", {}); // "list x@y; contact x-owner@y"
    if (list.startsWith("list "_L1, Qt::CaseInsensitive))
        list.remove(0, 5);
    list = list.section(u';', 0, 0).trimmed();
    return isValidAddress(list) ? list : QString();
}

QStringList groupsIn(const QString &field)
{
    QStringList groups;
    QSet<QString> seen;
    for (const QString &piece : field.split(u',', Qt::SkipEmptyParts)) {
        const QString group = piece.trimmed();
        const auto isOdd = [](QChar c) { return c.isSpace() || c < u'!' || c == u'\x7F' || c == u':'; };
        if (group.isEmpty() || std::any_of(group.begin(), group.end(), isOdd) || seen.contains(group))
            continue;
        seen.insert(group);
        groups.append(group);
    }
    return groups;
}
