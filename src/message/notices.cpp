#include "message/notices.h"

#include "message/date.h"
#include "message/encodedword.h"
#include "message/message.h"
#include "message/messageid.h"
#include "message/useragent.h"

using namespace Qt::StringLiterals;

namespace {

constexpr char kCharset[] = "utf-8";

/// The first identifier of a field; a header that holds two would name another message as well.
QByteArray firstId(QByteArrayView value)
{
    const QList<QByteArray> ids = messageIds(value);
    const bool printable = !ids.isEmpty() && std::all_of(ids.first().begin(), ids.first().end(),
                                                         [](char c) { return c > ' ' && c < 0x7f; });
    return printable ? ids.first() : QByteArray();
}

/// A list of groups without anything that is neither name nor comma.
QByteArray groupsOf(const Message &article)
{
    QByteArray groups = article.rawHeader("Newsgroups");
    groups.removeIf([](char c) { return quint8(c) <= ' ' || c == 0x7f; });
    return groups;
}

QByteArray line(const char *name, const QByteArray &value)
{
    return value.isEmpty() ? QByteArray() : name + QByteArray(": ") + value + '\n';
}

/// What the receipt tells of the message it is for.
QString receiptText(const Message &received)
{
    QString text = u"This is a read receipt generated automatically in response to the following\n"
                   "message that you sent me:\n\n"_s;
    for (const QLatin1StringView name :
         {"From"_L1, "To"_L1, "Cc"_L1, "Subject"_L1, "Date"_L1, "Message-ID"_L1}) {
        const QString value = received.header(QByteArrayView(name.data(), name.size()));
        if (!value.isEmpty())
            text += name + ": "_L1 + value + u'\n';
    }
    return text;
}

/// How a text that may hold characters outside ASCII is labelled.
QByteArray contentLines(const QByteArray &text)
{
    const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return quint8(c) < 0x80; });
    return ascii ? QByteArray()
                 : QByteArray("MIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n"
                              "Content-Transfer-Encoding: 8bit\n");
}

} // namespace

QByteArray readReceipt(const Message &received, const ReceiptSender &sender)
{
    const QString to = bareAddress(received.readReceiptTo());
    if (to.isEmpty())
        return {};
    const QByteArray id = firstId(received.rawHeader("Message-ID"));
    const QByteArray text = receiptText(received).toUtf8();
    return line("Date", formatDate()) + line("From", addressField({sender.identity}, kCharset)) +
           line("To", addressField({{{}, to}}, kCharset)) +
           line("Subject", headerText("Read receipt Re: "_L1 + received.subject(), kCharset)) +
           line("Message-ID", newMessageId(sender.identity.address)) + line("In-Reply-To", id) +
           line("References", id) + line("Reply-To", addressField(parseAddresses(sender.replyTo), kCharset)) +
           line("User-Agent", userAgent()) + contentLines(text) + '\n' + text;
}

QByteArray cancelMessage(const Message &article)
{
    const QByteArray id = firstId(article.rawHeader("Message-ID"));
    const QByteArray groups = groupsOf(article);
    const QList<Address> from = article.addresses("From");
    if (id.isEmpty() || groups.isEmpty() || from.isEmpty())
        return {};
    return "Path: not-for-mail\n" + line("Date", formatDate()) + line("From", addressField(from, kCharset)) +
           line("Newsgroups", groups) + line("Subject", "cmsg cancel " + id) +
           line("Message-ID", newMessageId(from.first().address)) + line("Control", "cancel " + id) +
           line("User-Agent", userAgent()) + "Lines: 1\n\ncancel " + id;
}
