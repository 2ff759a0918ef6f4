#include "store/summary.h"

#include "message/message.h"
#include "message/mimecontext.h"

namespace {

/// The first and the last "<...>" of a field; empty views when there is none.
struct Identifiers
{
    QByteArrayView first;
    QByteArrayView last;
};

QByteArrayView identifierAt(QByteArrayView value, qsizetype open)
{
    const qsizetype close = open < 0 ? -1 : value.indexOf('>', open);
    return close < 0 ? QByteArrayView() : value.sliced(open, close - open + 1);
}

Identifiers identifiersIn(QByteArrayView value)
{
    return {identifierAt(value, value.indexOf('<')), identifierAt(value, value.lastIndexOf('<'))};
}

Marks contentMarks(const MIMEContext &mime)
{
    Marks marks;
    for (const MIMEPart &part : mime.parts()) {
        if (part.isAttachment())
            marks |= Mark::Attachments;
        if (part.type == SignedPart || part.type == PgpSignaturePart)
            marks |= Mark::Signed;
        if (part.type == EncryptedPart || part.type == PgpEncryptedPart)
            marks |= Mark::Encrypted;
    }
    if (mime.type() == SignedPart)
        marks |= Mark::Signed;
    if (mime.type() == EncryptedPart)
        marks |= Mark::Encrypted;
    return marks;
}

Marks headerMarks(const Message &message)
{
    Marks marks;
    const Importance importance = message.importance();
    marks.setFlag(Mark::HighImportance, importance == Importance::High);
    marks.setFlag(Mark::LowImportance, importance == Importance::Low);
    marks.setFlag(Mark::List, message.hasHeader("List-Id") || message.hasHeader("List-Post"));
    marks.setFlag(Mark::ReceiptWanted, !message.readReceiptTo().isEmpty());
    return marks;
}

/// Answers gather under one subject: the marks "Re:" in front do not count, nor does case.
quint32 hashOfSubject(QStringView subject)
{
    subject = subject.trimmed();
    while (subject.startsWith(u"re:", Qt::CaseInsensitive))
        subject = subject.sliced(3).trimmed();
    return quint32(identifierHash(subject.toString().toCaseFolded().toUtf8()));
}

} // namespace

Summary summaryOf(const Message &message, qint64 arrival)
{
    Summary summary;
    summary.texts.from = message.header("From");
    summary.texts.to = message.header("To");
    summary.texts.subject = message.header("Subject");
    const QByteArray id = message.messageId();
    summary.texts.messageId = QString::fromLatin1(id);

    Overview &overview = summary.overview;
    const QByteArray references = message.rawHeader("References");
    const QByteArray inReplyTo = message.rawHeader("In-Reply-To");
    const Identifiers chain = identifiersIn(references);
    const QByteArrayView answered = chain.last.isEmpty() ? identifiersIn(inReplyTo).first : chain.last;
    overview.setIdHash(identifierHash(id));
    overview.setParentHash(identifierHash(answered));
    overview.setRootHash(identifierHash(chain.first));
    overview.setSubjectHash(hashOfSubject(summary.texts.subject));
    overview.setArrival(arrival);
    const std::optional<qint64> date = message.readableDate();
    overview.setDate(date ? *date : message.receivedDate().value_or(arrival));
    overview.setMarks(headerMarks(message) | contentMarks(message.mime()));
    overview.setMark(Mark::DateUnreadable, !date);
    return summary;
}
