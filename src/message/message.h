#pragma once

#include "message/address.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QFlags>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

class MIMEContext;

enum class HeaderFlag {
    Decode = 1,       ///< encoded words become text; line ends and NULs become blanks
    StripComments = 2 ///< from the first "(" to the last ")" is cut out
};
Q_DECLARE_FLAGS(HeaderFlags, HeaderFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(HeaderFlags)

enum class Importance { Low, Normal, High };

enum class DateSource {
    DateOrResent, ///< "Date", or "Resent-Date" when that is empty
    DateOnly      ///< "Date" alone, its comments stripped
};

enum class SummaryForm { Plain, Html };

enum class SavedText {
    Raw,     ///< the message as it is
    Readable ///< the header summary, an empty line and the decoded text of the body, in UTF-8
};

enum class LineEnds { Lf, CrLf };

/// Where an article stands on one server (RFC 5536, Xref).
struct CrossReference
{
    struct Entry
    {
        QByteArray group;
        QByteArray article; ///< the number, as written
    };

    QByteArray server;
    int port = 0; ///< 0 when none is written
    QList<Entry> entries;
};

/// One article or mail as raw text, and the answers to every question about its header. Copies share the text
/// and what was found in it. A missing field is an empty value, never an error; field names match in any
/// case, and of several fields with one name the first is seen.
class Message
{
public:
    Message();
    /// @p text as received; every "\r\n" becomes "\n".
    explicit Message(const QByteArray &text);

    const QByteArray &text() const;
    /// The header with its last "\n", and the body behind the empty line; views that hold as long as a copy
    /// of this message does. A text without an empty line is all header.
    QByteArrayView headerBlock() const;
    QByteArrayView body() const;
    /// Position of the body in text(), in bytes.
    qsizetype bodyOffset() const;

    /// The value of the field @p name in one line, without white space around it. Bytes outside ASCII are
    /// UTF-8 when they can be, else in the message's character set, else windows-1252.
    QString header(QByteArrayView name, HeaderFlags flags = HeaderFlag::Decode) const;
    /// The same value as bytes, nothing decoded.
    QByteArray rawHeader(QByteArrayView name) const;
    bool hasHeader(QByteArrayView name) const;
    /// The entries of an address field: split first, decoded then.
    QList<Address> addresses(QByteArrayView name) const;

    /// Seconds since 1970 UTC; second 0, or empty, when no date can be read.
    qint64 date(DateSource source = DateSource::DateOrResent) const;
    std::optional<qint64> readableDate(DateSource source = DateSource::DateOrResent) const;
    /// The date of arrival, from "Received"; empty when it has none.
    std::optional<qint64> receivedDate() const;

    /// The bare address of "Return-Path", else "Sender", else "From"; "MAILER-DAEMON" when it is empty.
    QString mboxSender() const;
    Importance importance() const;
    QString organization() const;
    QString newsgroups() const;
    QString to() const;
    QString cc() const;
    /// "Disposition-Notification-To", else "Return-Receipt-To", not decoded. Not empty: a receipt is asked
    /// for.
    QString readReceiptTo() const;
    CrossReference xref() const;

    /// The identifier with its angle brackets; empty without one.
    QByteArray messageId() const;
    /// What stands in "In-Reply-To" from the first "<" to the last ">".
    QByteArray inReplyTo() const;
    /// The value of "References", and the identifiers in it.
    QByteArray references() const;
    QList<QByteArray> referenceIds() const;

    QString subject() const;
    /// The subject without its leading reply marker, and with exactly one.
    QString baseSubject() const;
    QString replySubject() const;

    /// The fields that head a quoted or forwarded message, those that are present; values are escaped in
    /// HTML.
    QString headerSummary(SummaryForm form = SummaryForm::Plain) const;

    /// Writes the message over the file at @p path. False when it cannot be opened or written; nothing is
    /// left half-written then.
    [[nodiscard]] bool saveAsText(const QString &path, SavedText what, LineEnds lineEnds) const;

    /// The parts of the body, found on first use; the reference holds as long as a copy of this message does.
    const MIMEContext &mime() const;

private:
    struct Data;

    QString textOf(const QByteArray &raw, HeaderFlags flags) const;

    std::shared_ptr<Data> m_data;
};

/// @p subject without the reply marker that it begins with ("Re:" and the blanks behind it).
QString baseSubjectOf(const QString &subject);

/// @p subject with "Re: " in front unless it begins so in any case.
QString replySubjectOf(const QString &subject);
