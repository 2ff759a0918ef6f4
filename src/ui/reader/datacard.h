#pragma once

#include <QList>
#include <QString>

class Message;
struct MIMEPart;

/// What a part of data says, in words, on a card in the text: a contact, an appointment, the fate of a
/// message. Everything in it is harmless text.
struct DataCard
{
    struct Row
    {
        QString label;
        QString value;
        QString link; ///< a target to follow; empty for plain words

        bool operator==(const Row &) const = default;
    };

    QString badge; ///< what it is, above the title: "Invitation"
    QString title;
    QList<Row> rows;

    bool isEmpty() const { return title.isEmpty() && rows.isEmpty(); }
    bool operator==(const DataCard &) const = default;

    /// Adds a row unless @p value is empty.
    void add(const QString &label, const QString &value, const QString &link = {});
};

constexpr int kMostCards = 20; ///< of one part

enum class DataKind {
    None,
    Contact,  ///< vCards
    Calendar, ///< events, tasks
    Receipt,  ///< message/disposition-notification
    Elsewhere ///< message/external-body
};

/// By the type of a part, or by its name where the type says nothing.
DataKind dataKindOf(const MIMEPart &part);

/// The cards for the content of a part: of any kind above, and of a message/delivery-status. At most
/// kMostCards, the last of which says how many are left out. Empty when nothing can be read in it.
QList<DataCard> partCards(const Message &message, int part);

/// @name By content
/// @{
QList<DataCard> contactCards(QStringView text);
/// Times are those of the local zone.
QList<DataCard> calendarCards(QStringView text);
/// One for each recipient (RFC 3464).
QList<DataCard> deliveryCards(QByteArrayView content);
/// What became of a message where it arrived (RFC 8098).
DataCard receiptCard(QByteArrayView content);
/// @}
